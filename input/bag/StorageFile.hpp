// StorageFile: what the name of a storage file tells.

#ifndef ZUN_INPUT_BAG_STORAGE_FILE_HPP
#define ZUN_INPUT_BAG_STORAGE_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace zun::input::rosbag2 {

/// The path without ".zstd" or ".zst" at its end.
std::filesystem::path without_zstd(const std::filesystem::path& file);

/// The storage files of a folder (.db3, .mcap, compressed or not), in the order of their numbers.
std::vector<std::filesystem::path> storage_files(const std::filesystem::path& folder);

/// A file name in its parts: "run_12.db3.zstd" is {"run", 12, ".db3"}.
struct NumberedName {
    std::string stem;
    std::uint64_t number = 0;  ///< 0 when there is none
    std::string extension;
};
NumberedName numbered_name(const std::filesystem::path& file);

}  // namespace zun::input::rosbag2

#endif
