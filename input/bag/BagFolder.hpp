// BagFolder: recordings in the folders and wrappings of rosbag2, as message streams.
//
// In come a folder with metadata.yaml and storage files, a folder without it, or any storage file inside a
// zstd stream; out come channels and messages. Nothing in the user's folder is ever changed. Storage files,
// of whatever kind, are opened by the function that the caller hands in.

#ifndef ZUN_INPUT_BAG_BAG_FOLDER_HPP
#define ZUN_INPUT_BAG_BAG_FOLDER_HPP

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>

#include "input/MessageStream.hpp"
#include "input/bytes/Links.hpp"

namespace zun::input::rosbag2 {

/// Opens one storage file that is not compressed as a whole. The stream holds the file open: its name may be
/// gone once this returns. Throws InputError for a file that is not a recording.
using OpenFile = std::function<std::unique_ptr<MessageStream>(const std::filesystem::path&)>;

/// Whether the folder is one recording. It is when it has a metadata.yaml, or a single storage file, or
/// several of them that are parts of one: their names differ in their numbers alone, each has a topic, with
/// its type, in common with those before it, and no gap between their time spans is longer than ten minutes.
/// Otherwise it may be a folder of recordings. Throws std::system_error when it cannot be looked into.
bool is_bag_folder(const std::filesystem::path& folder, const OpenFile& open_file, const Links& links = {});

/// Opens a storage file, compressed as a whole or not.
std::unique_ptr<MessageStream> open_part(const std::filesystem::path& file, const OpenFile& open_file);

/// The messages of a bag folder, merged into one order of time. A storage file that is missing or refused
/// becomes a problem, and so does one that leads out of the folder where links are not followed. Throws
/// InputError when no file is left.
std::unique_ptr<MessageStream> open_folder(const std::filesystem::path& folder, const OpenFile& open_file,
                                           const Links& links = {});

/// The messages of a storage file inside a zstd stream, which is unpacked into the folder for temporary
/// files; the space is free again when the stream goes away. Of a damaged stream, what comes before the
/// damage. Throws std::system_error when the disk is full.
std::unique_ptr<MessageStream> open_compressed(const std::filesystem::path& file, const OpenFile& open_file);

/// The same stream with each CDR message that was recorded as a zstd frame inflated, by Batch::load().
std::unique_ptr<MessageStream> inflate_messages(std::unique_ptr<MessageStream> stream);

}  // namespace zun::input::rosbag2

#endif
