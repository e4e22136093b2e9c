#include "convert/passes/RecordingRun.hpp"

#include <algorithm>
#include <stdexcept>

#include "convert/passes/LengthPass.hpp"
#include "convert/passes/RowPass.hpp"
#include "convert/passes/pipeline.hpp"
#include "convert/plan/type_walk.hpp"
#include "convert/tasks/json.hpp"

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

std::vector<std::string> digests_of(std::vector<std::string> headers) {
    for (std::string& header : headers)
        if (!header.empty()) header = digest_of(header);
    return headers;
}

/// Puts the rows of all parts into the files, and what they met into `report`.
Met join(const std::vector<TaskPart>& parts, const std::vector<std::string>& headers, Output& output,
         RecordingReport& report, const RowPass::Tell& tell) {
    for (const TaskPart& part : parts)
        if (part.headers != headers)
            throw std::runtime_error("'" + part.folder.string() + "' has other topics or columns than '" +
                                     report.name + "' has now: the types that are known differ");
    Met met;
    std::vector<input::Problem> problems;
    const std::size_t count = add_parts(parts, report, problems, met);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t topic = 0; topic < headers.size(); ++topic)
            if (parts[i].topics[topic].bytes > 0) output.append(topic, parts[i].folder / rows_file(topic));
    for (const input::Problem& problem : problems)
        tell(problem);
    return met;
}

}  // namespace

RecordingRun::RecordingRun(const Recording& recording, Types& types, const Settings& settings, Watch watch,
                           std::size_t kept_bytes, const input::Stretch& stretch)
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
      batches_(*stream_, selection(stretch), kept_bytes) {}

input::Selection RecordingRun::selection(const input::Stretch& stretch) const {
    input::Selection selection{.stretch = stretch};
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

Met RecordingRun::make_rows(RowPass& converting) {
    Pass pass = make_pass("converting");
    batches_.start();
    run_steps(settings_.jobs, [&] {
        SourceBatch batch = batches_.next();
        return batch.batch ? converting.step(pass, std::move(batch)) : nullptr;
    });
    Met met{.all = pass.done(), .cut = batches_.cut()};
    for (std::size_t i = 0; i < topics_.size(); ++i)
        met.messages.push_back(pass.seen(i));
    return met;
}

void RecordingRun::convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                           RecordingReport& report, const std::vector<TaskPart>* parts) {
    const auto tell = [&](const input::Problem& problem) { add_problem(report, problem, settings_.strict); };
    for (const input::Problem& problem : stream_->problems())
        tell(problem);
    const std::uint64_t lost_before = report.messages_lost;  // which no topic counts
    const TimeStyle times(settings_.time_format, stream_->summary().first.value_or(input::Time()));
    RowPass converting(topics_, settings_, times, limits, lengths, companion_names_, output, report, tell);
    converting.write_headers();
    const Met met = parts != nullptr ? join(*parts, digests_of(converting.headers()), output, report, tell)
                                     : make_rows(converting);
    report.messages_wanted = make_pass("").total();
    report.messages_met = met.all;
    if (met.cut) tell(*met.cut);
    count_missing(report, met, report.messages_lost - lost_before);
}

TaskPart RecordingRun::make_part(const std::vector<Limits>& limits, const TopicLengths& lengths,
                                 Output& output, RecordingReport report) {
    TaskPart part;
    const TimeStyle times(settings_.time_format, stream_->summary().first.value_or(input::Time()));
    RowPass converting(topics_, settings_, times, limits, lengths, companion_names_, output, report,
                       [&](const input::Problem& problem) { part.problems.push_back(problem); });
    part.headers = digests_of(converting.headers());
    part.met = make_rows(converting);
    part.topics = std::move(report.topics);
    return part;
}

/// The messages that the recording counts and that neither were met nor are among the `lost` of this pass.
void RecordingRun::count_missing(RecordingReport& report, const Met& met, std::uint64_t lost) const {
    if (settings_.start || settings_.end) return;
    std::uint64_t missing = 0;
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (topics_[i].accepted() == nullptr) continue;
        const std::uint64_t counted = topics_[i].message_count;
        missing += counted > met.messages[i] ? counted - met.messages[i] : 0;
    }
    report.messages_missing = missing > lost ? missing - lost : 0;
}

}  // namespace zun::convert
