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

TopicChoice choice_of(const Settings& settings) {
    return {.filter = settings.topics,
            .view = {.named = {},
                     .blobs = settings.blobs,
                     .text_arrays = settings.text_arrays,
                     .joined_stamps = settings.joined_stamps},
            .fields = settings.fields,
            .explode = settings.explode,
            .clock_field = settings.clock_field,
            .most_columns = settings.most_columns,
            .writer = settings.writer};
}

ChoiceOutcomes outcomes_of(const std::vector<Topic>& topics) {
    ChoiceOutcomes outcomes;
    for (const Topic& topic : topics)
        outcomes.add(topic);
    return outcomes;
}

/// Takes out the topics of which nothing is wanted, and returns their names.
std::vector<std::string> take_unwanted(std::vector<Topic>& topics) {
    std::vector<std::string> names;
    std::erase_if(topics, [&](const Topic& topic) {
        const Refused* const refused = std::get_if<Refused>(&topic.plan);
        const bool unwanted = refused != nullptr && refused->unwanted;
        if (unwanted) names.push_back(topic.name);
        return unwanted;
    });
    return names;
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
      topics_(topics_of(*stream_, types, choice_of(settings))),
      outcomes_(outcomes_of(topics_)),
      unwanted_topics_(take_unwanted(topics_)),
      kept_files_(settings.skip_existing && !settings.to_stdout ? take_existing(topics_, recording.folder)
                                                                : std::vector<std::string>()),
      blob_folders_(name_blob_folders(topics_)),
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

Pass RecordingRun::make_pass(std::string activity) const {
    return {std::move(activity),      topics_, stream_->channels().size(), settings_.every,
            stream_->summary().first, watch_};
}

Measured RecordingRun::measure(TopicLengths& lengths, const std::function<bool(const Topic&)>& wanted) {
    std::vector<bool> measured;
    for (const Topic& topic : topics_) {
        const Accepted* const accepted = topic.accepted();
        measured.push_back(accepted != nullptr && has_sequences(accepted->root()) && wanted(topic));
    }
    if (std::count(measured.begin(), measured.end(), true) == 0) return {};
    Pass pass = make_pass("measuring");
    LengthPass measuring(topics_, measured, batches_, pass);
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? measuring.step(std::move(batch)) : nullptr;
    });
    measuring.add_to(lengths);
    return {measuring.whole() && !batches_.cut(), pass.total(), pass.done(), measuring.spreads()};
}

void RecordingRun::convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                           RecordingReport& report) {
    for (const input::Problem& problem : stream_->problems())
        add_problem(report, problem, settings_.strict);
    const std::uint64_t lost_before = report.messages_lost;  // which no topic counts
    Pass pass = make_pass("converting");
    const TimeStyle times(settings_.time_format, stream_->summary().first.value_or(input::Time()));
    RowPass converting(topics_, settings_, times, limits, lengths, companion_names_, output, report);
    converting.write_headers();
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? converting.step(pass, std::move(batch)) : nullptr;
    });
    report.messages_wanted = pass.total();
    report.messages_met = pass.done();
    if (batches_.cut()) add_problem(report, *batches_.cut(), settings_.strict);
    count_missing(report, pass, report.messages_lost - lost_before);
}

/// The messages that the recording counts and that neither were met nor are among the `lost` of this pass.
void RecordingRun::count_missing(RecordingReport& report, const Pass& pass, std::uint64_t lost) const {
    if (settings_.start || settings_.end) return;
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (topics_[i].accepted() == nullptr) continue;
        const std::uint64_t counted = topics_[i].message_count;
        missing += counted > pass.seen(i) ? counted - pass.seen(i) : 0;
    }
    report.messages_missing = missing > lost ? missing - lost : 0;
}

}  // namespace zun::convert
