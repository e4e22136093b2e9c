#include "schema/definition/Position.hpp"

#include <algorithm>

namespace zun::schema {

InputError error_at(const std::string& source, const Position& position, const std::string& problem) {
    return position.column == 0 ? InputError(source, position.line, problem)
                                : InputError(source, position.line, position.column, problem);
}

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 100;
    std::string shown(text.substr(0, longest));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + shown + (text.size() > longest ? "...'" : "'");
}

}  // namespace zun::schema
