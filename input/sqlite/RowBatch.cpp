#include "input/sqlite/RowBatch.hpp"

namespace zun::input::rosbag2 {

void RowBatch::add(std::uint32_t channel, Time time, std::span<const std::byte> payload,
                   std::size_t loaded_bytes) {
    payloads_.insert(payloads_.end(), payload.begin(), payload.end());
    ends_.push_back(payloads_.size());
    messages_.push_back({.channel = channel, .log_time = time, .publish_time = time, .data = {}});
    loaded_bytes_ += loaded_bytes;
}

// The buffer moves as it grows; the payloads' places in it are final only now.
void RowBatch::load() {
    std::size_t begin = 0;
    for (std::size_t i = 0; i < messages_.size(); ++i) {
        messages_[i].data = std::span(payloads_).subspan(begin, ends_[i] - begin);
        begin = ends_[i];
    }
}

}  // namespace zun::input::rosbag2
