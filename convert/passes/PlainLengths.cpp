#include "convert/passes/PlainLengths.hpp"

#include <algorithm>
#include <cstring>

#include "convert/passes/cells.hpp"

namespace zun::convert {

using tamber::utils::ColumnInfo;

namespace {

constexpr std::ptrdiff_t length_characters = 15;

/// Where the number of a length cell begins; where the cell begins when it is none, but the text of cells
/// without a value.
///
/// `text`  behind the comma
const char* number_in(const char* text, const char* end) {
    if (end - text < length_characters) return text;
    const char* const text_end = text + length_characters;
    const char* const number = std::find_if(text, text_end, [](char c) { return c != ' '; });
    const bool ends_there = text_end == end || *text_end == ',' || *text_end == '\n';
    const bool is_number =
        number != text_end && std::all_of(number, text_end, [](char c) { return c >= '0' && c <= '9'; });
    return ends_there && is_number ? number : text;
}

char* moved(const char* from, const char* end, char* to) {
    const auto size = static_cast<std::size_t>(end - from);
    if (to != from) std::memmove(to, from, size);
    return to + size;
}

}  // namespace

void PlainLengths::add_columns(const ColumnInfo& column) {
    if (column.type_kind() == ColumnInfo::TypeKind::SEQUENCE_TYPE)
        columns_.push_back(column.first_child()->first_leaf());
    for (const ColumnInfo& child : column.children())
        add_columns(child);
}

char* PlainLengths::move(const char* row, const char* end, char* to) const {
    const char* from = row;  // what has not been moved yet
    const char* cell = row;
    std::uint32_t number = 0;
    for (const std::uint32_t column : columns_) {
        cell = skip_cells(cell, end, column - number);
        if (cell == end) break;
        number = column;
        to = moved(from, cell + 1, to);
        from = number_in(cell + 1, end);
    }
    return moved(from, end, to);
}

}  // namespace zun::convert
