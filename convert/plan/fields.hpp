// fields: which fields of a topic's type have columns.
//
//     wanted "pose.*", "header.stamp"    no others
//     unwanted "*covariance*"            not these, though they may be wanted
//
// What names a structure or a collection means all in it. Of a structure or a collection of which nothing is
// left, nothing is left in the columns either.

#ifndef ZUN_CONVERT_PLAN_FIELDS_HPP
#define ZUN_CONVERT_PLAN_FIELDS_HPP

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "convert/plan/Reason.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// What the user says of fields.
struct FieldRule {
    std::string given;                ///< as the user wrote it: "/scan:ranges,intensities"
    std::string topic;                ///< wildcards; empty for every topic
    std::vector<std::string> fields;  ///< full names, "[*]" for indices

    bool is_for(const std::string& topic_name) const;
};

/// Reads "FIELD,..." or "TOPIC:FIELD,...". Throws std::invalid_argument with the reason.
FieldRule parse_field_rule(const std::string& text);

/// The same for fields with wildcards. An index is "[*]": elements are not chosen.
FieldRule parse_field_choice(const std::string& text);

struct FieldChoice {
    std::vector<FieldRule> wanted = {};  ///< all fields where empty
    std::vector<FieldRule> unwanted = {};

    bool takes_all() const { return wanted.empty() && unwanted.empty(); }
};

/// What became of one expression of a choice.
struct FieldOutcome {
    bool matched = false;
    std::string nearest = {};  ///< a note of fields that it may mean, where it matched none

    void add(const FieldOutcome& more);
};
/// By expression: "/scan:ranges" of FIELDS or EXCLUDE_FIELDS.
using FieldOutcomes = std::map<Advice, FieldOutcome>;

/// The advice that stands for an expression.
Advice expression_of(Advice::Setting setting, const FieldRule& rule, const std::string& field);

/// What a choice leaves of a type.
struct FieldsLeft {
    bool nothing = false;
    std::vector<std::string> left_out = {};  ///< full names, of the outermost
    FieldOutcomes outcomes = {};             ///< of the expressions for the topic
};

/// A type with more parts is not to be chosen from: they are all held against the expressions.
inline constexpr std::uint64_t most_named_parts = 1U << 22U;

/// What `choice` leaves of `type`, which has at most `most_named_parts`.
FieldsLeft fields_left(const core::xtypes::DynamicTypeImpl& type, const std::string& topic,
                       const FieldChoice& choice);

}  // namespace zun::convert

#endif
