#include "convert/plan/Limits.hpp"

#include <algorithm>
#include <tuple>

#include "convert/plan/view.hpp"

namespace zun::convert {

using core::xtypes::ArrayTypeImpl;
using core::xtypes::DynamicTypeImpl;
using core::xtypes::no_bound;
using core::xtypes::SequenceTypeImpl;
using core::xtypes::TypeKind;

namespace {

/// Rules that name elements do not reach into larger collections.
constexpr std::uint64_t most_elements_apart = 1'000'000;

}  // namespace

void merge(Lengths& lengths, const Lengths& more) {
    for (const auto& [field, longest] : more) {
        std::uint32_t& known = lengths[field];
        known = std::max(known, longest);
    }
}

// Fields and their limits

Limits::Limits(const DynamicTypeImpl& type, std::shared_ptr<const cdr::View> view)
    : view_(std::move(view)), root_(Part(type, view_.get())), counts_(*root_) {
    std::vector<Around> around;
    add_fields(*root_, around);
}

void Limits::add_fields(const Part& part, std::vector<Around>& around) {
    if (counts_.of(part).sequences == 0) return;
    if (!part.is_collection())
        return for_each_member(part, [&](const Part& member) { add_fields(member, around); });
    std::optional<std::size_t> field;
    if (part.is_sequence()) {
        const std::uint32_t bound = SequenceTypeImpl(part.type).bounds();
        field = fields_.size();
        indices_[part.full_name] = fields_.size();
        fields_.push_back({part.full_name, part.column_name(), is_blob(part.type), bound,
                           bound == no_bound ? plain_limit : bound});
        around_.push_back(around);
    }
    around.push_back({part.type, part.full_name, field});
    add_fields(element_of(part), around);
    around.pop_back();
}

Lengths Limits::lengths(const std::vector<std::uint32_t>& by_field) const {
    Lengths lengths;
    for (std::size_t i = 0; i < fields_.size(); ++i)
        lengths[fields_[i].full_name] = by_field.at(i);
    return lengths;
}

void Limits::set(const Lengths& lengths, Origin origin) {
    for (Field& field : fields_) {
        const auto found = lengths.find(field.full_name);
        if (found == lengths.end()) continue;
        field.limit = limit_of(field, found->second);
        field.origin = origin;
    }
}

/// A limit is below the bound of the unbounded, which the format would look up in its settings.
std::uint32_t Limits::limit_of(const Field& field, std::uint32_t wanted) {
    return std::min(wanted, field.bound == no_bound ? no_bound - 1 : field.bound);
}

std::optional<std::size_t> Limits::find(const std::string& full_name) const {
    const auto index = indices_.find(full_name);
    return index == indices_.end() ? std::nullopt : std::optional(index->second);
}

void Limits::apply(const std::vector<LimitRule>& rules, const std::string& topic,
                   std::vector<RuleOutcome>& outcomes) {
    for (const std::size_t index : rules_for(rules, topic)) {
        const std::string pattern = any_index(rules[index].expression);
        for (Field& field : fields_)
            if (matches(pattern, field.full_name)) give(field, rules[index], outcomes[index]);
    }
    for (std::size_t i = 0; i < fields_.size(); ++i)
        if (!fields_[i].element_rules.empty()) find_exceptions(i);
}

/// Sets the limit of all elements of a field, or of those that the rule names, unless an earlier rule has.
void Limits::give(Field& field, const LimitRule& rule, RuleOutcome& outcome) {
    if (!field.given.empty()) {
        outcome.lost_to = field.given;
        return;
    }
    outcome.won = true;
    const std::string pattern = escaped_indices(rule.expression);
    const std::uint32_t limit = limit_of(field, rule.limit);
    if (!matches(pattern, field.full_name)) {
        field.element_rules.push_back({pattern, rule.expression, limit, rule.given});
        return;
    }
    field.limit = limit;
    field.origin = Origin::RULE;
    field.given = rule.given;
}

void Limits::hold(std::uint64_t most) {
    std::vector<Field*> order;
    for (Field& field : fields_)
        if (field.origin == Origin::MEASURED && field.limit > plain_limit) order.push_back(&field);
    std::stable_sort(order.begin(), order.end(),
                     [](const Field* a, const Field* b) { return a->limit > b->limit; });
    std::vector<std::uint32_t> whole;
    whole.reserve(order.size());
    for (const Field* const field : order)
        whole.push_back(field->limit);
    const auto hold_first = [&](std::size_t count) {
        for (std::size_t i = 0; i < order.size(); ++i) {
            order[i]->limit = i < count ? plain_limit : whole[i];
            order[i]->origin = i < count ? Origin::HELD : Origin::MEASURED;
        }
        return columns() <= most;
    };
    // The more fields are clamped, the fewer columns there are: so halving finds the fewest that suffice.
    std::size_t too_few = 0;
    std::size_t enough = order.size();
    if (hold_first(0)) return;
    while (enough - too_few > 1) {
        const std::size_t middle = (too_few + enough) / 2;
        (hold_first(middle) ? enough : too_few) = middle;
    }
    hold_first(enough);
}

// Rules for single elements

/// The most elements that a collection has columns for.
std::uint32_t Limits::most_elements(const Around& collection) const {
    if (!collection.field) return ArrayTypeImpl(collection.type).total_element_count();
    const Field& field = fields_[*collection.field];
    std::uint32_t most = field.limit;
    for (const ElementRule& rule : field.element_rules)
        most = std::max(most, rule.limit);
    return most;
}

/// Tries the rules on each sequence of a field.
void Limits::find_exceptions(std::size_t index) {
    std::vector<ElementRule>& rules = fields_[index].element_rules;
    std::vector<std::vector<Place>> matched(rules.size());
    std::vector<std::uint32_t> sizes;
    std::uint64_t total = 1;
    for (const Around& collection : around_[index]) {
        sizes.push_back(most_elements(collection));
        total = saturating_product(total, sizes.back());
    }
    if (total > most_elements_apart) return;
    Place place(sizes.size(), 0);
    for (std::uint64_t i = 0; i < total; ++i) {
        const std::string name = own_name(fields_[index].full_name, index, place);
        bool taken = false;
        for (std::size_t rule = 0; rule < rules.size(); ++rule) {
            if (!matches(rules[rule].pattern, name)) continue;
            matched[rule].push_back(place);
            if (!std::exchange(taken, true)) add_exception(index, place, rule);
        }
        for (std::size_t d = place.size(); d-- > 0 && ++place[d] == sizes[d];)
            place[d] = 0;
    }
    for (std::size_t rule = 0; rule < rules.size(); ++rule)
        rules[rule].patterns = patterns_of(index, matched[rule]);
}

void Limits::add_exception(std::size_t field, const Place& place, std::size_t rule) {
    fields_[field].exceptions.emplace(place, rule);
    for (std::size_t depth = 0; depth < place.size(); ++depth) {
        const auto inner = place.begin() + static_cast<std::ptrdiff_t>(depth);
        apart_[{around_[field][depth].full_name, Place(place.begin(), inner)}].insert(*inner);
    }
}

/// `any`, a name of a field, with the indices of one sequence of it.
std::string Limits::own_name(const std::string& any, std::size_t field, const Place& place) const {
    std::string name;
    std::size_t done = 0;
    for (std::size_t i = 0; i < place.size(); ++i) {
        const Around& collection = around_[field][i];
        name += any.substr(done, collection.full_name.size() - done);
        name += indices_of(collection.type, place[i]);
        done = collection.full_name.size() + any_indices(collection.type).size();
    }
    return name + any.substr(done);
}

std::uint32_t Limits::limit_at(const Field& field, const Place& place) {
    const auto exception = field.exceptions.find(place);
    return exception == field.exceptions.end() ? field.limit : field.element_rules[exception->second].limit;
}

bool Limits::has_columns(std::size_t field, const Place& place) const {
    for (std::size_t depth = 0; depth < place.size(); ++depth) {
        const auto& sequence = around_[field][depth].field;
        const auto element = place.begin() + static_cast<std::ptrdiff_t>(depth);
        if (sequence && *element >= limit_at(fields_[*sequence], Place(place.begin(), element))) return false;
    }
    return true;
}

// Columns

/// Counts columns. Elements are counted once for all, but for those with exceptions in them.
class Limits::Count {
public:
    explicit Count(const Limits& limits, std::vector<std::uint64_t>* per_element = nullptr)
        : limits_(limits), per_element_(per_element) {}

    /// `first`  number of the first field at or below `part`
    /// `place`  of the part, where exceptions may lie in it; null elsewhere
    /// `times`  parts like this one in the type
    std::uint64_t columns(const Part& part, std::size_t first, const Place* place, std::uint64_t times) {
        const PartCounts::Counts& counts = limits_.counts_.of(part);
        if (counts.sequences == 0) return counts.columns;
        if (part.is_collection()) return of_collection(part, first, place, times);
        std::uint64_t sum = part.type.kind() == TypeKind::UNION_TYPE ? 1 : 0;
        for_each_member(part, [&](const Part& member) {
            sum = saturating_sum(sum, columns(member, first, place, times));
            first += limits_.counts_.of(member).sequences;
        });
        return sum;
    }

    std::uint64_t elements(const Part& part, std::size_t first, const Place* place) const {
        if (!part.is_sequence()) return ArrayTypeImpl(part.type).total_element_count();
        const Field& field = limits_.fields_[first];
        return place == nullptr ? field.limit : limit_at(field, *place);
    }

private:
    std::uint64_t of_collection(const Part& part, std::size_t first, const Place* place,
                                std::uint64_t times) {
        const Part element = element_of(part);
        const std::uint64_t count = elements(part, first, place);
        const std::size_t inner = part.is_sequence() ? first + 1 : first;
        std::uint64_t sum = part.is_sequence() ? 1 : 0;
        std::uint64_t alike = count;
        if (place != nullptr) {
            for (const std::uint32_t index : apart(part, *place)) {
                if (index >= count) break;
                Place own = *place;
                own.push_back(index);
                sum = saturating_sum(sum, columns(element, inner, &own, times));
                --alike;
            }
        }
        const std::uint64_t each = columns(element, inner, nullptr, saturating_product(times, alike));
        if (per_element_ != nullptr && part.is_sequence())
            (*per_element_)[first] = saturating_sum((*per_element_)[first], saturating_product(times, each));
        return saturating_sum(sum, saturating_product(alike, each));
    }

    const std::set<std::uint32_t>& apart(const Part& part, const Place& place) const {
        static const std::set<std::uint32_t> none;
        const auto found = limits_.apart_.find({part.full_name, place});
        return found == limits_.apart_.end() ? none : found->second;
    }

    const Limits& limits_;
    std::vector<std::uint64_t>* per_element_;
};

std::uint64_t Limits::columns() const {
    const Place outermost;
    const std::uint64_t leaves = Count(*this).columns(*root_, 0, apart_.empty() ? nullptr : &outermost, 1);
    return saturating_sum(leaves, row_levels());
}

/// Columns that hold an index.
std::uint32_t Limits::row_levels() const {
    return view_ == nullptr ? 0 : view_->levels_of_rows();
}

std::vector<std::uint64_t> Limits::columns_per_element() const {
    std::vector<std::uint64_t> per_element(fields_.size(), 0);
    Count(*this, &per_element).columns(*root_, 0, nullptr, 1);
    return per_element;
}

Limits::Blame Limits::blame() const {
    Blame blame;
    Count count(*this);
    Part part = *root_;
    for (std::size_t first = 0;;) {
        if (part.is_collection()) {
            const std::uint64_t elements = count.elements(part, first, nullptr);
            if (elements > blame.elements)
                blame = {part.full_name, elements, part.is_sequence(), is_blob(part.type)};
            if (part.is_sequence()) ++first;
            part = element_of(part);
            continue;
        }
        std::uint64_t most = 0;
        std::optional<std::pair<Part, std::size_t>> widest;
        std::size_t next = first;
        for_each_member(part, [&](const Part& member) {
            const std::uint64_t columns = count.columns(member, next, nullptr, 1);
            if (columns > most) widest.emplace(member, next);
            most = std::max(most, columns);
            next += counts_.of(member).sequences;
        });
        if (!widest) return blame;
        std::tie(part, first) = *widest;
    }
}

}  // namespace zun::convert
