// limit_rules: what the user says about limits, and which of several rules goes before the others.

#ifndef ZUN_CONVERT_PLAN_LIMIT_RULES_HPP
#define ZUN_CONVERT_PLAN_LIMIT_RULES_HPP

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace zun::convert {

/// What the user says.
struct LimitRule {
    std::string given;       ///< as the user wrote it: "/scan:ranges=10"
    std::string topic;       ///< wildcards; empty for every topic
    std::string expression;  ///< wildcards on the full name: "markers[*].points"
    std::uint32_t limit = 0;
};

/// What became of a rule, over all topics.
struct RuleOutcome {
    bool won = false;          ///< some field: no other rule took it
    std::string lost_to = {};  ///< the rule that took a field it matched; empty where none did
};

/// Reads "EXPR=N" or "TOPIC:EXPR=N". Throws std::invalid_argument with the reason.
LimitRule parse_limit_rule(const std::string& text);

/// The indices of the rules for `topic`, the most specific first: an expression without wildcards ([*] is
/// none) before one that has some, more literal characters before fewer, the same for topics, the later rule
/// before the earlier.
std::vector<std::size_t> rules_for(const std::vector<LimitRule>& rules, const std::string& topic);

/// `expression` as a pattern in which brackets around a number or "*" are ordinary characters.
std::string escaped_indices(const std::string& expression);
/// The same with a "*" that matches itself alone in place of every index: what matches names of fields.
std::string any_index(const std::string& expression);

/// Whether `expression` has a number as an index.
bool names_an_element(const std::string& expression);

bool matches(const std::string& pattern, const std::string& text);

}  // namespace zun::convert

#endif
