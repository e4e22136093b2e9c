// column_type: what the format is given for a topic: the type of its columns, and expressions.

#include <algorithm>

#include "convert/plan/Limits.hpp"
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

}  // namespace

DynamicTypeImpl Limits::column_type() const {
    return column_type(*root_, 0);
}

/// `first`  number of the first field at or below `part`
DynamicTypeImpl Limits::column_type(const Part& part, std::size_t first) const {
    if (part.excluded == nullptr && counts_.of(part).sequences == 0) return part.type;
    if (part.is_sequence()) {
        const Field& field = fields_[first];
        const Part element = element_of(part);
        const std::uint32_t bound = field.exceptions.empty() ? field.limit : no_bound;
        return sequence_type(bound == 0 ? element.type : column_type(element, first + 1), bound);
    }
    if (part.is_collection())
        return array_type(column_type(element_of(part), first), dimensions_of(part.type));
    std::vector<MemberSpec> members;
    for_each_member(part, [&](const Part& member) {
        const std::string name =
            member.full_name.substr(part.full_name.empty() ? 0 : part.full_name.size() + 1);
        members.push_back({name, column_type(member, first)});
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
        for (const auto& [place, rule] : field.exceptions)
            property.add_unbounded_seq_limit(escaped(own_name(i, place)), field.element_rules[rule].limit);
        // A set of digits comes after a digit in byte order, so that exceptions are found first.
        for (const std::string& pattern : patterns_of_others(i))
            property.add_unbounded_seq_limit(pattern, field.limit);
    }
}

/// Patterns that match every sequence of a field and none of another's.
Patterns Limits::patterns_of_others(std::size_t field) const {
    Patterns patterns = {""};
    std::size_t done = 0;
    const std::string& full_name = fields_[field].full_name;
    for (const Around& collection : around_[field]) {
        patterns = combined(patterns, {full_name.substr(done, collection.full_name.size() - done)});
        if (collection.field)
            patterns = combined(patterns, index_patterns(most_elements(collection)));
        else
            for (const std::uint32_t size : dimensions_of(collection.type))
                patterns = combined(patterns, index_patterns(size));
        done = collection.full_name.size() + any_indices(collection.type).size();
    }
    return combined(patterns, {full_name.substr(done)});
}

}  // namespace zun::convert
