// PlainLengths: takes the spaces off the length cells of finished rows.
//
//     in     ,7,"a, b",              2,0.5,2
//     out    ,7,"a, b",2,0.5,2

#ifndef ZUN_CONVERT_PASSES_PLAIN_LENGTHS_HPP
#define ZUN_CONVERT_PASSES_PLAIN_LENGTHS_HPP

#include <cstdint>
#include <vector>

#include "format/PrintFormatCsv.hpp"

namespace zun::convert {

class PlainLengths {
public:
    /// `root` numbers its leaves; only needed here.
    explicit PlainLengths(const tamber::utils::ColumnInfo& root) { add_columns(root); }

    /// Moves the text of one row, or of one element, to where it begins now or before that, and returns its
    /// new end.
    ///
    /// `row`  the comma before the first cell
    /// `end`  with or without line end
    char* move(const char* row, const char* end, char* to) const;

private:
    void add_columns(const tamber::utils::ColumnInfo& column);

    std::vector<std::uint32_t> columns_;  // leaves that are lengths, ascending
};

}  // namespace zun::convert

#endif
