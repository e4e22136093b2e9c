#include "input/sqlite/open_sqlite.hpp"

#include <string_view>

#include "input/bytes/first_bytes.hpp"
#include "input/sqlite/SqliteStream.hpp"

namespace zun::input::rosbag2 {

bool is_sqlite(std::span<const std::byte> first_bytes) {
    using namespace std::string_view_literals;
    return starts_with(first_bytes, "SQLite format 3\0"sv);
}

std::unique_ptr<MessageStream> open_sqlite(const std::filesystem::path& file) {
    return std::make_unique<SqliteStream>(file);
}

}  // namespace zun::input::rosbag2
