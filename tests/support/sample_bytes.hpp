// sample_bytes: a value written as JSON, as the CDR bytes of a sample.

#ifndef ZUN_TESTS_SUPPORT_SAMPLE_BYTES_HPP
#define ZUN_TESTS_SUPPORT_SAMPLE_BYTES_HPP

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <vector>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::test {

/// The sample of `type` that says `value`, in little-endian XCDR1 with its encapsulation header.
///
/// Structures and unions are objects, a union's discriminator is "_d"; optional members that are missing or
/// null are unset. Collections are lists, arrays row by row without nesting; enumerations are names or
/// numbers, characters strings of one. Throws nlohmann::json::exception where the value lacks what the type
/// asks for.
std::vector<std::byte> sample_bytes(const core::xtypes::DynamicTypeImpl& type, const nlohmann::json& value);

}  // namespace zun::test

#endif
