// schema_text: a recorded text, or a file, to its definitions.

#ifndef ZUN_SCHEMA_SCHEMA_TEXT_HPP
#define ZUN_SCHEMA_SCHEMA_TEXT_HPP

#include <string>
#include <string_view>

#include "schema/definition/DefinitionTable.hpp"

namespace zun::schema {

/// Reads every definition that can be read.
///
/// `source`     what errors name
/// `type_name`  of the type that the text is about
/// `encoding`   "omgidl": IDL throughout; else each section's own words tell its grammar
DefinitionTable read_schema(const std::string& source, std::string_view type_name, std::string_view encoding,
                            std::string_view text);

}  // namespace zun::schema

#endif
