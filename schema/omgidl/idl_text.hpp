// idl_text: the IDL grammar to definitions.

#ifndef ZUN_SCHEMA_OMGIDL_IDL_TEXT_HPP
#define ZUN_SCHEMA_OMGIDL_IDL_TEXT_HPP

#include <cstdint>
#include <string_view>

#include "schema/definition/DefinitionTable.hpp"

namespace zun::schema {

/// Adds what `text` defines to `table`. A malformed definition becomes a broken one, and costs no other.
///
/// `first_line`  of `text`, in the text that errors speak of
/// `char_kind`   what "char" stands for: a character, but a number in the IDL of ROS
void read_idl_text(std::string_view text, std::uint64_t first_line, core::xtypes::TypeKind char_kind,
                   DefinitionTable& table);

}  // namespace zun::schema

#endif
