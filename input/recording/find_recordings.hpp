// find_recordings: the recordings that arguments name, folders of recordings included.

#ifndef ZUN_INPUT_RECORDING_FIND_RECORDINGS_HPP
#define ZUN_INPUT_RECORDING_FIND_RECORDINGS_HPP

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "input/MessageStream.hpp"
#include "input/bytes/Links.hpp"

namespace zun::input {

struct FoundRecording {
    std::filesystem::path path;
    std::string name;  ///< without the ending of its kind; with the folders that lead to it from the argument
    std::string title;  ///< for people: the path, or "standard input"
    /// As open_recording and open_pipe. What comes through a pipe is read at the first call; the streams of
    /// later calls are that stream, which one of them at a time may use.
    std::function<std::unique_ptr<MessageStream>()> open;
};

/// `paths`   recordings, "-" for standard input, and folders that are searched for them, with their
///           subfolders; links to folders are not searched
/// `links`   whether files that lead out of a folder are opened, or opening them throws InputError
/// Throws    std::runtime_error when a folder has no recording
std::vector<FoundRecording> find_recordings(const std::vector<std::string>& paths, const Links& links = {});

}  // namespace zun::input

#endif
