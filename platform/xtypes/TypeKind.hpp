// TypeKind: what a type is made of.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_KIND_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_KIND_HPP

#include <cstdint>

namespace dds::core::xtypes {

/// Constructed kinds carry a high bit set; everything else is one value, and so one column.
enum class TypeKind : std::uint32_t {
    NO_TYPE = 0x0000,
    BOOLEAN_TYPE = 0x0001,
    OCTET_TYPE = 0x0002,
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
    FLOAT_128_TYPE = 0x000d,
    CHAR_8_TYPE = 0x000e,
    CHAR_16_TYPE = 0x000f,
    STRING_TYPE = 0x0010,
    WSTRING_TYPE = 0x0011,
    ENUMERATION_TYPE = 0x0012,
    BITMASK_TYPE = 0x0013,
    ALIAS_TYPE = 0x8003,
    UNION_TYPE = 0x8108,
    STRUCTURE_TYPE = 0x8109,
    ARRAY_TYPE = 0x8204,
    SEQUENCE_TYPE = 0x8205,
};

}  // namespace dds::core::xtypes

#endif
