#include "convert/plan/type_walk.hpp"

#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

using Shape = cdr::View::Shape;

template <typename ComplexType>
void visit_members(const ComplexType& type, const MemberVisitor& visit) {
    for (std::uint32_t i = 0; i < type.member_count(); ++i)
        visit(type.member(i).name(), type.member(i).type());
}

using NamedTypes = std::vector<std::pair<std::string, DynamicTypeImpl>>;

void add_parts(NamedTypes& parts, const DynamicTypeImpl& declared, const cdr::View* view,
               const std::string& full_name, Shape shape) {
    if (view == nullptr) return;
    const DynamicTypeImpl type = declared.resolved();
    if (view->shape == shape) parts.emplace_back(full_name, type);
    if (view->element)
        add_parts(parts, CollectionTypeImpl(type).content_type(), view->element.get(),
                  full_name + any_indices(type), shape);
    if (view->members.empty()) return;
    for_each_member(type, [&](const std::string& name, const DynamicTypeImpl& member) {
        add_parts(parts, member, view->member(name), joined(full_name, name), shape);
    });
}

DynamicTypeImpl type_of_column(const DynamicTypeImpl& type, const cdr::View* view) {
    if (view == nullptr || !cdr::is_one_value(view->shape)) return type.resolved();
    static const DynamicTypeImpl length = primitive_type(TypeKind::UINT_32_TYPE);
    static const DynamicTypeImpl text = string_type();
    return view->shape == Shape::LENGTH ? length : text;
}

}  // namespace

Part::Part(const DynamicTypeImpl& declared, const cdr::View* how, std::string name, const cdr::View* around)
    : type(type_of_column(declared, how)), view(how), full_name(std::move(name)), rows(around) {}

std::string Part::column_name() const {
    return rows == nullptr ? full_name : rows->column + full_name.substr(rows->column.size());
}

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
        const cdr::View* const view = part.view == nullptr ? nullptr : part.view->member(name);
        if (view != nullptr && view->shape == Shape::EXCLUDED) return;
        const Part member(type, view, joined(part.full_name, name), part.rows);
        visit(view != nullptr && view->shape == Shape::ROWS ? element_of(member) : member);
    });
}

NamedTypes parts_of_shape(const Part& part, Shape shape) {
    NamedTypes parts;
    add_parts(parts, part.type, part.view, part.full_name, shape);
    return parts;
}

Part element_of(const Part& collection) {
    const cdr::View* const view = collection.view;
    const bool has_rows = view != nullptr && view->shape == Shape::ROWS;
    return Part(CollectionTypeImpl(collection.type).content_type(),
                view == nullptr ? nullptr : view->element.get(),
                collection.full_name + any_indices(collection.type), has_rows ? view : collection.rows);
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
    if (part.is_collection()) {
        Counts counts = count(element_of(part));
        counts.columns =
            part.is_sequence()
                ? 1
                : saturating_product(ArrayTypeImpl(part.type).total_element_count(), counts.columns);
        counts.sequences = saturating_sum(counts.sequences, part.is_sequence() ? 1 : 0);
        counts.parts = saturating_sum(counts.parts, 1);
        return counts;
    }
    Counts counts{.columns = part.type.kind() == TypeKind::UNION_TYPE ? 1U : 0U};
    for_each_member(part, [&](const Part& member) {
        const Counts more = count(member);
        counts.columns = saturating_sum(counts.columns, more.columns);
        counts.sequences = saturating_sum(counts.sequences, more.sequences);
        counts.parts = saturating_sum(counts.parts, more.parts);
    });
    if (counts.columns == 0) counts.columns = 1;  // a leaf, or a structure of which nothing has columns
    return counts;
}

bool has_sequences(const Part& part) {
    return PartCounts(part).of(part).sequences > 0;
}

}  // namespace zun::convert
