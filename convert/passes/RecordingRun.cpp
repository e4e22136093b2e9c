#include "convert/passes/RecordingRun.hpp"

#include <algorithm>

#include "convert/passes/LengthPass.hpp"
#include "convert/passes/RowPass.hpp"
#include "convert/passes/pipeline.hpp"
#include "convert/plan/type_walk.hpp"

namespace zun::convert {

RecordingRun::RecordingRun(const Recording& recording, Types& types, const Settings& settings,
                           const Watch& watch, std::size_t kept_bytes)
    : settings_(settings),
      watch_(watch),
      stream_(recording.open()),
      topics_(topics_of(*stream_, types,
                        {settings.topics, settings.skip_blobs, settings.most_columns, settings.writer})),
      batches_(*stream_, selection(), kept_bytes) {}

input::Selection RecordingRun::selection() const {
    input::Selection selection;
    selection.channels.resize(stream_->channels().size());
    for (const Topic& topic : topics_)
        for (const std::uint32_t channel : topic.channels)
            selection.channels[channel] = topic.accepted() != nullptr;
    const input::Summary& summary = stream_->summary();
    if (!summary.first || !summary.last) return selection;
    if (settings_.start) selection.start = settings_.start->resolved(*summary.first, *summary.last);
    if (settings_.end) selection.end = settings_.end->resolved(*summary.first, *summary.last);
    return selection;
}

bool RecordingRun::measure(TopicLengths& lengths, const std::function<bool(const Topic&)>& wanted) {
    std::vector<bool> measured;
    for (const Topic& topic : topics_) {
        const Accepted* const accepted = topic.accepted();
        measured.push_back(accepted != nullptr && has_sequences(accepted->root()) && wanted(topic));
    }
    if (std::count(measured.begin(), measured.end(), true) == 0) return true;
    Pass pass("measuring", topics_, stream_->channels().size(), settings_.every, watch_);
    LengthPass measuring(topics_, measured, batches_, pass);
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? measuring.step(std::move(batch)) : nullptr;
    });
    measuring.add_to(lengths);
    return measuring.whole() && !batches_.cut();
}

void RecordingRun::convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                           RecordingReport& report) {
    for (const input::Problem& problem : stream_->problems())
        add_problem(report, problem, settings_.strict);
    const std::uint64_t lost_before = report.messages_lost;  // which no topic counts
    Pass pass("converting", topics_, stream_->channels().size(), settings_.every, watch_);
    RowPass converting(topics_, settings_, limits, lengths, output, report);
    converting.write_headers();
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? converting.step(pass, std::move(batch)) : nullptr;
    });
    if (batches_.cut()) add_problem(report, *batches_.cut(), settings_.strict);
    count_missing(report, report.messages_lost - lost_before);
}

/// The messages that the recording counts and that neither became rows nor are among the `lost` of this pass.
void RecordingRun::count_missing(RecordingReport& report, std::uint64_t lost) const {
    if (settings_.start || settings_.end) return;
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (topics_[i].accepted() == nullptr) continue;
        const std::uint64_t counted = topics_[i].message_count / settings_.every +
                                      (topics_[i].message_count % settings_.every > 0 ? 1 : 0);
        const std::uint64_t met = report.topics[i].rows + report.topics[i].unreadable;
        missing += counted > met ? counted - met : 0;
    }
    report.messages_missing = missing > lost ? missing - lost : 0;
}

}  // namespace zun::convert
