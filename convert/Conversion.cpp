#include "convert/Conversion.hpp"

#include <algorithm>
#include <system_error>
#include <unistd.h>

#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

/// A blob of fewer columns is no nuisance.
constexpr std::uint32_t wide_blob = 100;

std::vector<std::string> file_list(const std::vector<Topic>& topics) {
    std::vector<std::string> files;
    files.reserve(topics.size());
    for (const Topic& topic : topics)
        files.push_back(topic.file);
    return files;
}

std::string quoted(const std::string& text) {
    return '\'' + text + '\'';
}

std::string too_wide(const Limits& limits, std::uint64_t columns, std::uint64_t most) {
    const Limits::Blame blame = limits.blame();
    std::string text =
        "it needs " + std::to_string(columns) + " columns, --max-columns allows " + std::to_string(most);
    if (!blame.full_name.empty())
        text += "; " + quoted(blame.full_name) + " has " + std::to_string(blame.elements) + " elements";
    if (blame.limited) text += ", --limit '" + blame.full_name + "=N' keeps N of them";
    return text + "; --max-columns " + std::to_string(columns) + " lets the topic through";
}

void add_hints(const Topic& topic, const Limits& limits, std::uint64_t columns, TopicReport& report) {
    report.hints.insert(report.hints.end(), topic.hints.begin(), topic.hints.end());
    if (topic.other_type)
        report.hints.push_back("the topic has a second type, " + topic.type_name + ", whose file is " +
                               topic.file);
    if (topic.left_out)
        for (const std::string& name : names_of(*topic.type, *topic.left_out))
            report.hints.push_back(quoted(name) + " is left out; --blobs columns keeps it");
    for (const Limits::Field& field : limits.fields())
        if (field.blob && field.limit >= wide_blob && field.limit > columns / 2)
            report.hints.push_back(quoted(field.full_name) + " holds bytes and takes " +
                                   std::to_string(field.limit) + " of " + std::to_string(columns) +
                                   " columns; --blobs skip leaves them out");
}

/// What would keep all elements of a cut field. A rule of the user's may come before any that could be added.
std::string keeping_option(const TopicReport& report, const Limits& limits, const CutField& cut,
                           std::uint64_t most) {
    const Limits::Field& field = *limits.find(cut.field);
    if (!field.element_rules.empty())
        return "leaving out --limit " + quoted(field.element_rules.front().given);
    if (!field.given.empty()) return "leaving out --limit " + quoted(field.given);
    Limits whole = limits;
    whole.set({{cut.field, cut.longest}}, Limits::Origin::GIVEN);
    std::string option =
        "--limit " + quoted(report.topic + ':' + cut.field + '=' + std::to_string(cut.longest));
    const std::uint64_t columns = whole.columns();
    return columns > most ? option + " --max-columns " + std::to_string(columns) : option;
}

/// Keeps the fields that were cut.
void settle_cuts(TopicReport& report, const Limits& limits, std::uint64_t most) {
    std::erase_if(report.cuts, [](const CutField& cut) { return cut.rows == 0; });
    for (CutField& cut : report.cuts)
        cut.option = keeping_option(report, limits, cut, most);
}

std::string rule_note(const LimitRule& rule) {
    const std::string start = "--limit " + quoted(rule.given) + " had no effect: ";
    if (!rule.matched) return start + "it matches no unbounded sequence";
    return start + quoted(rule.lost_to) + " comes before it in byte order and takes all its fields";
}

}  // namespace

void Conversion::add_types(const input::MessageStream& recording) {
    for (const input::Channel& channel : recording.channels())
        catalog_.add_definition(channel.type_name, channel.schema_encoding, channel.schema_text);
}

std::unique_ptr<RecordingRun> Conversion::open(std::size_t index, RecordingReport& report) {
    const Recording& recording = recordings_[index];
    report.name = recording.name;
    report.folder = recording.folder.string();
    try {
        auto run = std::make_unique<RecordingRun>(recording, catalog_, settings_, watch_);
        find_patterns_used(run->stream());
        if (!run->topics().empty() || run->stream().channels().empty()) return run;
        report.failure = "it has no topic that is wanted";
    } catch (const InputError& problem) {
        report.failure = problem.what();
    } catch (const std::system_error& problem) {
        report.failure = problem.what();
    }
    return nullptr;
}

void Conversion::prepare(Report& report) {
    report.recordings.resize(recordings_.size());
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        const bool keep = recordings_.size() == 1;
        auto run = open(i, report.recordings[i]);
        if (!run) continue;
        if (!settings_.overwrite && !settings_.dry_run && !settings_.to_stdout)
            OutputFiles::refuse_existing(recordings_[i].folder, file_list(run->topics()));
        if (measures()) run->measure(lengths_);
        if (keep) kept_run_ = std::move(run);
    }
}

Limits Conversion::limits_of(Topic& topic, TopicReport& report) {
    Limits limits(*topic.column_type);
    const auto measured = lengths_.find(topic.identity);
    if (measured != lengths_.end()) limits.set(measured->second, Limits::Origin::MEASURED);
    if (settings_.limits) {
        const auto given = settings_.limits->find(topic.name);
        if (given != settings_.limits->end()) limits.set(given->second, Limits::Origin::GIVEN);
    }
    limits.apply(settings_.rules, topic.name);
    limits.hold(settings_.most_columns);
    const std::uint64_t columns = limits.columns();
    report.columns = columns;
    if (columns > settings_.most_columns) {
        topic.refusal = too_wide(limits, columns, settings_.most_columns);
        topic.file.clear();
    } else {
        add_hints(topic, limits, columns, report);
    }
    return limits;
}

void Conversion::convert(std::size_t index, RecordingReport& report) {
    auto run = kept_run_ ? std::move(kept_run_) : open(index, report);
    if (!run) return;
    std::vector<Limits> limits;
    for (Topic& topic : run->topics()) {
        TopicReport& entry = report.topics.emplace_back(TopicReport{topic.name, topic.type_name});
        limits.push_back(topic.type ? limits_of(topic, entry) : Limits());
        entry.file = topic.file;
        entry.refusal = topic.refusal;
        if (!topic.file.empty()) report.built_in.insert(topic.built_in.begin(), topic.built_in.end());
    }
    const std::unique_ptr<Output> output = make_output(index, run->topics());
    run->convert(limits, lengths_, *output, report);
    output->finish();
    report.finished = true;
    for (std::size_t i = 0; i < limits.size(); ++i)
        settle_cuts(report.topics[i], limits[i], settings_.most_columns);
}

std::unique_ptr<Output> Conversion::make_output(std::size_t index, const std::vector<Topic>& topics) const {
    if (settings_.dry_run) return std::make_unique<OutputNothing>();
    const std::vector<std::string> files = file_list(topics);
    if (!settings_.to_stdout)
        return std::make_unique<OutputFiles>(recordings_[index].folder, files, settings_.overwrite);
    const auto count = files.size() - static_cast<std::size_t>(std::count(files.begin(), files.end(), ""));
    if (count != 1)
        throw std::runtime_error("standard output takes one topic, and " + std::to_string(count) +
                                 " would go there; -t names the one");
    return std::make_unique<OutputStream>(STDOUT_FILENO, "standard output");
}

void Conversion::run(Report& report) {
    report.dry_run = settings_.dry_run;
    prepare(report);
    for (std::size_t i = 0; i < recordings_.size(); ++i)
        if (report.recordings[i].failure.empty()) convert(i, report.recordings[i]);
    add_notes(report);
}

void Conversion::find_patterns_used(const input::MessageStream& stream) {
    for (const std::string& pattern : settings_.topics.wanted)
        for (const input::Channel& channel : stream.channels())
            if (TopicFilter{{pattern}}.accepts(channel.topic)) patterns_used_.insert(pattern);
}

void Conversion::add_notes(Report& report) const {
    for (const std::string& pattern : settings_.topics.wanted)
        if (patterns_used_.count(pattern) == 0)
            report.losses.push_back("--topics " + quoted(pattern) + " matches no topic");
    for (const LimitRule& rule : settings_.rules)
        if (!rule.won) report.notes.push_back(rule_note(rule));
}

LimitsByTopic Conversion::measure(Report& report) {
    LimitsByTopic by_name;
    report.recordings.resize(recordings_.size());
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        const auto run = open(i, report.recordings[i]);
        if (!run) continue;
        TopicLengths lengths;
        run->measure(lengths);
        for (const Topic& topic : run->topics()) {
            merge(by_name[topic.name], lengths[topic.identity]);
            report.recordings[i].topics.push_back(
                {.topic = topic.name, .type_name = topic.type_name, .refusal = topic.refusal});
        }
        report.recordings[i].finished = true;
    }
    add_notes(report);
    return by_name;
}

std::pair<Topic, Limits> Conversion::plan(const std::string& name) {
    const auto run = std::make_unique<RecordingRun>(recordings_[0], catalog_, settings_, watch_);
    if (measures()) run->measure(lengths_);
    for (Topic& topic : run->topics()) {
        if (topic.name != name) continue;
        if (!topic.type) throw std::runtime_error(name + ": " + topic.refusal);
        TopicReport unused;
        return {topic, limits_of(topic, unused)};
    }
    throw std::runtime_error(recordings_[0].name + " has no topic " + quoted(name));
}

}  // namespace zun::convert
