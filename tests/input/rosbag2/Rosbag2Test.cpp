#include "input/rosbag2/Rosbag2.hpp"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "input/rosbag2/StorageFile.hpp"
#include "tests/support/case_files.hpp"

namespace zun::input::rosbag2 {
namespace {

namespace fs = std::filesystem;

std::string nanoseconds(Time time) {
    return std::to_string(time.seconds * 1'000'000'000 + time.nanoseconds);
}

/// "time topic bytes" a line, problems as lines of their own.
std::string messages_of(MessageStream& stream, const Selection& selection = {}) {
    std::string text;
    stream.start(selection);
    while (const auto batch = stream.next_batch()) {
        batch->load();
        for (const Message& m : batch->messages())
            text += nanoseconds(m.log_time) + " " + stream.channels()[m.channel].topic + " " +
                    std::to_string(m.data.size()) + "\n";
        for (const Problem& p : batch->problems())
            text += p.text + "\n";
    }
    return text;
}

struct FileCase {
    const char* name;
    const char* file;
    std::size_t channels;
    const char* schema_encoding;  // of the first channel
};
void PrintTo(const FileCase& c, std::ostream* out) {
    *out << c.name;
}

const FileCase file_cases[] = {
    {"Oldest", "oldest/oldest_0.db3", 6, ""},
    {"NoDefinitions", "no_definitions/no_definitions_0.db3", 6, ""},
    {"Definitions", "robot/robot_0.db3", 6, "ros2msg"},
    {"IdlDefinitions", "ros2idl/ros2idl_0.db3", 1, "ros2idl"},
    {"NoMessages", "empty/empty_0.db3", 2, "ros2msg"},
    {"RowsOutOfOrder", "disorder/disorder_0.db3", 2, "ros2msg"},
    {"CompressedMessages", "message_zstd/message_zstd_0.db3", 6, "ros2msg"},
};

class SqliteFile : public testing::TestWithParam<FileCase> {};

TEST_P(SqliteFile, DeliversMessagesInOrderOfTime) {
    const fs::path file = test::data_folder() / "db3" / GetParam().file;
    const std::string expected = test::read_file(file.parent_path() / "expected.txt");
    const auto stream = open_sqlite(file);
    ASSERT_EQ(GetParam().channels, stream->channels().size());
    EXPECT_EQ(GetParam().schema_encoding, stream->channels().front().schema_encoding);
    EXPECT_EQ(expected, messages_of(*stream));
    EXPECT_EQ(expected, messages_of(*stream)) << "on the second pass";
    EXPECT_TRUE(stream->problems().empty());
}
INSTANTIATE_TEST_SUITE_P(, SqliteFile, testing::ValuesIn(file_cases), test::CaseName());

}  // namespace
}  // namespace zun::input::rosbag2
