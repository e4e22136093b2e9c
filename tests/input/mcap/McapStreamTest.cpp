#include "input/mcap/McapStream.hpp"

#include <algorithm>
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
using test::MadeMessage;
using test::RecordingBuilder;
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

    std::uint64_t messages_lost() const {
        std::uint64_t lost = 0;
        for (const Problem& p : problems)
            lost += p.messages_lost;
        return lost;
    }
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

[[maybe_unused]] Delivery deliver(const std::string& bytes) {
    const TemporaryFile file(bytes);
    return deliver(*open_mcap(file.path()));
}

/// Equal times stay as they are.
void sort_by_time(std::vector<std::pair<std::uint64_t, std::string>>& timed) {
    std::stable_sort(timed.begin(), timed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

Lines lines_of(std::vector<std::pair<std::uint64_t, std::string>> timed) {
    sort_by_time(timed);
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
    const Lines expected = expected_lines(expectation.replace_extension(".expect.jsonl"));
    const Delivery delivery = deliver(*open_mcap(path), {}, payload_size);
    const std::string name = path.filename();
    const bool is_damaged = name.starts_with("cut_") || name.starts_with("message_without") ||
                            (name.starts_with("chunk_") && name != "chunk_crc_zero.mcap");
    EXPECT_EQ(is_damaged, !delivery.problems.empty()) << delivery.report();
    if (!is_damaged) {
        EXPECT_EQ(expected, delivery.lines);
    } else {
        EXPECT_TRUE(std::includes(
            delivery.lines.begin(), delivery.lines.end(), expected.begin(), expected.end(),
            [](const auto& a, const auto& b) { return a.substr(a.find(' ')) < b.substr(b.find(' ')); }));
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
        timed.emplace_back(std::stoull(time), topics.at(fields.at("channel_id")) + " " + time + " " +
                                                  fields.at("publish_time").get<std::string>() + " " +
                                                  fields.at("sequence").get<std::string>() + " " + data);
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
            return nanoseconds(m.publish_time) + " " + std::to_string(m.sequence) + " " + text_of(m.data);
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
    std::uint64_t messages_lost;
    std::uint64_t position;
    const char* problem;
};
void PrintTo(const DamageCase& c, std::ostream* out) {
    *out << c.name;
}

const DamageCase damage_cases[] = {
    {"chunk_crc_wrong", 60, 0, 1130, "checksum of the chunk is wrong"},
};

class McapDamage : public testing::TestWithParam<DamageCase> {};

TEST_P(McapDamage, CostsWhatItHits) {
    const DamageCase& c = GetParam();
    const Delivery delivery =
        deliver(*open_mcap(test::data_folder() / "mcap" / (std::string(c.name) + ".mcap")), {}, payload_size);
    EXPECT_EQ(c.delivered, delivery.lines.size());
    EXPECT_EQ(c.messages_lost, delivery.messages_lost());
    ASSERT_FALSE(delivery.problems.empty());
    EXPECT_EQ(c.position, delivery.problems.front().position);
    EXPECT_NE(std::string::npos, delivery.problems.front().text.find(c.problem)) << delivery.report();
}
INSTANTIATE_TEST_SUITE_P(, McapDamage, testing::ValuesIn(damage_cases), test::CaseName());

}  // namespace
}  // namespace zun::input
