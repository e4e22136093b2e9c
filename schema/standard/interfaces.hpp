// interfaces: the text of interfaces.txt, in the form in which recordings carry definitions.

#ifndef ZUN_SCHEMA_STANDARD_INTERFACES_HPP
#define ZUN_SCHEMA_STANDARD_INTERFACES_HPP

#include <string_view>

namespace zun::schema {

extern const std::string_view standard_interfaces;

}  // namespace zun::schema

#endif
