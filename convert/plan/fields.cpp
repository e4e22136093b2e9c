#include "convert/plan/fields.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "convert/plan/limit_rules.hpp"
#include "convert/plan/nearest.hpp"
#include "convert/plan/type_walk.hpp"

namespace zun::convert {

using core::xtypes::DynamicTypeImpl;
using core::xtypes::TypeKind;

namespace {

using Setting = Advice::Setting;

/// Names that are held against an expression that matches none.
constexpr std::size_t most_names = 10'000;

/// Expressions of one sort for a topic.
class Expressions {
public:
    Expressions(Setting setting, const std::vector<FieldRule>& rules, const std::string& topic,
                FieldOutcomes& outcomes) {
        for (const FieldRule& rule : rules) {
            if (!rule.is_for(topic)) continue;
            for (const std::string& field : rule.fields)
                all_.push_back({any_index(field), &outcomes[expression_of(setting, rule, field)]});
        }
    }

    bool match(const std::string& name) const {
        return std::any_of(all_.begin(), all_.end(),
                           [&](const Expression& each) { return matches(each.pattern, name); });
    }

    /// The same, and notes which.
    bool meet(const std::string& name) {
        bool any = false;
        for (const Expression& each : all_) {
            if (!matches(each.pattern, name)) continue;
            each.outcome->matched = true;
            any = true;
        }
        return any;
    }

private:
    struct Expression {
        std::string pattern;
        FieldOutcome* outcome;
    };
    std::vector<Expression> all_;
};

class FieldWalk {
public:
    FieldWalk(const std::string& topic, const FieldChoice& choice)
        : all_wanted_(choice.wanted.empty()),
          wanted_(Setting::FIELDS, choice.wanted, topic, left_.outcomes),
          unwanted_(Setting::EXCLUDE_FIELDS, choice.unwanted, topic, left_.outcomes) {}

    FieldsLeft of(const DynamicTypeImpl& type) {
        left_.nothing = !keeps_parts(Part(type), {.wanted = all_wanted_, .unwanted = false});
        for (auto& [expression, outcome] : left_.outcomes)
            if (!outcome.matched)
                outcome.nearest =
                    nearest_note(expression.value.substr(expression.value.rfind(':') + 1), names_);
        return std::move(left_);
    }

private:
    /// Of a part, by its name or that of a part around it.
    struct Choice {
        bool wanted;
        bool unwanted;
        bool keeps() const { return wanted && !unwanted; }
    };

    /// Whether anything is left of a part; if not, it is left out.
    bool keeps(const Part& part, Choice choice) {
        if (names_.size() < most_names) names_.push_back(part.full_name);
        choice.wanted = wanted_.meet(part.full_name) || choice.wanted;
        choice.unwanted = unwanted_.meet(part.full_name) || choice.unwanted;
        const std::size_t before = left_.left_out.size();
        if (keeps_parts(part, choice)) return true;
        left_.left_out.resize(before);
        left_.left_out.push_back(part.full_name);
        return false;
    }

    bool keeps_parts(const Part& part, const Choice& choice) {
        if (part.is_collection()) return keeps(element_of(part), choice);
        bool any_part = false;
        bool any_left = false;
        if (part.type.kind() == TypeKind::UNION_TYPE) {
            // It has a column as long as the union has any.
            const std::string discriminator = joined(part.full_name, "_d");
            const bool wanted = wanted_.meet(discriminator) || choice.wanted;
            any_part = true;
            any_left = wanted && !choice.unwanted && !unwanted_.match(discriminator);
        }
        for_each_member(part, [&](const Part& member) {
            any_part = true;
            any_left = keeps(member, choice) || any_left;
        });
        return any_part ? any_left : choice.keeps();
    }

    FieldsLeft left_;
    bool all_wanted_;
    Expressions wanted_;
    Expressions unwanted_;
    std::vector<std::string> names_;
};

}  // namespace

bool FieldRule::is_for(const std::string& topic_name) const {
    return topic.empty() || matches(topic, topic_name);
}

FieldRule parse_field_rule(const std::string& text) {
    FieldRule rule{.given = text, .topic = {}, .fields = {}};
    const std::size_t colon = text.rfind(':');
    if (colon != std::string::npos) rule.topic = text.substr(0, colon);
    std::istringstream names(colon == std::string::npos ? text : text.substr(colon + 1));
    for (std::string name; std::getline(names, name, ',');)
        rule.fields.push_back(name);
    const bool one_topic = rule.topic.find(',') == std::string::npos;
    if (rule.fields.empty() || std::count(rule.fields.begin(), rule.fields.end(), "") > 0 || !one_topic)
        throw std::invalid_argument("'" + text + "': expected FIELD,... or TOPIC:FIELD,..." +
                                    (one_topic ? "" : "; each topic has an option of its own"));
    return rule;
}

FieldRule parse_field_choice(const std::string& text) {
    FieldRule rule = parse_field_rule(text);
    for (const std::string& field : rule.fields)
        if (names_an_element(field))
            throw std::invalid_argument(
                "'" + text + "': '" + field +
                "' names an element, and all elements have the same fields: write [*]");
    return rule;
}

void FieldOutcome::add(const FieldOutcome& more) {
    matched = matched || more.matched;
    if (nearest.empty()) nearest = more.nearest;
}

Advice expression_of(Setting setting, const FieldRule& rule, const std::string& field) {
    return {setting, rule.topic.empty() ? field : rule.topic + ':' + field};
}

FieldsLeft fields_left(const DynamicTypeImpl& type, const std::string& topic, const FieldChoice& choice) {
    return FieldWalk(topic, choice).of(type);
}

}  // namespace zun::convert
