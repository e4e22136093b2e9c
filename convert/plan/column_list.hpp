// column_list: the header of a topic, a column a line.

#ifndef ZUN_CONVERT_PLAN_COLUMN_LIST_HPP
#define ZUN_CONVERT_PLAN_COLUMN_LIST_HPP

#include <ostream>

#include "convert/plan/Limits.hpp"
#include "convert/plan/column_names.hpp"

namespace zun::convert {

/// A line for each column: name, kind, and for a length column the number of elements that have columns;
/// a tab between them.
void print_columns(std::ostream& out, const Limits& limits, ColumnNames form);

}  // namespace zun::convert

#endif
