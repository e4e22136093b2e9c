// NumberText: the decimal text of numbers.
//
// Integers are decimal. A float or double has the shortest text that reads back to the same bits, in the
// layout of std::to_chars without a format: fixed notation unless scientific is shorter. Not-a-number is
// "nan" whatever its sign.

#ifndef ZUN_PLATFORM_PRINTING_NUMBER_TEXT_HPP
#define ZUN_PLATFORM_PRINTING_NUMBER_TEXT_HPP

#include <array>
#include <bit>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace zun::printing {

/// Bytes that write_number() may touch from `out` on, the text's own included.
inline constexpr std::size_t number_text_size = 32;

/// Writes the text of `value`; returns its end. Bytes after the end, up to number_text_size, are scribbled
/// on.
char* write_number(char* out, float value);
char* write_number(char* out, double value);
template <std::integral Integer>
char* write_number(char* out, Integer value);

namespace digits {

/// Whether words of digits can be stored as they are: they hold their first character in the lowest byte.
/// Elsewhere std::to_chars writes all numbers.
inline constexpr bool words_are_text = std::endian::native == std::endian::little;

inline constexpr std::uint64_t ascii_zeros = 0x3030303030303030;
inline constexpr std::uint64_t ten_to_8 = 100'000'000;
inline constexpr std::uint64_t ten_to_16 = ten_to_8 * ten_to_8;

/// The eight decimal digits of `value` < 10^8, one per byte, the first in the lowest byte, as 0 to 9.
///
/// Halves the groups of digits three times, all groups of a word at once; a division by 100 or 10 is a
/// multiplication by a fraction just above 1/100 or 1/10, exact for groups of four and two digits.
constexpr std::uint64_t eight_digits(std::uint64_t value) {
    const std::uint64_t upper = value / 10'000;
    const std::uint64_t fours = upper | (value - upper * 10'000) << 32;
    const std::uint64_t hundreds = ((fours * 10'486) >> 20) & 0x0000'007f'0000'007f;
    const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const std::uint64_t tens = ((twos * 103) >> 10) & 0x000f'000f'000f'000f;
    return tens | (twos - tens * 10) << 8;
}

/// Writes `value` < 10^8 as eight digits.
inline char* write_eight(char* out, std::uint64_t value) {
    const std::uint64_t text = eight_digits(value) | ascii_zeros;
    std::memcpy(out, &text, sizeof text);
    return out + sizeof text;
}

/// Writes `value` < 10^8 without leading zeros, and without a branch on how many there are.
inline char* write_up_to_eight(char* out, std::uint64_t value) {
    const std::uint64_t bytes = eight_digits(value);
    const std::uint64_t last_byte = std::uint64_t{1} << 56;  // zero itself keeps one digit
    const int leading = std::countr_zero(bytes | last_byte) / 8;
    const std::uint64_t text = (bytes | ascii_zeros) >> 8 * leading;
    std::memcpy(out, &text, sizeof text);
    return out + 8 - leading;
}

/// Writes `value` < 10^4 without leading zeros, as write_up_to_eight() does.
inline char* write_up_to_four(char* out, std::uint32_t value) {
    const std::uint32_t hundreds = (value * 5'243) >> 19;
    const std::uint32_t twos = hundreds | (value - hundreds * 100) << 16;
    const std::uint32_t tens = ((twos * 103) >> 10) & 0x000f'000f;
    const std::uint32_t bytes = tens | (twos - tens * 10) << 8;
    const std::uint32_t last_byte = std::uint32_t{1} << 24;
    const int leading = std::countr_zero(bytes | last_byte) / 8;
    const std::uint32_t text = (bytes | static_cast<std::uint32_t>(ascii_zeros)) >> 8 * leading;
    std::memcpy(out, &text, sizeof text);
    return out + 4 - leading;
}

struct OctetText {
    std::array<char, 3> text;
    std::uint8_t length;
};

inline constexpr auto octet_texts = [] {
    std::array<OctetText, 256> texts{};
    for (unsigned value = 0; value < texts.size(); ++value) {
        OctetText& entry = texts[value];
        if (value >= 100) entry.text[entry.length++] = static_cast<char>('0' + value / 100);
        if (value >= 10) entry.text[entry.length++] = static_cast<char>('0' + value / 10 % 10);
        entry.text[entry.length++] = static_cast<char>('0' + value % 10);
    }
    return texts;
}();

inline char* write_octet(char* out, std::uint8_t value) {
    const OctetText& entry = octet_texts[value];
    std::memcpy(out, &entry, sizeof entry);  // one store of four bytes
    return out + entry.length;
}

inline char* write_unsigned(char* out, std::uint64_t value) {
    if (value < octet_texts.size()) return write_octet(out, static_cast<std::uint8_t>(value));
    if (value < 10'000) return write_up_to_four(out, static_cast<std::uint32_t>(value));
    if (value < ten_to_8) return write_up_to_eight(out, value);
    if (value < ten_to_16) return write_eight(write_up_to_eight(out, value / ten_to_8), value % ten_to_8);
    const std::uint64_t rest = value % ten_to_16;
    out = write_up_to_eight(out, value / ten_to_16);
    return write_eight(write_eight(out, rest / ten_to_8), rest % ten_to_8);
}

}  // namespace digits

template <std::integral Integer>
inline char* write_number(char* out, Integer value) {
    if constexpr (!digits::words_are_text) return std::to_chars(out, out + number_text_size, value).ptr;
    auto magnitude = static_cast<std::make_unsigned_t<Integer>>(value);
    if constexpr (std::signed_integral<Integer>) {
        *out = '-';
        out += value < 0;
        if (value < 0) magnitude = static_cast<decltype(magnitude)>(0 - magnitude);
    }
    if constexpr (sizeof value == 1)
        return digits::write_octet(out, magnitude);
    else
        return digits::write_unsigned(out, magnitude);
}

/// Writes doubles as write_number() does, and faster where values come again: covariances, constants, poses
/// at rest. One that was not among the last few hundred costs a little more. Not for several threads at once.
class DoubleTextCache {
public:
    char* write(char* out, double value) {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        Entry& entry = entries_[bits * hash_factor >> 56];
        if (entry.bits == bits) {
            std::memcpy(out, entry.text.data(), entry.text.size());
            return out + entry.length;
        }
        // Straight to its place, and from there to the cache: the other way round, the copy would wait.
        char* const end = write_number(out, value);
        entry.bits = bits;
        entry.length = static_cast<std::size_t>(end - out);
        std::memcpy(entry.text.data(), out, entry.text.size());
        return end;
    }

private:
    static constexpr std::uint64_t hash_factor = 0x9e37'79b9'7f4a'7c15;  // 2^64 / golden ratio

    struct Entry {
        std::uint64_t bits = 0;
        std::array<char, 24> text{'0'};  // the longest is -2.2250738585072014e-308
        std::size_t length = 1;
    };
    std::array<Entry, 256> entries_;
};

}  // namespace zun::printing

#endif
