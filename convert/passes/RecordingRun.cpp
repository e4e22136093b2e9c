#include "convert/passes/RecordingRun.hpp"

#include <algorithm>

#include "convert/passes/LengthPass.hpp"
#include "convert/passes/RowPass.hpp"
#include "convert/passes/pipeline.hpp"
#include "convert/plan/type_walk.hpp"

namespace zun::convert {

namespace {

/// Takes out the topics whose files exist, and returns these.
std::vector<std::string> take_existing(std::vector<Topic>& topics, const std::filesystem::path& folder) {
    const auto is_new = [&](const Topic& topic) {
        return topic.accepted() == nullptr || !OutputFiles::exists(folder / topic.accepted()->file);
    };
    const auto existing = std::stable_partition(topics.begin(), topics.end(), is_new);
    std::vector<std::string> files;
    for (auto topic = existing; topic != topics.end(); ++topic)
        files.push_back(topic->accepted()->file);
    topics.erase(existing, topics.end());
    return files;
}

/// The files that the topics of `stream` have, those that are not wanted too.
std::vector<std::string> files_of_all(const input::MessageStream& stream, const std::vector<Topic>& topics) {
    std::vector<std::string> files;
    for (const input::Channel& channel : stream.channels())
        files.push_back(file_name(channel.topic) + ".csv");
    for (const Topic& topic : topics)
        if (topic.accepted() != nullptr) files.push_back(topic.accepted()->file);
    return files;
}

}  // namespace

RecordingRun::RecordingRun(const Recording& recording, Types& types, const Settings& settings, Watch watch,
                           std::size_t kept_bytes)
    : settings_(settings),
      watch_(std::move(watch)),
      stream_(recording.open()),
      topics_(topics_of(
          *stream_, types,
          {settings.topics, settings.blobs, settings.explode, settings.most_columns, settings.writer})),
      kept_files_(settings.skip_existing && !settings.to_stdout ? take_existing(topics_, recording.folder)
                                                                : std::vector<std::string>()),
      companion_names_(files_of_all(*stream_, topics_)),
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

Measured RecordingRun::measure(TopicLengths& lengths, const std::function<bool(const Topic&)>& wanted) {
    std::vector<bool> measured;
    for (const Topic& topic : topics_) {
        const Accepted* const accepted = topic.accepted();
        measured.push_back(accepted != nullptr && has_sequences(accepted->root()) && wanted(topic));
    }
    if (std::count(measured.begin(), measured.end(), true) == 0) return {};
    Pass pass("measuring", topics_, stream_->channels().size(), settings_.every, watch_);
    LengthPass measuring(topics_, measured, batches_, pass);
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? measuring.step(std::move(batch)) : nullptr;
    });
    measuring.add_to(lengths);
    return {measuring.whole() && !batches_.cut(), pass.total(), pass.done()};
}

void RecordingRun::convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                           RecordingReport& report) {
    for (const input::Problem& problem : stream_->problems())
        add_problem(report, problem, settings_.strict);
    const std::uint64_t lost_before = report.messages_lost;  // which no topic counts
    Pass pass("converting", topics_, stream_->channels().size(), settings_.every, watch_);
    RowPass converting(topics_, settings_, limits, lengths, companion_names_, output, report);
    converting.write_headers();
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? converting.step(pass, std::move(batch)) : nullptr;
    });
    report.messages_wanted = pass.total();
    report.messages_met = pass.done();
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
