// Shortest text of floats and doubles.
//
// A finite value is significand * 2^exponent2. All reals nearer to it than to its neighbours read back to it:
// the rounding interval. In units of 10^k, k being floor(log10(2^exponent2)), this interval is at least one
// and less than ten wide: so it holds a whole number, and at most one multiple of ten, which is shorter then.
//
// One product with a power of ten gives the value in tens of that unit, a whole part and a fraction of 64
// bits. The fraction says whether the multiple of ten below or above is within half an interval, and if
// neither is, its nearest tenth is the last digit. The power is inexact and so is the fraction, by a bound
// that is known: what is not clear by more than that, as ties and the very ends of the interval, is left to
// the standard library. So are powers of two, whose interval is lopsided, and subnormal numbers; and all
// numbers on machines that store the highest byte of a word first.

#include "platform/printing/NumberText.hpp"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace zun::printing {

namespace {

__extension__ using uint128 = unsigned __int128;

/// All bits when `one` < `other`, else none; both are less than half of what Bits can hold.
///
/// For choices that no branch prediction can guess. Arithmetic, because compilers put the outcome of a
/// comparison into the low byte of a register, which then waits for whatever the register held: often the end
/// of the number before.
template <typename Bits>
constexpr Bits less_mask(Bits one, Bits other) {
    using Signed = std::make_signed_t<Bits>;
    return static_cast<Bits>(static_cast<Signed>(one - other) >> std::numeric_limits<Signed>::digits);
}

constexpr std::uint64_t low_word(uint128 value) {
    return static_cast<std::uint64_t>(value);
}
constexpr std::uint64_t high_word(uint128 value) {
    return static_cast<std::uint64_t>(value >> 64);
}

// ---------------------------------------------------------------------------- powers of ten

/// The leading 128 bits of a power of ten, rounded up.
struct PowerOfTen {
    std::uint64_t high;
    std::uint64_t low;
};

/// A number of 1216 bits, most significant word first: holds 10^324, and 2^1215 / 10^293 to 242 bits.
using WideNumber = std::array<std::uint64_t, 19>;

constexpr void multiply(WideNumber& number, std::uint64_t factor) {
    uint128 carry = 0;
    for (std::size_t i = number.size(); i-- > 0;) {
        carry += uint128{number[i]} * factor;
        number[i] = low_word(carry);
        carry >>= 64;
    }
}

constexpr void divide(WideNumber& number, std::uint64_t divisor) {
    uint128 remainder = 0;
    for (std::uint64_t& word : number) {
        remainder = remainder << 64 | word;
        word = low_word(remainder / divisor);
        remainder %= divisor;
    }
}

/// The leading 128 bits of `number`, plus one unless all bits after them are zero and `exact`.
constexpr PowerOfTen leading_bits(const WideNumber& number, bool exact) {
    std::size_t first = 0;
    while (number[first] == 0)
        ++first;
    const auto word = [&](std::size_t i) { return i < number.size() ? number[i] : 0; };
    const int shift = std::countl_zero(number[first]);
    const uint128 window = uint128{word(first)} << 64 | word(first + 1);
    uint128 bits = window << shift | (shift > 0 ? word(first + 2) >> (64 - shift) : 0);
    bool cut = !exact || word(first + 2) << shift != 0;
    for (std::size_t i = first + 3; i < number.size(); ++i)
        cut = cut || number[i] != 0;
    bits += cut ? 1 : 0;
    return {high_word(bits), low_word(bits)};
}

constexpr int least_power = -293;
constexpr int greatest_power = 324;

constexpr auto powers_of_ten = [] {
    std::array<PowerOfTen, greatest_power - least_power + 1> powers{};
    WideNumber number{};
    number.back() = 1;
    for (int power = 0; power <= greatest_power; ++power, multiply(number, 10))
        powers[static_cast<std::size_t>(power - least_power)] = leading_bits(number, true);
    number = {std::uint64_t{1} << 63};  // dividing it again and again cuts as one division would
    for (int power = -1; power >= least_power; --power) {
        divide(number, 10);
        powers[static_cast<std::size_t>(power - least_power)] = leading_bits(number, false);
    }
    return powers;
}();

constexpr PowerOfTen power_of_ten(int power) {
    return powers_of_ten[static_cast<std::size_t>(power - least_power)];
}

constexpr int floor_log2_of_power_of_ten(int power) {
    return (power * 1'741'647) >> 19;
}

constexpr int floor_log10_of_power_of_two(int power) {
    return (power * 1'262'611) >> 22;
}

// ---------------------------------------------------------------------------- shortest decimal

/// The format of a floating-point type.
template <typename Real>
struct Format {
    using Bits = std::conditional_t<sizeof(Real) == 8, std::uint64_t, std::uint32_t>;
    static constexpr int fraction_bits = std::numeric_limits<Real>::digits - 1;
    static constexpr Bits hidden_bit = Bits{1} << fraction_bits;
    static constexpr int exponent_mask = 2 * std::numeric_limits<Real>::max_exponent - 1;
    static constexpr int exponent_bias = std::numeric_limits<Real>::max_exponent - 1 + fraction_bits;
};

/// A number in some unit.
template <typename Bits>
struct Scaled {
    Bits whole;
    std::uint64_t fraction;  ///< in 2^-64, at most error_bound<Bits> off
    std::uint64_t half;      ///< half the width of the rounding interval, likewise
};

/// A double is multiplied by 128 bits of the power, of which one in the last place means nothing here; what
/// is cut off the product and off half the interval is less than one each.
template <typename Bits>
inline constexpr std::uint64_t error_bound = 4;
/// A float is multiplied by 64 bits, so that one in the last place is as much as its significand.
template <>
inline constexpr std::uint64_t error_bound<std::uint32_t> = 1U << 25U;

/// `significand` * `power` / 2^`shift`, `power` being a fraction of 128 bits; `shift` is 0 to 3.
inline Scaled<std::uint64_t> scale(std::uint64_t significand, PowerOfTen power, int shift) {
    const std::uint64_t high = power.high >> shift;
    const std::uint64_t low = power.low >> shift | (power.high << 1) << (63 - shift);
    const uint128 product = uint128{high} * significand + high_word(uint128{low} * significand);
    return {high_word(product), low_word(product), high / 2};
}

inline Scaled<std::uint32_t> scale(std::uint32_t significand, PowerOfTen power, int shift) {
    const std::uint64_t high = power.high >> shift;
    const uint128 product = uint128{high} * significand;
    return {static_cast<std::uint32_t>(high_word(product)), low_word(product), high / 2};
}

/// (tens * 10 + ones) * 10^exponent10
template <typename Bits>
struct Decimal {
    Bits tens;
    std::uint32_t ones;
    int exponent10;
    bool is_clear;
};

/// Whether two fractions differ by less than `bound`, from either side of a whole number, too.
constexpr bool is_near(std::uint64_t one, std::uint64_t other, std::uint64_t bound) {
    return one - other + bound < 2 * bound;
}

/// The shortest decimal in the rounding interval of significand * 2^exponent2, and of those the nearest to
/// the number, if that is clear. It may end in zeros.
template <typename Bits>
inline Decimal<Bits> shortest_decimal(Bits significand, int exponent2) {
    const int exponent10 = floor_log10_of_power_of_two(exponent2);
    const int power = -1 - exponent10;
    const int shift = -1 - exponent2 - floor_log2_of_power_of_ten(power);
    const auto [whole, fraction, half] = scale(significand, power_of_ten(power), shift);
    const std::uint64_t up = fraction >> 63;  // is the nearest ten
    const std::uint64_t distance = fraction ^ (0 - up);
    const uint128 tenths = uint128{fraction} * 10 + (uint128{1} << 63);

    constexpr std::uint64_t bound = error_bound<Bits>;
    const bool is_clear = !is_near(distance, half, bound) && !is_near(low_word(tenths), 0, 16 * bound);
    const std::uint64_t shorter = less_mask(distance, half);
    return {whole + static_cast<Bits>(shorter & up), static_cast<std::uint32_t>(high_word(tenths) & ~shorter),
            exponent10, is_clear};
}

// ---------------------------------------------------------------------------- layout

/// Sixteen digits.
#ifdef __SSE2__
class SixteenDigits {
public:
    /// The digits of `upper`, then those of `lower`; both are less than 10^8.
    ///
    /// Halves the groups of digits three times, as eight_digits() does: the quotient is the upper half, and
    /// `group - quotient * divisor` moved behind it is the lower one.
    SixteenDigits(std::uint64_t upper, std::uint64_t lower) {
        const __m128i eights = _mm_set_epi64x(static_cast<long long>(lower), static_cast<long long>(upper));
        const __m128i by_10000 = _mm_srli_epi64(_mm_mul_epu32(eights, _mm_set1_epi64x(0xd1b7'1759)), 45);
        const __m128i fours =
            _mm_sub_epi64(_mm_or_si128(_mm_slli_epi64(eights, 32), by_10000),
                          _mm_slli_epi64(_mm_mul_epu32(by_10000, _mm_set1_epi64x(10'000)), 32));
        const __m128i by_100 = _mm_srli_epi16(_mm_mulhi_epu16(fours, _mm_set1_epi16(5'243)), 3);
        const __m128i twos = _mm_sub_epi32(_mm_or_si128(_mm_slli_epi32(fours, 16), by_100),
                                           _mm_slli_epi32(_mm_madd_epi16(by_100, _mm_set1_epi32(100)), 16));
        const __m128i by_10 = _mm_mulhi_epu16(twos, _mm_set1_epi16(6'554));
        digits_ = _mm_sub_epi16(_mm_or_si128(_mm_slli_epi16(twos, 8), by_10),
                                _mm_slli_epi16(_mm_mullo_epi16(by_10, _mm_set1_epi16(10)), 8));
    }

    /// The number of digits up to the last one that is not zero.
    int significant() const {
        const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(digits_, _mm_setzero_si128()));
        return static_cast<int>(std::bit_width(static_cast<unsigned>(zeros ^ 0xffff)));
    }

    void store(char* out) const { store(out, text()); }

    /// Stores the digits with a point before digit `index`, 0 to 15: 17 bytes.
    void store_with_point(char* out, int index) const {
        const char* const mask = bytes_before.data() + 16 - index;
        const __m128i before = _mm_loadu_si128(reinterpret_cast<const __m128i*>(mask));
        const __m128i moved = _mm_slli_si128(text(), 1);
        store(out + 1, text());  // its last byte is the one that `moved` lost
        store(out, _mm_or_si128(_mm_and_si128(before, text()), _mm_andnot_si128(before, moved)));
        out[index] = '.';
    }

private:
    /// Sixteen bytes of ones and sixteen of zeros: from 16 - n on, a mask for n bytes.
    static constexpr auto bytes_before = [] {
        std::array<char, 32> bytes{};
        std::fill_n(bytes.begin(), 16, '\xff');
        return bytes;
    }();

    static void store(char* out, __m128i text) { _mm_storeu_si128(reinterpret_cast<__m128i*>(out), text); }
    __m128i text() const { return _mm_or_si128(digits_, _mm_set1_epi8('0')); }

    __m128i digits_;
};
#else
class SixteenDigits {
public:
    /// The digits of `upper`, then those of `lower`; both are less than 10^8.
    SixteenDigits(std::uint64_t upper, std::uint64_t lower) {
        digits::write_eight(digits::write_eight(text_.data(), upper), lower);
    }

    /// The number of digits up to the last one that is not zero.
    int significant() const {
        const auto last = std::find_if(text_.rbegin(), text_.rend(), [](char digit) { return digit != '0'; });
        return static_cast<int>(text_.rend() - last);
    }

    void store(char* out) const { std::copy(text_.begin(), text_.end(), out); }

    /// Stores the digits with a point before digit `index`, 0 to 15: 17 bytes.
    void store_with_point(char* out, int index) const {
        out = std::copy_n(text_.begin(), index, out);
        *out = '.';
        std::copy(text_.begin() + index, text_.end(), out + 1);
    }

private:
    std::array<char, 16> text_;
};
#endif

/// Eight digits, the first in the lowest byte.
class EightDigits {
public:
    explicit EightDigits(std::uint64_t digits) : digits_(digits) {}

    /// The number of digits up to the last one that is not zero.
    int significant() const { return (64 - std::countl_zero(digits_) + 7) / 8; }

    void store(char* out) const { store(out, text()); }

    /// Stores the digits with a point before digit `index`, 0 to 7: 9 bytes.
    void store_with_point(char* out, int index) const {
        store(out, text());
        out[index] = '.';
        store(out + index + 1, text() >> 8 * index);
    }

private:
    static void store(char* out, std::uint64_t text) { std::memcpy(out, &text, sizeof text); }
    std::uint64_t text() const { return digits_ | digits::ascii_zeros; }

    std::uint64_t digits_;
};

/// The number 0.dddd * 10^point: a first digit that is not zero and some more.
template <typename Following>
struct Digits {
    Digits(std::uint64_t first_digit, Following following_digits, int decimal_point)
        : first(static_cast<char>('0' + first_digit)),
          following(following_digits),
          count(1 + following.significant()),
          point(decimal_point) {}

    char first;
    Following following;
    int count;  // all digits but the zeros at the end
    int point;
};

inline Digits<SixteenDigits> digits_of(const Decimal<std::uint64_t>& decimal) {
    constexpr std::uint64_t ten_to_8 = digits::ten_to_8;
    std::uint64_t number = decimal.tens * 10 + decimal.ones;
    const std::uint64_t sixteen = less_mask(number, digits::ten_to_16);  // else seventeen
    number += (number * 9) & sixteen;
    const std::uint64_t nine = number / ten_to_8;
    const std::uint64_t first = nine / ten_to_8;
    return {first, SixteenDigits(nine - first * ten_to_8, number - nine * ten_to_8),
            decimal.exponent10 + 17 + static_cast<int>(sixteen)};
}

inline Digits<EightDigits> digits_of(const Decimal<std::uint32_t>& decimal) {
    const std::uint64_t tens = digits::eight_digits(decimal.tens);
    const int leading = (std::countr_zero(tens) / 8) & 3;  // none to two of eight
    const std::uint64_t number = tens >> 8 * leading;
    const std::uint64_t ones = std::uint64_t{decimal.ones} << 8 * (7 - leading);
    return {number & 0xff, EightDigits(number >> 8 | ones), decimal.exponent10 + 9 - leading};
}

/// Whether fixed notation is not longer than scientific, zeros that stand for dropped digits included.
template <typename Following>
inline bool is_fixed(const Digits<Following>& number) {
    const int lone = number.count == 1;  // scientific without a point
    return number.point >= lone - 3 && number.point - number.count <= 5 - lone;
}

/// Writes "ddd.ddd" or "0.00ddd".
template <typename Following>
inline char* write_fixed(char* out, const Digits<Following>& number) {
    if (number.point <= 0) {
        std::memcpy(out, "0.00000", 8);
        out += 2 - number.point;
        *out = number.first;
        number.following.store(out + 1);
        return out + number.count;
    }
    *out = number.first;
    number.following.store_with_point(out + 1, number.point - 1);
    return out + (number.count <= number.point ? number.point : number.count + 1);
}

/// Writes "d.ddde-05".
template <typename Following>
inline char* write_scientific(char* out, const Digits<Following>& number) {
    out[0] = number.first;
    out[1] = '.';
    number.following.store(out + 2);
    out += number.count > 1 ? number.count + 1 : 1;
    const int exponent10 = number.point - 1;
    auto magnitude = static_cast<unsigned>(exponent10 < 0 ? -exponent10 : exponent10);
    out[0] = 'e';
    out[1] = exponent10 < 0 ? '-' : '+';
    out += 2;
    if (magnitude >= 100) {
        *out++ = static_cast<char>('0' + magnitude / 100);
        magnitude %= 100;
    }
    out[0] = static_cast<char>('0' + magnitude / 10);
    out[1] = static_cast<char>('0' + magnitude % 10);
    return out + 2;
}

template <typename Real>
[[gnu::noinline]] char* write_standard(char* out, Real value) {
    return std::to_chars(out, out + number_text_size, value).ptr;
}

/// Zeros, subnormal numbers, infinities and what is not a number; right for every other value too, and
/// slower.
template <typename Real>
[[gnu::noinline]] char* write_special(char* out, Real value) {
    if (value == 0) {
        *out = '-';
        out += std::signbit(value);
        *out = '0';
        return out + 1;
    }
    return write_standard(out, std::isnan(value) ? std::abs(value) : value);
}

template <typename Real>
inline char* write_real(char* const begin, Real value) {
    if constexpr (!digits::words_are_text) return write_special(begin, value);
    using Number = Format<Real>;
    using Bits = typename Number::Bits;
    const auto bits = std::bit_cast<Bits>(value);
    const Bits fraction = bits & (Number::hidden_bit - 1);
    const int exponent = static_cast<int>(bits >> Number::fraction_bits) & Number::exponent_mask;
    if (exponent == 0 || exponent == Number::exponent_mask) return write_special(begin, value);

    *begin = '-';
    char* const out = begin + (bits >> (8 * sizeof bits - 1));
    const Bits significand = fraction | Number::hidden_bit;
    const int exponent2 = exponent - Number::exponent_bias;
    if (exponent2 <= 0 && exponent2 >= -Number::fraction_bits) {
        const Bits whole = significand >> -exponent2;
        // Up to four zeros at the end never make scientific notation shorter.
        if (whole << -exponent2 == significand && whole % 100'000 != 0)
            return digits::write_unsigned(out, whole);
    }

    const auto decimal = shortest_decimal(significand, exponent2);
    if (fraction == 0 || !decimal.is_clear) return write_standard(begin, value);
    const auto number = digits_of(decimal);
    if (!is_fixed(number)) return write_scientific(out, number);
    // A whole number with more bits than the significand holds has all its digits in fixed notation, also
    // those that the shortest decimal would leave at zero.
    if (exponent2 > 0) return write_standard(begin, value);
    return write_fixed(out, number);
}

}  // namespace

char* write_number(char* out, float value) {
    return write_real(out, value);
}
char* write_number(char* out, double value) {
    return write_real(out, value);
}

}  // namespace zun::printing
