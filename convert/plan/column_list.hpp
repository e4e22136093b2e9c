// column_list: the header of a topic, a column a line.

#ifndef ZUN_CONVERT_PLAN_COLUMN_LIST_HPP
#define ZUN_CONVERT_PLAN_COLUMN_LIST_HPP

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "convert/plan/Limits.hpp"

namespace zun::convert {

struct ListedColumn {
    std::string name;                            ///< as in the header
    std::string kind;                            ///< "float64"; "length" of a sequence
    std::optional<std::uint32_t> elements = {};  ///< of a length: those that have columns
    std::string unit = {};                       ///< "m/s"; empty where the type names none
};

/// The columns behind the times, in their order.
std::vector<ListedColumn> column_list(const Limits& limits);

/// A line for each column: full name, kind, and for a length column the number of elements that have columns;
/// a tab between them.
void print_columns(std::ostream& out, const Limits& limits);

}  // namespace zun::convert

#endif
