#include "schema/definition/quoted.hpp"

#include <algorithm>
#include <cstddef>

namespace zun::schema {

std::string quoted(std::string_view text) {
    constexpr std::size_t longest = 100;
    std::string shown(text.substr(0, longest));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    return "'" + shown + (text.size() > longest ? "...'" : "'");
}

}  // namespace zun::schema
