#include "convert/passes/cells.hpp"

#include <algorithm>
#include <cstring>

namespace zun::convert {

namespace {

/// Cells of numbers are passed over in blocks of so many bytes, where there are a few to pass.
constexpr std::ptrdiff_t block_bytes = 64;
constexpr std::uint32_t few = 8;

/// Where the cell ends that begins with the comma at `cell`: at the next comma, or at `end`.
const char* end_of_cell(const char* cell, const char* end) {
    const char* at = cell + 1;
    const auto find = [&](char wanted) {
        const void* const found = std::memchr(at, wanted, static_cast<std::size_t>(end - at));
        return found == nullptr ? end : static_cast<const char*>(found);
    };
    if (at == end || *at != '"') return find(',');
    do {  // a quote within quotes is doubled
        ++at;
        at = std::min(find('"') + 1, end);
    } while (at != end && *at == '"');
    return at;
}

/// The commas in a block; none where it has quotes too.
std::uint32_t plain_commas(const char* block) {
    std::uint8_t commas = 0;
    std::uint8_t quotes = 0;
    for (std::ptrdiff_t i = 0; i < block_bytes; ++i) {
        commas = static_cast<std::uint8_t>(commas + (block[i] == ',' ? 1 : 0));
        quotes = static_cast<std::uint8_t>(quotes + (block[i] == '"' ? 1 : 0));
    }
    return quotes == 0 ? commas : 0;
}

}  // namespace

const char* skip_cells(const char* cell, const char* end, std::uint32_t count) {
    while (count > 0 && cell != end) {
        const bool blockwise = count >= few && end - cell > block_bytes;
        const std::uint32_t commas = blockwise ? plain_commas(cell + 1) : 0;
        if (commas > 0 && commas <= count) {
            cell += block_bytes;
            while (*cell != ',')
                --cell;
            count -= commas;
        } else {
            cell = end_of_cell(cell, end);
            --count;
        }
    }
    return cell;
}

}  // namespace zun::convert
