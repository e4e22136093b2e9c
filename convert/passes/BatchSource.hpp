// BatchSource: the batches of one selection of a stream, for one pass or two.
//
// The first pass may give loaded batches back, in their order; as long as they are costly and fit into the
// budget, the second pass gets them again and reads only what follows.

#ifndef ZUN_CONVERT_PASSES_BATCH_SOURCE_HPP
#define ZUN_CONVERT_PASSES_BATCH_SOURCE_HPP

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "input/MessageStream.hpp"

namespace zun::convert {

struct SourceBatch {
    std::shared_ptr<input::Batch> batch;  ///< null at the end
    bool loaded = false;
};

class BatchSource {
public:
    /// `stream`        must outlive this
    /// `budget_bytes`  what kept batches may hold, loaded
    BatchSource(input::MessageStream& stream, input::Selection selection, std::size_t budget_bytes)
        : stream_(stream), selection_(std::move(selection)), budget_bytes_(budget_bytes) {}

    /// Goes to the first batch.
    void start();
    /// Damage that ends the stream ends the batches; cut() has it then.
    SourceBatch next();
    /// Gives back a loaded batch of the first pass; only in the order of next().
    void keep(std::shared_ptr<input::Batch> batch);

    /// Why the stream ended before its end.
    const std::optional<input::Problem>& cut() const { return cut_; }

private:
    std::shared_ptr<input::Batch> read();

    input::MessageStream& stream_;
    input::Selection selection_;
    std::size_t budget_bytes_;
    std::size_t kept_bytes_ = 0;
    bool keeping_ = true;  // every batch so far
    bool ended_ = false;   // a pass came to the end
    std::vector<std::shared_ptr<input::Batch>> kept_;
    std::size_t to_hand_out_ = 0;  // kept batches that this pass still gets
    std::size_t to_skip_ = 0;      // batches of the stream that were kept
    std::optional<input::Problem> cut_;
};

}  // namespace zun::convert

#endif
