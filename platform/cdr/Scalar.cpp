#include "platform/cdr/Scalar.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace zun::cdr {

namespace {

constexpr int x87_bias = 16383;
constexpr int x87_no_number = 0x7fff;  // the exponent of infinities and of what is no number

}  // namespace

std::uint8_t size_of(TypeKind kind) {
    switch (kind) {
        case TypeKind::INT_16_TYPE:
        case TypeKind::UINT_16_TYPE:
        case TypeKind::CHAR_16_TYPE:
            return 2;
        case TypeKind::INT_32_TYPE:
        case TypeKind::UINT_32_TYPE:
        case TypeKind::FLOAT_32_TYPE:
            return 4;
        case TypeKind::INT_64_TYPE:
        case TypeKind::UINT_64_TYPE:
        case TypeKind::FLOAT_64_TYPE:
            return 8;
        case TypeKind::FLOAT_128_TYPE:
            return 16;
        default:
            return 1;
    }
}

ScalarBytes bytes_of_integer(TypeKind carrier, std::int64_t value) {
    switch (size_of(carrier)) {
        case 1:
            return bytes_of(static_cast<std::uint8_t>(value));
        case 2:
            return bytes_of(static_cast<std::uint16_t>(value));
        case 4:
            return bytes_of(static_cast<std::uint32_t>(value));
        default:
            return bytes_of(value);
    }
}

ScalarBytes bytes_of_long_double(double value) {
    int exponent = 0;
    const double fraction = std::frexp(std::fabs(value), &exponent);
    const auto mantissa = static_cast<std::uint64_t>(std::ldexp(fraction, 64));
    const int high = (mantissa == 0 ? 0 : exponent + x87_bias - 1) | (std::signbit(value) ? 0x8000 : 0);
    ScalarBytes bytes = bytes_of(mantissa);
    const auto sign_and_exponent = static_cast<std::uint16_t>(high);
    std::memcpy(bytes.data() + sizeof mantissa, &sign_and_exponent, sizeof sign_and_exponent);
    return bytes;
}

long double long_double_of(const ScalarBytes& bytes) {
    std::uint64_t mantissa;
    std::uint16_t high;
    std::memcpy(&mantissa, bytes.data(), sizeof mantissa);
    std::memcpy(&high, bytes.data() + sizeof mantissa, sizeof high);
    const int exponent = high & x87_no_number;
    using Limits = std::numeric_limits<long double>;
    long double value = 0;
    if (exponent == x87_no_number)
        value = (mantissa << 1U) != 0 ? Limits::quiet_NaN() : Limits::infinity();
    else
        value = std::ldexp(static_cast<long double>(mantissa), std::max(exponent, 1) - x87_bias - 63);
    return (high & 0x8000) != 0 ? -value : value;
}

}  // namespace zun::cdr
