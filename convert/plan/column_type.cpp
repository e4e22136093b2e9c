// column_type: what the format is given for a topic: the type of its columns, and expressions.

#include <algorithm>

#include "convert/plan/Limits.hpp"
#include "convert/plan/explode.hpp"
#include "platform/xtypes/TypeBuilder.hpp"

namespace zun::convert {

using namespace core::xtypes;

namespace {

std::vector<std::uint32_t> dimensions_of(const DynamicTypeImpl& type) {
    const ArrayTypeImpl array(type);
    std::vector<std::uint32_t> dimensions;
    for (std::uint32_t i = 0; i < array.dimension_count(); ++i)
        dimensions.push_back(array.dimension(i));
    return dimensions;
}

std::string escaped(const std::string& name) {
    std::string pattern;
    for (const char c : name)
        pattern += c == '[' ? "\\[" : std::string(1, c);
    return pattern;
}

using Patterns = std::vector<std::string>;

/// Each of `starts` with each of `ends` behind it.
Patterns combined(const Patterns& starts, const Patterns& ends) {
    Patterns all;
    for (const std::string& start : starts)
        for (const std::string& end : ends)
            all.push_back(start + end);
    return all;
}

/// Patterns that match the indices below `size` and no other text: one for each number of digits.
Patterns index_patterns(std::uint32_t size) {
    Patterns patterns;
    std::string digits;
    for (std::size_t i = 0; i < std::to_string(size == 0 ? 0 : size - 1).size(); ++i) {
        digits += "[0-9]";
        patterns.push_back("\\[" + digits + "]");
    }
    return patterns;
}

/// The format tries expressions in the order of their bytes. A set in front holds the rank, and the letter
/// that it stands for; its digits match nothing, since no name begins with one.
std::string ranked(const std::string& pattern, std::size_t rank) {
    constexpr std::size_t lowest = 1'000'000'000;  // all have as many digits
    return '[' + std::to_string(lowest + rank) + pattern.front() + ']' + pattern.substr(1);
}

}  // namespace

Limits::ColumnTypes Limits::column_types() const {
    ColumnTypes types{root_->type};
    if (view_ != nullptr) types.elements.assign(view_->rows.size(), root_->type);
    types.row = column_type(*root_, 0, types.elements);
    return types;
}

/// `first`     number of the first field at or below `part`
/// `elements`  takes the types of elements that have rows of their own
DynamicTypeImpl Limits::column_type(const Part& part, std::size_t first,
                                    std::vector<DynamicTypeImpl>& elements) const {
    if (part.view == nullptr && counts_.of(part).sequences == 0) return part.type;
    if (part.is_sequence()) {
        const Field& field = fields_[first];
        const Part element = element_of(part);
        const std::uint32_t bound = field.exceptions.empty() ? field.limit : no_bound;
        return sequence_type(bound == 0 ? element.type : column_type(element, first + 1, elements), bound);
    }
    if (part.is_collection())
        return array_type(column_type(element_of(part), first, elements), dimensions_of(part.type));
    if (part.type.kind() != TypeKind::STRUCTURE_TYPE && part.type.kind() != TypeKind::UNION_TYPE)
        return part.type;
    std::vector<MemberSpec> members;
    for (std::uint32_t level = 0; part.full_name.empty() && level < row_levels(); ++level)
        members.push_back({index_column(level), primitive_type(TypeKind::UINT_32_TYPE)});
    for_each_member(part, [&](const Part& member) {
        const std::string column = member.column_name();
        members.push_back({column.substr(column.rfind('.') + 1), column_type(member, first, elements)});
        if (member.rows != part.rows)
            elements[member.rows->number] =
                struct_type({.name = part.type.name(), .members = {{column, members.back().type}}});
        first += counts_.of(member).sequences;
    });
    if (part.type.kind() == TypeKind::STRUCTURE_TYPE)
        return struct_type({.name = part.type.name(), .members = std::move(members)});
    UnionSpec spec{part.type.name(), UnionTypeImpl(part.type).discriminator()};
    for (MemberSpec& member : members)
        spec.members.push_back({std::move(member.name), member.type, {}});
    return union_type(std::move(spec));
}

void Limits::add_to(tamber::utils::PrintFormatCsvProperty& property) const {
    for (std::size_t i = 0; i < fields_.size(); ++i) {
        const Field& field = fields_[i];
        if (field.exceptions.empty()) continue;
        std::size_t rank = 0;
        const auto add = [&](const Patterns& patterns, std::uint32_t limit) {
            for (const std::string& pattern : patterns)
                property.add_unbounded_seq_limit(ranked(pattern, rank), limit);
            ++rank;
        };
        for (const ElementRule& rule : field.element_rules)
            add(rule.patterns, rule.limit);
        add(patterns_of(i, Choice(around_[i].size())), field.limit);
    }
}

/// Patterns that match the sequences of a field in the elements that are meant, and no others.
Patterns Limits::patterns_of(std::size_t field, const Choice& choice) const {
    Patterns patterns = {""};
    std::size_t done = 0;
    const std::string& column = fields_[field].column_name;
    for (std::size_t i = 0; i < choice.size(); ++i) {
        const Around& collection = around_[field][i];
        patterns = combined(patterns, {escaped(column.substr(done, collection.full_name.size() - done))});
        if (choice[i]) {
            Patterns chosen;
            for (const std::uint32_t element : *choice[i])
                chosen.push_back(escaped(indices_of(collection.type, element)));
            patterns = combined(patterns, chosen);
        } else if (collection.field) {
            patterns = combined(patterns, index_patterns(most_elements(collection)));
        } else {
            for (const std::uint32_t size : dimensions_of(collection.type))
                patterns = combined(patterns, index_patterns(size));
        }
        done = collection.full_name.size() + any_indices(collection.type).size();
    }
    return combined(patterns, {escaped(column.substr(done))});
}

/// The same for the sequences at `places`: a few patterns where those are chosen index by index, as a rule
/// does; else one for each, since every sequence is held against all patterns.
Patterns Limits::patterns_of(std::size_t field, const std::vector<Place>& places) const {
    Choice choice(around_[field].size());
    std::uint64_t chosen = 1;
    for (std::size_t i = 0; i < choice.size(); ++i) {
        choice[i].emplace();
        for (const Place& place : places)
            choice[i]->insert(place[i]);
        chosen = saturating_product(chosen, choice[i]->size());
        if (choice[i]->size() == most_elements(around_[field][i])) choice[i].reset();
    }
    if (chosen == places.size()) return patterns_of(field, choice);
    Patterns patterns;
    for (const Place& place : places)
        patterns.push_back(escaped(own_name(fields_[field].column_name, field, place)));
    return patterns;
}

}  // namespace zun::convert
