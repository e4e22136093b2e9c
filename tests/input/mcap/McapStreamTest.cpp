#include "input/mcap/McapStream.hpp"

#include <algorithm>
#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

#include "platform/error/InputError.hpp"
#include "tests/input/mcap/RecordingBuilder.hpp"
#include "tests/support/case_files.hpp"

namespace zun::input {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using test::channel_record;
using test::MadeMessage;
using test::message_record;
using test::record;
using test::RecordingBuilder;
using test::schema_record;
using test::sized;
using test::TemporaryFile;

/// A message as a line of text: topic, log time, payload.
using Lines = std::vector<std::string>;

std::string nanoseconds(Time time) {
    return std::to_string(static_cast<std::uint64_t>(time.seconds) * 1'000'000'000 + time.nanoseconds);
}

std::string text_of(std::span<const std::byte> data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

struct Delivery {
    Lines lines;
    std::vector<Problem> problems;  ///< of opening, then of the batches

    std::string report() const {
        std::string text;
        for (const Problem& p : problems)
            text += std::to_string(p.position) + ": " + p.text + "\n";
        return text;
    }
};

using Describe = std::string (*)(const Message&);

std::string payload(const Message& m) {
    return text_of(m.data);
}
std::string payload_size(const Message& m) {
    return std::to_string(m.data.size());
}

void take(const MessageStream& stream, const Batch& batch, Describe describe, Delivery& delivery) {
    for (const Message& m : batch.messages())
        delivery.lines.push_back(stream.channels()[m.channel].topic + " " + nanoseconds(m.log_time) + " " +
                                 describe(m));
    delivery.problems.insert(delivery.problems.end(), batch.problems().begin(), batch.problems().end());
}

Delivery deliver(MessageStream& stream, const Selection& selection = {}, Describe describe = payload) {
    Delivery delivery{{}, {stream.problems().begin(), stream.problems().end()}};
    stream.start(selection);
    while (const auto batch = stream.next_batch()) {
        batch->load();
        take(stream, *batch, describe, delivery);
    }
    return delivery;
}

Delivery deliver(const std::string& bytes) {
    const TemporaryFile file(bytes);
    return deliver(*open_mcap(file.path()));
}

/// The lines by time; those of one time stay as they are.
Lines lines_of(std::vector<std::pair<std::uint64_t, std::string>> timed) {
    std::stable_sort(timed.begin(), timed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    Lines lines;
    for (auto& [time, line] : timed)
        lines.push_back(std::move(line));
    return lines;
}

// Recordings from elsewhere, with their expectations beside them.

Lines expected_lines(const fs::path& path) {
    std::istringstream in(test::read_file(path));
    std::vector<std::pair<std::uint64_t, std::string>> timed;
    for (std::string line; std::getline(in, line);) {
        const json m = json::parse(line);
        const std::uint64_t log = m["log"];
        timed.emplace_back(
            log, m["topic"].get<std::string>() + " " + std::to_string(log) + " " + m["bytes"].dump());
    }
    return lines_of(std::move(timed));
}

/// Whole recordings deliver what they should and report nothing; of the others, nothing outside of the damage
/// is missing, and they report something.
void check_container(const fs::path& path) {
    SCOPED_TRACE(path.filename());
    fs::path expectation = path;
    Lines expected = expected_lines(expectation.replace_extension(".expect.jsonl"));
    Delivery delivery = deliver(*open_mcap(path), {}, payload_size);
    const std::string name = path.filename();
    const bool is_damaged = name.starts_with("cut_") || name.starts_with("message_without") ||
                            (name.starts_with("chunk_") && name != "chunk_crc_zero.mcap");
    EXPECT_EQ(is_damaged, !delivery.problems.empty()) << delivery.report();
    if (is_damaged) {
        std::sort(expected.begin(), expected.end());
        std::sort(delivery.lines.begin(), delivery.lines.end());
        EXPECT_TRUE(
            std::includes(delivery.lines.begin(), delivery.lines.end(), expected.begin(), expected.end()));
    } else {
        EXPECT_EQ(expected, delivery.lines);
    }
}

void check_containers(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator(folder))
        if (fs::path expectation = entry.path();
            entry.path().extension() == ".mcap" && fs::exists(expectation.replace_extension(".expect.jsonl")))
            check_container(entry.path());
}

TEST(McapContainers, DeliverWhatTheyHold) {
    check_containers(test::data_folder() / "mcap");
}

TEST(McapContainers, DeliverWhatTheyHoldInTheSharedSet) {
    const fs::path folder = fs::path(ZUN_SHARED) / "recordings/made/containers";
    if (!fs::exists(folder)) GTEST_SKIP() << "no shared recordings";
    check_containers(folder);
}

std::map<std::string, json> fields_of(const json& record) {
    std::map<std::string, json> fields;
    for (const json& field : record["fields"])
        fields[field[0]] = field[1];
    return fields;
}

Lines conformance_lines(const fs::path& path) {
    std::map<std::string, std::string> topics;
    std::vector<std::pair<std::uint64_t, std::string>> timed;
    const json expectation = json::parse(test::read_file(path));
    for (const json& record : expectation["records"]) {
        const auto fields = fields_of(record);
        if (record["type"] == "Channel") topics[fields.at("id")] = fields.at("topic");
        if (record["type"] != "Message") continue;
        std::string data;
        for (const std::string byte : fields.at("data"))
            data += static_cast<char>(std::stoi(byte));
        const std::string time = fields.at("log_time");
        std::string line = topics.at(fields.at("channel_id"));
        for (const std::string& field : {time, fields.at("publish_time").get<std::string>(), data})
            line.append(" ").append(field);
        timed.emplace_back(std::stoull(time), line);
    }
    return lines_of(std::move(timed));
}

TEST(McapConformance, DeliversEveryMessageInLogTimeOrder) {
    const fs::path folder = fs::path(ZUN_SHARED) / "conformance";
    if (!fs::exists(folder)) GTEST_SKIP() << "no shared recordings";
    int files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.path().extension() != ".mcap") continue;
        SCOPED_TRACE(entry.path().filename());
        fs::path expectation = entry.path();
        const Delivery delivery = deliver(*open_mcap(entry.path()), {}, [](const Message& m) {
            return nanoseconds(m.publish_time) + " " + text_of(m.data);
        });
        EXPECT_EQ(conformance_lines(expectation.replace_extension(".json")), delivery.lines);
        EXPECT_EQ("", delivery.report());
        ++files;
    }
    EXPECT_GT(files, 300);
}

struct DamageCase {
    const char* name;  ///< of the file, too
    std::size_t delivered;
    const char* problem;  ///< first one: position and beginning of its text
};
void PrintTo(const DamageCase& c, std::ostream* out) {
    *out << c.name;
}

const DamageCase damage_cases[] = {
    {"chunk_claims_much", 51, "1130: chunk of 314 bytes says that it has 536870912, more than the 268435456"},
    {"chunk_crc_wrong", 60, "1130: checksum of the chunk is wrong"},
    {"chunk_damaged_zstd", 51, "1130: chunk does not decompress: Data corruption detected, 9 messages lost"},
    {"chunk_unknown_compression", 51, "578: chunk has the unknown compression 'zztd', 9 messages lost"},
    {"cut_lz4_2", 14, "1377: chunk is cut"},
    {"cut_none_2", 59, "33: chunk is cut"},
    {"cut_plain_2", 10, "1029: record of 70 bytes in a file that ends before"},
    {"zero_tail", 3,
     "456: checksum of the chunk is wrong; its messages are used; message torn by zero bytes"},
};

class McapDamage : public testing::TestWithParam<DamageCase> {};

TEST_P(McapDamage, CostsWhatItHits) {
    const DamageCase& c = GetParam();
    const Delivery delivery =
        deliver(*open_mcap(test::data_folder() / "mcap" / (std::string(c.name) + ".mcap")), {}, payload_size);
    EXPECT_EQ(c.delivered, delivery.lines.size());
    EXPECT_TRUE(delivery.report().starts_with(c.problem)) << delivery.report();
}
INSTANTIATE_TEST_SUITE_P(, McapDamage, testing::ValuesIn(damage_cases), test::CaseName());

// Recordings made here.

const std::string plain_head = schema_record(1, "demo/msg/A") +
                               channel_record(0, 1, "/a", sized("topic_type_hash") + sized("RIHS01_0a")) +
                               channel_record(3, 0, "/b");

struct MadeRecording {
    std::string bytes;
    std::vector<MadeMessage> messages;  ///< in file order
};

/// Chunks and loose messages; every time occurs about four times, up to `disorder` messages late.
MadeRecording random_recording(std::uint32_t seed, std::uint64_t disorder, bool has_summary) {
    std::mt19937 random(seed);
    RecordingBuilder builder(plain_head);
    std::uint64_t made = 0;
    for (int part = 0; part < 60; ++part) {
        std::vector<MadeMessage> chunk(random() % 12);
        for (MadeMessage& m : chunk) {
            const std::uint64_t time = (++made + disorder - random() % (disorder + 1)) / 4;
            const auto id = static_cast<std::uint16_t>(random() % 2 * 3);
            m = {id, time, std::to_string(made) + std::string(random() % 40, '.')};
        }
        if (has_summary || random() % 3 > 0) {
            builder.add_chunk(chunk);
        } else {
            for (const MadeMessage& m : chunk)
                builder.add_message(m);
        }
    }
    return {has_summary ? builder.finished() : builder.unfinished(), builder.messages()};
}

bool is_any(const MadeMessage&) {
    return true;
}

Lines lines_of(const std::vector<MadeMessage>& messages, bool (*is_wanted)(const MadeMessage&) = is_any) {
    std::vector<std::pair<std::uint64_t, std::string>> timed;
    for (const auto& [id, time, data] : messages)
        if (is_wanted({id, time, data}))
            timed.emplace_back(time, (id == 0 ? "/a " : "/b ") + std::to_string(time) + " " + data);
    return lines_of(std::move(timed));
}

struct OrderCase {
    const char* name;
    std::uint64_t disorder;  ///< in messages; a chunk has 5 or 6
    McapLimits limits;
    bool has_summary;
};
void PrintTo(const OrderCase& c, std::ostream* out) {
    *out << c.name;
}

const OrderCase order_cases[] = {
    {"OneBatch", 30, {}, true},
    {"OneBatchScanned", 30, {}, false},
    {"InOrderABatchAPiece", 0, {1, 1 << 20}, true},
    {"ChainsOfOverlap", 10, {1, 1 << 20}, true},
    {"ChainsOfOverlapScanned", 10, {2000, 1 << 20}, false},
    {"MoreOverlapThanMemory", 40, {1, 3000}, true},
    {"MoreOverlapThanMemoryScanned", 40, {2000, 3000}, false},
    {"NoOrderAtAll", 800, {1, 5000}, true},
    {"NoOrderAtAllScanned", 800, {1, 1000}, false},
};

class McapOrder : public testing::TestWithParam<OrderCase> {};

TEST_P(McapOrder, IsByLogTimeThenFile) {
    const OrderCase& c = GetParam();
    for (std::uint32_t seed = 1; seed <= 4; ++seed) {
        const MadeRecording made = random_recording(seed, c.disorder, c.has_summary);
        const TemporaryFile file(made.bytes);
        const auto stream = open_mcap(file.path(), c.limits);
        const Delivery first_pass = deliver(*stream);
        EXPECT_EQ(lines_of(made.messages), first_pass.lines) << "seed " << seed;
        EXPECT_EQ(lines_of(made.messages), deliver(*stream).lines) << "second pass, seed " << seed;
        EXPECT_EQ(c.has_summary, first_pass.problems.empty()) << first_pass.report();
        EXPECT_EQ(made.messages.size(),
                  stream->summary().channels[0].message_count + stream->summary().channels[1].message_count);
    }
}
INSTANTIATE_TEST_SUITE_P(, McapOrder, testing::ValuesIn(order_cases), test::CaseName());

TEST(McapBatches, StayWithinTheLimitsWhereAllOverlaps) {
    const MadeRecording made = random_recording(1, 800, true);
    const TemporaryFile file(made.bytes);
    const auto stream = open_mcap(file.path(), {1, 8000});
    std::size_t batches = 0;
    for (stream->start({}); const auto batch = stream->next_batch(); ++batches) {
        EXPECT_LE(batch->loaded_bytes(), 8000U);
    }
    EXPECT_GT(batches, 5U);
}

TEST(McapBatches, LoadInAnyOrderOnAnyThread) {
    const MadeRecording made = random_recording(2, 12, true);
    const TemporaryFile file(made.bytes);
    auto stream = open_mcap(file.path(), {1, 1 << 20});
    std::vector<std::unique_ptr<Batch>> batches;
    for (stream->start({}); auto batch = stream->next_batch();)
        batches.push_back(std::move(batch));
    ASSERT_GT(batches.size(), 20U);
    std::vector<std::thread> threads;
    for (std::size_t t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            for (std::size_t n = batches.size(); n-- > 0;)
                if (n % 4 == t) batches[n]->load();
        });
    for (std::thread& thread : threads)
        thread.join();
    Delivery delivery;
    for (const auto& batch : batches)
        take(*stream, *batch, payload, delivery);
    EXPECT_EQ(lines_of(made.messages), delivery.lines);
}

TEST(McapSelection, LeavesOutOtherChannelsAndTimes) {
    for (const bool has_summary : {true, false}) {
        const MadeRecording made = random_recording(3, 12, has_summary);
        const TemporaryFile file(made.bytes);
        const auto stream = open_mcap(file.path(), {500, 2000});
        const Selection selection{{false, true},
                                  Time::from_nanoseconds(std::uint64_t{10}),
                                  Time::from_nanoseconds(std::uint64_t{50})};
        const auto is_wanted = [](const MadeMessage& m) {
            return m.channel_id == 3 && m.log_time >= 10 && m.log_time < 50;
        };
        EXPECT_EQ(lines_of(made.messages, is_wanted), deliver(*stream, selection).lines);
    }
}

TEST(McapOpening, ReadsTheSummaryAlone) {
    RecordingBuilder builder(plain_head);
    builder.add_chunk({{0, 10, "payload"}, {3, 20, "y"}});
    builder.add_chunk({{0, 1ULL << 63, "z"}});
    std::string bytes = builder.finished();
    bytes[bytes.find("payload") - 31] = '\0';  // the message's opcode
    const TemporaryFile file(bytes);
    const auto stream = open_mcap(file.path());
    EXPECT_TRUE(stream->problems().empty());
    ASSERT_EQ(2U, stream->channels().size());
    EXPECT_EQ("demo/msg/A ros2msg int8 x cdr",
              stream->channels()[0].type_name + " " + stream->channels()[0].schema_encoding + " " +
                  stream->channels()[0].schema_text.str() + " " + stream->channels()[0].message_encoding);
    EXPECT_EQ("", stream->channels()[1].schema_encoding);
    EXPECT_EQ("RIHS01_0a", stream->channels()[0].type_hash);
    EXPECT_EQ("", stream->channels()[1].type_hash);
    EXPECT_EQ(2U, stream->summary().channels[0].message_count);
    EXPECT_EQ("10 9223372036854775808",
              nanoseconds(*stream->summary().first) + " " + nanoseconds(*stream->summary().last));
    const Delivery delivery = deliver(*stream);
    EXPECT_EQ((Lines{"/a 9223372036854775808 z"}), delivery.lines);
    EXPECT_NE(std::string::npos, delivery.report().find("2 messages lost")) << delivery.report();
}

using Change = std::function<std::string(std::string)>;

const Change nothing = [](std::string bytes) { return bytes; };

Change flipped(std::size_t bytes_from_end) {
    return [=](std::string bytes) {
        bytes[bytes.size() - bytes_from_end] ^= 1;
        return bytes;
    };
}
Change with_tail(const std::string& tail) {
    return [=](const std::string& bytes) { return bytes + tail; };
}

/// Changes to a recording that has the messages x, y and z at 1, 2 and 3.
struct DoubtCase {
    const char* name;
    const char* problem;  ///< none when empty
    Change change = nothing;
    std::string data = {};                ///< behind its chunks
    std::uint64_t messages_too_many = 0;  ///< in its statistics
    std::uint32_t chunks_too_many = 0;
    bool has_summary = true;
};
void PrintTo(const DoubtCase& c, std::ostream* out) {
    *out << c.name;
}

const DoubtCase doubt_cases[] = {
    {"Sound", ""},
    {"WrongChecksum", "checksum of the summary is wrong", flipped(12)},
    {"SummaryBeyondFile", "footer has impossible offsets", flipped(22)},
    {"SummaryWithinRecord", "summary is damaged", flipped(28)},
    {"NoClosingMagic", "without the closing magic", flipped(1)},
    {"MessagesTooMany", "count 5 messages, the file has 3, 2 messages lost", nothing, "", 2},
    {"ChunksTooMany", "counts 3 chunks and lists 2", nothing, "", 0, 1},
    {"MessageOutsideOfChunks", "", nothing, message_record(0, 4, "w"), 1},
    {"UndefinedChannel", "channel 9, which is not defined, 1 message lost", nothing,
     message_record(9, 4, "w"), 1},
    {"UnknownRecord", "", nothing, record(0x99, "private")},
    {"BytesBehindTheEnd", "4 bytes behind the end", with_tail("more")},
    {"ZeroTail", "zero bytes where a record is to begin", with_tail(std::string(5000, '\0')), "", 0, 0,
     false},
    {"RecordBeyondFile", "in a file that ends before", with_tail(record(5, "content").substr(0, 12)), "", 0,
     0, false},
};

class McapDoubt : public testing::TestWithParam<DoubtCase> {};

TEST_P(McapDoubt, DeliversAllTheSame) {
    const DoubtCase& c = GetParam();
    RecordingBuilder builder(plain_head);
    builder.add_chunk({{0, 2, "y"}, {3, 1, "x"}});
    builder.add_chunk({{0, 3, "z"}});
    builder.add(c.data);
    Delivery delivery = deliver(c.change(
        c.has_summary ? builder.finished(c.messages_too_many, c.chunks_too_many) : builder.unfinished()));
    const Lines expected{"/b 1 x", "/a 2 y", "/a 3 z"};
    ASSERT_GE(delivery.lines.size(), expected.size());
    delivery.lines.resize(expected.size());
    EXPECT_EQ(expected, delivery.lines);
    EXPECT_EQ(*c.problem == '\0', delivery.problems.empty()) << delivery.report();
    EXPECT_NE(std::string::npos, delivery.report().find(c.problem)) << delivery.report();
}
INSTANTIATE_TEST_SUITE_P(, McapDoubt, testing::ValuesIn(doubt_cases), test::CaseName());

TEST(McapChannels, AnIdWithANewMeaningIsAnotherChannel) {
    RecordingBuilder builder(plain_head);
    builder.add_chunk({{0, 1, "x"}});
    builder.add_chunk({{0, 3, "z"}}, schema_record(2, "demo/msg/C") + channel_record(0, 2, "/c"));
    builder.add_message({0, 2, "y"});
    const TemporaryFile file(builder.unfinished());
    const auto stream = open_mcap(file.path());
    EXPECT_EQ((Lines{"/a 1 x", "/c 2 y", "/c 3 z"}), deliver(*stream).lines);
    EXPECT_EQ("demo/msg/C", stream->channels()[2].type_name);
    EXPECT_EQ(2U, stream->summary().channels[2].message_count);
}

TEST(McapChannels, TellTheirRecorder) {
    const std::string types = sized("dynamic_types") + sized("");
    const std::string attachment =
        record(9, std::string(16, '\0') + types) + record(10, std::string(40, '\0') + types);
    const std::string partitions = sized(sized("partitions") + sized(""));
    const std::string channel = record(4, std::string(4, '\1') + sized("/p") + sized("cdr") + partitions);
    const auto recorder = [](const std::string& bytes, std::size_t n) {
        const TemporaryFile file(bytes);
        return open_mcap(file.path())->channels().at(n).recorder;
    };
    for (const std::string& more : {std::string(), attachment, channel}) {
        const RecordingBuilder builder(plain_head + more);
        const std::size_t n = more == channel ? 2 : 0;
        const Recorder expected = more.empty() ? Recorder::UNKNOWN : Recorder::FAST_DDS;
        EXPECT_EQ(expected, recorder(builder.unfinished(), n));
        EXPECT_EQ(expected, recorder(builder.finished(), n));
    }
}

TEST(McapChange, AfterOpeningIsReported) {
    for (const bool has_summary : {true, false}) {
        const MadeRecording made = random_recording(3, 12, has_summary);
        const TemporaryFile file(made.bytes);
        const auto stream = open_mcap(file.path());
        const std::size_t told = stream->problems().size();
        fs::resize_file(file.path(), made.bytes.size() / 2);
        const Delivery delivery = deliver(*stream);
        std::size_t messages = delivery.lines.size();
        for (std::size_t n = told; n < delivery.problems.size(); ++n)
            messages += delivery.problems[n].messages_lost;
        EXPECT_LT(delivery.lines.size(), messages);
        EXPECT_EQ(made.messages.size(), messages);
        EXPECT_NE(std::string::npos, delivery.problems.back().text.find("changed since it was opened"));
    }
}

TEST(McapHarm, EveryCutKeepsTheWholeMessagesBeforeIt) {
    RecordingBuilder builder(plain_head);
    std::vector<std::uint64_t> ends;  // of messages
    for (std::uint64_t n = 0; n < 3; ++n) {
        builder.add_message({0, n, std::string(n, 'x')});
        ends.push_back(builder.unfinished().size());
    }
    builder.add_chunk({{0, 3, "in a chunk"}});
    ends.push_back(ends.back() + 9 + 40 + 31 + 10);
    const std::string bytes = builder.finished();
    for (std::size_t size = 8; size < bytes.size(); ++size) {
        const Delivery delivery = deliver(bytes.substr(0, size));
        const auto whole =
            std::count_if(ends.begin(), ends.end(), [&](std::uint64_t end) { return end <= size; });
        EXPECT_EQ(static_cast<std::size_t>(whole), delivery.lines.size()) << size;
        EXPECT_FALSE(delivery.problems.empty()) << size;
    }
}

TEST(McapHarm, NoFlippedByteDoesHarm) {
    for (const char* name : {"chunks_zstd_small.mcap", "chunks_lz4_small.mcap", "unchunked.mcap"}) {
        const std::string bytes = test::read_file(test::data_folder() / "mcap" / name);
        for (std::size_t at = 8; at < bytes.size(); at += 11) {
            std::string flipped = bytes;
            flipped[at] = static_cast<char>(~flipped[at]);
            EXPECT_LE(deliver(flipped).lines.size(), 61U) << name << " " << at;
        }
    }
}

TEST(McapOpening, RefusesWhatIsNoRecording) {
    const auto refusal = [](const std::string& bytes) -> std::string {
        const TemporaryFile file(bytes);
        try {
            open_mcap(file.path());
        } catch (const InputError& error) {
            return std::string(error.what()).substr(file.path().size());
        }
        return "accepted";
    };
    EXPECT_EQ(":0: expected the magic of an MCAP file, found an empty file", refusal(""));
    EXPECT_EQ(":0: expected the magic of an MCAP file, found other bytes",
              refusal("some text of other kind"));
    EXPECT_NE(std::string::npos, refusal("\x89MCAP1\r\n").find("version '1'"));
    EXPECT_EQ("accepted", refusal(test::mcap_magic));
    EXPECT_THROW(open_mcap("no/such/file.mcap"), std::system_error);
    EXPECT_TRUE(is_mcap(std::as_bytes(std::span(test::mcap_magic))));
    EXPECT_FALSE(is_mcap(std::as_bytes(std::span("\x89MCA", 4))));
}

}  // namespace
}  // namespace zun::input
