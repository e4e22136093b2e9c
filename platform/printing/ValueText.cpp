#include "platform/printing/ValueText.hpp"

#include <algorithm>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zun::printing {

namespace {

constexpr bool is_special(char c) {
    return c == ',' || c == '"' || c == '\n' || c == '\r';
}

#ifdef __SSE2__
bool any_special_of_16(const char* text) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto equal = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
    const __m128i marks = _mm_or_si128(equal(','), equal('"'));
    const __m128i line_ends = _mm_or_si128(equal('\n'), equal('\r'));
    return _mm_movemask_epi8(_mm_or_si128(marks, line_ends)) != 0;
}
#else
bool any_special_of_16(const char* text) {
    return std::any_of(text, text + 16, is_special);
}
#endif

void append_quoted(ZUNXMLSaveContext* context, std::string_view text) {
    ZUNXMLSaveContext_append(context, "\"", 1);
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t quote = std::min(text.find('"', begin), text.size() - 1);
        ZUNXMLSaveContext_append(context, text.data() + begin, quote + 1 - begin);
        if (text[quote] == '"') ZUNXMLSaveContext_append(context, "\"", 1);
        begin = quote + 1;
    }
    ZUNXMLSaveContext_append(context, "\"", 1);
}

}  // namespace

bool needs_quotes(std::string_view text) {
    const char* at = text.data();
    const char* const end = at + text.size();
    for (; end - at >= 16; at += 16)
        if (any_special_of_16(at)) return true;
    return text.empty() || std::any_of(at, end, is_special);
}

void append_text(ZUNXMLSaveContext* context, std::string_view text) {
    if (needs_quotes(text)) return append_quoted(context, text);
    ZUNXMLSaveContext_append(context, text.data(), text.size());
}

Utf8 utf8_of(char32_t character) {
    const auto byte = [](char32_t bits) { return static_cast<char>(static_cast<unsigned char>(bits)); };
    const auto tail = [&](unsigned int shift) { return byte(0x80 | ((character >> shift) & 0x3f)); };
    if (character < 0x80) return {{byte(character)}, 1};
    if (character < 0x800) return {{byte(0xc0 | character >> 6U), tail(0)}, 2};
    if (character > 0x10ffff || (character >= 0xd800 && character <= 0xdfff)) return utf8_of(0xfffd);
    if (character < 0x10000) return {{byte(0xe0 | character >> 12U), tail(6), tail(0)}, 3};
    return {{byte(0xf0 | character >> 18U), tail(12), tail(6), tail(0)}, 4};
}

}  // namespace zun::printing
