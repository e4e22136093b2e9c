// TypeNode: the content of a type; written by the builder, read by the handles.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_NODE_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_NODE_HPP

#include "platform/xtypes/DynamicType.hpp"

namespace zun::core::xtypes {

/// Fields that a kind does not use keep these values.
struct TypeNode {
    TypeKind kind = TypeKind::NO_TYPE;
    std::string name = {};
    /// Alias: the aliased type; union: the discriminator; collection: the element; structure: the base.
    DDS_TypeCode related = {};
    /// String and sequence: the most characters or elements; enumeration and bit mask: the bit bound; bit
    /// set: bits.
    std::uint32_t bound = no_bound;
    Extensibility extensibility = Extensibility::UNSPECIFIED;
    bool map = false;                ///< of a sequence: of pairs
    bool placeholder_octet = false;  ///< of a structure: without members, but one byte in samples
    std::vector<std::uint32_t> dimensions = {};
    std::uint32_t element_count = 0;  ///< array: the product of its dimensions
    std::vector<MemberImpl> members = {};
    std::vector<BitField> bit_fields = {};
    std::vector<UnionMember> union_members = {};
    std::vector<EnumTypeImpl::Enumerator> enumerators = {};
    std::int64_t default_value = 0;  ///< enumeration: of a member that a sample does not carry
};

}  // namespace zun::core::xtypes

#endif
