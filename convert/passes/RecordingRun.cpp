#include "convert/passes/RecordingRun.hpp"

#include <algorithm>

#include "convert/passes/LengthPass.hpp"
#include "convert/passes/RowPass.hpp"
#include "convert/passes/pipeline.hpp"
#include "convert/plan/type_walk.hpp"

namespace zun::convert {

namespace {

/// Decompressed batches that wait from the first pass for the second.
constexpr std::size_t kept_batches_bytes = std::size_t{80} << 20;

bool has_unbounded(const Topic& topic) {
    bool found = false;
    if (topic.type)
        for_each_unbounded(*topic.column_type, "", [&](const auto&, const auto&) { found = true; });
    return found;
}

}  // namespace

RecordingRun::RecordingRun(const Recording& recording, schema::TypeCatalog& catalog, const Settings& settings,
                           const Watch& watch)
    : settings_(settings),
      watch_(watch),
      stream_(recording.open()),
      topics_(topics_of(*stream_, catalog, settings.topics, settings.writer)),
      batches_(*stream_, selection(), kept_batches_bytes) {
    if (!settings.skip_blobs) return;
    for (Topic& topic : topics_)
        if (topic.type) leave_out_blobs(topic);
}

input::Selection RecordingRun::selection() const {
    input::Selection selection;
    selection.channels.resize(stream_->channels().size());
    for (const Topic& topic : topics_)
        for (const std::uint32_t channel : topic.channels)
            selection.channels[channel] = topic.type.has_value();
    const input::Summary& summary = stream_->summary();
    if (!summary.first || !summary.last) return selection;
    if (settings_.start) selection.start = settings_.start->resolved(*summary.first, *summary.last);
    if (settings_.end) selection.end = settings_.end->resolved(*summary.first, *summary.last);
    return selection;
}

void RecordingRun::measure(TopicLengths& lengths) {
    if (std::none_of(topics_.begin(), topics_.end(), has_unbounded)) return;
    Pass pass("measuring", topics_, stream_->channels().size(), settings_.every, watch_);
    LengthPass measuring(topics_, batches_, pass);
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? measuring.step(std::move(batch)) : nullptr;
    });
    measuring.add_to(lengths);
}

void RecordingRun::convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                           RecordingReport& report) {
    for (const input::Problem& problem : stream_->problems())
        add_problem(report, problem, settings_.strict);
    Pass pass("converting", topics_, stream_->channels().size(), settings_.every, watch_);
    RowPass converting(topics_, settings_, limits, lengths, output, report);
    converting.write_headers();
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? converting.step(pass, std::move(batch)) : nullptr;
    });
    if (batches_.cut()) add_problem(report, *batches_.cut(), settings_.strict);
}

}  // namespace zun::convert
