// json: what the files of tasks have in common.

#ifndef ZUN_CONVERT_TASKS_JSON_HPP
#define ZUN_CONVERT_TASKS_JSON_HPP

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace zun::convert {

using Json = nlohmann::ordered_json;

/// 16 hexadecimal digits that differ for different texts, as far as chance goes.
std::string digest_of(std::string_view text);

/// On one line, with its end.
std::string line_of(const Json& json);

}  // namespace zun::convert

#endif
