// quoted: text of a definition within an error.

#ifndef ZUN_SCHEMA_DEFINITION_QUOTED_HPP
#define ZUN_SCHEMA_DEFINITION_QUOTED_HPP

#include <string>
#include <string_view>

namespace zun::schema {

/// `text` in quotes, fit for an error: of a long one the beginning, and "?" for what no terminal should get.
std::string quoted(std::string_view text);

}  // namespace zun::schema

#endif
