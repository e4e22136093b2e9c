// PrintFormatCsvProperty: the settings of the CSV format.

#ifndef ZUN_FORMAT_PRINT_FORMAT_CSV_PROPERTY_HPP
#define ZUN_FORMAT_PRINT_FORMAT_CSV_PROPERTY_HPP

#include <cstdint>
#include <map>
#include <string>

namespace zun::tamber::utils {

/// A plain value. Default-made, it has empty texts, no limits, and both flags off; the format's own
/// defaults are PrintFormatCsv::PROPERTY_DEFAULT().
class PrintFormatCsvProperty {
public:
    /// What every empty cell says. A zero character ends it.
    const std::string& empty_member_value_representation() const {
        return empty_member_value_representation_;
    }
    PrintFormatCsvProperty& empty_member_value_representation(const std::string& text) {
        empty_member_value_representation_ = text;
        return *this;
    }

    /// Whether enumeration values are printed as their names rather than as numbers.
    bool enum_as_string() const { return enum_as_string_; }
    PrintFormatCsvProperty& enum_as_string(bool as_string) {
        enum_as_string_ = as_string;
        return *this;
    }

    /// Whether rows start with two times, of reception and of the source, rather than with one.
    bool include_source_timestamp() const { return include_source_timestamp_; }
    PrintFormatCsvProperty& include_source_timestamp(bool include) {
        include_source_timestamp_ = include;
        return *this;
    }

    /// Sets the element limit of the unbounded sequences whose full name matches `expression`, a shell
    /// wildcard pattern. An expression that is there already keeps its place and gets the new limit.
    void add_unbounded_seq_limit(const std::string& expression, std::uint32_t limit) {
        unbounded_seq_limits_.insert_or_assign(expression, limit);
    }

    /// The number of elements of `full_name` that get columns; 1000 when no expression matches.
    ///
    /// `full_name`  dotted path from the root, as in the header line: "pose.tags"
    /// Order        expressions are tried in byte order of their text, the first match wins
    /// Logs         one message a call
    /// Throws       std::bad_alloc only
    std::uint32_t seq_limit_for_field(const std::string& full_name) const;

private:
    std::string empty_member_value_representation_;
    bool enum_as_string_ = false;
    bool include_source_timestamp_ = false;
    std::map<std::string, std::uint32_t> unbounded_seq_limits_;  // std::less compares bytes as unsigned
};

}  // namespace zun::tamber::utils

#endif
