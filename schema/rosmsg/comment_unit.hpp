// comment_unit: the unit that a comment names, as the ROS interfaces write it: "# angle [rad]", "# (m/s)".

#ifndef ZUN_SCHEMA_ROSMSG_COMMENT_UNIT_HPP
#define ZUN_SCHEMA_ROSMSG_COMMENT_UNIT_HPP

#include <string>
#include <string_view>

namespace zun::schema {

/// The text of the brackets in `comment` that hold a unit of measurement and nothing else: symbols of the SI
/// with or without prefix, a few others and written-out names, multiplied, divided and to powers. Empty where
/// there is none, and where two differ.
std::string unit_in_comment(std::string_view comment);

}  // namespace zun::schema

#endif
