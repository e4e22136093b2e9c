// interface_suffixes: how ROS names the types that it makes of services and actions.

#ifndef ZUN_PLATFORM_TEXT_INTERFACE_SUFFIXES_HPP
#define ZUN_PLATFORM_TEXT_INTERFACE_SUFFIXES_HPP

#include <array>
#include <string_view>

namespace zun {

/// Endings of the names of types whose messages are recorded, while their definitions are those of the
/// service or action before the ending: "p/srv/Add_Event" is made of "p/srv/Add". The longer of two that fit
/// comes first.
inline constexpr std::array<std::string_view, 4> interface_suffixes = {"_SendGoal_Event", "_GetResult_Event",
                                                                       "_FeedbackMessage", "_Event"};

}  // namespace zun

#endif
