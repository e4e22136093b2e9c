#include "convert/Conversion.hpp"

#include <csignal>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <sys/resource.h>
#include <system_error>

#include <gtest/gtest.h>

#include "tests/convert/FakeRecording.hpp"
#include "tests/convert/conversions.hpp"
#include "tests/support/case_files.hpp"

namespace zun::convert {

namespace fs = std::filesystem;
using test::CaseName;
using test::convert_all;
using test::FakeRecording;
using test::files_in;
using test::fresh_folder;

namespace {

const char* const reading = "int32 id\nstring text\nint32[] list\nuint8[] blob\n";

/// Three readings on /a, one second apart from 10 s on.
FakeRecording three_readings() {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "p/msg/R", reading);
    fake.add(a, 10'000'000'000, R"({"id": 1, "text": "x", "list": [5, 6], "blob": []})");
    fake.add(a, 11'000'000'000, R"({"id": -2, "text": "", "list": [], "blob": []})");
    fake.batches.emplace_back();
    fake.add(a, 12'000'000'000, R"({"id": 3, "text": "a,b", "list": [7, 8, 9], "blob": []})");
    return fake;
}

std::string text_of(const Report& report) {
    std::ostringstream text;
    print_report(text, report, Detail::TABLE);
    return text.str();
}

struct SettingsCase {
    const char* name;
    std::function<void(Settings&)> change;
    const char* csv;  // lines of /a's file, with the length cells' spaces left out
};
void PrintTo(const SettingsCase& c, std::ostream* out) {
    *out << c.name;
}

const SettingsCase settings_cases[] = {
    {"Plain", [](Settings&) {},
     "timestamp,id,text,list.length,list[0],list[1],list[2],blob.length\n"
     "10000000000,1,x,2,5,6,nil,0\n"
     "11000000000,-2,\"\",0,nil,nil,nil,0\n"
     "12000000000,3,\"a,b\",3,7,8,9,0\n"},
    {"TimesAndCells",
     [](Settings& s) {
         s.clock = Clock::BOTH;
         s.time_format = TimeFormat::SECONDS;
         s.start = parse_time_bound("+1s");
         s.end = parse_time_bound("-0s");
     },
     "reception timestamp, source timestamp,id,text,list.length,blob.length\n"
     "11.000000000,11.000000007,-2,\"\",0,0\n"},
    {"EverySecondByTheSender",
     [](Settings& s) {
         s.every.messages = 2;
         s.clock = Clock::SOURCE;
     },
     "timestamp,id,text,list.length,list[0],list[1],list[2],blob.length\n"
     "10000000007,1,x,2,5,6,nil,0\n"
     "12000000007,3,\"a,b\",3,7,8,9,0\n"},
    {"FirstOfAnInterval", [](Settings& s) { s.every = parse_thinning("2.000000001s"); },  // the list counts
     "timestamp,id,text,list.length,list[0],list[1],blob.length\n"
     "10000000000,1,x,2,5,6,0\n"},
    {"IntervalsFromTheFirstMessageOfAll",
     [](Settings& s) {
         s.every = parse_thinning("2s");
         s.start = parse_time_bound("+1s");
     },
     "timestamp,id,text,list.length,list[0],list[1],list[2],blob.length\n"
     "11000000000,-2,\"\",0,nil,nil,nil,0\n"
     "12000000000,3,\"a,b\",3,7,8,9,0\n"},
    {"Cut", [](Settings& s) { s.rules = {parse_limit_rule("l*=1")}; },
     "timestamp,id,text,list.length,list[0],blob.length\n"
     "10000000000,1,x,1,5,0\n"
     "11000000000,-2,\"\",0,nil,0\n"
     "12000000000,3,\"a,b\",1,7,0\n"},
    {"LimitsFile",
     [](Settings& s) {
         s.limits = {{"/a", {{"list", 0}, {"blob", 2}}}};
         s.empty_text = "-";
     },
     "timestamp,id,text,list.length,blob.length,blob[0],blob[1]\n"
     "10000000000,1,x,0,0,-,-\n"
     "11000000000,-2,\"\",0,0,-,-\n"
     "12000000000,3,\"a,b\",0,0,-,-\n"},
};

TEST(Conversion, KnowsTheWriterByItsRecorder) {
    FakeRecording fake;
    for (const auto recorder : {input::Recorder::FAST_DDS, input::Recorder::UNKNOWN}) {
        const auto channel =
            fake.add_channel("/" + std::to_string(fake.channels.size()), "S", "struct S { long double v; };");
        fake.channels[channel].schema_encoding = "omgidl";
        fake.channels[channel].recorder = recorder;
    }
    Settings settings;
    const Report by_recorder = convert_all(fake, settings, fresh_folder());
    settings.writer = cdr::Writer::FAST_DDS;
    const Report by_user = convert_all(fake, settings, fresh_folder());
    for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_EQ(i < 1, by_recorder.recordings[0].topics[i].refusal == std::nullopt);
        EXPECT_EQ(std::nullopt, by_user.recordings[0].topics[i].refusal);
    }
}

/// Blobs wherever a member can be: optional parts, elements, unions, behind aliases, beside others.
const char* const full_of_blobs =
    "typedef sequence<octet> Bytes;\n"
    "struct Part { Bytes blob; long n; sequence<Bytes> kept; };\n"
    "union Choice switch (long) { case 1: Bytes blob; case 2: long n; };\n"
    "struct Only { sequence<uint8> blob; };\n"
    "struct Full { Bytes first; sequence<Part> parts; Part grid[2]; Choice choice; "
    "@optional Bytes maybe; Only only; long last; };\n";

TEST(Conversion, LeavesBlobsOut) {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "Full", full_of_blobs);
    fake.channels[a].schema_encoding = "omgidl";
    const char* const part = R"({"blob": [1, 2], "n": 5, "kept": [[7], []]})";
    const std::string rest =
        std::string(R"(, "grid": [)") + part + ',' + part + R"(], "only": {"blob": [9]}, "last": 3)";
    fake.add(a, 1,
             (std::string(R"({"first": [1], "choice": {"_d": 1, "blob": [4]}, "parts": [)") + part + ']' +
              rest + R"(, "maybe": [8]})")
                 .c_str());
    fake.add(a, 2, (R"({"first": [], "choice": {"_d": 2, "n": 6}, "parts": [])" + rest + '}').c_str());
    Settings settings;
    settings.blobs = Blobs::SKIP;
    const fs::path folder = fresh_folder();
    const Report report = convert_all(fake, settings, folder);
    std::string csv = files_in(folder)["a.csv"];
    std::erase(csv, ' ');
    EXPECT_EQ(
        "timestamp,parts.length,parts[0].n,parts[0].kept.length,parts[0].kept[0].length,parts[0].kept[0][0],"
        "parts[0].kept[1].length,parts[0].kept[1][0],grid[0].n,grid[0].kept.length,grid[0].kept[0].length,"
        "grid[0].kept[0][0],grid[0].kept[1].length,grid[0].kept[1][0],grid[1].n,grid[1].kept.length,"
        "grid[1].kept[0].length,grid[1].kept[0][0],grid[1].kept[1].length,grid[1].kept[1][0],choice._d,"
        "choice.n,only,last\n"
        "1,1,5,2,1,7,0,nil,5,2,1,7,0,nil,5,2,1,7,0,nil,1,nil,nil,3\n"
        "2,0,nil,nil,nil,nil,nil,nil,5,2,1,7,0,nil,5,2,1,7,0,nil,2,6,nil,3\n",
        csv);
    EXPECT_EQ(6U, report.recordings[0].topics[0].hints.size());
    EXPECT_EQ("'parts[*].blob' is left out; keep_blobs keeps it",
              report.recordings[0].topics[0].hints[1].text.spelled());
    EXPECT_FALSE(report.lost_anything());
}

class WithSettings : public testing::TestWithParam<SettingsCase> {};

TEST_P(WithSettings, WritesTheFile) {
    FakeRecording fake = three_readings();
    Settings settings;
    GetParam().change(settings);
    const fs::path folder = fresh_folder();
    convert_all(fake, settings, folder);
    auto files = files_in(folder);
    ASSERT_EQ(1U, files.size());
    std::erase(files["a.csv"], ' ');
    std::string wanted = GetParam().csv;
    std::erase(wanted, ' ');
    EXPECT_EQ(wanted, files["a.csv"]);
}
INSTANTIATE_TEST_SUITE_P(, WithSettings, testing::ValuesIn(settings_cases), CaseName());

TEST(Conversion, TakesThePaddingOffLengthsAlone) {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "S",
                                    "struct S { string text; sequence<sequence<long>> rows; string more; "
                                    "string words[40]; @optional sequence<long> maybe; };");
    fake.channels[a].schema_encoding = "omgidl";
    std::string words, header, cells;  // of forty texts, now and then one in quotes
    for (int i = 0; i < 40; ++i) {
        words += std::string(i == 0 ? "" : ",") + (i % 9 == 3 ? R"("1,,2")" : R"("12")");
        header += ",words[" + std::to_string(i) + ']';
        cells += i % 9 == 3 ? ",\"1,,2\"" : ",12";
    }
    const std::string rest = R"(", "words": [)" + words + ']';
    fake.add(a, 1,
             (R"({"text": "              7", "rows": [[1], [3]], "more": ",              7)" + rest +
              R"(, "maybe": [2]})")
                 .c_str());
    fake.add(a, 2, (R"({"text": "", "rows": [], "more": "\"\n,              7)" + rest + '}').c_str());
    Settings settings;
    settings.plain_lengths = true;
    for (const std::string empty : {"", "      ", "               ", "            7 x", "              x"}) {
        settings.empty_text = empty;
        const fs::path folder = fresh_folder();
        convert_all(fake, settings, folder);
        EXPECT_EQ("timestamp,text,rows.length,rows[0].length,rows[0][0],rows[1].length,rows[1][0],more" +
                      header + ",maybe.length,maybe[0]\n1,              7,2,1,1,1,3,\",              7\"" +
                      cells + ",1,2\n2,\"\",0," + empty + ',' + empty + ',' + empty + ',' + empty +
                      ",\"\"\"\n,              7\"" + cells + ',' + empty + ',' + empty + '\n',
                  files_in(folder)["a.csv"]);
    }
}

/// Sixty batches on four topics; every list has another length, some messages are no samples.
FakeRecording many_batches() {
    FakeRecording fake;
    for (const char* topic : {"/a", "/b", "/c", "/d"})
        fake.add_channel(topic, "p/msg/R", reading);
    for (std::uint32_t i = 0; i < 600; ++i) {
        if (i % 10 == 0) fake.batches.emplace_back();
        const std::string list(i % 7, '1');
        std::string values;
        for (const char digit : list)
            values += (values.empty() ? "" : ",") + std::string(1, digit);
        fake.add(i % 3, i,
                 ("{\"id\": " + std::to_string(i) + R"(, "text": ")" + std::string(i * 13 % 5000, 'x') +
                  "\", \"list\": [" + values + "], \"blob\": []}")
                     .c_str());
        if (i % 50 == 0) fake.add_bytes(1, i, {});
    }
    return fake;
}

class Jobs : public testing::TestWithParam<const char*> {};

TEST_P(Jobs, MakeNoDifference) {
    FakeRecording fake = many_batches();
    Settings settings;
    settings.every = parse_thinning(GetParam());
    settings.rules = {parse_limit_rule("/b:list=4")};
    const fs::path folder = fresh_folder();
    const std::string report = text_of(convert_all(fake, settings, folder));
    const auto files = files_in(folder);
    EXPECT_EQ(4U, files.size()) << "a topic without messages has a file too";
    EXPECT_NE(std::string::npos, report.find("'list' is cut to 4 of up to 6 elements")) << report;
    settings.overwrite = true;
    for (const unsigned jobs : {2U, 5U}) {
        settings.jobs = jobs;
        EXPECT_EQ(report, text_of(convert_all(fake, settings, folder)));
        EXPECT_TRUE(files == files_in(folder)) << jobs << " jobs";
    }
}
INSTANTIATE_TEST_SUITE_P(, Jobs, testing::Values("3", "5ns"));

TEST(Conversion, WritesTheRowsThatMayNotWait) {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "p/msg/S", "string text\n");
    const std::string text(3'000'000, 'x');
    fake.add(a, 0, (R"({"text": ")" + text + "\"}").c_str());
    std::string wanted = "timestamp,text\n0," + text + '\n';
    for (std::uint32_t i = 1; i < 8; ++i) {  // 24 MB in one batch
        fake.add_bytes(a, i, fake.batches[0][0].data);
        wanted += std::to_string(i) + ',' + text + '\n';
    }
    const fs::path folder = fresh_folder();
    EXPECT_EQ(8U, convert_all(fake, {}, folder).recordings[0].topics[0].rows);
    EXPECT_TRUE(wanted == files_in(folder).at("a.csv"));
}

TEST(BatchSource, ReadsAgainOnlyWhatItCouldNotKeep) {
    FakeRecording fake = many_batches();
    for (const std::size_t kept : {std::size_t{0}, std::size_t{7}, fake.batches.size()}) {
        const auto stream = FakeRecording::recording(fake, {}).open();
        BatchSource source(*stream, {.channels = {true, true, true, true}}, kept << 20);  // batches of 1 MiB
        std::vector<std::int64_t> passes[2];
        std::size_t loaded_before = 0;
        for (auto& stamps : passes) {
            source.start();
            for (SourceBatch next = source.next(); next.batch; next = source.next()) {
                if (next.loaded)
                    ++loaded_before;
                else
                    next.batch->load();
                for (const input::Message& message : next.batch->messages())
                    stamps.push_back(message.log_time.nanoseconds);
                if (&stamps == &passes[0]) source.keep(next.batch);
            }
        }
        EXPECT_EQ(612U, passes[0].size());
        EXPECT_EQ(passes[0], passes[1]);
        EXPECT_EQ(kept, loaded_before);
    }
}

TEST(Conversion, MakesOneFileOfChannelsOfOneType) {
    FakeRecording fake = three_readings();
    const auto again = fake.add_channel("/a", "p/msg/R", std::string("# The same again.\n") + reading);
    fake.add(again, 13'000'000'000, R"({"id": 4, "text": "", "list": [], "blob": []})");
    const Report report = convert_all(fake, {}, fresh_folder());
    ASSERT_EQ(1U, report.recordings[0].topics.size());
    EXPECT_EQ(4U, report.recordings[0].topics[0].rows);
}

TEST(Conversion, GivesSeveralRecordingsTheSameColumns) {
    FakeRecording few = three_readings();
    FakeRecording many = three_readings();
    many.add(0, 13'000'000'000, R"({"id": 4, "text": "", "list": [1, 2, 3, 4, 5], "blob": [1]})");
    const fs::path folder = fresh_folder();
    Report report;
    const std::vector<Recording> both = {FakeRecording::recording(few, folder / "few"),
                                         FakeRecording::recording(many, folder / "many")};
    Conversion({}, both, {}).run(report);
    EXPECT_EQ(1, few.opened);
    EXPECT_EQ(1, many.opened);
    EXPECT_EQ(report.recordings[0].topics[0].columns, Conversion({}, both, {}).plan("/a").columns());
    const auto header = [&](const char* name) {
        const std::string text = files_in(folder / name)["a.csv"];
        return text.substr(0, text.find('\n'));
    };
    EXPECT_EQ(header("many"), header("few"));
    EXPECT_NE(std::string::npos, header("few").find("list[4],blob.length,blob[0]"));
    EXPECT_FALSE(report.lost_anything());
}

TEST(Conversion, NamesAllThatIsLost) {
    FakeRecording fake = three_readings();
    fake.add_channel("/b", "p/msg/R", "{}", "json");
    fake.add_channel("/c", "p/msg/R", "int32[ broken\n");
    fake.add_channel("/d", "p/msg/Gone", "q/Missing m\n");
    fake.add_channel("/a", "p/msg/Other", "int32[] list\n");
    fake.add_channel("/e", "p/msg/Wide", "int32[70000] grid\n");
    const auto f = fake.add_channel("/f", "p/msg/Long", "uint8[] blob\nint32[] list\n");
    for (std::uint32_t channel = 1; channel <= 5; ++channel)
        fake.add_bytes(channel, 12, {});
    fake.add_bytes(fake.add_channel("/\xff", "p/msg/Lost", "int32 id\nq/Missing m\n"), 12, {});
    fake.add_channel("/unwanted", "p/msg/R", "{}", "json");
    fake.add_bytes(0, 13, {std::byte{0}, std::byte{1}});
    std::string blob = "0";
    for (int i = 1; i < 17000; ++i)
        blob += ",0";
    fake.add(f, 14, ("{\"blob\": [" + blob + "], \"list\": [1]}").c_str());
    auto longer = fake.batches.back().back().data;
    longer.resize(longer.size() + 8);
    fake.add_bytes(f, 15, longer);  // ROS types do not grow
    fake.problems = {{"fake.mcap", 5, "no summary"}};
    fake.batch_problems = {{"fake.mcap", 70, "chunk is damaged", 12}};
    fake.cut = "the file ends within a record";
    Settings settings;
    settings.topics = {{"/?", "/nope"}, {}};
    settings.rules = {parse_limit_rule("list=2"), parse_limit_rule("/a:l*=5"), parse_limit_rule("x=1")};
    settings.blobs = Blobs::COLUMNS;
    const Report report = convert_all(fake, settings, fresh_folder());
    EXPECT_TRUE(report.lost_anything());
    std::string text = text_of(report);
    text.replace(text.find(report.recordings[0].folder), report.recordings[0].folder.size(), "FOLDER");
    EXPECT_EQ(test::read_file(test::data_folder() / "convert" / "lost.txt"), text);
    std::ostringstream json;
    print_report_json(json, report);
    const auto parsed = nlohmann::json::parse(json.str());
    EXPECT_TRUE(parsed["lost_anything"]);
    EXPECT_EQ(17000, parsed["recordings"][0]["topics"][6]["cuts"][0]["longest"]);
    EXPECT_EQ("chunk is damaged", parsed["recordings"][0]["problems"][1]["text"]);
    EXPECT_EQ("missing-type", parsed["recordings"][0]["topics"][7]["refusal"]["code"]);
    EXPECT_EQ("no-topic", parsed["losses"][0]["code"]);
}

TEST(Conversion, CountsLossesBeyondThoseThatItNames) {
    FakeRecording fake = three_readings();
    fake.not_there = 57;
    fake.batch_problems.assign(25, {"fake.mcap", 70, "chunk is damaged", 2});
    const std::string text = text_of(convert_all(fake, {}, fresh_folder()));
    EXPECT_NE(std::string::npos, text.find("damaged in 25 places, 50 messages known to be lost\n")) << text;
    EXPECT_NE(std::string::npos, text.find("  7 messages that the recording counts cannot be found\n"))
        << text;
    EXPECT_NE(std::string::npos, text.find("chunk is damaged\n    and 5 more\n")) << text;
}

TEST(Conversion, SaysWhichTypeServesForANameWithoutNamespace) {
    FakeRecording fake;
    fake.channels.push_back({"/a", "T", "cdr", "omgidl", "module m { struct T { long x; }; };"});
    fake.add(0, 1, R"({"x": 5})");
    const fs::path folder = fresh_folder();
    EXPECT_EQ("the recording calls its type 'T'; 'm::T', the only one of that name, is used",
              convert_all(fake, {}, folder).recordings[0].topics[0].hints.at(0).text);
    EXPECT_EQ("timestamp,x\n1,5\n", files_in(folder).at("a.csv"));
}

struct HashCase {
    const char* name;
    std::string hash;
    const char* last_column;
    std::size_t hints;
};
void PrintTo(const HashCase& c, std::ostream* out) {
    *out << c.name;
}
const HashCase hash_cases[] = {
    {"OfTheOlderLayout", "RIHS01_9430b1915b94d4268ff903679e8ecd09b6a67d331bd028738ec1eeb592891ebd", "range",
     0},
    {"OfNone", "RIHS01_" + std::string(64, '1'), "variance", 1},
    {"Unset", "RIHS01_" + std::string(64, '0'), "variance", 0},
    {"OfAnotherKind", "md5", "variance", 0},
};

class RecordedHash : public testing::TestWithParam<HashCase> {};

/// Its messages, of the newer layout, would decide otherwise.
TEST_P(RecordedHash, Decides) {
    FakeRecording fake;
    const auto a = fake.add_channel("/a", "sensor_msgs/msg/Range", "");
    fake.channels[a].type_hash = GetParam().hash;
    fake.add(a, 1,
             R"({"header": {"stamp": {"sec": 1, "nanosec": 2}, "frame_id": ""}, "radiation_type": 0,
                 "field_of_view": 1, "min_range": 1, "max_range": 2, "range": 1.5, "variance": 7})");
    const fs::path folder = fresh_folder();
    const Report report = convert_all(fake, {}, folder);
    const std::string csv = files_in(folder).at("a.csv");
    const std::string header = csv.substr(0, csv.find('\n'));
    EXPECT_EQ(GetParam().last_column, header.substr(header.rfind(',') + 1));
    EXPECT_EQ(GetParam().hints, report.recordings[0].topics[0].hints.size());
}
INSTANTIATE_TEST_SUITE_P(, RecordedHash, testing::ValuesIn(hash_cases), CaseName());

TEST(TopicFilter, TakesATopicAloneByItsExactPattern) {
    const char* const topics[] = {"/a[1]", "/a1", "/a*", "/a?", "/ab", "/a\\b"};
    for (const std::string topic : topics)
        for (const std::string other : topics)
            EXPECT_EQ(topic == other, (TopicFilter{{exact_pattern(topic)}, {}}).accepts(other))
                << topic << other;
}

TEST(Conversion, CountsWhatThePassOfLengthsDidNotSee) {
    FakeRecording fake = three_readings();
    fake.batches.front().swap(fake.batches.back());
    fake.fails_at_first = true;
    const Report report = convert_all(fake, {}, fresh_folder());
    const TopicReport& topic = report.recordings[0].topics[0];
    EXPECT_EQ(3U, topic.rows);
    ASSERT_EQ(1U, topic.cuts.size());
    EXPECT_EQ(3U, topic.cuts[0].longest);
    EXPECT_EQ(1U, topic.cuts[0].rows);
}

TEST(Conversion, StopsAtTheFirstDamageWhereThatIsAnError) {
    Settings strict;
    strict.strict = true;
    for (const bool in_sample : {true, false}) {
        FakeRecording fake = three_readings();
        if (in_sample)
            fake.add_bytes(0, 13, {});
        else
            fake.batch_problems = {{"fake.mcap", 70, "chunk is damaged", 12}};
        const fs::path folder = fresh_folder();
        EXPECT_THROW(convert_all(fake, strict, folder), InputError);
        EXPECT_TRUE(files_in(folder).empty());
    }
}

/// The rows of a topic, whose further files each have its header.
std::string rows_in(const std::map<std::string, std::string>& files, const TopicReport& topic,
                    std::size_t most_rows) {
    std::vector<std::string> names = {topic.file};
    names.insert(names.end(), topic.further_files.begin(), topic.further_files.end());
    std::string rows;
    std::string header;
    for (const std::string& name : names) {
        const std::string& text = files.at(name);
        const std::size_t header_end = text.find('\n') + 1;
        if (header.empty()) header = text.substr(0, header_end);
        EXPECT_EQ(header, text.substr(0, header_end));
        rows += text.substr(header_end);
        const auto count = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n') - 1);
        EXPECT_TRUE(name == names.back() ? count <= most_rows && (count > 0 || names.size() == 1)
                                         : count == most_rows)
            << name;
    }
    return header + rows;
}

TEST(Conversion, SplitsFilesBetweenRows) {
    FakeRecording fake = many_batches();
    fake.add(fake.add_channel("/a/2", "p/msg/R", reading), 1,
             R"({"id": 1, "text": "", "list": [], "blob": []})");
    const fs::path folder = fresh_folder();
    Settings settings;
    settings.byte_order_mark = true;
    convert_all(fake, settings, folder);
    const auto whole = files_in(folder);
    for (const std::uint64_t most : {1U, 7U, 100'000U}) {
        for (const unsigned jobs : {1U, 3U}) {
            settings.most_rows = most;
            settings.jobs = jobs;
            settings.overwrite = true;
            const Report report = convert_all(fake, settings, folder);
            const auto files = files_in(folder);
            std::size_t count = 0;
            for (const TopicReport& topic : report.recordings[0].topics) {
                EXPECT_EQ(whole.at(topic.file), rows_in(files, topic, most));
                count += 1 + topic.further_files.size();
                EXPECT_EQ("\xef\xbb\xbftime", files.at(topic.file).substr(0, 7));
            }
            EXPECT_EQ(count, files.size()) << "what an earlier conversion made is gone";
            const std::vector<std::string>& further = report.recordings[0].topics[0].further_files;
            EXPECT_EQ(most < 100'000 ? "a.2~2.csv" : "", further.empty() ? "" : further.front());
        }
    }
}

TEST(Conversion, LeavesNothingHalfDone) {
    FakeRecording fake = three_readings();
    const fs::path folder = fresh_folder();
    const std::atomic<bool> stop = true;
    EXPECT_THROW(convert_all(fake, {}, folder, {{}, &stop}), Interrupted);
    EXPECT_TRUE(files_in(folder).empty());
    fs::create_directories(folder);
    std::ofstream(folder / "a.csv") << "mine";
    EXPECT_THROW(convert_all(fake, {}, folder), std::runtime_error);
    EXPECT_EQ("mine", files_in(folder).at("a.csv"));
    Settings settings;
    settings.dry_run = true;
    EXPECT_EQ(3U, convert_all(fake, settings, folder).recordings[0].topics[0].rows);
    EXPECT_EQ("mine", files_in(folder).at("a.csv"));
}

/// Puts a limit of the process back.
class LimitedResource {
public:
    LimitedResource(__rlimit_resource_t resource, rlim_t limit) : resource_(resource) {
        ::getrlimit(resource, &before_);
        const rlimit lower{limit, before_.rlim_max};
        ::setrlimit(resource, &lower);
    }
    ~LimitedResource() { ::setrlimit(resource_, &before_); }
    LimitedResource(const LimitedResource&) = delete;
    LimitedResource& operator=(const LimitedResource&) = delete;

private:
    __rlimit_resource_t resource_;
    rlimit before_{};
};

TEST(OutputFiles, WritesMoreThanTheSystemOpens) {
    const fs::path folder = fresh_folder();
    const LimitedResource few_files(RLIMIT_NOFILE, 32);
    std::vector<std::string> names;
    for (int i = 0; i < 100; ++i)
        names.push_back(std::to_string(i));
    OutputFiles output(folder, names, {}, false);
    const std::string block(300'000, 'x');
    for (int round = 0; round < 2; ++round)
        for (std::size_t i = 0; i < names.size(); ++i)
            output.write(i, i % 2 == 0 ? names[i] : block);
    output.finish();
    const auto files = files_in(folder);
    EXPECT_EQ(100U, files.size());
    EXPECT_EQ("4242", files.at("42"));
    EXPECT_TRUE(block + block == files.at("43"));
}

TEST(OutputFiles, SaysWhichFileTheDiskHasNoRoomFor) {
    const fs::path folder = fresh_folder();
    const auto before = std::signal(SIGXFSZ, SIG_IGN);
    {
        const LimitedResource small_files(RLIMIT_FSIZE, 1'000'000);
        OutputFiles output(folder / "inner", {"a.csv"}, {}, false);
        try {
            for (int i = 0; i < 9; ++i)
                output.write(0, std::string(300'000, 'x'));
            ADD_FAILURE();
        } catch (const std::system_error& problem) {
            EXPECT_NE(std::string::npos, std::string(problem.what()).find("a.csv"));
        }
    }
    std::signal(SIGXFSZ, before);
    EXPECT_FALSE(fs::exists(folder));
}

}  // namespace

}  // namespace zun::convert
