// find_recordings: the recordings of the command line, and where their files go.

#ifndef ZUN_CLI_FIND_RECORDINGS_HPP
#define ZUN_CLI_FIND_RECORDINGS_HPP

#include <optional>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "input/bytes/Links.hpp"

namespace zun::cli {

/// The recordings that `paths` name, each with the folder for its files.
///
/// `paths`   recordings, "-" for standard input, and folders that are searched for them, with their
/// subfolders `output`  the folder of a single recording, the parent of one folder each for several; where it
/// is not
///           given, folders go to the working directory and bear the names of the recordings
/// Throws    std::runtime_error when a folder has no recording
std::vector<convert::Recording> find_recordings(const std::vector<std::string>& paths,
                                                const std::optional<std::string>& output,
                                                const input::Links& links = {});

}  // namespace zun::cli

#endif
