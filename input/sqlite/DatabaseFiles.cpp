#include "input/sqlite/DatabaseFiles.hpp"

#include <algorithm>
#include <system_error>

#include "input/bytes/TemporaryFolder.hpp"
#include "input/bytes/first_bytes.hpp"

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

void copy(const File& from, const fs::path& to) {
    NewFile target(to);
    Buffer block(std::size_t{1} << 20U);
    for (std::uint64_t position = 0;;) {
        const std::size_t count = from.read(position, block);
        if (count == 0) break;
        target.write(Bytes(block).first(count));
        position += count;
    }
    target.close();
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
    const std::uint64_t size = fs::file_size(file, absent);
    if (absent || size == 0) return {};
    const fs::file_time_type changed_at = fs::last_write_time(file, absent);
    return absent ? State{} : State{size, changed_at};
}

bool DatabaseFiles::have_changed() const {
    return database_.has_changed() || state_of(beside("-wal")) != log_ ||
           state_of(beside("-journal")) != journal_;
}

// The journal comes last: it holds what the transaction has changed until then.
fs::path DatabaseFiles::copy_into(const fs::path& folder) const {
    fs::path target = folder / "database";
    copy(database_, target);
    copy(File(beside("-journal")), fs::path(target) += "-journal");
    return target;
}

}  // namespace zun::input::rosbag2
