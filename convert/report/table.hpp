// table: text for people, in columns and in words.

#ifndef ZUN_CONVERT_REPORT_TABLE_HPP
#define ZUN_CONVERT_REPORT_TABLE_HPP

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace zun::convert {

struct TableColumn {
    enum class Align : std::uint8_t { LEFT, RIGHT };

    std::string title;
    Align align = Align::LEFT;
    std::size_t least_width = 0;  ///< in characters
};

/// Lines of cells under their titles, indented, each column as wide as its widest cell. Nothing when there
/// are no rows.
///
/// `rows`  as many cells each as there are columns, in UTF-8
void print_table(std::ostream& out, const std::vector<TableColumn>& columns,
                 const std::vector<std::vector<std::string>>& rows);

/// "921,600"
std::string with_separators(std::uint64_t number);

/// "1 row", "2 rows".
std::string counted(std::uint64_t count, const std::string& noun, const std::string& plural_end = "s");

/// Three digits or so: "512 B", "1.4 MB".
std::string size_text(std::uint64_t bytes);

}  // namespace zun::convert

#endif
