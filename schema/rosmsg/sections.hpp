// sections: a recorded text of several definitions to its parts.
//
//     uint8 kind                                 the first part has no header
//     demo_msgs/Corner corner
//     =========================================
//     MSG: demo_msgs/Corner                      IDL, SRV and ACTION likewise
//     float64 x

#ifndef ZUN_SCHEMA_ROSMSG_SECTIONS_HPP
#define ZUN_SCHEMA_ROSMSG_SECTIONS_HPP

#include <cstdint>
#include <string_view>
#include <vector>

namespace zun::schema {

/// A part of a text; a view of it.
struct Section {
    std::string_view keyword = {};  ///< "MSG", "IDL", "SRV", "ACTION"; empty for the first part
    std::string_view name = {};     ///< as written; empty for the first part
    std::string_view body = {};     ///< without the header lines
    std::uint64_t first_line = 1;   ///< of the body, in the whole text
};

/// The parts of `text`, which they refer to. A first part of nothing but blanks is dropped where others
/// follow. There is at least one part.
std::vector<Section> sections_of(std::string_view text);

/// Takes the first line off `text`: without its line end and blanks around it.
std::string_view take_line(std::string_view& text);

}  // namespace zun::schema

#endif
