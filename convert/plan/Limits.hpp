// Limits: how many elements of each sequence of a topic get columns.
//
// In: a type, the user's rules, and the longest lengths that a recording holds. Out: a limit for every field,
// at most the bound of its type, and from them what the format is given: the column type and settings.
//
//     rules "markers[*].points=5", "*=100"     the user's; the most specific that matches a field wins
//     field "markers[*].points"                all elements of the collections around it have one limit,
//     field "markers[3].points"                unless a rule names an element by its number
//
// The column type is the sample's type without what is excluded, each sequence bounded by its limit. Only a
// field with a rule for single elements stays unbounded in it, and has expressions in the settings instead.

#ifndef ZUN_CONVERT_PLAN_LIMITS_HPP
#define ZUN_CONVERT_PLAN_LIMITS_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/plan/limit_rules.hpp"
#include "convert/plan/type_walk.hpp"
#include "format/PrintFormatCsvProperty.hpp"

namespace zun::convert {

/// The limit of an unbounded field that nothing else limits.
inline constexpr std::uint32_t plain_limit = 1000;

/// The longest length of each field, by its full name with "[*]" for indices.
using Lengths = std::map<std::string, std::uint32_t>;

/// Takes the longest of both.
void merge(Lengths& lengths, const Lengths& more);

class Limits {
public:
    enum class Origin : std::uint8_t {
        PLAIN,     ///< the bound, or the plain limit where there is none
        MEASURED,  ///< the longest length of the data
        HELD,      ///< less than that, so that the topic fits
        FILE,      ///< by a limits file
        RULE,      ///< by a rule of the user's
    };
    /// A rule that names elements by their number.
    struct ElementRule {
        std::string pattern;     ///< "markers\\[3\\].points"
        std::string expression;  ///< "markers[3].points"
        std::uint32_t limit;
        std::string given;                       ///< as the user wrote it
        std::vector<std::string> patterns = {};  ///< of the sequences that it matches, and of no others
    };
    /// The place of an element in the collections around a field, from the outermost inwards. An array
    /// counts its elements in one row, whatever its dimensions.
    using Place = std::vector<std::uint32_t>;
    struct Field {
        std::string full_name;    ///< "markers[*].points"
        std::string column_name;  ///< "markers[i].points" where each marker has a row of its own
        bool blob;                ///< a sequence of octets or uint8
        std::uint32_t bound;      ///< of the type
        std::uint32_t limit;
        Origin origin = Origin::PLAIN;
        std::string given = {};                        ///< the rule that gave the limit, as the user wrote it
        std::vector<ElementRule> element_rules = {};   ///< the first that matches wins over `limit`
        std::map<Place, std::size_t> exceptions = {};  ///< the sequences that such a rule takes, with it
    };

    Limits() = default;  ///< of a topic without type: no fields

    /// The plain limits of what has columns; null shows all of the type as it is.
    explicit Limits(const core::xtypes::DynamicTypeImpl& type,
                    std::shared_ptr<const cdr::View> view = nullptr);

    const core::xtypes::DynamicTypeImpl& sample_type() const { return root_->type; }
    /// In the order of declaration, as LengthMeter numbers them.
    const std::vector<Field>& fields() const { return fields_; }

    /// Lengths of all fields, by their names.
    Lengths lengths(const std::vector<std::uint32_t>& by_field) const;

    /// The index of the field called `full_name`; none where no field is.
    std::optional<std::size_t> find(const std::string& full_name) const;

    /// Sets the fields that are in `lengths`.
    void set(const Lengths& lengths, Origin origin);
    /// Sets the fields that the rules for `topic` match.
    ///
    /// `outcomes`  by rule; what they do here is added
    void apply(const std::vector<LimitRule>& rules, const std::string& topic,
               std::vector<RuleOutcome>& outcomes);
    /// Holds measured fields to the plain limit, longest first, until there are at most `most` columns.
    void hold(std::uint64_t most);

    /// Whether the sequence lies in elements that all have columns.
    bool has_columns(std::size_t field, const Place& place) const;

    /// Leaf columns of the type with these limits, saturating; counted without building anything.
    std::uint64_t columns() const;
    /// The columns that one more element of each field would add, by field; rules for elements aside.
    std::vector<std::uint64_t> columns_per_element() const;

    /// The collection to blame for many columns.
    struct Blame {
        std::string full_name;  ///< empty when there is no collection
        std::uint64_t elements = 0;
        bool limited = false;  ///< by these limits; false for arrays
        bool blob = false;     ///< of bytes
    };
    Blame blame() const;

    /// Types that the format is given. Only names, kinds and bounds count in them; no sample is ever read by
    /// them.
    struct ColumnTypes {
        core::xtypes::DynamicTypeImpl row;  ///< with a column in front for each index that rows have
        /// By place in the view's rows: a structure with an element as its only member.
        std::vector<core::xtypes::DynamicTypeImpl> elements = {};
    };
    ColumnTypes column_types() const;

    /// Adds expressions for the fields that have rules for single elements. Each matches sequences of one
    /// field alone.
    void add_to(tamber::utils::PrintFormatCsvProperty& property) const;

private:
    class Count;

    /// A collection around a field.
    struct Around {
        core::xtypes::DynamicTypeImpl type;
        std::string full_name;
        std::optional<std::size_t> field;  // of a sequence
    };
    /// One collection: its full name and its own place.
    using Collection = std::pair<std::string, Place>;

    void add_fields(const Part& part, std::vector<Around>& around);
    static std::uint32_t limit_of(const Field& field, std::uint32_t wanted);
    static void give(Field& field, const LimitRule& rule, RuleOutcome& outcome);

    static std::uint32_t limit_at(const Field& field, const Place& place);
    std::uint32_t most_elements(const Around& collection) const;
    void find_exceptions(std::size_t field);
    void add_exception(std::size_t field, const Place& place, std::size_t rule);
    std::string own_name(const std::string& any, std::size_t field, const Place& place) const;

    core::xtypes::DynamicTypeImpl column_type(const Part& part, std::size_t first,
                                              std::vector<core::xtypes::DynamicTypeImpl>& elements) const;
    std::uint32_t row_levels() const;
    /// By collection around a field, the outermost first: the elements that are meant; none for all.
    using Choice = std::vector<std::optional<std::set<std::uint32_t>>>;
    std::vector<std::string> patterns_of(std::size_t field, const Choice& choice) const;
    std::vector<std::string> patterns_of(std::size_t field, const std::vector<Place>& places) const;

    std::shared_ptr<const cdr::View> view_;  // of the root
    std::optional<Part> root_;
    PartCounts counts_;
    std::vector<Field> fields_;
    std::vector<std::vector<Around>> around_;              // by field, the outermost first
    std::map<std::string, std::size_t> indices_;           // in fields_, by full name
    std::map<Collection, std::set<std::uint32_t>> apart_;  // the elements with exceptions in them
};

}  // namespace zun::convert

#endif
