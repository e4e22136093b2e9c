// cells: the cells of a row's text, each with the comma before it.

#ifndef ZUN_CONVERT_PASSES_CELLS_HPP
#define ZUN_CONVERT_PASSES_CELLS_HPP

#include <cstdint>

namespace zun::convert {

/// The comma of the cell that stands `count` cells behind the one whose comma is at `cell`; `end` where there
/// are fewer. Commas in quotes are none.
const char* skip_cells(const char* cell, const char* end, std::uint32_t count);

}  // namespace zun::convert

#endif
