// Limits: how many elements of each unbounded sequence of a topic get columns.
//
// In: a type, the user's rules, and the longest lengths that a recording holds. Out: a limit for every field,
// and with them the settings of the format.
//
//     rules "markers[*].points=5", "*=100"     the user's, tried in byte order of their expressions
//     field "markers[*].points"                all elements of the collections around it have one limit,
//     field "markers[3].points"                unless a rule names an element by its number
//
// The settings get expressions that match one field each, so their own order decides nothing.

#ifndef ZUN_CONVERT_PLAN_LIMITS_HPP
#define ZUN_CONVERT_PLAN_LIMITS_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "format/PrintFormatCsvProperty.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// The format's own limit of a field that no expression matches.
inline constexpr std::uint32_t plain_limit = 1000;

/// The longest length of each field, by its full name with "[*]" for indices.
using Lengths = std::map<std::string, std::uint32_t>;

/// Takes the longest of both.
void merge(Lengths& lengths, const Lengths& more);

/// What one --limit says, and what became of it over all topics.
struct LimitRule {
    std::string given;       ///< as the user wrote it: "/scan:ranges=10"
    std::string topic;       ///< wildcards; empty for every topic
    std::string expression;  ///< wildcards on the full name: "markers[*].points"
    std::uint32_t limit = 0;
    bool matched = false;      ///< some field
    bool won = false;          ///< some field: no earlier rule took it
    std::string lost_to = {};  ///< the rule that took a field it matched
};

/// Reads "EXPR=N" or "TOPIC:EXPR=N". Throws std::invalid_argument with the reason.
LimitRule parse_limit_rule(const std::string& text);

/// `expression` as a pattern in which brackets around a number or "*" are ordinary characters.
std::string escaped_indices(const std::string& expression);

class Limits {
public:
    enum class Origin : std::uint8_t {
        PLAIN,     ///< the format's own
        MEASURED,  ///< the longest length of the data
        HELD,      ///< less than that, so that the topic fits
        GIVEN,     ///< by a rule or a limits file
    };
    /// A rule that names elements by their number.
    struct ElementRule {
        std::string pattern;  ///< "markers\\[3\\].points"
        std::uint32_t limit;
        std::string given;  ///< as the user wrote it
    };
    struct Field {
        std::string full_name;  ///< "markers[*].points"
        bool blob = false;      ///< a sequence of octets or uint8
        std::uint32_t limit = plain_limit;
        Origin origin = Origin::PLAIN;
        std::string given = {};                       ///< the rule that gave the limit, as the user wrote it
        std::vector<ElementRule> element_rules = {};  ///< the first that matches wins over `limit`
    };

    Limits() = default;  ///< of a topic without type: no fields

    /// The plain limits of `type`.
    explicit Limits(const core::xtypes::DynamicTypeImpl& type);

    const std::vector<Field>& fields() const { return fields_; }  ///< in the order of declaration

    /// The field called `full_name`; null when there is none.
    const Field* find(const std::string& full_name) const;

    /// Sets the fields that are in `lengths`.
    void set(const Lengths& lengths, Origin origin);
    /// Sets the fields that the rules of `topic` match, and marks in the rules what they did.
    void apply(std::vector<LimitRule>& rules, const std::string& topic);
    /// Holds measured fields to the plain limit, longest first, until there are at most `most` columns.
    void hold(std::uint64_t most);

    /// Leaf columns of the type with these limits, saturating; counted without building anything.
    std::uint64_t columns() const;

    /// The collection to blame for many columns.
    struct Blame {
        std::string full_name;  ///< empty when there is no collection
        std::uint64_t elements = 0;
        bool limited = false;  ///< by these limits; false for arrays and bounded sequences
    };
    Blame blame() const;

    /// Adds one expression a field to `property`; none for plain ones.
    void add_to(tamber::utils::PrintFormatCsvProperty& property) const;

private:
    struct Place;
    using SequenceVisitor = std::function<void(const std::string& own_name, std::uint32_t limit)>;

    static bool give(Field& field, LimitRule& rule);
    Place root() const;
    std::uint64_t elements_at(const Place& place) const;
    std::uint64_t columns_at(const Place& place, const SequenceVisitor& visit) const;
    std::uint64_t collection_columns_at(const Place& place, const SequenceVisitor& visit) const;

    std::optional<core::xtypes::DynamicTypeImpl> type_;
    std::vector<Field> fields_;
    std::map<std::string, std::size_t> indices_;  // in fields_, by full name
};

}  // namespace zun::convert

#endif
