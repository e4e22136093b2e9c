// file_names: names from strangers as names of files.

#ifndef ZUN_CONVERT_PLAN_FILE_NAMES_HPP
#define ZUN_CONVERT_PLAN_FILE_NAMES_HPP

#include <string>
#include <string_view>
#include <vector>

namespace zun::convert {

/// `name` as one path component that is neither hidden nor "." or "..", nor a device's on any system:
/// "/a/b_c" gives "a.b_c". Slashes become dots, the first slash goes; control characters, bytes that are no
/// UTF-8, spaces at an end and the characters that shells or other file systems refuse become "%" and two
/// hexadecimal digits.
std::string file_name(std::string_view name);

/// What a file holds: a topic, and a word that tells it from others of the topic.
struct FileSubject {
    std::string name;
    std::string qualifier = {};  ///< empty for the topic's first file
};

/// The file names of all `subjects`, in their order: "a.b_c", "a.b_c~qualifier"; none longer than 200 bytes,
/// no two alike even where neither letter case counts nor whether characters are composed. One whose file
/// name an earlier one has taken gets "~2", "~3", ... at its end.
std::vector<std::string> file_names(const std::vector<FileSubject>& subjects);

}  // namespace zun::convert

#endif
