// Messages that were recorded as zstd frames, inflated as their batch is loaded.

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "input/bag/BagFolder.hpp"
#include "input/bag/StreamAdapter.hpp"
#include "input/bytes/Decompressor.hpp"
#include "input/bytes/first_bytes.hpp"

namespace zun::input::rosbag2 {

namespace {

constexpr std::size_t usual_batch_bytes = std::size_t{64} << 20U;

/// Puts the content of the frame, at most `room` bytes, into `content`. Returns what is wrong with it, empty
/// when nothing is.
///
/// The size in the frame's head is a stranger's word: the buffer begins with what the frame's own size makes
/// likely and grows with what really comes out.
std::string inflate(ZstdDecoder& decoder, Bytes frame, std::size_t room, Buffer& content) {
    constexpr std::size_t least = 64;
    constexpr std::size_t likely_ratio = 64;
    const std::uint64_t likely =
        std::clamp(zstd_content_size(frame, frame.size()), least, frame.size() * likely_ratio);
    content.resize(std::min<std::uint64_t>(likely, room));
    std::size_t filled = 0;
    for (decoder.begin();;) {
        const DecodeResult result = decoder.decode(frame, std::span(content).subspan(filled));
        if (result.error != nullptr) return result.error;
        frame = frame.subspan(result.consumed);
        filled += result.produced;
        if (result.frame_ended) break;
        if (filled < content.size()) return "the frame is cut";
        if (filled >= room)
            return "its content is larger than the " + std::to_string(room) + " bytes that are left for it";
        content.resize(std::min(content.size() * 2, room));
    }
    if (!frame.empty()) return std::to_string(frame.size()) + " bytes after the frame";
    content.resize(filled);
    return {};
}

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
    void add_inflated(ZstdDecoder& decoder, Message message);

    std::shared_ptr<const std::vector<Channel>> channels_;  // outlives the stream with its batches
    std::span<const Message> messages_;
    std::span<const Problem> problems_;
    std::size_t room_ = 0;  // for the contents that are to come
    std::vector<Message> inflated_;
    std::vector<Buffer> contents_;
    std::vector<Problem> all_problems_;
};

void InflatedBatch::load() {
    BatchAdapter::load();
    messages_ = BatchAdapter::messages();
    problems_ = BatchAdapter::problems();
    const auto frame = [&](const Message& m) { return is_frame(m); };
    if (std::none_of(messages_.begin(), messages_.end(), frame)) return;
    all_problems_.assign(problems_.begin(), problems_.end());
    for (const Message& message : messages_)
        room_ += is_frame(message) ? message.data.size() : 0;
    room_ = most_content(room_, usual_batch_bytes);
    thread_local ZstdDecoder decoder;
    for (const Message& message : messages_) {
        if (is_frame(message)) {
            add_inflated(decoder, message);
        } else {
            inflated_.push_back(message);
        }
    }
    messages_ = inflated_;
    problems_ = all_problems_;
}

void InflatedBatch::add_inflated(ZstdDecoder& decoder, Message message) {
    const Channel& channel = (*channels_)[message.channel];
    Buffer content;
    const std::string fault = inflate(decoder, message.data, room_, content);
    if (fault.empty()) {
        room_ -= content.size();
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

}  // namespace zun::input::rosbag2
