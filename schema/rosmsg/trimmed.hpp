// trimmed: a piece of text without what surrounds it.

#ifndef ZUN_SCHEMA_ROSMSG_TRIMMED_HPP
#define ZUN_SCHEMA_ROSMSG_TRIMMED_HPP

#include <string_view>

namespace zun::schema {

/// `text` without blanks, tabs, line ends and form feeds at both ends; refers to `text`.
std::string_view trimmed(std::string_view text);

}  // namespace zun::schema

#endif
