// text_of_file: files that users name, whole.

#ifndef ZUN_CONVERT_PLAN_TEXT_OF_FILE_HPP
#define ZUN_CONVERT_PLAN_TEXT_OF_FILE_HPP

#include <filesystem>
#include <string>

namespace zun::convert {

/// Throws std::system_error, naming the file, when it cannot be read.
std::string text_of_file(const std::filesystem::path& path);

}  // namespace zun::convert

#endif
