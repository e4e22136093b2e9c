// visible: text of others, such that a terminal shows it and does not obey it.

#ifndef ZUN_PLATFORM_ERROR_VISIBLE_HPP
#define ZUN_PLATFORM_ERROR_VISIBLE_HPP

#include <array>
#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace zun {

/// Bytes of the UTF-8 character that `text` begins with; 0 where it is a control character or none at all.
inline std::size_t visible_size(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (byte(0) < 0x80) return byte(0) < 0x20 || byte(0) == 0x7F ? 0 : 1;
    if (byte(0) < 0xC2 || byte(0) > 0xF4) return 0;
    const std::size_t size = byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    if (size > text.size() || (byte(0) == 0xC2 && byte(1) < 0xA0)) return 0;
    for (std::size_t i = 1; i < size; ++i)
        if ((byte(i) & 0xC0) != 0x80) return 0;
    return size;
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
