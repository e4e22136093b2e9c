// PassStep: one batch on its way through a pass.

#ifndef ZUN_CONVERT_PASSES_PASS_STEP_HPP
#define ZUN_CONVERT_PASSES_PASS_STEP_HPP

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "convert/passes/BatchSource.hpp"
#include "convert/passes/Pass.hpp"
#include "convert/passes/pipeline.hpp"

namespace zun::convert {

/// A batch and where it stands. load() may run on any thread, beside those of other steps; pick() runs in the
/// order of the batches, on one thread at a time.
class PassStep : public Step {
public:
    PassStep(Pass& pass, SourceBatch source) : pass_(pass), source_(std::move(source)) {}
    /// What the batch takes in memory once it is loaded.
    std::size_t bytes() const override { return source_.batch->loaded_bytes(); }
    /// Reads and decompresses, unless that has been done on another pass.
    void load() override;
    /// Notes which messages the pass wants, where it does not want all of each topic.
    void pick() override;

protected:
    Pass& pass() { return pass_; }
    const std::shared_ptr<input::Batch>& batch() const { return source_.batch; }

    /// Calls `use` with the index of the topic, the message, and its number where the pass has them, for each
    /// message that is wanted, until it returns false. The next call goes on behind that message.
    template <typename Use>
    void for_each_picked(const Use& use) {
        const auto messages = source_.batch->messages();
        for (bool go_on = true; go_on && next_ < messages.size(); ++next_) {
            const auto topic = pass_.topic_of(messages[next_].channel);
            if (!topic || (!picked_.empty() && !picked_[next_])) continue;
            go_on = use(*topic, messages[next_], numbers_.empty() ? 0 : numbers_[next_]);
        }
    }

private:
    Pass& pass_;
    SourceBatch source_;
    std::vector<bool> picked_;            // by message; empty for all
    std::vector<std::uint64_t> numbers_;  // by message; empty where nobody wants them
    std::size_t next_ = 0;                // message that for_each_picked() goes on with
};

}  // namespace zun::convert

#endif
