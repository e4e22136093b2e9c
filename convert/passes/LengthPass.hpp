// LengthPass: the pass that finds the longest length of every unbounded sequence.

#ifndef ZUN_CONVERT_PASSES_LENGTH_PASS_HPP
#define ZUN_CONVERT_PASSES_LENGTH_PASS_HPP

#include <deque>

#include "convert/passes/PassStep.hpp"
#include "convert/passes/Pool.hpp"
#include "convert/passes/RecordingRun.hpp"
#include "platform/cdr/LengthMeter.hpp"

namespace zun::convert {

class LengthPass {
public:
    /// All must outlive this; loaded batches go back to `batches`.
    LengthPass(const std::vector<Topic>& topics, BatchSource& batches, Pass& pass)
        : topics_(topics), batches_(batches), pass_(pass), meters_(topics.size()) {}

    std::unique_ptr<Step> step(SourceBatch batch);

    /// Once all steps are finished.
    void add_to(TopicLengths& lengths) const;

private:
    class LengthStep;
    using Meters = std::vector<std::unique_ptr<cdr::LengthMeter>>;

    std::unique_ptr<cdr::LengthMeter> take(std::size_t topic);

    const std::vector<Topic>& topics_;
    BatchSource& batches_;
    Pass& pass_;
    std::deque<Pool<cdr::LengthMeter>> meters_;  // by topic
};

}  // namespace zun::convert

#endif
