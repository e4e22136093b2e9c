// number_text_reference: the text that std::to_chars gives, the reference for NumberText.

#ifndef ZUN_TESTS_PLATFORM_PRINTING_NUMBER_TEXT_REFERENCE_HPP
#define ZUN_TESTS_PLATFORM_PRINTING_NUMBER_TEXT_REFERENCE_HPP

#include <array>
#include <charconv>
#include <cmath>
#include <concepts>
#include <string>

#include "platform/printing/NumberText.hpp"

namespace zun::test {

template <typename Number>
std::string reference_text(Number value) {
    if constexpr (std::floating_point<Number>)
        if (std::isnan(value)) return "nan";
    std::array<char, 64> text;
    return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

/// The text from write_number(); "overrun" when it wrote further than it may.
template <typename Number>
std::string number_text(Number value) {
    std::array<char, printing::number_text_size + 8> text;
    text.fill('~');
    std::string written(text.data(), printing::write_number(text.data(), value));
    for (std::size_t i = printing::number_text_size; i < text.size(); ++i)
        if (text[i] != '~') return "overrun";
    return written;
}

}  // namespace zun::test

#endif
