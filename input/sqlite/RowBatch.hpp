// RowBatch: rows of a database, copied one after the other into one buffer.

#ifndef ZUN_INPUT_SQLITE_ROW_BATCH_HPP
#define ZUN_INPUT_SQLITE_ROW_BATCH_HPP

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "input/MessageStream.hpp"

namespace zun::input::rosbag2 {

class RowBatch final : public Batch {
public:
    /// Full enough to be handed on. One message may be larger than that.
    bool full() const { return loaded_bytes_ >= 1'048'576 || messages_.size() >= 4096; }
    bool empty() const { return messages_.empty() && problems_.empty(); }

    /// `loaded_bytes`  of the payload once it is inflated
    void add(std::uint32_t channel, Time time, std::span<const std::byte> payload, std::size_t loaded_bytes);
    void add(Problem problem) { problems_.push_back(std::move(problem)); }

    void load() override;
    std::span<const Message> messages() const override { return messages_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::size_t loaded_bytes() const override { return loaded_bytes_; }

private:
    std::vector<std::byte> payloads_;
    std::vector<std::size_t> ends_;  // in payloads_, by message
    std::vector<Message> messages_;
    std::vector<Problem> problems_;
    std::size_t loaded_bytes_ = 0;
};

}  // namespace zun::input::rosbag2

#endif
