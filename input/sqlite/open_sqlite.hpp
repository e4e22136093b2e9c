// open_sqlite: the SQLite storage of rosbag2, known by its first bytes.

#ifndef ZUN_INPUT_SQLITE_OPEN_SQLITE_HPP
#define ZUN_INPUT_SQLITE_OPEN_SQLITE_HPP

#include <cstddef>
#include <filesystem>
#include <memory>
#include <span>

#include "input/MessageStream.hpp"

namespace zun::input::rosbag2 {

/// Whether a file that begins with these bytes (16 are enough) is a SQLite database.
bool is_sqlite(std::span<const std::byte> first_bytes);

/// The messages of one .db3 file that are committed, payloads as stored, those in a write-ahead log beside it
/// included. Files that change are reported at the end of a pass.
/// Throws InputError for a file that is no database, or has not the tables of a recording.
std::unique_ptr<MessageStream> open_sqlite(const std::filesystem::path& file);

}  // namespace zun::input::rosbag2

#endif
