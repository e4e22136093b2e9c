// TypeBuilder: makes types and refuses what cannot exist.
//
// Types are made from the inside out, so none can contain itself. Every function throws
// std::invalid_argument, with the type's name and the reason, for a type that cannot exist.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_BUILDER_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_BUILDER_HPP

#include <optional>
#include <string>
#include <vector>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::core::xtypes {

/// `bound` in characters, 1 or more, or no_bound.
DynamicTypeImpl string_type(std::uint32_t bound = no_bound);
DynamicTypeImpl wstring_type(std::uint32_t bound = no_bound);

DynamicTypeImpl alias_type(std::string name, const DynamicTypeImpl& related);

struct EnumSpec {
    std::string name;
    std::vector<EnumTypeImpl::Enumerator> enumerators;  ///< at least one; names and values are distinct
    std::uint32_t bit_bound = 32;                       ///< 1 to 32
    std::optional<std::int64_t> default_value = {};     ///< the first enumerator's when not given
};
DynamicTypeImpl enum_type(EnumSpec spec);

/// `bit_bound` 1 to 64.
DynamicTypeImpl bitmask_type(std::string name, std::uint32_t bit_bound = 32);

struct MemberSpec {
    std::string name;
    DynamicTypeImpl type;
    std::optional<std::uint32_t> id = {};  ///< the previous member's plus one when not given, from 0
    bool optional = false;
    std::optional<DefaultValue> default_value = {};
    std::string unit = {};  ///< of measurement, "m/s"; empty for none
};

struct StructSpec {
    std::string name;
    std::vector<MemberSpec> members = {};
    std::optional<DynamicTypeImpl> base = {};  ///< a structure, or an alias of one; its ids come first
    Extensibility extensibility = Extensibility::UNSPECIFIED;
    bool placeholder_octet = false;  ///< only without members and base
};
/// Names are distinct among the members of the structure and its bases.
DynamicTypeImpl struct_type(StructSpec spec);

struct BitFieldSpec {
    std::string name;    ///< empty for unnamed bits
    std::uint8_t width;  ///< 1 to 64
    std::optional<DynamicTypeImpl> type =
        {};  ///< boolean or integer; the smallest fitting unsigned one when not given
};
/// A bit set: a structure of integers that travel in one integer of at most 64 bits.
DynamicTypeImpl bitset_type(std::string name, const std::vector<BitFieldSpec>& fields);

struct UnionMemberSpec {
    std::string name;
    DynamicTypeImpl type;
    std::vector<std::int64_t> labels;
    bool is_default = false;
    std::optional<std::uint32_t> id = {};  ///< counts from 1 when not given
};

struct UnionSpec {
    std::string name;
    DynamicTypeImpl discriminator;  ///< boolean, octet, char, integer, enumeration or bit mask, or an alias
    std::vector<UnionMemberSpec> members = {};
    Extensibility extensibility = Extensibility::UNSPECIFIED;
};
/// Labels are distinct, at most one member is the default, no member is called "_d".
DynamicTypeImpl union_type(UnionSpec spec);

/// `dimensions` at least one, none 0, their product below 2^32.
DynamicTypeImpl array_type(const DynamicTypeImpl& element, std::vector<std::uint32_t> dimensions);

DynamicTypeImpl sequence_type(const DynamicTypeImpl& element, std::uint32_t bound = no_bound);

/// A sequence of structures of `key` and `value`.
DynamicTypeImpl map_type(const DynamicTypeImpl& key, const DynamicTypeImpl& value,
                         std::uint32_t bound = no_bound);

}  // namespace zun::core::xtypes

#endif
