#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "input/bag/BagFolder.hpp"
#include "input/bag/Metadata.hpp"
#include "input/sqlite/open_sqlite.hpp"
#include "platform/error/InputError.hpp"
#include "tests/support/case_files.hpp"

namespace zun::input::rosbag2 {
namespace {

namespace fs = std::filesystem;

/// An empty folder for the current test.
fs::path new_folder() {
    const fs::path folder = fs::path(testing::TempDir()) / "rosbag2" /
                            testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(folder);
    fs::create_directories(folder);
    return folder;
}

fs::path recorded(const fs::path& name) {
    return test::data_folder() / "db3" / name;
}

std::unique_ptr<MessageStream> open_storage(const fs::path& file) {
    return inflate_messages(open_sqlite(file));
}

void write_file(const fs::path& path, const std::string& content) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

const std::string tables =
    "CREATE TABLE topics(id INTEGER PRIMARY KEY, name TEXT, type TEXT, serialization_format TEXT);"
    "CREATE TABLE messages(id INTEGER PRIMARY KEY, topic_id INTEGER, timestamp INTEGER, data BLOB);";
const std::string time_index = "CREATE INDEX timestamp_idx ON messages (timestamp ASC);";

/// The open connection to a new database.
std::shared_ptr<sqlite3> make_database(const fs::path& file, const std::string& sql) {
    sqlite3* opened = nullptr;
    sqlite3_open(file.c_str(), &opened);
    const std::shared_ptr<sqlite3> database(opened, sqlite3_close);
    if (sqlite3_exec(opened, ("PRAGMA synchronous = OFF;" + sql).c_str(), nullptr, nullptr, nullptr) !=
        SQLITE_OK)
        throw std::runtime_error(sqlite3_errmsg(opened));
    return database;
}

std::string lines(std::span<const Problem> problems) {
    std::string text;
    for (const Problem& p : problems)
        text += fs::path(p.source).filename().string() + ":" + std::to_string(p.position) + ": " + p.text +
                " (" + std::to_string(p.messages_lost) + " lost)\n";
    return text;
}

/// "time topic bytes" a line; problems as lines of their own.
std::string pass(MessageStream& stream, const Selection& selection = {}) {
    std::string text;
    stream.start(selection);
    while (const auto batch = stream.next_batch()) {
        batch->load();
        for (const Message& m : batch->messages())
            text += std::to_string(m.log_time.seconds * 1'000'000'000 + m.log_time.nanoseconds) + " " +
                    stream.channels()[m.channel].topic + " " + std::to_string(m.data.size()) + "\n";
        text += lines(batch->problems());
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
    const fs::path file = recorded(GetParam().file);
    const std::string expected = test::read_file(file.parent_path() / "expected.txt");
    const auto stream = open_storage(file);
    ASSERT_EQ(GetParam().channels, stream->channels().size());
    EXPECT_EQ(GetParam().schema_encoding, stream->channels().front().schema_encoding);
    EXPECT_EQ(expected, pass(*stream));
    EXPECT_EQ(expected, pass(*stream)) << "on the second pass";
    EXPECT_EQ("", lines(stream->problems()));
}
INSTANTIATE_TEST_SUITE_P(, SqliteFile, testing::ValuesIn(file_cases), test::CaseName());

struct FolderCase {
    const char* name;
    const char* problems;
};
void PrintTo(const FolderCase& c, std::ostream* out) {
    *out << c.name;
}

const FolderCase folder_cases[] = {
    {"robot", ""},
    {"split", ""},
    {"file_zstd", ""},
    {"no_metadata", ""},
    {"empty", ""},
    {"false_counts",
     "metadata.yaml:0: counts 5 messages, the recording holds 17 (0 lost)\n"
     "metadata.yaml:0: counts 0 messages of /imu, the recording holds 3 (0 lost)\n"
     "metadata.yaml:0: counts 999 messages of /tf, the recording holds 4 (0 lost)\n"},
};

class Folder : public testing::TestWithParam<FolderCase> {};

TEST_P(Folder, IsOneStream) {
    const fs::path folder = recorded(GetParam().name);
    const std::string expected = test::read_file(folder / "expected.txt");
    EXPECT_TRUE(is_bag_folder(folder, open_storage));
    const auto stream = open_folder(folder, open_storage);
    EXPECT_EQ(expected, pass(*stream));
    EXPECT_EQ(expected, pass(*stream)) << "on the second pass";
    EXPECT_EQ(GetParam().problems, lines(stream->problems()));
    EXPECT_EQ(folder.filename() == "file_zstd", stream->holds_disk_space());
}
INSTANTIATE_TEST_SUITE_P(, Folder, testing::ValuesIn(folder_cases), test::CaseName());

std::string refusal(const fs::path& folder) {
    try {
        open_folder(folder, open_storage);
    } catch (const InputError& error) {
        return fs::relative(error.what(), folder).string();
    }
    return "none";
}

TEST(Refusal, SaysWhatIsMissing) {
    EXPECT_EQ("not_sqlite_0.db3:0: expected a SQLite database, found other content",
              refusal(recorded("not_sqlite")));
    EXPECT_EQ("no_tables_0.db3:0: expected the tables of a rosbag2 recording, found: no such table: topics",
              refusal(recorded("no_tables")));
    const fs::path folder = new_folder();
    EXPECT_EQ("../SaysWhatIsMissing:0: expected the storage files of a recording (.db3, .mcap), found none",
              refusal(folder));
}

struct SelectionCase {
    const char* name;
    Selection selection;
    const char* messages;
};
void PrintTo(const SelectionCase& c, std::ostream* out) {
    *out << c.name;
}

constexpr Time at(std::int64_t nanoseconds) {
    return Time::from_nanoseconds(nanoseconds);
}

const SelectionCase selection_cases[] = {
    {"All", {}, "-5 /a 1\n3 /b 2\n3 /a 3\n8 /b 4\n9223372036854775807 /a 5\n"},
    {"Channel", {.channels = {false, true}}, "3 /b 2\n8 /b 4\n"},
    {"NoChannel", {.channels = {false, false}}, ""},
    {"FromStart", {.start = at(3)}, "3 /b 2\n3 /a 3\n8 /b 4\n9223372036854775807 /a 5\n"},
    {"BeforeEnd", {.end = at(3)}, "-5 /a 1\n"},
    {"Between", {.start = at(-4), .end = at(9)}, "3 /b 2\n3 /a 3\n8 /b 4\n"},
    {"BeyondSixtyFourBits",
     {.start = Time{-10'000'000'000, 0}, .end = Time{10'000'000'000, 0}},
     "-5 /a 1\n3 /b 2\n3 /a 3\n8 /b 4\n9223372036854775807 /a 5\n"},
    {"AllBefore", {.start = Time{10'000'000'000, 0}}, ""},
};

class Select : public testing::TestWithParam<SelectionCase> {};

TEST_P(Select, AppliesWithAndWithoutIndex) {
    const fs::path folder = new_folder();
    const std::string rows =
        "INSERT INTO topics VALUES (4, '/a', 'p/T', 'cdr'), (9, '/b', 'p/T', 'cdr');"
        "INSERT INTO messages VALUES (1, 9, 8, X'01020304'), (2, 9, 3, X'0102'), (3, 4, -5, X'01'),"
        "(4, 4, 3, X'010203'), (5, 7, 3, X''), (6, 4, 9223372036854775807, X'0102030405');";
    make_database(folder / "with.db3", tables + time_index + rows);
    make_database(folder / "without.db3", tables + rows);
    for (const char* const name : {"with.db3", "without.db3"}) {
        const auto stream = open_storage(folder / name);
        EXPECT_EQ(GetParam().messages, pass(*stream, GetParam().selection)) << name;
        EXPECT_EQ(name + std::string(":5: 1 messages of topic number 7, which the table topics does not list "
                                     "(1 lost)\n"),
                  lines(stream->problems()));
    }
}
INSTANTIATE_TEST_SUITE_P(, Select, testing::ValuesIn(selection_cases), test::CaseName());

TEST(Definition, IsFoundUnderTheNameOfTheServiceOrAction) {
    const fs::path file = new_folder() / "x.db3";
    make_database(
        file, tables +
                  "CREATE TABLE message_definitions(encoded_message_definition, topic_type, id, encoding);"
                  "INSERT INTO message_definitions VALUES ('S', 'p/srv/Add', 1, 'ros2msg'),"
                  "('A', 'p/action/Go', 2, 'ros2msg'), ('M', 'p/msg/Log_Event', 3, 'ros2idl');"
                  "INSERT INTO topics(name, type) VALUES ('1', 'p/srv/Add_Event'),"
                  "('2', 'p/action/Go_SendGoal_Event'), ('3', 'p/action/Go_GetResult_Event'),"
                  "('4', 'p/action/Go_FeedbackMessage'), ('5', 'p/msg/Log_Event'), ('6', 'p/msg/No');");
    const auto stream = open_storage(file);
    std::string found;
    for (const Channel& channel : stream->channels())
        found += channel.schema_encoding + ":" + channel.schema_text.str() + " ";
    EXPECT_EQ("ros2msg:S ros2msg:A ros2msg:A ros2msg:A ros2idl:M : ", found);
}

TEST(TypeHash, IsReadWhereTheLayoutHasIt) {
    const fs::path file = new_folder() / "x.db3";
    make_database(
        file,
        "CREATE TABLE topics(id INTEGER PRIMARY KEY, name, type, serialization_format, "
        "type_description_hash);"
        "CREATE TABLE messages(id INTEGER PRIMARY KEY, topic_id, timestamp, data);"
        "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr', 'RIHS01_0a'), (2, '/b', 'p/T', 'cdr', '');");
    const auto stream = open_storage(file);
    EXPECT_EQ("RIHS01_0a", stream->channels().at(0).type_hash);
    EXPECT_EQ("", stream->channels().at(1).type_hash);
}

std::vector<std::string> listing(const fs::path& folder) {
    std::vector<std::string> entries;
    for (const auto& entry : fs::directory_iterator(folder))
        entries.push_back(entry.path().filename().string() + " " + test::read_file(entry.path()) + " " +
                          std::to_string(entry.last_write_time().time_since_epoch().count()));
    std::sort(entries.begin(), entries.end());
    return entries;
}

TEST(WriteAheadLog, IsReadAndLeftAsItIs) {
    const fs::path folder = new_folder();
    const std::string rows =
        "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr'); INSERT INTO messages VALUES (1, 1, 1, X'00')";
    const auto recorder = make_database(folder / "r.db3", "PRAGMA journal_mode = WAL;" + tables + rows);
    const fs::path crashed = folder / "odd %41?#name";
    fs::create_directory(crashed);
    for (const char* const name : {"r.db3", "r.db3-wal"})
        fs::copy_file(folder / name, crashed / name);
    const auto before = listing(crashed);
    ASSERT_EQ(2U, before.size());
    EXPECT_EQ("1 /a 1\n", pass(*open_storage(crashed / "r.db3")));
    EXPECT_EQ(before, listing(crashed));
}

TEST(ChangingDatabase, IsReportedAtTheEndOfAPass) {
    const fs::path file = new_folder() / "r.db3";
    make_database(file, tables + "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr')");
    for (const char* const ending : {"-journal", "-wal", ""}) {
        const auto stream = open_storage(file);
        EXPECT_EQ("", pass(*stream)) << ending;
        std::ofstream(fs::path(file) += ending, std::ios::app) << '\0';
        EXPECT_EQ(
            "r.db3:0: the database or a journal beside it has changed since it was opened; messages may be "
            "missing (0 lost)\n",
            pass(*stream))
            << ending;
    }
}

/// 3000 messages of 100 bytes, and what is left of them once `damage` has changed the bytes of the file.
void expect_lost(const std::function<void(std::string&)>& damage, std::uint64_t lost, std::size_t delivered) {
    const fs::path file = new_folder() / "x.db3";
    make_database(file, tables + time_index +
                            "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr');"
                            "WITH RECURSIVE n(i) AS (VALUES (1) UNION ALL SELECT i + 1 FROM n WHERE i < 3000)"
                            "INSERT INTO messages SELECT i, 1, 5000 - i, zeroblob(100) FROM n;");
    std::string bytes = test::read_file(file);
    damage(bytes);
    write_file(file, bytes);
    const auto stream = open_storage(file);
    std::uint64_t reported = 0;
    for (const Problem& problem : stream->problems())
        reported += problem.messages_lost;
    EXPECT_EQ(lost, reported) << lines(stream->problems());
    EXPECT_FALSE(stream->problems().empty());
    EXPECT_EQ(delivered, stream->summary().channels[0].message_count);
    const std::string text = pass(*stream);
    EXPECT_EQ(delivered, static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    EXPECT_EQ(text, pass(*stream)) << "on the second pass";
}

TEST(DamagedDatabase, LosesOnlyTheRowsOfTheDamagedPages) {
    expect_lost([](std::string& bytes) { std::fill_n(bytes.begin() + 40 * 4096, 2 * 4096, '\0'); }, 72, 2928);
}

TEST(DamagedDatabase, LosesOnlyTheMessagesWhosePayloadsLieInTheDamage) {
    const fs::path file = new_folder() / "x.db3";
    make_database(file,
                  tables + time_index +
                      "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr');"
                      "INSERT INTO messages VALUES (1, 1, 10, zeroblob(20000)), (2, 1, 5, zeroblob(20000)),"
                      "(3, 1, 20, zeroblob(9)), (4, 1, 15, zeroblob(20000))");
    std::string bytes = test::read_file(file);
    // The payloads fill four pages each, from the fifth on; this is the second page of row 2's.
    std::fill_n(bytes.begin() + 9 * 4096, 4096, '\xff');
    write_file(file, bytes);
    const auto stream = open_storage(file);
    const std::string problem =
        "x.db3:2: rows from 2 to 2 cannot be read: database disk image is malformed (1 lost)\n";
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ("10 /a 20000\n15 /a 20000\n20 /a 9\n" + problem, pass(*stream));
}

TEST(DamagedDatabase, CutShortGivesTheRowsBeforeTheCut) {
    expect_lost([](std::string& bytes) { bytes.resize(60 * 4096); }, 0, 1800);
}

TEST(CompressedMessage, ThatIsDamagedCostsItselfAlone) {
    const fs::path file = new_folder() / "x.db3";
    // A frame of one raw byte; the same cut; one that promises 2^62 bytes; one of a topic that is not CDR.
    make_database(file,
                  tables + time_index +
                      "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr'), (2, '/b', 'p/T', 'json');"
                      "INSERT INTO messages VALUES (1, 1, 1, X'28B52FFD200109000041'),"
                      "(2, 1, 2, X'28B52FFD2001090000'), (3, 1, 3, X'28B52FFDE00000000000000040090000'),"
                      "(4, 2, 4, X'28B52FFD200109000041');");
    const std::string lost = "x.db3:0: a message of /a, recorded at 0.00000000";
    EXPECT_EQ("1 /a 1\n" + lost + "2 s, does not decompress: the frame is cut (1 lost)\n" + lost +
                  "3 s, does not decompress: Frame requires too much memory for decoding (1 lost)\n4 /b 10\n",
              pass(*open_storage(file)));
}

TEST(CompressedFile, ThatIsCutNamesTheFileAndLeavesNothingBehind) {
    const fs::path folder = new_folder();
    const std::string whole = test::read_file(recorded("file_zstd/file_zstd_0.db3.zstd"));
    write_file(folder / "two.db3.zst", whole + whole.substr(0, 40));
    write_file(folder / "cut.db3.zst", whole.substr(0, 40));
    const fs::path temporary = folder / "temporary";
    fs::create_directory(temporary);
    ::setenv("TMPDIR", temporary.c_str(), 1);
    const auto stream = open_compressed(folder / "two.db3.zst", open_storage);
    EXPECT_TRUE(fs::is_empty(temporary)) << "while it is open";
    EXPECT_EQ(test::read_file(recorded("file_zstd/expected.txt")), pass(*stream));
    EXPECT_EQ("two.db3.zst:2714: the zstd stream ends within a frame (0 lost)\n", lines(stream->problems()));
    EXPECT_TRUE(stream->holds_disk_space());
    EXPECT_EQ((folder / "two.db3.zst").string(), stream->channels().front().source);
    EXPECT_THROW(open_compressed(folder / "cut.db3.zst", open_storage), InputError);
    EXPECT_TRUE(fs::is_empty(temporary));
    ::unsetenv("TMPDIR");
}

TEST(SplitRecording, MergesFilesThatOverlap) {
    const fs::path folder = new_folder();
    make_database(folder / "x_9.db3", tables + time_index +
                                          "INSERT INTO topics VALUES (1, '/a', 'p/T', 'cdr');"
                                          "INSERT INTO messages VALUES (1, 1, 1, X'00'), (2, 1, 5, X'00'),"
                                          "(3, 1, 7, X'00')");
    make_database(folder / "x_10.db3",
                  tables + time_index +
                      "INSERT INTO topics VALUES (1, '/a', 'p/U', 'cdr'),"
                      "(2, '/a', 'p/T', 'cdr');"
                      "INSERT INTO messages VALUES (1, 2, 5, X'0000'), (2, 1, 6, X'0000'),"
                      "(3, 2, 7, X'0000'), (4, 2, 9, X'0000')");
    const auto stream = open_folder(folder, open_storage);
    ASSERT_EQ(2U, stream->channels().size());
    EXPECT_EQ(6U, stream->summary().channels[0].message_count);
    EXPECT_EQ("1 /a 1\n5 /a 1\n5 /a 2\n6 /a 2\n7 /a 1\n7 /a 2\n9 /a 2\n", pass(*stream));
    EXPECT_EQ("6 /a 2\n", pass(*stream, {.channels = {false, true}}));
    EXPECT_EQ("7 /a 1\n7 /a 2\n", pass(*stream, {.channels = {true, false}, .start = at(6), .end = at(9)}));
}

TEST(Metadata, ThatDisagreesWithTheFolderIsReported) {
    const fs::path folder = new_folder();
    fs::copy(recorded("split"), folder, fs::copy_options::recursive);
    fs::rename(folder / "split_1.db3", folder / "other.db3");
    auto stream = open_folder(folder, open_storage);
    EXPECT_EQ(
        "metadata.yaml:0: the storage file split_1.db3 is missing (0 lost)\n"
        "metadata.yaml:0: counts 60 messages, the recording holds 40 (20 lost)\n"
        "other.db3:0: left out: metadata.yaml does not list it (0 lost)\n",
        lines(stream->problems()));
    write_file(folder / "metadata.yaml", "rosbag2_bagfile_information:\n  version: [");
    stream = open_folder(folder, open_storage);
    EXPECT_EQ(test::read_file(recorded("split/expected.txt")), pass(*stream));
    EXPECT_EQ(1U, stream->problems().size()) << lines(stream->problems());
}

TEST(Metadata, NamesOneFileInSeveralWays) {
    const fs::path bag = new_folder() / "bag";
    fs::copy(recorded("robot"), bag);
    fs::create_symlink("robot_0.db3", bag / "link.db3");
    write_file(bag / "metadata.yaml",
               "rosbag2_bagfile_information:\n  relative_file_paths: "
               "[robot_0.db3, ./robot_0.db3, ../bag/robot_0.db3, link.db3]");
    const auto stream = open_folder(bag, open_storage);
    EXPECT_EQ(test::read_file(bag / "expected.txt"), pass(*stream));
    EXPECT_EQ("", lines(stream->problems()));
}

struct PathCase {
    const char* name;
    const char* listed;
    const char* present;
};
void PrintTo(const PathCase& c, std::ostream* out) {
    *out << c.name;
}

const PathCase path_cases[] = {
    {"RelativeToTheFolder", "x_0.db3", "bag/x_0.db3"},  {"RelativeToTheParent", "bag/x_0.db3", "bag/x_0.db3"},
    {"RenamedFolder", "once/x_0.db3", "bag/x_0.db3"},   {"GoneAbsolute", "/gone/once/x_0.db3", "bag/x_0.db3"},
    {"CompressedSince", "x_0.db3", "bag/x_0.db3.zstd"}, {"UnpackedSince", "once/x_0.db3.zstd", "bag/x_0.db3"},
};

class ListedPath : public testing::TestWithParam<PathCase> {};

TEST_P(ListedPath, IsFound) {
    const fs::path folder = new_folder();
    write_file(folder / GetParam().present, "");
    const auto found = resolve(folder / "bag", GetParam().listed);
    ASSERT_TRUE(found);
    EXPECT_TRUE(fs::equivalent(folder / GetParam().present, *found));
    EXPECT_FALSE(resolve(folder / "bag", "x_1.db3"));
}
INSTANTIATE_TEST_SUITE_P(, ListedPath, testing::ValuesIn(path_cases), test::CaseName());

/// A storage file with one message of a topic.
struct PartOfFolder {
    const char* name;
    const char* topic;
    int seconds;
};
struct BagFolderCase {
    const char* name;
    bool is_bag;
    std::vector<PartOfFolder> parts;
    std::vector<const char*> empty_files = {};
};
void PrintTo(const BagFolderCase& c, std::ostream* out) {
    *out << c.name;
}

const BagFolderCase bag_folder_cases[] = {
    {"Nothing", false, {}},
    {"OneFile", true, {{"x.db3", "/a", 0}}},
    {"Adjoining", true, {{"x_0.db3", "/a", 0}, {"x_2.db3", "/a", 1200}, {"x_1.db3", "/a", 600}}},
    {"FarApart", false, {{"x_0.db3", "/a", 0}, {"x_1.db3", "/a", 601}}},
    {"OtherTopics", false, {{"x_0.db3", "/a", 0}, {"x_1.db3", "/b", 1}}},
    {"OtherNames", false, {{"x_0.db3", "/a", 0}, {"y_1.db3", "/a", 1}}},
    {"UnreadablePart", true, {{"x_0.db3", "/a", 0}, {"x_2.db3", "/a", 1}}, {"x_1.db3"}},
    {"Metadata", true, {{"x_0.db3", "/a", 0}, {"y_1.db3", "/b", 601}}, {"metadata.yaml"}},
};

class BagFolder : public testing::TestWithParam<BagFolderCase> {};

TEST_P(BagFolder, IsToldFromAFolderOfRecordings) {
    const fs::path folder = new_folder();
    for (const PartOfFolder& part : GetParam().parts)
        make_database(folder / part.name, tables + "INSERT INTO topics VALUES (1, '" + part.topic +
                                              "', 'p/T', 'cdr'); INSERT INTO messages VALUES (1, 1, " +
                                              std::to_string(part.seconds) + "000000000, X'00');");
    for (const char* const file : GetParam().empty_files)
        write_file(folder / file, "");
    EXPECT_EQ(GetParam().is_bag, is_bag_folder(folder, open_storage));
}
INSTANTIATE_TEST_SUITE_P(, BagFolder, testing::ValuesIn(bag_folder_cases), test::CaseName());

}  // namespace
}  // namespace zun::input::rosbag2
