#include "input/recording/open_recording.hpp"

#include <system_error>

#include "input/bag/BagFolder.hpp"
#include "input/bag/StandIn.hpp"
#include "input/bytes/Pipe.hpp"
#include "input/bytes/TemporaryFolder.hpp"
#include "input/bytes/first_bytes.hpp"
#include "input/mcap/McapStream.hpp"
#include "input/sqlite/open_sqlite.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input {

namespace fs = std::filesystem;

namespace {

/// Payloads of any storage can be zstd frames: the recorder compresses messages before it stores them.
std::unique_ptr<MessageStream> open_storage(const fs::path& path) {
    const auto bytes = read_first_bytes(path);
    if (is_mcap(bytes)) return rosbag2::inflate_messages(open_mcap(path));
    if (rosbag2::is_sqlite(bytes)) return rosbag2::inflate_messages(rosbag2::open_sqlite(path));
    if (starts_with(bytes, "#ROSBAG"))
        throw InputError(path.string(), 0,
                         "this is a bag of ROS 1; expected a recording (MCAP, or SQLite of rosbag2)");
    throw InputError(path.string(), 0,
                     "expected a recording (MCAP, or SQLite of rosbag2; zstd around either)");
}

}  // namespace

bool is_recording(const fs::path& path, const Links& links) {
    if (fs::is_directory(path)) return rosbag2::is_bag_folder(path, open_storage, links);
    if (!fs::is_regular_file(path)) return false;
    const auto bytes = read_first_bytes(path);
    return is_mcap(bytes) || rosbag2::is_sqlite(bytes) || is_zstd(bytes);
}

std::unique_ptr<MessageStream> open_recording(const fs::path& path, const Links& links) try {
    if (fs::is_other(path))
        throw InputError(path.string(), 0, "expected a recording, found a device or a pipe");
    if (fs::is_directory(path)) return rosbag2::open_folder(path, open_storage, links);
    return rosbag2::open_part(path, open_storage);
} catch (const fs::filesystem_error& problem) {
    throw std::system_error(problem.code(), "cannot read '" + problem.path1().string() + '\'');
}

std::unique_ptr<MessageStream> open_pipe(const fs::path& path) {
    Pipe pipe(path);
    TemporaryFolder folder;
    const fs::path file = folder.file("recording");
    NewFile target(file);
    Buffer block(std::size_t{1} << 17U);
    while (const std::size_t count = pipe.read(block))
        target.write(Bytes(block).first(count));
    target.close();
    return rosbag2::open_stand_in(file, pipe.name(),
                                  [](const fs::path& stored) { return open_recording(stored); });
}

}  // namespace zun::input
