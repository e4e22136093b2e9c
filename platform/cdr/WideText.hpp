// WideText: a wide string as it lies in a sample, and its characters.

#ifndef ZUN_PLATFORM_CDR_WIDE_TEXT_HPP
#define ZUN_PLATFORM_CDR_WIDE_TEXT_HPP

#include <cstddef>
#include <cstdint>

#include "platform/cdr/Scalar.hpp"

namespace zun::cdr {

/// A view: the bytes belong to the sample, in its byte order.
struct WideText {
    const std::byte* data;
    std::uint32_t units;     ///< behind `data`, without a zero at the end
    std::uint8_t unit_size;  ///< 2 bytes: UTF-16; 4: a UTF-16 unit or a whole character
};

/// Stands for a unit that is not a character: half of a pair of UTF-16 units, or a number above U+10FFFF.
inline constexpr char32_t no_character = 0xffffffff;

inline bool is_half_pair(char32_t unit) {
    return unit >= 0xd800 && unit <= 0xdfff;
}

/// The unit at `index`, which is less than `units`.
template <bool Swapped>
char32_t unit_at(const WideText& text, std::uint32_t index) {
    if (text.unit_size == 2) return load<Swapped, std::uint16_t>(text.data + std::size_t{index} * 2);
    return load<Swapped, std::uint32_t>(text.data + std::size_t{index} * 4);
}

/// The character that starts at unit `index` < `units`, which moves on to the next one; no_character where
/// the unit is not a character, and then `index` moves by one unit, so that a whole pair behind it is found.
template <bool Swapped>
char32_t next_character(const WideText& text, std::uint32_t& index) {
    const char32_t first = unit_at<Swapped>(text, index++);
    if (first < 0xd800 || (first > 0xdfff && first <= 0x10ffff)) return first;
    if (first > 0xdbff || index == text.units) return no_character;
    const char32_t second = unit_at<Swapped>(text, index);
    if (second < 0xdc00 || second > 0xdfff) return no_character;
    ++index;
    return 0x10000 + ((first - 0xd800) << 10U) + (second - 0xdc00);
}

}  // namespace zun::cdr

#endif
