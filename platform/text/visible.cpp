#include "platform/text/visible.hpp"

#include <array>
#include <cstdio>

#include "platform/text/utf8.hpp"

namespace zun {

namespace {

/// Whether the character, in UTF-8, controls the text around it.
bool is_control(std::string_view character) {
    const auto in = [&](std::string_view first, std::string_view last) {
        return character >= first && character <= last;
    };
    return in({"\0", 1}, "\x1f") || in("\x7f", "\x7f") || in("\xc2\x80", "\xc2\x9f") ||
           in("\u2028", "\u202e") || in("\u2066", "\u2069");
}

}  // namespace

std::size_t visible_size(std::string_view text) {
    const std::size_t size = character_size(text);
    return is_control(text.substr(0, size)) ? 0 : size;
}

std::string visible(std::string_view text) {
    std::string shown;
    while (!text.empty()) {
        const std::size_t size = visible_size(text);
        std::array<char, 5> escape{};
        std::snprintf(escape.data(), escape.size(), "\\x%02x", static_cast<unsigned char>(text[0]));
        shown += size > 0 ? text.substr(0, size) : std::string_view(escape.data());
        // Of a control character of several bytes the others follow, each as one that is not UTF-8.
        text.remove_prefix(size > 0 ? size : 1);
    }
    return shown;
}

std::string visible_lines(std::string_view text) {
    std::string shown;
    for (std::size_t end = text.find_first_of("\n\t"); end != std::string_view::npos;
         end = text.find_first_of("\n\t")) {
        shown += visible(text.substr(0, end)) + text[end];
        text.remove_prefix(end + 1);
    }
    return shown + visible(text);
}

}  // namespace zun
