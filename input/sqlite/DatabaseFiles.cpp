#include "input/sqlite/DatabaseFiles.hpp"

#include <algorithm>
#include <array>
#include <system_error>

#include "input/bytes/TemporaryFolder.hpp"
#include "input/bytes/first_bytes.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace fs = std::filesystem;

namespace {

fs::path without_links(const fs::path& file) {
    std::error_code unresolved;
    fs::path path = fs::canonical(file, unresolved);
    return unresolved ? fs::absolute(file) : path;
}

/// A journal of a transaction that is over may stay, with zeros for its header.
bool is_hot(const fs::path& journal) {
    const std::vector<std::byte> header = read_first_bytes(journal);
    return !header.empty() && header.front() != std::byte{0};
}

void copy(const File& from, NewFile& target) {
    Buffer block(std::size_t{1} << 20U);
    for (std::uint64_t position = 0;;) {
        const std::size_t count = from.read(position, block);
        if (count == 0) break;
        target.write(Bytes(block).first(count));
        position += count;
    }
}

}  // namespace

DatabaseFiles::DatabaseFiles(const fs::path& database)
    : path_(without_links(database)),
      database_(database),
      log_(state_of(beside("-wal"))),
      journal_(state_of(beside("-journal"))),
      has_hot_journal_(journal_.size > 0 && is_hot(beside("-journal"))) {}

DatabaseFiles::State DatabaseFiles::state_of(const fs::path& file) {
    std::error_code absent;
    if (fs::is_symlink(file, absent))
        throw InputError(file.string(), 0, "expected a file of SQLite beside the database, found a link");
    const std::uint64_t size = fs::file_size(file, absent);
    if (absent || size == 0) return {};
    const fs::file_time_type changed_at = fs::last_write_time(file, absent);
    return absent ? State{} : State{size, changed_at};
}

bool DatabaseFiles::have_changed() const {
    return database_.has_changed() || state_of(beside("-wal")) != log_ ||
           state_of(beside("-journal")) != journal_;
}

// The journal comes last: it holds what the transaction has changed until then. At its very end it may name
// another file, of a transaction in several databases, which SQLite would read and delete: with zeros behind
// it, that is no longer the end.
fs::path DatabaseFiles::copy_into(TemporaryFolder& folder) const {
    constexpr std::array<std::byte, 16> zeros{};
    fs::path path = folder.file("database");
    NewFile database(path);
    copy(database_, database);
    database.close();
    NewFile journal(folder.file("database-journal"));
    copy(File(beside("-journal")), journal);
    journal.write(zeros);
    journal.close();
    for (const char* const made_by_sqlite : {"database-wal", "database-shm"})
        folder.file(made_by_sqlite);
    return path;
}

}  // namespace zun::input::rosbag2
