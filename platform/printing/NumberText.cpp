// Shortest text of floats and doubles, after Raffaele Giulietti, "The Schubfach way to render doubles"
// (2020).
//
// A finite value is significand * 2^exponent2. All reals nearer to it than to its neighbours read back to it:
// the rounding interval. A power of ten is chosen such that this interval, in units of that power, is at
// least one and less than ten wide: so it holds a whole number, and at most one multiple of ten. Three
// products with a 128-bit power of ten bring the value and both ends of the interval to that unit; comparing
// whole numbers does the rest.

#include "platform/printing/NumberText.hpp"

#include <charconv>
#include <limits>

namespace zun::printing {

namespace {

__extension__ using uint128 = unsigned __int128;

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

constexpr int LEAST_POWER = -292;
constexpr int GREATEST_POWER = 324;

constexpr auto POWERS_OF_TEN = [] {
    std::array<PowerOfTen, GREATEST_POWER - LEAST_POWER + 1> powers{};
    WideNumber number{};
    number.back() = 1;
    for (int power = 0; power <= GREATEST_POWER; ++power, multiply(number, 10))
        powers[static_cast<std::size_t>(power - LEAST_POWER)] = leading_bits(number, true);
    number = {std::uint64_t{1} << 63};  // dividing it again and again cuts as one division would
    for (int power = -1; power >= LEAST_POWER; --power) {
        divide(number, 10);
        powers[static_cast<std::size_t>(power - LEAST_POWER)] = leading_bits(number, false);
    }
    return powers;
}();

constexpr PowerOfTen power_of_ten(int power) {
    return POWERS_OF_TEN[static_cast<std::size_t>(power - LEAST_POWER)];
}

constexpr int floor_log2_of_power_of_ten(int power) {
    return (power * 1'741'647) >> 19;
}

/// floor(log10(width)), `width` being 2^exponent2, or three quarters of that.
constexpr int floor_log10_of_width(int exponent2, bool three_quarters) {
    return (exponent2 * 1'262'611 - (three_quarters ? 524'031 : 0)) >> 22;
}

// ---------------------------------------------------------------------------- shortest decimal

/// The format of a floating-point type.
template <typename Real>
struct Format {
    using Bits = std::conditional_t<sizeof(Real) == 8, std::uint64_t, std::uint32_t>;
    static constexpr int FRACTION_BITS = std::numeric_limits<Real>::digits - 1;
    static constexpr Bits HIDDEN_BIT = Bits{1} << FRACTION_BITS;
    static constexpr int EXPONENT_MASK = 2 * std::numeric_limits<Real>::max_exponent - 1;
    static constexpr int EXPONENT_BIAS = std::numeric_limits<Real>::max_exponent - 1 + FRACTION_BITS;
};

/// A finite positive number, significand * 2^exponent2.
template <typename Bits>
struct Binary {
    Bits significand;
    int exponent2;
    bool nearer_below;  ///< a power of two: its lower neighbour is at half the distance of the upper one
};

/// significand * 10^exponent10
template <typename Bits>
struct Decimal {
    Bits significand;
    int exponent10;
};

/// A value and the ends of its rounding interval in quarters of the decimal unit. The lowest bit is set when
/// anything was cut, which keeps comparisons with whole numbers right.
template <typename Bits>
struct Scaled {
    Bits lower;
    Bits value;
    Bits upper;
};

constexpr std::uint64_t keep_cut(std::uint64_t whole, std::uint64_t cut) {
    return whole | (cut > 1);
}
constexpr std::uint32_t keep_cut(std::uint32_t whole, std::uint32_t cut) {
    return whole | (cut > 1);
}

/// A product of 192 bits, of which the lowest 64 only serve carries.
struct Product {
    uint128 high;
    std::uint64_t low;

    Product(PowerOfTen power, std::uint64_t factor) {
        const uint128 lower = uint128{power.low} * factor;
        high = uint128{power.high} * factor + high_word(lower);
        low = low_word(lower);
    }
    std::uint64_t scaled() const { return keep_cut(high_word(high), low_word(high)); }
};

inline Scaled<std::uint64_t> scale(const Binary<std::uint64_t>& number, int power, int shift) {
    const PowerOfTen ten = power_of_ten(power);
    const std::uint64_t quarters = 4 * number.significand;
    return {Product(ten, (quarters - 2 + number.nearer_below) << shift).scaled(),
            Product(ten, quarters << shift).scaled(), Product(ten, (quarters + 2) << shift).scaled()};
}

inline Scaled<std::uint32_t> scale(const Binary<std::uint32_t>& number, int power, int shift) {
    const std::uint64_t ten = power_of_ten(power).high + 1;  // rounded up to 64 bits, which are enough here
    const std::uint32_t quarters = 4 * number.significand;
    const auto scaled = [&](std::uint32_t factor) {
        const uint128 product = uint128{ten} * (factor << shift);
        return keep_cut(static_cast<std::uint32_t>(high_word(product)),
                        static_cast<std::uint32_t>(low_word(product) >> 32));
    };
    return {scaled(quarters - 2 + number.nearer_below), scaled(quarters), scaled(quarters + 2)};
}

/// The shortest decimal in the rounding interval, and of those the nearest to the number. It may end in
/// zeros.
///
/// Everything is decided by selection instead of branches, which nothing could predict.
template <typename Bits>
inline Decimal<Bits> shortest_decimal(const Binary<Bits>& number) {
    const int exponent10 = floor_log10_of_width(number.exponent2, number.nearer_below);
    const int shift = number.exponent2 + floor_log2_of_power_of_ten(-exponent10) + 1;
    const auto [lower_end, value, upper_end] = scale(number, -exponent10, shift);

    const Bits odd = number.significand & 1;  // the ends themselves read back to even significands only
    const Bits lower = lower_end + odd;
    const Bits upper = upper_end - odd;
    const Bits down = value / 4;
    const Bits tens_down = down / 10 * 10;

    const bool tens_down_fits = lower <= 4 * tens_down;
    const bool tens_up_fits = 4 * tens_down + 40 <= upper;
    const bool down_fits = lower <= 4 * down;
    const bool up_fits = 4 * down + 4 <= upper;
    const bool nearer_up = (value & 3) + (down & 1) > 2;  // a tie goes to the even digit

    const Bits ones = down + Bits{down_fits != up_fits ? up_fits : nearer_up};
    const Bits tens = tens_down + (tens_up_fits ? 10 : 0);
    const bool one_digit_less = tens_down_fits != tens_up_fits && down >= 10;
    return {one_digit_less ? tens : ones, exponent10};
}

// ---------------------------------------------------------------------------- layout

/// The number 0.dddd * 10^point, as a first digit that is not zero and eight more in each word.
template <std::size_t WORDS>
struct Digits {
    char first;
    std::array<std::uint64_t, WORDS> following;  // as ASCII
    int count;                                   // all digits but the zeros at the end
    int point;
};

/// Digits up to the last one that is not zero.
inline int significant(std::uint64_t eight) {
    return (static_cast<int>(std::bit_width(eight)) + 7) / 8;
}

inline Digits<2> digits_of(Decimal<std::uint64_t> decimal) {
    constexpr std::uint64_t TEN_TO_16 = digits::TEN_TO_16;
    auto [number, exponent10] = decimal;
    const bool sixteen = number < TEN_TO_16;  // normal numbers have 16 or 17
    number *= sixteen ? 10 : 1;
    exponent10 -= sixteen;
    for (; number < TEN_TO_16; number *= 10)
        --exponent10;
    const std::uint64_t first = number / TEN_TO_16;
    const std::uint64_t rest = number - first * TEN_TO_16;
    const std::uint64_t upper = digits::eight_digits(rest / digits::TEN_TO_8);
    const std::uint64_t lower = digits::eight_digits(rest % digits::TEN_TO_8);
    return {.first = static_cast<char>('0' + first),
            .following = {upper | digits::ASCII_ZEROS, lower | digits::ASCII_ZEROS},
            .count = 1 + (lower != 0 ? 8 + significant(lower) : significant(upper)),
            .point = exponent10 + 17};
}

inline Digits<1> digits_of(Decimal<std::uint32_t> decimal) {
    constexpr auto TEN_TO_8 = static_cast<std::uint32_t>(digits::TEN_TO_8);
    auto [number, exponent10] = decimal;
    for (int i = 0; i < 2; ++i) {  // normal numbers have 7 to 9
        const bool short_by_one = number < TEN_TO_8;
        number *= short_by_one ? 10 : 1;
        exponent10 -= short_by_one;
    }
    for (; number < TEN_TO_8; number *= 10)
        --exponent10;
    const std::uint32_t first = number / TEN_TO_8;
    const std::uint64_t lower = digits::eight_digits(number - first * TEN_TO_8);
    return {.first = static_cast<char>('0' + first),
            .following = {lower | digits::ASCII_ZEROS},
            .count = 1 + significant(lower),
            .point = exponent10 + 9};
}

/// Whether fixed notation is not longer than scientific, zeros that stand for dropped digits included.
template <std::size_t WORDS>
inline bool is_fixed(const Digits<WORDS>& number) {
    const int lone = number.count == 1;  // scientific without a point
    return number.point >= lone - 3 && number.point - number.count <= 5 - lone;
}

/// Puts a point before the byte at `index`; the last byte falls out.
inline std::uint64_t insert_point(std::uint64_t text, int index) {
    const std::uint64_t point = std::uint64_t{1} << 8 * index;
    const std::uint64_t before = point - 1;
    return (text & before) | point * '.' | (text & ~before) << 8;
}

/// Writes "ddd.ddd" or "0.00ddd". Stores overlap instead of being read back, which would stall.
template <std::size_t WORDS>
inline char* write_fixed(char* out, const Digits<WORDS>& number) {
    const bool below_one = number.point <= 0;
    std::memcpy(out, "0.00000", 8);
    out += below_one ? 2 - number.point : 0;
    *out = number.first;
    std::memcpy(out + (below_one ? 1 : 2), number.following.data(), 8 * WORDS);  // right after the point
    if (below_one) return out + number.count;

    std::uint64_t text = number.following[0];  // and this part before it
    int index = number.point - 1;
    char* part = out + 1;
    if constexpr (WORDS == 2) {
        if (index >= 8) {
            std::memcpy(part, &text, 8);
            part += 8;
            index -= 8;
            text = number.following[1];
        }
    }
    text = insert_point(text, index);
    std::memcpy(part, &text, 8);
    return out + (number.count <= number.point ? number.point : number.count + 1);
}

/// Writes "d.ddde-05".
template <std::size_t WORDS>
inline char* write_scientific(char* out, const Digits<WORDS>& number) {
    out[0] = number.first;
    out[1] = '.';
    std::memcpy(out + 2, number.following.data(), 8 * WORDS);
    out += number.count > 1 ? number.count + 1 : 1;
    const int exponent10 = number.point - 1;
    const unsigned magnitude = static_cast<unsigned>(exponent10 < 0 ? -exponent10 : exponent10);
    *out++ = 'e';
    *out++ = exponent10 < 0 ? '-' : '+';
    if (magnitude < 10) *out++ = '0';
    return digits::write_up_to_eight(out, magnitude);
}

template <typename Real>
inline char* write_real(char* out, Real value) {
    using Number = Format<Real>;
    using Bits = typename Number::Bits;
    const auto bits = std::bit_cast<Bits>(value);
    const Bits fraction = bits & (Number::HIDDEN_BIT - 1);
    const int exponent = static_cast<int>(bits >> Number::FRACTION_BITS) & Number::EXPONENT_MASK;
    const bool negative = bits >> (8 * sizeof bits - 1) != 0;

    if (exponent == Number::EXPONENT_MASK && fraction != 0) {
        std::memcpy(out, "nan", 3);
        return out + 3;
    }
    *out = '-';
    out += negative;
    if (exponent == Number::EXPONENT_MASK) {
        std::memcpy(out, "inf", 3);
        return out + 3;
    }
    if (exponent == 0 && fraction == 0) {
        *out = '0';
        return out + 1;
    }

    const Bits significand = exponent == 0 ? fraction : fraction | Number::HIDDEN_BIT;
    const int exponent2 = (exponent == 0 ? 1 : exponent) - Number::EXPONENT_BIAS;
    if (exponent2 <= 0 && exponent2 >= -Number::FRACTION_BITS) {
        const Bits whole = significand >> -exponent2;
        // Up to four zeros at the end never make scientific notation shorter.
        if (whole << -exponent2 == significand && whole % 100'000 != 0)
            return digits::write_unsigned(out, whole);
    }

    const auto number =
        digits_of(shortest_decimal<Bits>({significand, exponent2, fraction == 0 && exponent > 1}));
    if (!is_fixed(number)) return write_scientific(out, number);
    // A whole number with more bits than the significand holds has all its digits in fixed notation, also
    // those that the shortest decimal would leave at zero.
    if (exponent2 > 0) return std::to_chars(out, out + NUMBER_TEXT_SIZE - 1, negative ? -value : value).ptr;
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
