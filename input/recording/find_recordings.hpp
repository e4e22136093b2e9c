// find_recordings: the recordings that arguments name, folders of recordings included.

#ifndef ZUN_INPUT_RECORDING_FIND_RECORDINGS_HPP
#define ZUN_INPUT_RECORDING_FIND_RECORDINGS_HPP

#include <filesystem>
#include <string>
#include <vector>

namespace zun::input {

struct FoundRecording {
    std::filesystem::path path;
    std::string name;  ///< without the ending of its kind; with the folders that lead to it from the argument
};

/// `paths`   recordings, and folders that are searched for them, with their subfolders
/// Throws    std::runtime_error when a folder has no recording
std::vector<FoundRecording> find_recordings(const std::vector<std::string>& paths);

}  // namespace zun::input

#endif
