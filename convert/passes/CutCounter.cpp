#include "convert/passes/CutCounter.hpp"

#include <algorithm>

namespace zun::convert {

namespace {

/// The fewest elements that a field keeps anywhere.
std::uint32_t fewest_kept(const Limits::Field& field) {
    std::uint32_t fewest = field.limit;
    for (const auto& [place, rule] : field.exceptions)
        fewest = std::min(fewest, field.element_rules[rule].limit);
    return fewest;
}

}  // namespace

bool may_be_cut(const Limits& limits, const Lengths* lengths) {
    return std::any_of(limits.fields().begin(), limits.fields().end(), [&](const Limits::Field& field) {
        if (lengths == nullptr) return true;
        const auto longest = lengths->find(field.full_name);
        return longest == lengths->end() || longest->second > fewest_kept(field);
    });
}

CutSlots::CutSlots(const Limits& limits) : limits_(limits) {
    for (const Limits::Field& field : limits.fields()) {
        first_slots_.push_back(cuts_.size());
        cuts_.push_back({.field = field.full_name, .columns = field.limit, .rule = field.given});
        for (const Limits::ElementRule& rule : field.element_rules)
            cuts_.push_back({.field = rule.expression, .columns = rule.limit, .rule = rule.given});
    }
}

void CutCounter::count(cdr::LengthMeter& meter, std::span<const std::byte> data) {
    ++message_;
    meter.visit(data, [this](std::uint32_t field, std::uint32_t length, const Limits::Place& place) {
        count(field, length, place);
    });
}

void CutCounter::count(std::size_t field, std::uint32_t length, const Limits::Place& place) {
    const Limits::Field& limited = slots_.limits_.fields()[field];
    const auto exception =
        limited.exceptions.empty() ? limited.exceptions.end() : limited.exceptions.find(place);
    const std::size_t slot =
        slots_.first_slots_[field] + (exception == limited.exceptions.end() ? 0 : 1 + exception->second);
    Count& counted = counts_[slot];
    if (length <= counted.longest && counted.last_message == message_) return;
    const bool longer = length > slots_.cuts_[slot].columns;
    if (longer && !slots_.limits_.has_columns(field, place)) return;
    counted.longest = std::max(counted.longest, length);
    if (!longer || counted.last_message == message_) return;
    counted.last_message = message_;
    ++counted.rows;
}

void CutCounter::add_to(std::vector<CutField>& cuts) const {
    for (std::size_t i = 0; i < counts_.size(); ++i) {
        cuts[i].rows += counts_[i].rows;
        cuts[i].longest = std::max(cuts[i].longest, counts_[i].longest);
    }
}

}  // namespace zun::convert
