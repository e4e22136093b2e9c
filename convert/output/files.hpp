// files: what making files takes, whatever is in them.

#ifndef ZUN_CONVERT_OUTPUT_FILES_HPP
#define ZUN_CONVERT_OUTPUT_FILES_HPP

#include <filesystem>
#include <string>
#include <string_view>

namespace zun::convert {

/// Throws std::system_error with what errno says.
[[noreturn]] void throw_errno(const char* action, const std::string& name);

/// `name` is the file's, in errors.
void write_all(int descriptor, std::string_view text, const std::string& name);

/// Appends what the file `from` holds; the system copies it where it can. `name` is as above.
void copy_file(const std::filesystem::path& from, int descriptor, const std::string& name);

/// `path` with an end that is likely no other process's: ".1f0c33d2.part".
std::filesystem::path part_name(const std::filesystem::path& path);

/// Gives `from` the name `to`, which nothing bears yet, a broken link included.
void rename_new(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace zun::convert

#endif
