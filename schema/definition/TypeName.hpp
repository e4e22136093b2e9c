// TypeName: the spellings of one type's name.
//
// Definitions are kept under scoped names without a leading "::". What ROS spells pkg/msg/T, or pkg/T for
// short, is pkg::msg::T there; a DDS participant of ROS calls the same type pkg::msg::dds_::T_.

#ifndef ZUN_SCHEMA_DEFINITION_TYPE_NAME_HPP
#define ZUN_SCHEMA_DEFINITION_TYPE_NAME_HPP

#include <string>
#include <string_view>
#include <vector>

namespace zun::schema {

/// `outer`::`name`, or `name` where `outer` is empty.
std::string scoped(std::string_view outer, std::string_view name);

/// What stands before the last "::"; empty where there is none.
std::string_view outer_scope(std::string_view scoped_name);

/// What stands after the last "::".
std::string_view last_name(std::string_view scoped_name);

/// The parts of a name in either spelling; a leading "::" adds none.
std::vector<std::string_view> name_parts(std::string_view name);

/// The scoped name of a type that ROS calls `name`: folders between package and type are dropped, and `kind`
/// (msg, srv, action) is put in where the name says none. A name of one part stays as it is.
std::string ros_name(std::string_view name, std::string_view kind = "msg");

/// The scoped names under which a type called `name` can be defined, likeliest first.
std::vector<std::string> candidate_names(const std::string& name);

/// True for pkg::msg::T, pkg::srv::T and pkg::action::T, and for their spelling on the bus.
bool is_ros_name(std::string_view scoped_name);

/// The spelling that users know: pkg/msg/T for a type of ROS, a::b::T for any other.
std::string display_name(std::string_view scoped_name);

}  // namespace zun::schema

#endif
