#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

template <typename ComplexType>
void visit_members(const ComplexType& type, const PartVisitor& visit) {
    for (std::uint32_t i = 0; i < type.member_count(); ++i)
        visit(type.member(i).name(), type.member(i).type());
}

}  // namespace

void for_each_member(const DynamicTypeImpl& type, const PartVisitor& visit) {
    if (type.kind() == TypeKind::UNION_TYPE) return visit_members(UnionTypeImpl(type), visit);
    if (type.kind() != TypeKind::STRUCTURE_TYPE) return;
    const StructTypeImpl structure(type);
    if (structure.has_parent()) for_each_member(structure.parent().resolved(), visit);
    visit_members(structure, visit);
}

std::string any_indices(const DynamicTypeImpl& collection) {
    std::string indices = "[*]";
    if (collection.kind() != TypeKind::ARRAY_TYPE) return indices;
    for (std::uint32_t i = 1; i < ArrayTypeImpl(collection).dimension_count(); ++i)
        indices += "[*]";
    return indices;
}

void for_each_unbounded(const DynamicTypeImpl& type, const std::string& full_name, const PartVisitor& visit) {
    const DynamicTypeImpl resolved = type.resolved();
    if (is_collection(resolved)) {
        const DynamicTypeImpl element = CollectionTypeImpl(resolved).content_type();
        if (is_unbounded(resolved)) visit(full_name, element);
        return for_each_unbounded(element, full_name + any_indices(resolved), visit);
    }
    for_each_member(resolved, [&](const std::string& name, const DynamicTypeImpl& member) {
        for_each_unbounded(member, joined(full_name, name), visit);
    });
}

bool is_collection(const DynamicTypeImpl& type) {
    const TypeKind kind = type.resolved().kind();
    return kind == TypeKind::ARRAY_TYPE || kind == TypeKind::SEQUENCE_TYPE;
}

bool is_unbounded(const DynamicTypeImpl& type) {
    const DynamicTypeImpl resolved = type.resolved();
    return resolved.kind() == TypeKind::SEQUENCE_TYPE && SequenceTypeImpl(resolved).bounds() == no_bound;
}

}  // namespace zun::convert
