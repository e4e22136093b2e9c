// name_hash: member ids that are made from names.

#ifndef ZUN_SCHEMA_DEFINITION_NAME_HASH_HPP
#define ZUN_SCHEMA_DEFINITION_NAME_HASH_HPP

#include <cstdint>
#include <string>

namespace zun::schema {

/// The 28-bit member id of a member called `name`.
std::uint32_t name_hash(const std::string& name);

}  // namespace zun::schema

#endif
