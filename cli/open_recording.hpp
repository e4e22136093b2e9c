// open_recording: from a path to a message stream, by what the file holds and not by its name.

#ifndef ZUN_CLI_OPEN_RECORDING_HPP
#define ZUN_CLI_OPEN_RECORDING_HPP

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "input/MessageStream.hpp"

namespace zun::cli {

/// True for a bag folder, and for a file that starts as a recording does.
bool is_recording(const std::filesystem::path& path);

/// Throws InputError when `path` is no recording, std::system_error when it cannot be read.
std::unique_ptr<input::MessageStream> open_recording(const std::filesystem::path& path);

/// The recordings that `paths` name, each with the folder for its files.
///
/// `paths`   recordings, and folders that are searched for them, with their subfolders
/// `output`  the folder of a single recording, the parent of one folder each for several; where it is not
///           given, folders go to the working directory and bear the names of the recordings
/// Throws    std::runtime_error when a folder has no recording
std::vector<convert::Recording> find_recordings(const std::vector<std::string>& paths,
                                                const std::optional<std::string>& output);

}  // namespace zun::cli

#endif
