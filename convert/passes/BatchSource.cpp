#include "convert/passes/BatchSource.hpp"

#include <system_error>

#include "platform/error/InputError.hpp"

namespace zun::convert {

void BatchSource::start() {
    to_hand_out_ = kept_.size();
    // What is kept is handed out first, and then the stream, which starts anew, has to get past the same
    // batches.
    to_skip_ = kept_.size();
    const bool have_all = ended_ && keeping_;
    if (!have_all) stream_.start(selection_);
}

SourceBatch BatchSource::next() {
    if (to_hand_out_ > 0) return {std::move(kept_[kept_.size() - to_hand_out_--]), true};
    if (ended_ && keeping_) return {};
    for (; to_skip_ > 0; --to_skip_)
        read();
    std::shared_ptr<input::Batch> batch = read();
    if (!batch) ended_ = true;
    return {std::move(batch), false};
}

void BatchSource::keep(std::shared_ptr<input::Batch> batch) {
    // Only a beginning without gaps is kept: later batches would be of no use without those before them.
    keeping_ = keeping_ && batch->is_costly() && kept_bytes_ + batch->loaded_bytes() <= budget_bytes_;
    if (!keeping_) return;
    kept_bytes_ += batch->loaded_bytes();
    kept_.push_back(std::move(batch));
}

std::shared_ptr<input::Batch> BatchSource::read() {
    // The rows up to here are good: a recording that breaks off ends the pass, and does not fail it.
    try {
        return stream_.next_batch();
    } catch (const InputError& problem) {
        cut_ = input::Problem{.source = "", .text = problem.what()};
    } catch (const std::system_error& problem) {
        cut_ = input::Problem{.source = "", .text = problem.what()};
    }
    return nullptr;
}

}  // namespace zun::convert
