// visible: text of others, such that a terminal shows it and does not obey it.

#ifndef ZUN_PLATFORM_ERROR_VISIBLE_HPP
#define ZUN_PLATFORM_ERROR_VISIBLE_HPP

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace zun {

/// Whether the UTF-8 character steers the text around it: a control, an end of a line or paragraph, or one
/// that turns the direction of writing.
inline bool is_control(std::string_view character) {
    const auto in = [&](std::string_view first, std::string_view last) {
        return character >= first && character <= last;
    };
    return in({"\0", 1}, "\x1f") || in("\x7f", "\x7f") || in("\xc2\x80", "\xc2\x9f") ||
           in("\u2028", "\u202e") || in("\u2066", "\u2069");
}

/// Bytes of the UTF-8 character that `text` begins with; 0 where it is a control character or none at all.
inline std::size_t visible_size(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if ((lead >= 0x80 && lead < 0xC2) || lead > 0xF4) return 0;
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (size > text.size()) return 0;
    for (std::size_t i = 1; i < size; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
    const bool no_character = (lead == 0xED && byte(1) > 0x9F) || (lead == 0xF4 && byte(1) > 0x8F);
    return overlong || no_character || is_control(text.substr(0, size)) ? 0 : size;
}

/// `text` with control characters, and bytes that are not UTF-8, as "\x1b".
inline std::string visible(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t size = visible_size(text);
        std::array<char, 5> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned char>(text[0]));
        shown += size > 0 ? text.substr(0, size) : std::string_view(escape.data());
        text.remove_prefix(size > 0 ? size : 1);
    }
    return shown;
}

/// The same, with lines and tabs as they are.
inline std::string visible_lines(std::string_view text) {
    std::string shown;
    for (std::size_t end = text.find_first_of("\n\t"); end != std::string_view::npos;
         end = text.find_first_of("\n\t")) {
        shown += visible(text.substr(0, end)) + text[end];
        text.remove_prefix(end + 1);
    }
    return shown + visible(text);
}

}  // namespace zun

#endif
