// column_names: the header line in other forms than the format's.
//
//     DOTS         timestamp,pose.x,track.length,track[0].t
//     SLASHES      timestamp,pose/x,track/length,track[0]/t
//     UNDERSCORES  timestamp,pose_x,track_length,track_0_t

#ifndef ZUN_CONVERT_PLAN_COLUMN_NAMES_HPP
#define ZUN_CONVERT_PLAN_COLUMN_NAMES_HPP

#include <cstdint>
#include <string>
#include <vector>

namespace zun::convert {

enum class ColumnNames : std::uint8_t {
    DOTS,         ///< as the format has them
    SLASHES,      ///< a tree, where slashes part names
    UNDERSCORES,  ///< letters, digits and underscores alone, no digit in front
};

/// The names of a header line, which ends with a line end.
///
/// In all forms but dots no two are alike, for underscores whatever the case of their letters: a later one
/// gets "_2", "_3" ... behind it.
std::vector<std::string> column_names(const std::string& header, ColumnNames form);

/// The header line with these names.
std::string renamed_header(const std::string& header, ColumnNames form);

}  // namespace zun::convert

#endif
