#include "platform/printing/ByteText.hpp"

#include <algorithm>
#include <array>
#include <cstdint>

namespace zun::printing {

namespace {

constexpr std::size_t piece_size = std::size_t{3} * 256;  // whole groups of three bytes

/// Appends the text that `write(out, piece)` makes of one piece after the other; it returns its end.
template <typename Write>
void append_pieces(ZUNXMLSaveContext* context, std::span<const std::byte> bytes, const Write& write) {
    std::array<char, 2 * piece_size> text;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), piece_size));
        const char* const end = write(text.data(), piece);
        ZUNXMLSaveContext_append(context, text.data(), static_cast<std::size_t>(end - text.data()));
        bytes = bytes.subspan(piece.size());
    }
}

}  // namespace

void append_hex(ZUNXMLSaveContext* context, std::span<const std::byte> bytes) {
    append_pieces(context, bytes, [](char* out, std::span<const std::byte> piece) {
        for (const std::byte byte : piece) {
            *out++ = "0123456789abcdef"[static_cast<unsigned>(byte) >> 4U];
            *out++ = "0123456789abcdef"[static_cast<unsigned>(byte) & 15U];
        }
        return out;
    });
}

void append_base64(ZUNXMLSaveContext* context, std::span<const std::byte> bytes) {
    constexpr const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    append_pieces(context, bytes, [](char* out, std::span<const std::byte> piece) {
        for (std::size_t i = 0; i < piece.size(); i += 3) {
            const std::size_t count = std::min<std::size_t>(piece.size() - i, 3);
            std::uint32_t group = 0;
            for (std::size_t k = 0; k < 3; ++k)
                group = group << 8U | (k < count ? static_cast<std::uint32_t>(piece[i + k]) : 0U);
            for (std::size_t k = 0; k < 4; ++k)
                *out++ = k <= count ? digits[group >> (18 - 6 * k) & 63U] : '=';
        }
        return out;
    });
}

}  // namespace zun::printing
