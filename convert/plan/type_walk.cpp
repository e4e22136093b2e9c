#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

template <typename ComplexType>
void visit_members(const ComplexType& type, const MemberVisitor& visit) {
    for (std::uint32_t i = 0; i < type.member_count(); ++i)
        visit(type.member(i).name(), type.member(i).type());
}

void add_excluded_names(std::vector<std::string>& names, const Part& part) {
    if (part.excluded == nullptr) return;
    if (part.excluded->whole) return names.push_back(part.full_name);
    if (part.is_collection()) return add_excluded_names(names, element_of(part));
    for_each_member(part.type, [&](const std::string& name, const DynamicTypeImpl& type) {
        add_excluded_names(names, Part(type, part.excluded->member(name), joined(part.full_name, name)));
    });
}

}  // namespace

void for_each_member(const DynamicTypeImpl& type, const MemberVisitor& visit) {
    if (type.kind() == TypeKind::UNION_TYPE) return visit_members(UnionTypeImpl(type), visit);
    if (type.kind() != TypeKind::STRUCTURE_TYPE) return;
    const StructTypeImpl structure(type);
    // Members of the base come first, as in samples and in the header line.
    if (structure.has_parent()) for_each_member(structure.parent().resolved(), visit);
    visit_members(structure, visit);
}

void for_each_member(const Part& part, const PartVisitor& visit) {
    for_each_member(part.type, [&](const std::string& name, const DynamicTypeImpl& type) {
        const cdr::Exclusions* const concerned =
            part.excluded == nullptr ? nullptr : part.excluded->member(name);
        if (concerned == nullptr || !concerned->whole)
            visit(Part(type, concerned, joined(part.full_name, name)));
    });
}

std::vector<std::string> excluded_names(const Part& part) {
    std::vector<std::string> names;
    add_excluded_names(names, part);
    return names;
}

Part element_of(const Part& collection) {
    return Part(CollectionTypeImpl(collection.type).content_type(),
                collection.excluded == nullptr ? nullptr : collection.excluded->element.get(),
                collection.full_name + any_indices(collection.type));
}

std::string any_indices(const DynamicTypeImpl& collection) {
    std::string indices = "[*]";
    if (collection.kind() != TypeKind::ARRAY_TYPE) return indices;
    for (std::uint32_t i = 1; i < ArrayTypeImpl(collection).dimension_count(); ++i)
        indices += "[*]";
    return indices;
}

std::string indices_of(const DynamicTypeImpl& collection, std::uint64_t element) {
    if (collection.kind() != TypeKind::ARRAY_TYPE) return '[' + std::to_string(element) + ']';
    const ArrayTypeImpl array(collection);
    std::string indices;
    // Elements are stored row by row, so the last index changes fastest.
    for (std::uint32_t i = array.dimension_count(); i-- > 0; element /= array.dimension(i))
        indices.insert(0, '[' + std::to_string(element % array.dimension(i)) + ']');
    return indices;
}

std::uint64_t saturating_sum(std::uint64_t a, std::uint64_t b) {
    return b > UINT64_MAX - a ? UINT64_MAX : a + b;
}

std::uint64_t saturating_product(std::uint64_t a, std::uint64_t b) {
    return a != 0 && b > UINT64_MAX / a ? UINT64_MAX : a * b;
}

PartCounts::Counts PartCounts::count(const Part& part) {
    const auto known = known_.find(key_of(part));
    return known != known_.end() ? known->second : known_.emplace(key_of(part), counted(part)).first->second;
}

PartCounts::Counts PartCounts::counted(const Part& part) {
    // Of a sequence the length column alone is certain; its elements are counted once its limit is known.
    if (part.is_sequence()) return {1, saturating_sum(1, count(element_of(part)).sequences)};
    if (part.is_collection()) {
        const Counts element = count(element_of(part));
        return {saturating_product(ArrayTypeImpl(part.type).total_element_count(), element.columns),
                element.sequences};
    }
    Counts counts{part.type.kind() == TypeKind::UNION_TYPE ? 1U : 0U, 0};
    for_each_member(part, [&](const Part& member) {
        const Counts more = count(member);
        counts.columns = saturating_sum(counts.columns, more.columns);
        counts.sequences = saturating_sum(counts.sequences, more.sequences);
    });
    if (counts.columns == 0) counts.columns = 1;  // a leaf, or a structure of which nothing has columns
    return counts;
}

bool has_sequences(const Part& part) {
    return PartCounts(part).of(part).sequences > 0;
}

}  // namespace zun::convert
