// DatabaseFiles: a database and the journals that SQLite keeps beside it.
//
//     x.db3            the database
//     x.db3-wal        what was committed since, where the recorder writes ahead
//     x.db3-journal    what the database held before a transaction that is not committed, else

#ifndef ZUN_INPUT_SQLITE_DATABASE_FILES_HPP
#define ZUN_INPUT_SQLITE_DATABASE_FILES_HPP

#include <cstdint>
#include <filesystem>

#include "input/bytes/File.hpp"
#include "input/bytes/TemporaryFolder.hpp"

namespace zun::input::rosbag2 {

/// Holds the database open, and remembers how all three were when it was opened.
class DatabaseFiles {
public:
    /// Throws std::system_error with the path, InputError when a journal is a link: it may lead anywhere.
    explicit DatabaseFiles(const std::filesystem::path& database);

    const std::filesystem::path& path() const { return path_; }
    /// Bytes of the database and its write-ahead log.
    std::uint64_t size() const { return database_.size() + log_.size; }
    bool has_write_ahead_log() const { return log_.size > 0; }
    /// Whether the database holds changes that a crash, or the moment, has left uncommitted.
    bool has_hot_journal() const { return has_hot_journal_; }
    bool have_changed() const;

    /// Writes the database and its journal into `folder`. Returns the database's place there.
    std::filesystem::path copy_into(TemporaryFolder& folder) const;

private:
    /// Of a file beside the database; an empty one is as good as none.
    struct State {
        std::uint64_t size = 0;
        std::filesystem::file_time_type changed_at = {};
        bool operator==(const State&) const = default;
    };
    static State state_of(const std::filesystem::path& file);
    std::filesystem::path beside(const char* ending) const { return std::filesystem::path(path_) += ending; }

    std::filesystem::path path_;  // without links: SQLite looks beside the file itself
    File database_;
    State log_;
    State journal_;
    bool has_hot_journal_;
};

}  // namespace zun::input::rosbag2

#endif
