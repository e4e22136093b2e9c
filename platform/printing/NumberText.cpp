// Shortest text of floats and doubles, after Raffaele Giulietti, "The Schubfach way to render doubles"
// (2020).
//
// A finite value is significand * 2^exponent2. All reals nearer to it than to its neighbours read back to it:
// the rounding interval. A power of ten is chosen such that this interval, in units of that power, is at
// least one and less than ten wide: so it holds a whole number, and at most one multiple of ten. Three
// products with a 128-bit power of ten bring the value and both ends of the interval to that unit; comparing
// whole numbers does the rest.

#include "platform/printing/NumberText.hpp"

#include <algorithm>
#include <charconv>
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

/// A number of 1216 bits, most significant word first: holds 10^324, and 2^1215 / 10^292 to 245 bits.
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

constexpr int least_power = -292;
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

/// floor(log10(width)), `width` being 2^exponent2, or three quarters of that when `three_quarters` is all
/// bits.
constexpr int floor_log10_of_width(int exponent2, int three_quarters) {
    return (exponent2 * 1'262'611 - (three_quarters & 524'031)) >> 22;
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

/// A finite positive number, significand * 2^exponent2.
template <typename Bits>
struct Binary {
    Bits significand;
    int exponent2;
    Bits nearer_below;  ///< all bits for a power of two, whose lower neighbour is half as far, else none
};

/// significand * 10^exponent10
template <typename Bits>
struct Decimal {
    Bits significand;
    int exponent10;
};

/// A product with a power of ten, in quarters of the decimal unit: the upper half is whole, the lower half is
/// the fraction. A power is rounded up, which leaves 0 or 1 in the last place where the fraction is zero,
/// and more than that where it is not.
inline uint128 scale(PowerOfTen power, std::uint64_t factor) {
    const uint128 low = uint128{power.low} * factor;
    return uint128{power.high} * factor + high_word(low);
}

inline std::uint64_t scale(PowerOfTen power, std::uint32_t factor) {
    const std::uint64_t rounded_up = power.high + 1;  // 64 bits are enough for a float
    return high_word(uint128{rounded_up} * (std::uint64_t{factor} << 32));
}

constexpr std::uint64_t whole_part(uint128 scaled) {
    return high_word(scaled);
}
constexpr std::uint32_t whole_part(std::uint64_t scaled) {
    return static_cast<std::uint32_t>(scaled >> 32);
}

/// The shortest decimal in the rounding interval, and of those the nearest to the number. It may end in
/// zeros.
///
/// Everything is decided by selection instead of branches, which nothing could predict.
template <typename Bits>
inline Decimal<Bits> shortest_decimal(const Binary<Bits>& number) {
    const int exponent10 = floor_log10_of_width(number.exponent2, static_cast<int>(number.nearer_below));
    const int shift = number.exponent2 + floor_log2_of_power_of_ten(-exponent10) + 1;
    const PowerOfTen power = power_of_ten(-exponent10);
    const Bits quarters = 4 * number.significand;
    const auto lower = scale(power, (quarters - 2 - number.nearer_below) << shift);
    const auto value = scale(power, quarters << shift);
    const auto upper = scale(power, (quarters + 2) << shift);

    // The whole numbers in the interval. Its ends read back to an even significand only.
    const Bits odd = number.significand & 1;
    const Bits least = whole_part(lower - 2 + 2 * odd) / 4 + 1;
    const Bits greatest = whole_part(upper - 2 * odd) / 4;

    const Bits tens = greatest / 10 * 10;
    const Bits down = whole_part(value) / 4;
    const Bits nearest = (whole_part(value - 2 + 2 * (down & 1)) + 2) / 4;  // a tie goes to the even number
    // The interval of a power of two is shorter below, where the nearest number may miss it.
    const Bits ones = std::max(nearest, least);
    return {tens ^ ((tens ^ ones) & less_mask(tens, least)), exponent10};
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

/// The number 0.dddd * 10^point: a first digit that is not zero and sixteen more.
struct Digits {
    Digits(std::uint64_t first_digit, std::uint64_t upper, std::uint64_t lower, int decimal_point)
        : first(static_cast<char>('0' + first_digit)),
          following(upper, lower),
          count(1 + following.significant()),
          point(decimal_point) {}

    char first;
    SixteenDigits following;
    int count;  // all digits but the zeros at the end
    int point;
};

inline Digits digits_of(Decimal<std::uint64_t> decimal) {
    constexpr std::uint64_t ten_to_16 = digits::ten_to_16;
    constexpr std::uint64_t ten_to_8 = digits::ten_to_8;
    auto [number, exponent10] = decimal;
    const std::uint64_t sixteen = less_mask(number, ten_to_16);  // normal numbers have 16 or 17
    number += (number * 9) & sixteen;
    exponent10 += static_cast<int>(sixteen);
    for (; number < ten_to_16; number *= 10)
        --exponent10;
    const std::uint64_t nine = number / ten_to_8;
    const std::uint64_t first = nine / ten_to_8;
    return {first, nine - first * ten_to_8, number - nine * ten_to_8, exponent10 + 17};
}

inline Digits digits_of(Decimal<std::uint32_t> decimal) {
    constexpr auto ten_to_8 = static_cast<std::uint32_t>(digits::ten_to_8);
    auto [number, exponent10] = decimal;
    for (int i = 0; i < 2; ++i) {  // normal numbers have 7 to 9
        const std::uint32_t too_short = less_mask(number, ten_to_8);
        number += (number * 9) & too_short;
        exponent10 += static_cast<int>(too_short);
    }
    for (; number < ten_to_8; number *= 10)
        --exponent10;
    const std::uint32_t first = number / ten_to_8;
    return {first, number - first * ten_to_8, 0, exponent10 + 9};
}

/// Whether fixed notation is not longer than scientific, zeros that stand for dropped digits included.
inline bool is_fixed(const Digits& number) {
    const int lone = number.count == 1;  // scientific without a point
    return number.point >= lone - 3 && number.point - number.count <= 5 - lone;
}

/// Writes "ddd.ddd" or "0.00ddd".
inline char* write_fixed(char* out, const Digits& number) {
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
inline char* write_scientific(char* out, const Digits& number) {
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
inline char* write_real(char* out, Real value) {
    using Number = Format<Real>;
    using Bits = typename Number::Bits;
    const auto bits = std::bit_cast<Bits>(value);
    const Bits fraction = bits & (Number::hidden_bit - 1);
    const int exponent = static_cast<int>(bits >> Number::fraction_bits) & Number::exponent_mask;
    const bool negative = bits >> (8 * sizeof bits - 1) != 0;

    if (exponent == Number::exponent_mask && fraction != 0) {
        std::memcpy(out, "nan", 3);
        return out + 3;
    }
    *out = '-';
    out += negative;
    if (exponent == Number::exponent_mask) {
        std::memcpy(out, "inf", 3);
        return out + 3;
    }
    if (static_cast<Bits>(bits << 1) == 0) {
        *out = '0';
        return out + 1;
    }

    const Bits significand = exponent == 0 ? fraction : fraction | Number::hidden_bit;
    const int exponent2 = (exponent == 0 ? 1 : exponent) - Number::exponent_bias;
    if (exponent2 <= 0 && exponent2 >= -Number::fraction_bits) {
        const Bits whole = significand >> -exponent2;
        // Up to four zeros at the end never make scientific notation shorter.
        if (whole << -exponent2 == significand && whole % 100'000 != 0)
            return digits::write_unsigned(out, whole);
    }

    const Bits nearer_below = less_mask<Bits>(fraction, 1) & less_mask<Bits>(1, static_cast<Bits>(exponent));
    const auto number = digits_of(shortest_decimal<Bits>({significand, exponent2, nearer_below}));
    if (!is_fixed(number)) return write_scientific(out, number);
    // A whole number with more bits than the significand holds has all its digits in fixed notation, also
    // those that the shortest decimal would leave at zero.
    if (exponent2 > 0) return std::to_chars(out, out + number_text_size - 1, negative ? -value : value).ptr;
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
