// message_text: the .msg, .srv and .action grammar to definitions.
//
//     uint8 MODE_A=1            constants and defaults travel with no sample, and are passed over
//     float64[3] position
//     string<=8[<=4] tags []

#ifndef ZUN_SCHEMA_ROSMSG_MESSAGE_TEXT_HPP
#define ZUN_SCHEMA_ROSMSG_MESSAGE_TEXT_HPP

#include "schema/definition/DefinitionTable.hpp"
#include "schema/rosmsg/sections.hpp"

namespace zun::schema {

/// Adds what `section` defines to `table`: one message or, where lines "---" divide the body, the request and
/// response of a service, or the goal, result and feedback of an action. A malformed part becomes a broken
/// definition.
///
/// `section.name`  of the message, service or action; of a service or action also the name of a type made
///                 from it: "pkg/srv/X_Event"
void read_message_text(const Section& section, DefinitionTable& table);

/// Adds the types that ROS makes from the services and actions in `table`, such as X_Event and
/// X_FeedbackMessage, where they are not there.
void add_derived_types(DefinitionTable& table);

}  // namespace zun::schema

#endif
