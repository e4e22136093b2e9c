// file_names: names from strangers as names of files.

#ifndef ZUN_CONVERT_PLAN_FILE_NAMES_HPP
#define ZUN_CONVERT_PLAN_FILE_NAMES_HPP

#include <cstdint>
#include <set>
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

/// The names of files that stand beside a topic's own, "a.b.csv": the further ones of its rows, "a.b.2.csv",
/// and the one that describes it, "a.b.schema.json".
class CompanionNames {
public:
    /// `topic_files`  own files of topics, whose names no companion gets; letter case does not count
    explicit CompanionNames(const std::vector<std::string>& topic_files);

    /// `number`  from 2 on
    std::string rows(const std::string& file, std::uint64_t number) const;
    static std::string sidecar(const std::string& file);
    /// Whether `name` is what a conversion may have called a companion of `file`.
    bool is_companion(const std::string& name, const std::string& file) const;

private:
    std::set<std::string> taken_;  // in lower case
};

}  // namespace zun::convert

#endif
