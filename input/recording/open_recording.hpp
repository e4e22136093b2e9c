// open_recording: from a path to a message stream, by what the file holds and not by its name.

#ifndef ZUN_INPUT_RECORDING_OPEN_RECORDING_HPP
#define ZUN_INPUT_RECORDING_OPEN_RECORDING_HPP

#include <filesystem>
#include <memory>

#include "input/MessageStream.hpp"
#include "input/bytes/Links.hpp"

namespace zun::input {

/// True for a bag folder, and for a file that starts as a recording does.
bool is_recording(const std::filesystem::path& path, const Links& links = {});

/// Throws InputError when `path` is no recording, std::system_error when it cannot be read.
std::unique_ptr<MessageStream> open_recording(const std::filesystem::path& path, const Links& links = {});

/// The recording that comes through a pipe, written to a temporary file that is gone once this returns; its
/// space is free again when the stream goes away. Throws as open_recording and Pipe.
///
/// `path`  a named pipe, or "-" for standard input
std::unique_ptr<MessageStream> open_pipe(const std::filesystem::path& path);

}  // namespace zun::input

#endif
