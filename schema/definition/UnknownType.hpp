// UnknownType: the error of a type that no text defines.

#ifndef ZUN_SCHEMA_DEFINITION_UNKNOWN_TYPE_HPP
#define ZUN_SCHEMA_DEFINITION_UNKNOWN_TYPE_HPP

#include <string>
#include <utility>

#include "platform/error/InputError.hpp"

namespace zun::schema {

/// Thrown when no definition of a type is at hand. what() names the type, and who needs it.
class UnknownType : public InputError {
public:
    /// `type_name`  the type that has no definition
    UnknownType(const InputError& error, std::string type_name)
        : InputError(error), type_name_(std::move(type_name)) {}
    const std::string& type_name() const { return type_name_; }

private:
    std::string type_name_;
};

}  // namespace zun::schema

#endif
