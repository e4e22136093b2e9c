// Scalar: values of one machine type as they lie in a sample.

#ifndef ZUN_PLATFORM_CDR_SCALAR_HPP
#define ZUN_PLATFORM_CDR_SCALAR_HPP

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/xtypes/TypeKind.hpp"

namespace zun::cdr {

using dds::core::xtypes::TypeKind;

/// The bytes of a scalar in this machine's byte order: the first size_of() its kind, the others are zero.
using ScalarBytes = std::array<std::byte, 16>;

/// Bytes of a scalar of that kind in a sample: 1, 2, 4, 8 or 16; 1 for kinds that are not scalar.
std::uint8_t size_of(TypeKind kind);

/// The lowest bytes of `value`, as many as an integer of the kind `carrier` has.
ScalarBytes bytes_of_integer(TypeKind carrier, std::int64_t value);

/// `value` as x87 stores it.
ScalarBytes bytes_of_long_double(double value);

/// `value` as it lies in memory; at most 16 bytes.
template <typename Value>
ScalarBytes bytes_of(Value value) {
    ScalarBytes bytes{};
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

/// Reads a value of 1, 2, 4 or 8 bytes, which need not be aligned in memory.
///
/// `Swapped`  whether the sample has the other byte order than this machine; a parameter of the template, so
/// that
///            the usual order costs nothing
template <bool Swapped, typename Value>
Value load(const std::byte* data) {
    Value value;
    if constexpr (!Swapped || sizeof value == 1) {
        std::memcpy(&value, data, sizeof value);
    } else if constexpr (sizeof value == 2) {
        std::uint16_t bits;
        std::memcpy(&bits, data, sizeof bits);
        bits = __builtin_bswap16(bits);
        std::memcpy(&value, &bits, sizeof bits);
    } else if constexpr (sizeof value == 4) {
        std::uint32_t bits;
        std::memcpy(&bits, data, sizeof bits);
        bits = __builtin_bswap32(bits);
        std::memcpy(&value, &bits, sizeof bits);
    } else {
        static_assert(sizeof value == 8);
        std::uint64_t bits;
        std::memcpy(&bits, data, sizeof bits);
        bits = __builtin_bswap64(bits);
        std::memcpy(&value, &bits, sizeof bits);
    }
    return value;
}

/// A long double as x87 stores it: 64 bits of mantissa, then sign and exponent, in 16 bytes in this machine's
/// order.
long double long_double_of(const ScalarBytes& bytes);

/// Reads a long double in 16 bytes.
template <bool Swapped>
long double load_long_double(const std::byte* data) {
    ScalarBytes bytes;
    std::memcpy(bytes.data(), data, bytes.size());
    if constexpr (Swapped) std::reverse(bytes.begin(), bytes.end());
    return long_double_of(bytes);
}

/// The integer, boolean or character of that kind as a number, such as selects a member of a union; unsigned
/// ones of 64 bits from 2^63 on come out negative.
template <bool Swapped>
std::int64_t load_integer(TypeKind kind, const std::byte* data) {
    switch (kind) {
        case TypeKind::BOOLEAN_TYPE:
            return load<Swapped, std::uint8_t>(data) != 0 ? 1 : 0;
        case TypeKind::INT_8_TYPE:
            return load<Swapped, std::int8_t>(data);
        case TypeKind::INT_16_TYPE:
            return load<Swapped, std::int16_t>(data);
        case TypeKind::UINT_16_TYPE:
        case TypeKind::CHAR_16_TYPE:
            return load<Swapped, std::uint16_t>(data);
        case TypeKind::INT_32_TYPE:
            return load<Swapped, std::int32_t>(data);
        case TypeKind::UINT_32_TYPE:
            return load<Swapped, std::uint32_t>(data);
        case TypeKind::INT_64_TYPE:
        case TypeKind::UINT_64_TYPE:
            return load<Swapped, std::int64_t>(data);
        default:
            return load<Swapped, std::uint8_t>(data);
    }
}

}  // namespace zun::cdr

#endif
