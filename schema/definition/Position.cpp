#include "schema/definition/Position.hpp"

namespace zun::schema {

InputError error_at(const std::string& source, const Position& position, const std::string& problem) {
    return position.column == 0 ? InputError(source, position.line, problem)
                                : InputError(source, position.line, position.column, problem);
}

}  // namespace zun::schema
