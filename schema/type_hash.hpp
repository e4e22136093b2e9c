// type_hash: the hash by which ROS tells layouts of a message apart.
//
// It is the SHA-256 sum of the type's description in JSON, so that equal hashes mean equal fields. Recordings
// give it for the types of their topics.

#ifndef ZUN_SCHEMA_TYPE_HASH_HPP
#define ZUN_SCHEMA_TYPE_HASH_HPP

#include <optional>
#include <string>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::schema {

/// "RIHS01_" and 64 hexadecimal digits; none for what is no message of ROS. Constants and default values are
/// not part of it.
std::optional<std::string> type_hash(const core::xtypes::DynamicTypeImpl& type);

/// True where `hash` has that form and is not all zeros, which stand for a hash that nobody knew.
bool is_type_hash(const std::string& hash);

}  // namespace zun::schema

#endif
