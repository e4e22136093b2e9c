#include "platform/xtypes/DynamicType.hpp"

#include <stdexcept>

#include "platform/xtypes/TypeNode.hpp"

namespace zun::core::xtypes {

namespace {

const DynamicTypeImpl& of_kind(const DynamicTypeImpl& type, bool fits, const char* wanted) {
    if (!fits) throw std::logic_error("type '" + type.name() + "' is no " + wanted);
    return type;
}

}  // namespace

DynamicTypeImpl::DynamicTypeImpl(const DDS_TypeCode& code) : DDS_TypeCode(code) {
    if (empty()) throw std::logic_error("an empty type code is no type");
}

TypeKind DynamicTypeImpl::kind() const {
    return node()->kind;
}
const std::string& DynamicTypeImpl::name() const {
    return node()->name;
}

DynamicTypeImpl DynamicTypeImpl::resolved() const {
    DynamicTypeImpl type = *this;
    while (type.kind() == TypeKind::ALIAS_TYPE)
        type = type.node()->related;
    return type;
}

AliasTypeImpl::AliasTypeImpl(const DynamicTypeImpl& type)
    : DynamicTypeImpl(of_kind(type, type.kind() == TypeKind::ALIAS_TYPE, "alias")) {}
DynamicTypeImpl AliasTypeImpl::related_type() const {
    return node()->related;
}

template <>
std::uint32_t AbstractConstructedType<MemberImpl>::member_count() const {
    return static_cast<std::uint32_t>(node()->members.size());
}
template <>
const MemberImpl& AbstractConstructedType<MemberImpl>::member(unsigned int index) const {
    return node()->members.at(index);
}
template <>
std::uint32_t AbstractConstructedType<UnionMember>::member_count() const {
    return static_cast<std::uint32_t>(node()->union_members.size());
}
template <>
const UnionMember& AbstractConstructedType<UnionMember>::member(unsigned int index) const {
    return node()->union_members.at(index);
}

StructTypeImpl::StructTypeImpl(const DynamicTypeImpl& type)
    : AbstractConstructedType(of_kind(type, type.kind() == TypeKind::STRUCTURE_TYPE, "structure")) {}
bool StructTypeImpl::has_parent() const {
    return !node()->related.empty();
}
StructTypeImpl StructTypeImpl::parent() const {
    return StructTypeImpl(DynamicTypeImpl(node()->related));
}
Extensibility StructTypeImpl::extensibility() const {
    return node()->extensibility;
}
bool StructTypeImpl::placeholder_octet() const {
    return node()->placeholder_octet;
}
const std::vector<BitField>& StructTypeImpl::bit_fields() const {
    return node()->bit_fields;
}
std::uint32_t StructTypeImpl::bit_size() const {
    return node()->bit_fields.empty() ? 0 : node()->bound;
}

UnionTypeImpl::UnionTypeImpl(const DynamicTypeImpl& type)
    : AbstractConstructedType(of_kind(type, type.kind() == TypeKind::UNION_TYPE, "union")) {}
DynamicTypeImpl UnionTypeImpl::discriminator() const {
    return node()->related;
}
Extensibility UnionTypeImpl::extensibility() const {
    return node()->extensibility;
}

EnumTypeImpl::EnumTypeImpl(const DynamicTypeImpl& type)
    : DynamicTypeImpl(of_kind(type, type.kind() == TypeKind::ENUMERATION_TYPE, "enumeration")) {}
const std::vector<EnumTypeImpl::Enumerator>& EnumTypeImpl::enumerators() const {
    return node()->enumerators;
}
std::int64_t EnumTypeImpl::default_value() const {
    return node()->default_value;
}
std::uint32_t EnumTypeImpl::bit_bound() const {
    return node()->bound;
}

BitmaskTypeImpl::BitmaskTypeImpl(const DynamicTypeImpl& type)
    : DynamicTypeImpl(of_kind(type, type.kind() == TypeKind::BITMASK_TYPE, "bitmask")) {}
std::uint32_t BitmaskTypeImpl::bit_bound() const {
    return node()->bound;
}

StringTypeImpl::StringTypeImpl(const DynamicTypeImpl& type)
    : DynamicTypeImpl(of_kind(
          type, type.kind() == TypeKind::STRING_TYPE || type.kind() == TypeKind::WSTRING_TYPE, "string")) {}
std::uint32_t StringTypeImpl::bounds() const {
    return node()->bound;
}

CollectionTypeImpl::CollectionTypeImpl(const DynamicTypeImpl& type)
    : DynamicTypeImpl(of_kind(type,
                              type.kind() == TypeKind::ARRAY_TYPE || type.kind() == TypeKind::SEQUENCE_TYPE,
                              "collection")) {}
DynamicTypeImpl CollectionTypeImpl::content_type() const {
    return node()->related;
}

ArrayTypeImpl::ArrayTypeImpl(const DynamicTypeImpl& type)
    : CollectionTypeImpl(of_kind(type, type.kind() == TypeKind::ARRAY_TYPE, "array")) {}
std::uint32_t ArrayTypeImpl::dimension_count() const {
    return static_cast<std::uint32_t>(node()->dimensions.size());
}
std::uint32_t ArrayTypeImpl::dimension(unsigned int index) const {
    return node()->dimensions.at(index);
}
std::uint32_t ArrayTypeImpl::total_element_count() const {
    return node()->element_count;
}

UnidimensionalCollectionTypeImpl::UnidimensionalCollectionTypeImpl(const DynamicTypeImpl& type)
    : CollectionTypeImpl(of_kind(type, type.kind() == TypeKind::SEQUENCE_TYPE, "sequence")) {}
std::uint32_t UnidimensionalCollectionTypeImpl::bounds() const {
    return node()->bound;
}
bool UnidimensionalCollectionTypeImpl::is_map() const {
    return node()->map;
}

}  // namespace zun::core::xtypes

namespace zun::core {

bool DynamicTypeNativeAdapter::copy(DDS_TypeCode& destination, const DDS_TypeCode& source) {
    destination.node_ = source.node_;  // nodes never change, so sharing one is as good as a second
    return true;
}

void DynamicTypeNativeAdapter::finalize(DDS_TypeCode& code) {
    code.node_.reset();
}

}  // namespace zun::core
