// TypeNode: the content of a type; written by the builder, read by the handles.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_NODE_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_NODE_HPP

#include "platform/xtypes/DynamicType.hpp"

namespace zun::core::xtypes {

/// Fields that a kind does not use keep these values.
struct TypeNode {
    TypeKind kind = TypeKind::NO_TYPE;
    std::string name = {};
    DDS_TypeCode related =
        {};  // alias: aliased type; union: discriminator; collection: element; structure: base
    std::uint32_t bound = no_bound;  // string, sequence; enumeration and bitmask: bit bound; bit set: bits
    Extensibility extensibility = Extensibility::UNSPECIFIED;
    bool map = false;
    bool placeholder_octet = false;
    std::vector<std::uint32_t> dimensions = {};
    std::uint32_t element_count = 0;
    std::vector<MemberImpl> members = {};
    std::vector<BitField> bit_fields = {};
    std::vector<UnionMember> union_members = {};
    std::vector<EnumTypeImpl::Enumerator> enumerators = {};
    std::int64_t default_value = 0;
};

}  // namespace zun::core::xtypes

#endif
