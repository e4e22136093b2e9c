#include "platform/printing/ValueText.hpp"

#include <algorithm>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zun::printing {

namespace {

constexpr char32_t replacement = 0xfffd;

constexpr bool is_special(char c) {
    return c == ',' || c == '"' || c == '\n' || c == '\r';
}

/// A zero or a byte beyond ASCII.
constexpr bool is_doubtful(char c) {
    return static_cast<signed char>(c) <= 0;
}

constexpr std::ptrdiff_t block = 16;

#ifdef __SSE2__
bool any_special_in_block(const char* text) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const auto equal = [bytes](char c) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(c)); };
    const __m128i marks = _mm_or_si128(equal(','), equal('"'));
    const __m128i line_ends = _mm_or_si128(equal('\n'), equal('\r'));
    return _mm_movemask_epi8(_mm_or_si128(marks, line_ends)) != 0;
}
bool any_doubtful_in_block(const char* text) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    return _mm_movemask_epi8(_mm_or_si128(bytes, _mm_cmpeq_epi8(bytes, _mm_setzero_si128()))) != 0;
}
#else
bool any_special_in_block(const char* text) {
    return std::any_of(text, text + block, is_special);
}
bool any_doubtful_in_block(const char* text) {
    return std::any_of(text, text + block, is_doubtful);
}
#endif

struct Contents {
    bool special;
    bool doubtful;
};

Contents contents_of(std::string_view text) {
    Contents contents{text.empty(), false};
    const char* at = text.data();
    const char* const end = at + text.size();
    for (; end - at >= block; at += block) {
        contents.special |= any_special_in_block(at);
        contents.doubtful |= any_doubtful_in_block(at);
    }
    for (; at != end; ++at) {
        contents.special |= is_special(*at);
        contents.doubtful |= is_doubtful(*at);
    }
    return contents;
}

struct Sequence {
    std::size_t size;
    bool valid;
};

/// The character at the start of `text`, which is not empty; of an invalid one, the bytes that could begin
/// one.
Sequence sequence_at(std::string_view text) {
    const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return {1, lead != 0};
    const std::size_t size = lead < 0xc2 || lead > 0xf4 ? 1 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // The second byte of some leads is held to the shortest form, to what is no half pair, to U+10FFFF.
    unsigned char low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    unsigned char high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    for (std::size_t i = 1; i < size; ++i, low = 0x80, high = 0xbf)
        if (i == text.size() || byte(i) < low || byte(i) > high) return {i, false};
    return {size, size > 1};
}

/// Bytes of `text` before the first that is not part of valid text.
std::size_t valid_size(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        if (text.size() - at >= std::size_t{block} && !any_doubtful_in_block(text.data() + at)) {
            at += block;
            continue;
        }
        const Sequence next = sequence_at(text.substr(at));
        if (!next.valid) break;
        at += next.size;
    }
    return at;
}

void append(ZUNXMLSaveContext* context, std::string_view text) {
    ZUNXMLSaveContext_append(context, text.data(), text.size());
}

void append_doubling_quotes(ZUNXMLSaveContext* context, std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t quote = std::min(text.find('"', begin), text.size() - 1);
        append(context, text.substr(begin, quote + 1 - begin));
        if (text[quote] == '"') append(context, "\"");
        begin = quote + 1;
    }
}

void append_escape(ZUNXMLSaveContext* context, std::uint32_t number) {
    const bool small = number <= 0xff;
    const std::string_view start = small ? "\\x" : number <= 0xffff ? "\\u" : "\\U";
    append(context, start);
    for (int shift = small ? 4 : number <= 0xffff ? 12 : 28; shift >= 0; shift -= 4)
        append(context, std::string_view("0123456789abcdef").substr(number >> shift & 0xfU, 1));
}

void append_invalid_bytes(ZUNXMLSaveContext* context, std::string_view bytes, InvalidText invalid) {
    if (invalid == InvalidText::RAW) return append(context, bytes);
    if (invalid == InvalidText::REPLACE) return append(context, utf8_of(replacement).view());
    for (const char byte : bytes)
        append_escape(context, static_cast<unsigned char>(byte));
}

/// False when some of `text` was no text.
[[gnu::noinline]] bool append_doubtful(ZUNXMLSaveContext* context, std::string_view text,
                                       InvalidText invalid) {
    bool valid = true;
    while (!text.empty()) {
        const std::size_t size = valid_size(text);
        append_doubling_quotes(context, text.substr(0, size));
        text.remove_prefix(size);
        if (text.empty()) break;
        const std::size_t invalid_size = sequence_at(text).size;
        append_invalid_bytes(context, text.substr(0, invalid_size), invalid);
        text.remove_prefix(invalid_size);
        valid = false;
    }
    return valid;
}

}  // namespace

bool append_text(ZUNXMLSaveContext* context, std::string_view text, TextStyle style) {
    const Contents contents = contents_of(text);
    const bool guarded =
        style.spreadsheet_safe && !text.empty() && begins_formula(static_cast<unsigned char>(text.front()));
    bool valid = true;
    if (contents.special) append(context, "\"");
    if (guarded) append(context, "'");
    if (contents.doubtful)
        valid = append_doubtful(context, text, style.invalid);
    else if (!contents.special)
        append(context, text);
    else
        append_doubling_quotes(context, text);
    if (contents.special) append(context, "\"");
    return valid;
}

void append_invalid(ZUNXMLSaveContext* context, char32_t unit, InvalidText invalid) {
    if (invalid == InvalidText::ESCAPE) return append_escape(context, unit);
    append(context, utf8_of(invalid == InvalidText::RAW ? unit : replacement).view());
}

Utf8 utf8_of(char32_t character) {
    const auto byte = [](char32_t bits) { return static_cast<char>(static_cast<unsigned char>(bits)); };
    const auto tail = [&](unsigned int shift) { return byte(0x80 | ((character >> shift) & 0x3f)); };
    if (character < 0x80) return {{byte(character)}, 1};
    if (character < 0x800) return {{byte(0xc0 | character >> 6U), tail(0)}, 2};
    if (character > 0x10ffff || (character >= 0xd800 && character <= 0xdfff)) return utf8_of(replacement);
    if (character < 0x10000) return {{byte(0xe0 | character >> 12U), tail(6), tail(0)}, 3};
    return {{byte(0xf0 | character >> 18U), tail(12), tail(6), tail(0)}, 4};
}

}  // namespace zun::printing
