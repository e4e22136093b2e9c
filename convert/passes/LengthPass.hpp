// LengthPass: the pass that finds how long every sequence is.

#ifndef ZUN_CONVERT_PASSES_LENGTH_PASS_HPP
#define ZUN_CONVERT_PASSES_LENGTH_PASS_HPP

#include <deque>

#include "convert/passes/PassStep.hpp"
#include "convert/passes/Pool.hpp"
#include "convert/passes/RecordingRun.hpp"
#include "platform/cdr/LengthMeter.hpp"

namespace zun::convert {

/// A meter for the samples of an accepted topic.
std::unique_ptr<cdr::LengthMeter> make_meter(const Topic& topic);

class LengthPass {
public:
    /// All must outlive this; loaded batches go back to `batches`.
    ///
    /// `measured`  by topic
    LengthPass(const std::vector<Topic>& topics, const std::vector<bool>& measured, BatchSource& batches,
               Pass& pass)
        : topics_(topics), measured_(measured), batches_(batches), pass_(pass), meters_(topics.size()) {}

    std::unique_ptr<Step> step(SourceBatch batch);

    // Once all steps are finished:
    void add_to(TopicLengths& lengths);
    TopicSpreads spreads() const;
    /// False when a batch was damaged; what another pass reads of it may be longer.
    bool whole() const { return whole_; }

private:
    class LengthStep;
    using Meters = std::vector<std::unique_ptr<cdr::LengthMeter>>;

    std::unique_ptr<cdr::LengthMeter> take(std::size_t topic);

    const std::vector<Topic>& topics_;
    const std::vector<bool>& measured_;
    BatchSource& batches_;
    Pass& pass_;
    std::deque<Pool<cdr::LengthMeter>> meters_;  // by topic
    bool whole_ = true;
};

}  // namespace zun::convert

#endif
