// Position: a place in a text, and the errors that name one.

#ifndef ZUN_SCHEMA_DEFINITION_POSITION_HPP
#define ZUN_SCHEMA_DEFINITION_POSITION_HPP

#include <cstdint>
#include <string>

#include "platform/error/InputError.hpp"

namespace zun::schema {

/// Both from 1. Column 0: the line is all that is known.
struct Position {
    std::uint64_t line = 1;
    std::uint64_t column = 0;
};

/// The error of bad input at `position` in the text that is called `source`.
InputError error_at(const std::string& source, const Position& position, const std::string& problem);

}  // namespace zun::schema

#endif
