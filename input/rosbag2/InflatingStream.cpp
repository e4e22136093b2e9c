// Messages that were recorded as zstd frames, inflated as their batch is loaded.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "input/rosbag2/MessageFrame.hpp"
#include "input/rosbag2/Rosbag2.hpp"
#include "input/rosbag2/SqliteStream.hpp"
#include "input/rosbag2/StreamAdapter.hpp"

namespace zun::input::rosbag2 {

namespace {

std::string seconds_text(Time time) {
    std::string fraction = std::to_string(time.nanoseconds);
    fraction.insert(0, 9 - fraction.size(), '0');
    return std::to_string(time.seconds) + "." + fraction;
}

class InflatedBatch final : public BatchAdapter {
public:
    InflatedBatch(std::unique_ptr<Batch> inner, std::shared_ptr<const std::vector<Channel>> channels)
        : BatchAdapter(std::move(inner)), channels_(std::move(channels)) {}

    void load() override;
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }

private:
    bool is_frame(const Message& message) const {
        return is_zstd(message.data) && (*channels_)[message.channel].message_encoding == "cdr";
    }
    void inflate(FrameInflater& inflater, Message message);

    std::shared_ptr<const std::vector<Channel>> channels_;  // outlives the stream with its batches
    std::span<const Message> messages_;
    std::span<const Problem> problems_;
    std::vector<Message> inflated_;
    std::vector<std::vector<std::byte>> contents_;
    std::vector<Problem> all_problems_;
};

void InflatedBatch::load() {
    BatchAdapter::load();
    messages_ = BatchAdapter::messages();
    problems_ = BatchAdapter::problems();
    const auto frame = [&](const Message& m) { return is_frame(m); };
    if (std::none_of(messages_.begin(), messages_.end(), frame)) return;
    all_problems_.assign(problems_.begin(), problems_.end());
    FrameInflater inflater;
    for (const Message& message : messages_) {
        if (is_frame(message)) {
            inflate(inflater, message);
        } else {
            inflated_.push_back(message);
        }
    }
    messages_ = inflated_;
    problems_ = all_problems_;
}

void InflatedBatch::inflate(FrameInflater& inflater, Message message) {
    const Channel& channel = (*channels_)[message.channel];
    std::vector<std::byte> content;
    const std::string fault = inflater.inflate(message.data, content);
    if (fault.empty()) {
        message.data = contents_.emplace_back(std::move(content));
        inflated_.push_back(message);
    } else {
        all_problems_.push_back({channel.source, 0,
                                 "a message of " + channel.topic + ", recorded at " +
                                     seconds_text(message.log_time) + " s, does not decompress: " + fault,
                                 1});
    }
}

class InflatingStream final : public StreamAdapter {
public:
    explicit InflatingStream(std::unique_ptr<MessageStream> inner)
        : StreamAdapter(std::move(inner)),
          channels_(std::make_shared<const std::vector<Channel>>(StreamAdapter::channels())) {}

    std::unique_ptr<Batch> next_batch() override {
        std::unique_ptr<Batch> batch = StreamAdapter::next_batch();
        if (!batch) return nullptr;
        return std::make_unique<InflatedBatch>(std::move(batch), channels_);
    }

private:
    std::shared_ptr<const std::vector<Channel>> channels_;
};

}  // namespace

std::unique_ptr<MessageStream> inflate_messages(std::unique_ptr<MessageStream> stream) {
    return std::make_unique<InflatingStream>(std::move(stream));
}

std::unique_ptr<MessageStream> open_sqlite(const std::filesystem::path& file) {
    return inflate_messages(std::make_unique<SqliteStream>(file));
}

}  // namespace zun::input::rosbag2
