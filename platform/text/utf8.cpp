#include "platform/text/utf8.hpp"

#include <algorithm>
#include <iterator>
#include <utf8.h>

namespace zun {

std::size_t character_size(std::string_view text) {
    constexpr std::size_t longest = 4;
    for (std::size_t size = 1; size <= std::min(longest, text.size()); ++size)
        if (utf8::is_valid(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size))) return size;
    return 0;
}

std::size_t count_characters(std::string_view text) {
    std::size_t count = 0;
    for (; !text.empty(); ++count)
        text.remove_prefix(std::max<std::size_t>(character_size(text), 1));
    return count;
}

std::optional<std::uint32_t> only_character(std::string_view text) {
    if (text.empty() || character_size(text) != text.size()) return std::nullopt;
    return utf8::peek_next(text.begin(), text.end());
}

void append_character(std::string& text, std::uint16_t code) {
    utf8::unchecked::append(std::uint32_t{code}, std::back_inserter(text));
}

std::string_view first_characters(std::string_view text, std::size_t bytes) {
    text = text.substr(0, bytes);
    return text.substr(0, utf8::find_invalid(text));
}

}  // namespace zun
