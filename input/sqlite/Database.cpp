#include "input/sqlite/Database.hpp"

#include <algorithm>
#include <new>
#include <system_error>

#include <sqlite3.h>

#include "input/bytes/TemporaryFolder.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(int code, const std::string& text) {
    switch (code & 0xff) {
        case SQLITE_NOMEM:
            throw std::bad_alloc();
        case SQLITE_FULL:
            throw std::system_error(std::make_error_code(std::errc::no_space_on_device),
                                    "temporary files of SQLite");
        case SQLITE_INTERRUPT:
            throw DatabaseError("more rows than the file can hold", true);
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_IOERR:
        case SQLITE_TOOBIG:
            throw DatabaseError(text, true);
        default:
            throw DatabaseError(text, false);
    }
}

std::string percent_encoded(const std::string& path) {
    constexpr char digits[] = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (c != '%' && c != '?' && c != '#' && byte > ' ') {
            encoded += c;
        } else {
            encoded += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return encoded;
}

}  // namespace

Database::Database(const DatabaseFiles& files) : file_bytes_(files.size()) {
    if (files.has_hot_journal()) {
        TemporaryFolder folder;
        const fs::path copy = files.copy_into(folder);
        roll_back(copy);
        open(copy, "?immutable=1", SQLITE_OPEN_READONLY);
    } else {
        open(files.path(), files.has_write_ahead_log() ? "?mode=ro&vfs=unix-none" : "?immutable=1",
             SQLITE_OPEN_READONLY);
    }
    execute("PRAGMA locking_mode = EXCLUSIVE; PRAGMA cell_size_check = ON; PRAGMA temp_store = FILE;");
}

// An immutable file is read without a look at its write-ahead log. Where there is one, it is read without
// locks, and its index, which is otherwise a shared-memory file beside it, stays in the heap in exclusive
// mode.
void Database::open(const fs::path& file, const char* options, int access) {
    const std::string uri = "file:" + percent_encoded(file.string()) + options;
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(uri.c_str(), &opened, access | SQLITE_OPEN_URI, nullptr);
    connection_.reset(opened);
    if (code != SQLITE_OK) fail(code, sqlite3_errmsg(opened));
    sqlite3_db_config(opened, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    bound_work();
    // With a writable schema SQLite also opens a file that is shorter than its header says. Nothing is
    // written to it.
    execute("PRAGMA writable_schema = ON;");
}

// SQLite undoes what was not committed before it reads from a file that it may write to.
void Database::roll_back(const fs::path& copy) {
    open(copy, "", SQLITE_OPEN_READWRITE);
    execute("PRAGMA synchronous = OFF; PRAGMA user_version;");
}

void Database::Close::operator()(sqlite3* connection) const {
    sqlite3_close(connection);
}

void Database::execute(const char* sql) {
    const int code = sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
    if (code != SQLITE_OK) fail(code, sqlite3_errmsg(connection_.get()));
}

// Pages that lead back to others make tables without end, and values out of nothing.
void Database::bound_work() {
    constexpr std::uint64_t least = 1 << 20U;
    constexpr std::uint64_t most = 1'000'000'000;
    sqlite3_limit(connection_.get(), SQLITE_LIMIT_LENGTH,
                  static_cast<int>(std::clamp(file_bytes_, least, most)));
    const auto spend = [](void* rounds_left) {
        auto& left = *static_cast<std::uint64_t*>(rounds_left);
        if (left == 0) return 1;
        --left;
        return 0;
    };
    sqlite3_progress_handler(connection_.get(), round_steps, spend, &rounds_left_);
    grant_work();
}

void Database::grant_work() {
    constexpr std::uint64_t steps_per_byte = 64;  // the shortest row takes 6 bytes and some 20 steps
    constexpr std::uint64_t rounds_at_least = 1024;
    rounds_left_ = rounds_at_least + file_bytes_ * steps_per_byte / round_steps;
}

bool Database::has_table(const std::string& name) {
    Statement table(*this,
                    "SELECT type = 'table' AND rootpage > 0 AND NOT EXISTS "
                    "(SELECT 1 FROM pragma_table_xinfo('" +
                        name +
                        "') WHERE hidden <> 0) "
                        "FROM sqlite_master WHERE type IN ('table', 'view') AND name = '" +
                        name + "' COLLATE NOCASE");
    if (!table.step()) return false;
    if (table.integer(0) == 0) throw DatabaseError("'" + name + "' is computed, not a stored table", false);
    return true;
}

void Statement::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

Statement::Statement(Database& database, const std::string& sql) : connection_(database.connection_.get()) {
    sqlite3_stmt* prepared = nullptr;
    const int code = sqlite3_prepare_v2(connection_, sql.c_str(), -1, &prepared, nullptr);
    statement_.reset(prepared);
    check(code);
}

void Statement::start(std::initializer_list<std::int64_t> values) {
    sqlite3_reset(statement_.get());
    int index = 0;
    for (const std::int64_t value : values)
        check(sqlite3_bind_int64(statement_.get(), ++index, value));
}

bool Statement::step() {
    const int code = sqlite3_step(statement_.get());
    if (code != SQLITE_ROW) check(code);
    return code == SQLITE_ROW;
}

int Statement::column_count() const {
    return sqlite3_column_count(statement_.get());
}

std::string Statement::column_name(int column) const {
    return sqlite3_column_name(statement_.get(), column);
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

std::string Statement::text(int column) const {
    const unsigned char* const characters = sqlite3_column_text(statement_.get(), column);
    if (characters == nullptr) return {};
    return {reinterpret_cast<const char*>(characters),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::span<const std::byte> Statement::blob(int column) const {
    const void* const bytes = sqlite3_column_blob(statement_.get(), column);
    return {static_cast<const std::byte*>(bytes),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

void Statement::check(int code) const {
    if (code != SQLITE_OK && code != SQLITE_DONE) fail(code, sqlite3_errmsg(connection_));
}

std::string sqlite_version() {
    return std::string("sqlite3/") + sqlite3_libversion();
}

}  // namespace zun::input::rosbag2
