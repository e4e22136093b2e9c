// NumberText: the decimal text of numbers.
//
// Integers are decimal. A float or double has the shortest text that reads back to the same bits, in the
// layout of std::to_chars without a format: fixed notation unless scientific is shorter. Not-a-number is
// "nan" whatever its sign.

#ifndef ZUN_PLATFORM_PRINTING_NUMBER_TEXT_HPP
#define ZUN_PLATFORM_PRINTING_NUMBER_TEXT_HPP

#include <charconv>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace zun::printing {

/// Bytes that write_number() may touch from `out` on, the text's own included.
inline constexpr std::size_t NUMBER_TEXT_SIZE = 48;

/// Writes the text of `value`; returns its end. Bytes after the end, up to NUMBER_TEXT_SIZE, are scribbled
/// on.
template <std::integral Integer>
char* write_number(char* out, Integer value) {
    return std::to_chars(out, out + NUMBER_TEXT_SIZE, value).ptr;
}
template <std::floating_point Real>
char* write_number(char* out, Real value) {
    return std::to_chars(out, out + NUMBER_TEXT_SIZE, std::isnan(value) ? std::abs(value) : value).ptr;
}

}  // namespace zun::printing

#endif
