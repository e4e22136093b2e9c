#include "input/bag/MergedStream.hpp"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {
namespace {

/// What a file of the test holds: messages of one byte by their times, two a batch.
struct Recorded {
    std::vector<std::int64_t> times;
    std::int64_t first;  // as its summary says
    std::int64_t last;
    std::vector<Problem> problems = {};  // in the first batch of each pass
    std::size_t readable = 100;          // batches before one that cannot be read
};

class FakeBatch final : public Batch {
public:
    std::vector<Message> held;
    std::vector<Problem> found;
    bool loaded = false;

    void load() override { loaded = true; }
    std::span<const Message> messages() const override { return loaded ? held : std::span<const Message>(); }
    std::span<const Problem> problems() const override { return loaded ? found : std::span<const Problem>(); }
    std::size_t loaded_bytes() const override { return held.size(); }
};

class FakeStream final : public MessageStream {
public:
    explicit FakeStream(const Recorded& recorded) : recorded_(recorded) {
        summary_ = {.channels = {{recorded.times.size()}},
                    .first = Time::from_nanoseconds(recorded.first),
                    .last = Time::from_nanoseconds(recorded.last)};
        if (recorded.times.empty()) summary_.first = summary_.last = std::nullopt;
        ++open_streams;
    }
    ~FakeStream() override { --open_streams; }

    const std::vector<Channel>& channels() const override { return channels_; }
    const Summary& summary() const override { return summary_; }
    std::span<const Problem> problems() const override { return {}; }
    void start(const Selection& selection) override {
        next_ = batches_ = 0;
        selection_ = selection;
    }
    std::unique_ptr<Batch> next_batch() override {
        auto batch = std::make_unique<FakeBatch>();
        if (batches_ == recorded_.readable) throw InputError("fake", 77, "no further");
        if (batches_++ == 0) batch->found = recorded_.problems;
        for (; next_ < recorded_.times.size() && batch->held.size() < 2; ++next_) {
            const Time time = Time::from_nanoseconds(recorded_.times[next_]);
            const bool early = selection_.start && time < *selection_.start;
            if (!early && (!selection_.end || time < *selection_.end))
                batch->held.push_back({.log_time = time, .publish_time = time, .data = {}});
        }
        if (batch->held.empty() && batch->found.empty()) return nullptr;
        return batch;
    }

    static inline int open_streams = 0;

private:
    const Recorded& recorded_;
    std::vector<Channel> channels_ = {{"/a", "p/T", "cdr", "", ""}};
    Summary summary_;
    Selection selection_;
    std::size_t next_ = 0;
    std::size_t batches_ = 0;
};

struct MergeCase {
    const char* name;
    std::vector<Recorded> files;
    const char* delivered;
};
void PrintTo(const MergeCase& c, std::ostream* out) {
    *out << c.name;
}

const Problem damage{"file", 5, "a damaged chunk", 3};

const MergeCase merge_cases[] = {
    {"OneAfterTheOther", {{{5, 6}, 5, 6}, {{1, 2, 3}, 1, 3}}, "1 2 3 5 6 "},
    {"Overlap", {{{1, 2, 5, 7}, 1, 7}, {{4, 5, 6, 9}, 4, 9}, {{6, 12}, 6, 12}}, "1 2 4 5 5 6 6 7 9 12 "},
    {"OneWithinTheOther", {{{1, 9}, 1, 9}, {{3, 4}, 3, 4}}, "1 3 4 9 "},
    {"SpanTooNarrow", {{{1, 2, 3, 4}, 2, 3}, {{8}, 8, 8}}, "1 2 3 4 8 "},
    {"DamageInSeveralPieces", {{{1, 5, 9}, 1, 9, {damage}}, {{4, 6}, 4, 6}}, "1 4 5 6 9 !3@5 "},
    {"DamageWithoutMessages", {{{}, 0, 0, {damage}}, {{4}, 4, 4}}, "4 !3@5 "},
    {"TwiceInOnePiece", {{{1, 2}, 1, 2, {damage, damage}}}, "1 2 !3@5 !3@5 "},
    {"UnreadableFromTheSecondBatchOn", {{{1, 2, 3}, 1, 3, {}, 1}, {{5}, 5, 5}}, "1 2 5 !0@77 "},
    {"UnreadableWhileMerged", {{{1, 2, 3, 8}, 1, 8, {}, 1}, {{1, 4, 8}, 1, 8}}, "1 1 2 4 8 !0@77 "},
};

class Merge : public testing::TestWithParam<MergeCase> {};

TEST_P(Merge, DeliversInOrderOfTime) {
    for (const bool keep_open : {true, false}) {
        std::vector<MergedStream::Part> parts;
        for (std::size_t i = 0; i < GetParam().files.size(); ++i)
            parts.push_back({std::to_string(i), keep_open});
        MergedStream stream(parts, [](const std::filesystem::path& file) {
            return std::make_unique<FakeStream>(GetParam().files[std::stoul(file.string())]);
        });
        EXPECT_EQ(keep_open ? static_cast<int>(parts.size()) : 0, FakeStream::open_streams);
        for (int i = 0; i < 2; ++i) {
            std::string delivered;
            std::string damaged;
            stream.start({});
            while (const auto batch = stream.next_batch()) {
                batch->load();
                for (const Message& m : batch->messages())
                    delivered += std::to_string(m.log_time.nanoseconds) + " ";
                for (const Problem& p : batch->problems())
                    damaged += "!" + std::to_string(p.messages_lost) + "@" + std::to_string(p.position) + " ";
            }
            EXPECT_EQ(GetParam().delivered, delivered + damaged) << "pass " << i;
        }
    }
    EXPECT_EQ(0, FakeStream::open_streams);
}
INSTANTIATE_TEST_SUITE_P(, Merge, testing::ValuesIn(merge_cases),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace
}  // namespace zun::input::rosbag2
