// column_list: the header of a topic, a column a line.

#ifndef ZUN_CONVERT_PLAN_COLUMN_LIST_HPP
#define ZUN_CONVERT_PLAN_COLUMN_LIST_HPP

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "convert/plan/Limits.hpp"
#include "convert/plan/column_names.hpp"

namespace zun::convert {

struct ListedColumn {
    std::string name;                            ///< as in the header
    std::string kind;                            ///< "float64"; "length" of a sequence; "time" before the row
    std::optional<std::uint32_t> elements = {};  ///< of a length: those that have columns
    std::string unit = {};                       ///< "m/s"; empty where the type names none
};

/// All columns of a file in their order.
///
/// `both_times`  two of time instead of one
std::vector<ListedColumn> column_list(const Limits& limits, bool both_times, ColumnNames form);

/// A line for each column behind the time: name, kind, and for a length column the number of elements that
/// have columns; a tab between them.
void print_columns(std::ostream& out, const Limits& limits, ColumnNames form);

}  // namespace zun::convert

#endif
