// StreamAdapter: a stream, and a batch, that pass on another one; for those that change a part of it.
//
// What a derived class does not override comes from the inner one, promises and exceptions included.

#ifndef ZUN_INPUT_BAG_STREAM_ADAPTER_HPP
#define ZUN_INPUT_BAG_STREAM_ADAPTER_HPP

#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "input/MessageStream.hpp"

namespace zun::input::rosbag2 {

/// Owns the batch that it passes on. Its messages point into that one, so both are dropped together.
class BatchAdapter : public Batch {
public:
    explicit BatchAdapter(std::unique_ptr<Batch> inner) : inner_(std::move(inner)) {}
    void load() override { inner_->load(); }
    std::span<const Message> messages() const override { return inner_->messages(); }
    std::span<const Problem> problems() const override { return inner_->problems(); }
    std::size_t loaded_bytes() const override { return inner_->loaded_bytes(); }
    bool is_costly() const override { return inner_->is_costly(); }

protected:
    Batch& inner() { return *inner_; }

private:
    std::unique_ptr<Batch> inner_;
};

/// Shares the stream that it passes on: its owner may keep it for the next pass, and batches may need it
/// longer than the adapter lives.
class StreamAdapter : public MessageStream {
public:
    explicit StreamAdapter(std::shared_ptr<MessageStream> inner) : inner_(std::move(inner)) {}
    const std::vector<Channel>& channels() const override { return inner_->channels(); }
    const Summary& summary() const override { return inner_->summary(); }
    std::span<const Problem> problems() const override { return inner_->problems(); }
    bool holds_disk_space() const override { return inner_->holds_disk_space(); }
    std::vector<Extent> extents(const Selection& selection) override { return inner_->extents(selection); }
    void start(const Selection& selection) override { inner_->start(selection); }
    std::unique_ptr<Batch> next_batch() override { return inner_->next_batch(); }

private:
    std::shared_ptr<MessageStream> inner_;
};

}  // namespace zun::input::rosbag2

#endif
