// TypeKind: what a type is made of.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_KIND_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_KIND_HPP

#include <cstdint>

namespace dds::core::xtypes {

/// Constructed kinds carry a high bit set; everything else is one value, and so one column.
enum class TypeKind : std::uint32_t {
    NO_TYPE = 0x0000,  ///< of an empty type code
    BOOLEAN_TYPE = 0x0001,
    OCTET_TYPE = 0x0002,  ///< a byte without a meaning as a number; printed as one
    INT_8_TYPE = 0x0003,
    UINT_8_TYPE = 0x0004,
    INT_16_TYPE = 0x0005,
    UINT_16_TYPE = 0x0006,
    INT_32_TYPE = 0x0007,
    UINT_32_TYPE = 0x0008,
    INT_64_TYPE = 0x0009,
    UINT_64_TYPE = 0x000a,
    FLOAT_32_TYPE = 0x000b,
    FLOAT_64_TYPE = 0x000c,
    FLOAT_128_TYPE = 0x000d,  ///< "long double": 16 bytes in a sample
    CHAR_8_TYPE = 0x000e,     ///< one byte of UTF-8
    CHAR_16_TYPE = 0x000f,    ///< one unit of UTF-16
    STRING_TYPE = 0x0010,
    WSTRING_TYPE = 0x0011,
    ENUMERATION_TYPE = 0x0012,  ///< 1, 2 or 4 bytes, by its bit bound
    BITMASK_TYPE = 0x0013,      ///< 1, 2, 4 or 8 bytes, by its bit bound
    ALIAS_TYPE = 0x8003,        ///< another name of a type; in samples the same as that
    UNION_TYPE = 0x8108,
    STRUCTURE_TYPE = 0x8109,
    ARRAY_TYPE = 0x8204,
    SEQUENCE_TYPE = 0x8205,  ///< maps are sequences of pairs
};

}  // namespace dds::core::xtypes

#endif
