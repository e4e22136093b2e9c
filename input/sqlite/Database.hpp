// Database: a SQLite file opened for reading, and the statements that run on it.

#ifndef ZUN_INPUT_SQLITE_DATABASE_HPP
#define ZUN_INPUT_SQLITE_DATABASE_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

#include "input/sqlite/DatabaseFiles.hpp"

struct sqlite3;
struct sqlite3_stmt;

namespace zun::input::rosbag2 {

/// "sqlite3/3.40.1": the library that runs, by its own word.
std::string sqlite_version();

/// What SQLite says of a file or of a statement: "database disk image is malformed".
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(const std::string& text, bool damage) : std::runtime_error(text), damage_(damage) {}
    /// Whether the bytes that were read are at fault: other rows may still be good.
    bool damage() const { return damage_; }

private:
    bool damage_;
};

/// Owns one connection. The file and its folder stay as they are: no lock, no shared-memory file, no
/// checkpoint. What is not committed is rolled back in a copy among the temporary files, whose space is free
/// again when the connection goes away. Temporary tables lie in SQLite's own temporary files.
class Database {
public:
    /// Throws DatabaseError; std::system_error when a copy is needed and cannot be made.
    explicit Database(const DatabaseFiles& files);
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    void execute(const char* sql);
    /// Throws DatabaseError for a view, a virtual table or one with computed columns: only what is stored
    /// takes no longer to read than the file is large.
    bool has_table(const std::string& name);
    /// Lets statements take, from here on, as many steps as reading the whole file a few times can need.
    void grant_work();

private:
    friend class Statement;

    struct Close {
        void operator()(sqlite3* connection) const;
    };

    void open(const std::filesystem::path& file, const char* options, int access);
    void roll_back(const std::filesystem::path& copy);
    void bound_work();

    static constexpr int round_steps = 1 << 14;
    std::uint64_t file_bytes_;
    std::uint64_t rounds_left_ = 0;
    std::unique_ptr<sqlite3, Close> connection_;
};

/// Owns one prepared statement of a database that outlives it.
///
/// Throws  DatabaseError; std::system_error when the disk for temporary files is full
class Statement {
public:
    Statement(Database& database, const std::string& sql);

    /// Starts again, with `values` for the parameters from ?1 on.
    void start(std::initializer_list<std::int64_t> values);
    /// Goes to the next row; false after the last one.
    bool step();

    int column_count() const;
    std::string column_name(int column) const;
    /// Of the current row; good until the next step.
    std::int64_t integer(int column) const;
    std::string text(int column) const;
    std::span<const std::byte> blob(int column) const;

private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };

    void check(int code) const;

    sqlite3* connection_;  // not owned
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

}  // namespace zun::input::rosbag2

#endif
