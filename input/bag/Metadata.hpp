// Metadata: what is used of a bag folder's metadata.yaml, of any version.
//
// The file says which storage files belong to the recording, and in which order. Its counts and times are
// promises that an interrupted recording did not keep; counts are read only to be compared.

#ifndef ZUN_INPUT_BAG_METADATA_HPP
#define ZUN_INPUT_BAG_METADATA_HPP

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace zun::input::rosbag2 {

struct Metadata {
    std::vector<std::string> files;  ///< as written: see resolve()
    std::optional<std::uint64_t> message_count;
    std::string compression = {};                       ///< of files or messages: "zstd"; empty for none
    std::map<std::string, std::uint64_t> topic_counts;  ///< by topic name
};

/// Throws InputError with the line when the file is not YAML or names no storage files.
Metadata read_metadata(const std::filesystem::path& file);

/// The existing file that `listed` means. Depending on the version and on compression it is written relative
/// to the folder or to its parent, with ".zstd" or without. Of several, the first that lies in the folder.
/// None when there is no such file.
std::optional<std::filesystem::path> resolve(const std::filesystem::path& folder, const std::string& listed);

}  // namespace zun::input::rosbag2

#endif
