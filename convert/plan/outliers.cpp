#include "convert/plan/outliers.hpp"

#include <algorithm>

namespace zun::convert {

namespace {

/// Fewer columns than that are no nuisance.
constexpr std::uint64_t few_columns = 100;

/// Takes away messages, the longest first, as long as that more than halves the columns.
Outliers outliers_of(std::size_t index, const Limits::Field& field, std::uint64_t per_element,
                     std::uint64_t columns, const TopicSpread& spread) {
    Outliers found{index, 0, field.limit, field.limit, columns};
    const auto known = spread.fields.find(field.full_name);
    if (known == spread.fields.end()) return found;
    const auto& classes = known->second.classes();
    std::uint64_t messages = 0;
    for (std::size_t i = classes.size(); i-- > 0;) {
        messages += classes[i].samples;
        if (messages >= spread.messages / 100 + (spread.messages % 100 > 0 ? 1 : 0)) break;
        std::uint32_t next = 0;
        for (std::size_t below = i; next == 0 && below-- > 0;)
            next = classes[below].longest;
        if (next >= field.limit) continue;
        const std::uint64_t left = columns - std::min(columns, (field.limit - next) * per_element);
        if (left < found.columns - left) found = {index, messages, field.limit, next, left};
    }
    return found;
}

}  // namespace

void TopicSpread::add(const TopicSpread& more) {
    messages += more.messages;
    for (const auto& [name, field] : more.fields)
        fields[name].add(field);
}

std::optional<Outliers> outliers_of(const Limits& limits, std::uint64_t columns, const TopicSpread& spread) {
    const std::vector<std::uint64_t> per_element = limits.columns_per_element();
    std::optional<Outliers> most;
    for (std::size_t i = 0; i < limits.fields().size(); ++i) {
        const Limits::Field& field = limits.fields()[i];
        if (field.origin != Limits::Origin::MEASURED) continue;
        const Outliers found = outliers_of(i, field, per_element[i], columns, spread);
        const std::uint64_t taken = columns - found.columns;
        if (taken >= few_columns && (!most || found.columns < most->columns)) most = found;
    }
    return most;
}

}  // namespace zun::convert
