#include "convert/plan/Limits.hpp"

#include <algorithm>
#include <charconv>
#include <optional>
#include <stdexcept>

#include "convert/plan/type_walk.hpp"
#include "platform/fnmatch/MOSSString_fnmatch.hpp"

namespace zun::convert {

using core::xtypes::DynamicTypeImpl;
using core::xtypes::SequenceTypeImpl;
using core::xtypes::TypeKind;

namespace {

bool matches(const std::string& pattern, const std::string& text) {
    return MOSSString_fnmatch(pattern.c_str(), text.c_str(), 0) == 0;
}

/// The length of a bracketed number or "*" at `position`; 0 where there is none.
std::size_t index_size(const std::string& text, std::size_t position) {
    if (text[position] != '[') return 0;
    const std::size_t end = text.find(']', position);
    if (end == std::string::npos || end == position + 1) return 0;
    const std::string inside = text.substr(position + 1, end - position - 1);
    const bool index = inside == "*" || inside.find_first_not_of("0123456789") == std::string::npos;
    return index ? end - position + 1 : 0;
}

/// `expression` with each index replaced by what `escape` makes of its inside, brackets escaped.
template <typename Escape>
std::string with_indices(const std::string& expression, const Escape& escape) {
    std::string result;
    for (std::size_t i = 0; i < expression.size();) {
        const std::size_t size = index_size(expression, i);
        if (size > 0)
            result += "\\[" + escape(expression.substr(i + 1, size - 2)) + "\\]";
        else
            result += expression[i];
        i += std::max<std::size_t>(size, 1);
    }
    return result;
}

std::string any_index(const std::string& expression) {
    return with_indices(expression, [](const std::string&) { return std::string("*"); });
}

std::size_t index_count(const std::string& full_name) {
    return static_cast<std::size_t>(std::count(full_name.begin(), full_name.end(), '['));
}

/// A pattern for `full_name` alone. Patterns of a lower `rank` come first in byte order among those that
/// could match the same names, which all start with one letter: "[mm]..." is before "[mmm]...".
///
/// "a[*].c" also matches "a[0].b[0].c", whose own pattern has more indices; so it must have the lower rank.
std::string ranked_pattern(const std::string& full_name, std::size_t rank) {
    return '[' + std::string(rank, full_name.front()) + ']' + escaped_indices(full_name.substr(1));
}

/// Rules that name elements do not reach into larger collections.
constexpr std::uint64_t most_elements_apart = 1'000'000;

std::uint64_t product(std::uint64_t a, std::uint64_t b) {
    return a != 0 && b > UINT64_MAX / a ? UINT64_MAX : a * b;
}

std::uint64_t sum(std::uint64_t a, std::uint64_t b) {
    return b > UINT64_MAX - a ? UINT64_MAX : a + b;
}

}  // namespace

void merge(Lengths& lengths, const Lengths& more) {
    for (const auto& [field, longest] : more) {
        std::uint32_t& known = lengths[field];
        known = std::max(known, longest);
    }
}

LimitRule parse_limit_rule(const std::string& text) {
    const auto refused = [&](const char* reason) {
        return std::invalid_argument("'" + text + "': " + reason);
    };
    LimitRule rule;
    rule.given = text;
    const std::size_t equals = text.rfind('=');
    if (equals == std::string::npos) throw refused("expected EXPR=N or TOPIC:EXPR=N");
    const char* const end = text.data() + text.size();
    const auto number = std::from_chars(text.data() + equals + 1, end, rule.limit);
    if (number.ec != std::errc{} || number.ptr != end)
        throw refused("the limit is no number from 0 to 4294967295");
    rule.expression = text.substr(0, equals);
    const std::size_t colon = rule.expression.rfind(':');
    if (colon != std::string::npos) {
        rule.topic = rule.expression.substr(0, colon);
        rule.expression.erase(0, colon + 1);
    }
    if (rule.expression.empty()) throw refused("the expression is empty");
    return rule;
}

std::string escaped_indices(const std::string& expression) {
    return with_indices(expression, [](const std::string& inside) { return inside; });
}

/// A node of the type with its name among all elements and, while elements differ, its own.
struct Limits::Place {
    DynamicTypeImpl type;   // no alias
    std::string full_name;  // "markers[*].points"
    std::string own_name;   // "markers[3].points"
    bool alike;  // no rule names elements here: one element stands for all, own names do not matter

    Place member(const std::string& name, const DynamicTypeImpl& member_type) const {
        return {member_type.resolved(), joined(full_name, name), alike ? "" : joined(own_name, name), alike};
    }
    Place element(std::uint64_t index, bool elements_alike) const {
        return {core::xtypes::CollectionTypeImpl(type).content_type().resolved(),
                full_name + any_indices(type), elements_alike ? "" : own_name + indices_of(index),
                elements_alike};
    }

private:
    /// "[1][0]" for the third element of an array of two columns.
    std::string indices_of(std::uint64_t index) const {
        if (type.kind() != TypeKind::ARRAY_TYPE) return '[' + std::to_string(index) + ']';
        const core::xtypes::ArrayTypeImpl array(type);
        std::string indices;
        for (std::uint32_t i = array.dimension_count(); i-- > 0; index /= array.dimension(i))
            indices.insert(0, '[' + std::to_string(index % array.dimension(i)) + ']');
        return indices;
    }
};

Limits::Limits(const DynamicTypeImpl& type) : type_(type) {
    for_each_unbounded(type, "", [&](const std::string& full_name, const DynamicTypeImpl& element) {
        const TypeKind kind = element.resolved().kind();
        indices_[full_name] = fields_.size();
        fields_.push_back({full_name, kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE});
    });
}

void Limits::set(const Lengths& lengths, Origin origin) {
    for (Field& field : fields_) {
        const auto found = lengths.find(field.full_name);
        if (found == lengths.end()) continue;
        field.limit = found->second;
        field.origin = origin;
    }
}

const Limits::Field* Limits::find(const std::string& full_name) const {
    const auto index = indices_.find(full_name);
    return index == indices_.end() ? nullptr : &fields_[index->second];
}

void Limits::apply(std::vector<LimitRule>& rules, const std::string& topic) {
    std::vector<LimitRule*> order;  // byte order of the expressions; among equal ones the last given wins
    for (LimitRule& rule : rules)
        if (rule.topic.empty() || matches(rule.topic, topic)) order.insert(order.begin(), &rule);
    std::stable_sort(order.begin(), order.end(),
                     [](const LimitRule* a, const LimitRule* b) { return a->expression < b->expression; });
    for (Field& field : fields_) {
        const LimitRule* winner = nullptr;  // of all elements of the field
        for (LimitRule* const rule : order) {
            if (!matches(any_index(rule->expression), field.full_name)) continue;
            rule->matched = true;
            if (winner != nullptr)
                rule->lost_to = winner->given;
            else if (give(field, *rule))
                winner = rule;
        }
    }
}

/// Sets the limit of all elements of a field, true then, or of those that the rule names.
bool Limits::give(Field& field, LimitRule& rule) {
    rule.won = true;
    const std::string pattern = escaped_indices(rule.expression);
    if (!matches(pattern, field.full_name)) {
        field.element_rules.push_back({pattern, rule.limit, rule.given});
        return false;
    }
    field.limit = rule.limit;
    field.origin = Origin::GIVEN;
    field.given = rule.given;
    return true;
}

void Limits::hold(std::uint64_t most) {
    const auto length = [](const Field& field) { return field.origin == Origin::MEASURED ? field.limit : 0; };
    while (columns() > most) {
        const auto longest =
            std::max_element(fields_.begin(), fields_.end(),
                             [&](const Field& a, const Field& b) { return length(a) < length(b); });
        if (longest == fields_.end() || length(*longest) <= plain_limit) return;
        longest->limit = plain_limit;
        longest->origin = Origin::HELD;
    }
}

/// The number of element columns of a collection.
std::uint64_t Limits::elements_at(const Place& place) const {
    if (place.type.kind() == TypeKind::ARRAY_TYPE)
        return core::xtypes::ArrayTypeImpl(place.type).total_element_count();
    if (!is_unbounded(place.type)) return SequenceTypeImpl(place.type).bounds();
    const Field& sequence = *find(place.full_name);
    for (const ElementRule& rule : sequence.element_rules)
        if (!place.alike && matches(rule.pattern, place.own_name)) return rule.limit;
    return sequence.limit;
}

/// Leaf columns at or below `place`; `visit` sees every unbounded sequence on the way with its own name.
std::uint64_t Limits::columns_at(const Place& place, const SequenceVisitor& visit) const {
    const bool is_union = place.type.kind() == TypeKind::UNION_TYPE;
    if (is_collection(place.type)) return collection_columns_at(place, visit);
    std::uint64_t columns = is_union ? 1 : 0;
    bool leaf = !is_union;
    for_each_member(place.type, [&](const std::string& name, const DynamicTypeImpl& type) {
        leaf = false;
        columns = sum(columns, columns_at(place.member(name, type), visit));
    });
    return leaf ? 1 : columns;
}

std::uint64_t Limits::collection_columns_at(const Place& place, const SequenceVisitor& visit) const {
    const std::uint64_t elements = elements_at(place);
    if (is_unbounded(place.type)) visit(place.own_name, static_cast<std::uint32_t>(elements));
    const std::uint64_t length_columns = place.type.kind() == TypeKind::SEQUENCE_TYPE ? 1 : 0;
    const Place any = place.element(0, true);
    bool alike = place.alike || elements > most_elements_apart;
    if (!alike) {
        alike = true;
        for_each_unbounded(any.type, "", [&](const std::string&, const DynamicTypeImpl&) { alike = false; });
    }
    if (alike) return sum(length_columns, product(elements, columns_at(any, visit)));
    std::uint64_t columns = length_columns;
    for (std::uint64_t i = 0; i < elements; ++i)
        columns = sum(columns, columns_at(place.element(i, false), visit));
    return columns;
}

Limits::Place Limits::root() const {
    const bool alike = std::all_of(fields_.begin(), fields_.end(),
                                   [](const Field& field) { return field.element_rules.empty(); });
    return {type_->resolved(), "", "", alike};
}

std::uint64_t Limits::columns() const {
    return columns_at(root(), [](const std::string&, std::uint32_t) {});
}

Limits::Blame Limits::blame() const {
    Blame blame;
    Place place = root();
    place.alike = true;
    const auto no_visit = [](const std::string&, std::uint32_t) {};
    for (;;) {
        if (is_collection(place.type)) {
            const std::uint64_t elements = elements_at(place);
            if (elements > blame.elements) blame = {place.full_name, elements, is_unbounded(place.type)};
            place = place.element(0, true);
            continue;
        }
        std::uint64_t most = 0;
        std::optional<Place> widest;
        for_each_member(place.type, [&](const std::string& name, const DynamicTypeImpl& type) {
            Place member = place.member(name, type);
            const std::uint64_t columns = columns_at(member, no_visit);
            if (columns > most) widest.emplace(std::move(member));
            most = std::max(most, columns);
        });
        if (!widest) return blame;
        place = *widest;
    }
}

void Limits::add_to(tamber::utils::PrintFormatCsvProperty& property) const {
    std::size_t most_indices = 0;
    for (const Field& field : fields_)
        most_indices = std::max(most_indices, index_count(field.full_name));
    for (const Field& field : fields_)
        if (field.origin != Origin::PLAIN || !field.element_rules.empty())
            property.add_unbounded_seq_limit(
                ranked_pattern(field.full_name, 2 + most_indices - index_count(field.full_name)),
                field.limit);
    columns_at(root(), [&](const std::string& own_name, std::uint32_t limit) {
        if (!own_name.empty()) property.add_unbounded_seq_limit(ranked_pattern(own_name, 1), limit);
    });
}

}  // namespace zun::convert
