#include "convert/Conversion.hpp"

#include <algorithm>
#include <system_error>
#include <unistd.h>

#include "convert/plan/nearest.hpp"
#include "convert/report/table.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

/// A blob of fewer columns is no nuisance.
constexpr std::uint32_t wide_blob = 100;

/// Recordings that stay open from the first pass to the second; each may hold a few files.
constexpr std::size_t most_kept_runs = 8;
/// Decompressed batches that wait from the first pass for the second.
constexpr std::size_t kept_batches_bytes = std::size_t{80} << 20;

using Setting = Advice::Setting;

/// By topic; empty where there is no file.
std::vector<std::string> file_list(const std::vector<Topic>& topics) {
    std::vector<std::string> files;
    files.reserve(topics.size());
    for (const Topic& topic : topics)
        files.push_back(topic.accepted() != nullptr ? topic.accepted()->file : "");
    return files;
}

std::string in_quotes(const std::string& text) {
    return '\'' + text + '\'';
}

std::string list_of(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

void add_hints(const Topic& topic, const Limits& limits, TopicReport& report) {
    const Accepted& accepted = *topic.accepted();
    std::vector<Reason>& hints = report.hints;
    hints.insert(hints.end(), accepted.hints.begin(), accepted.hints.end());
    if (accepted.other_type)
        hints.push_back({"second-type", "the topic has a second type, " + topic.type_name +
                                            ", whose file is " + accepted.file});
    for (const std::string& name : excluded_names(accepted.root()))
        if (accepted.unwanted.count(name) == 0)
            hints.push_back(
                {"left-out", in_quotes(name) + " is left out; " + Advice{Setting::KEEP_BLOBS} + " keeps it"});
    for (const Limits::Field& field : limits.fields())
        if (field.blob && field.limit >= wide_blob && field.limit > report.columns / 2)
            hints.push_back({"blob", in_quotes(field.full_name) + " holds bytes and takes " +
                                         std::to_string(field.limit) + " of " +
                                         std::to_string(report.columns) + " columns; " +
                                         Advice{Setting::SKIP_BLOBS} + " leaves them out"});
}

/// Whether a limits file says something about every sequence of a topic.
bool names_all(const LimitsByTopic& limits, const Topic& topic) {
    const auto given = limits.find(topic.name);
    const Limits plain = topic.accepted()->plain_limits();
    const auto& fields = plain.fields();
    return given != limits.end() &&
           std::all_of(fields.begin(), fields.end(),
                       [&](const Limits::Field& field) { return given->second.count(field.full_name) > 0; });
}

/// Keeps what was cut, and says for each what would keep all of it.
void settle_cuts(TopicReport& report, const Limits& limits, std::uint64_t most) {
    std::erase_if(report.cuts, [](const CutField& cut) { return cut.rows == 0; });
    if (report.cuts.empty()) return;
    const std::vector<std::uint64_t> per_element = limits.columns_per_element();
    for (CutField& cut : report.cuts) {
        if (!cut.rule.empty()) {
            cut.remedy = Sentence("leaving out ") + Advice{Setting::LIMIT, cut.rule};
            continue;
        }
        const std::uint64_t columns = saturating_sum(
            report.columns,
            saturating_product(cut.longest - cut.columns, per_element[*limits.find(cut.field)]));
        const std::string rule = report.topic + ':' + cut.field + '=' + std::to_string(cut.longest);
        cut.remedy = Advice{Setting::LIMIT, rule};
        if (columns > most)
            cut.remedy += Sentence(" ") + Advice{Setting::MOST_COLUMNS, std::to_string(columns)};
    }
}

void set_span(RecordingReport& report, const input::Summary& summary) {
    if (!summary.first || !summary.last) return;
    report.first.clear();
    report.last.clear();
    append_time(report.first, *summary.first, TimeFormat::RFC3339);
    append_time(report.last, *summary.last, TimeFormat::RFC3339);
}

void refuse_existing(const std::filesystem::path& folder, const std::vector<Topic>& topics) {
    if (const auto file = OutputFiles::existing(folder, file_list(topics)))
        throw Refusal(in_quotes(file->string()) + " exists; " + Advice{Setting::OVERWRITE} + " replaces it");
}

void tell_if_empty(RecordingReport& report) {
    for (const TopicReport& topic : report.topics)
        if (topic.messages > 0) return;
    report.hints.push_back({"empty", report.topics.empty() ? "the recording has no topics"
                                                           : "the recording has no messages on its topics"});
}

/// A span that misses one of several recordings is their order; one that misses all of them is a loss.
void tell_spans_missed(Report& report) {
    const bool any = std::any_of(report.recordings.begin(), report.recordings.end(),
                                 [](const RecordingReport& recording) { return recording.messages_met > 0; });
    for (RecordingReport& recording : report.recordings)
        if (recording.finished && recording.messages_wanted > 0 && recording.messages_met == 0)
            (any ? recording.hints : recording.losses)
                .push_back({"time-span",
                            "no message is in the time span that was asked for; the recording has "
                            "messages from " +
                                recording.first + " to " + recording.last});
}

Reason rule_note(const LimitRule& rule, const std::string& lost_to) {
    const std::string why = lost_to.empty() ? "it matches no sequence"
                                            : in_quotes(lost_to) + " goes before it for all its fields";
    return {"unused-limit", Advice{Setting::LIMIT, rule.given} + Sentence(" had no effect: ") + why};
}

}  // namespace

void Conversion::add_types(const input::MessageStream& recording) {
    for (const input::Channel& channel : recording.channels())
        types_.catalog.add_definition(channel.type_name, channel.schema_encoding, channel.schema_text);
}

/// Progress that names the recording.
Watch Conversion::watch_of(std::size_t index) const {
    if (!watch_.progress) return watch_;
    std::string subject = recordings_[index].name;
    if (recordings_.size() > 1)
        subject += " (" + std::to_string(index + 1) + " of " + std::to_string(recordings_.size()) + ')';
    const auto show = [progress = watch_.progress, subject](const std::string& activity, auto done,
                                                            auto total) {
        progress(activity + ' ' + subject, done, total);
    };
    return {show, watch_.stop};
}

std::unique_ptr<RecordingRun> Conversion::open(std::size_t index, RecordingReport& report) {
    const Recording& recording = recordings_[index];
    report = {.name = recording.name, .folder = recording.folder.string()};
    try {
        auto run =
            std::make_unique<RecordingRun>(recording, types_, settings_, watch_of(index),
                                           kept_batches_bytes / std::min(recordings_.size(), most_kept_runs));
        add_names(run->stream());
        outcomes_.add(run->outcomes());
        set_span(report, run->stream().summary());
        if (!run->kept_files().empty())
            report.hints.push_back(
                {"kept-files", counted(run->kept_files().size(), "file") + " existed already, kept unchanged",
                 run->kept_files()});
        if (!run->unwanted_topics().empty())
            report.hints.push_back({"no-field", list_of(run->unwanted_topics()) +
                                                    ": not converted, without a field that is wanted"});
        const bool wanted =
            !run->topics().empty() || !run->kept_files().empty() || !run->unwanted_topics().empty();
        if (wanted || run->stream().channels().empty()) return run;
        report.failure = {"no-topic", "it has no topic that is wanted"};
    } catch (const InputError& problem) {
        report.failure = {"unreadable", problem.what()};
    } catch (const std::system_error& problem) {
        if (watch_.stop != nullptr && *watch_.stop) throw Interrupted();  // a signal has ended a wait
        report.failure = {"unreadable", problem.what()};
    }
    return nullptr;
}

void Conversion::prepare(Report& report) {
    report.recordings.resize(recordings_.size());
    kept_runs_.resize(recordings_.size());
    std::size_t kept = 0;
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        auto run = open(i, report.recordings[i]);
        if (!run) continue;
        if (!settings_.overwrite && !settings_.dry_run && !settings_.to_stdout)
            refuse_existing(recordings_[i].folder, run->topics());
        measure(*run);
        const bool costs_nothing = kept < most_kept_runs && !run->stream().holds_disk_space();
        if (recordings_.size() > 1 && !costs_nothing) continue;
        kept_runs_[i] = std::move(run);
        ++kept;
    }
    check_choices();
}

void Conversion::measure(RecordingRun& run) {
    if (!settings_.fit) return;
    const Measured measured = run.measure(lengths_, [&](const Topic& topic) {
        return !settings_.limits || !names_all(*settings_.limits, topic);
    });
    lengths_are_sure_ = lengths_are_sure_ && measured.whole;
}

/// Refuses the topic where it does not fit with its limits.
Limits Conversion::limits_of(Topic& topic, TopicReport& report) {
    Limits limits = topic.accepted()->plain_limits();
    const auto measured = lengths_.find(topic.identity);
    if (measured != lengths_.end()) limits.set(measured->second, Limits::Origin::MEASURED);
    if (settings_.limits) {
        const auto given = settings_.limits->find(topic.name);
        if (given != settings_.limits->end()) limits.set(given->second, Limits::Origin::FILE);
        if (settings_.fit && !names_all(*settings_.limits, topic))
            report.hints.push_back(
                {"limits-file", Advice{Setting::LIMITS_FILE} +
                                    (given == settings_.limits->end()
                                         ? " does not name the topic; its lengths are measured"
                                         : " does not name all its sequences; the others are measured")});
    }
    limits.apply(settings_.rules, topic.name, rule_outcomes_);
    limits.hold(settings_.most_columns);
    report.columns = limits.columns();
    if (report.columns > settings_.most_columns)
        topic.plan = too_wide(limits.blame(), report.columns, settings_.most_columns);
    else
        add_hints(topic, limits, report);
    return limits;
}

void Conversion::convert(std::size_t index, RecordingReport& report) {
    auto run = kept_runs_[index] ? std::move(kept_runs_[index]) : open(index, report);
    if (!run) return;
    std::vector<Limits> limits;
    for (Topic& topic : run->topics()) {
        TopicReport& entry = report.topics.emplace_back(TopicReport{topic.name, topic.type_name});
        entry.messages = topic.message_count;
        limits.push_back(topic.accepted() != nullptr ? limits_of(topic, entry) : Limits());
        if (const Accepted* const accepted = topic.accepted()) {
            entry.file = accepted->file;
            report.built_in.insert(accepted->built_in.begin(), accepted->built_in.end());
        } else {
            entry.refusal = *topic.refusal();
        }
    }
    const std::unique_ptr<Output> output = make_output(index, run->topics());
    const auto settle_all = [&] {
        for (std::size_t i = 0; i < limits.size(); ++i)
            settle_cuts(report.topics[i], limits[i], settings_.most_columns);
    };
    try {
        run->convert(limits, lengths_are_sure_ ? lengths_ : TopicLengths(), *output, report);
        output->finish();
    } catch (...) {
        settle_all();
        throw;
    }
    settle_all();
    report.finished = true;
    if (run->kept_files().empty() && run->unwanted_topics().empty()) tell_if_empty(report);
}

std::unique_ptr<Output> Conversion::make_output(std::size_t index, const std::vector<Topic>& topics) const {
    if (settings_.dry_run) return std::make_unique<OutputNothing>();
    const std::vector<std::string> files = file_list(topics);
    if (!settings_.to_stdout)
        return std::make_unique<OutputFiles>(recordings_[index].folder, files, settings_.overwrite);
    const auto count = files.size() - static_cast<std::size_t>(std::count(files.begin(), files.end(), ""));
    if (count != 1)
        throw Refusal("standard output takes one topic, and " + std::to_string(count) + " would go there; " +
                      Advice{Setting::TOPICS} + " names the one");
    return std::make_unique<OutputStream>(STDOUT_FILENO, "standard output");
}

void Conversion::run(Report& report) {
    report.dry_run = settings_.dry_run;
    prepare(report);
    for (std::size_t i = 0; i < recordings_.size(); ++i)
        if (!report.recordings[i].failure) convert(i, report.recordings[i]);
    if (settings_.start || settings_.end) tell_spans_missed(report);
    add_notes(report);
}

void Conversion::add_names(const input::MessageStream& stream) {
    for (const input::Channel& channel : stream.channels())
        topic_names_.insert(channel.topic);
}

std::string Conversion::nearest_topics(const std::string& name) const {
    return nearest_note(name, {topic_names_.begin(), topic_names_.end()});
}

void Conversion::add_notes(Report& report) const {
    for (const std::string& pattern : settings_.topics.wanted)
        if (std::none_of(
                topic_names_.begin(), topic_names_.end(),
                [filter = TopicFilter{{pattern}}](const auto& name) { return filter.accepts(name); }))
            report.losses.push_back(
                {"no-topic",
                 Advice{Setting::TOPICS, pattern} + Sentence(" matches no topic") + nearest_topics(pattern)});
    for (std::size_t i = 0; i < rule_outcomes_.size(); ++i)
        if (!rule_outcomes_[i].won)
            report.notes.push_back(rule_note(settings_.rules[i], rule_outcomes_[i].lost_to));
    for (Reason& unused : unused_expressions())
        report.notes.push_back(std::move(unused));
}

/// Why an expression has no effect; empty where it has one.
std::string Conversion::problem_with(const Advice& expression, const FieldRule& rule) const {
    const auto met = outcomes_.fields.find(expression);
    if (met != outcomes_.fields.end())
        return met->second.matched ? "" : " matches no field" + met->second.nearest;
    const bool is_for_any = std::any_of(topic_names_.begin(), topic_names_.end(),
                                        [&](const std::string& name) { return rule.is_for(name); });
    return is_for_any ? " is for no topic that is converted"
                      : " matches no topic" + nearest_topics(rule.topic);
}

void Conversion::add_unused(std::vector<Reason>& unused, Setting setting, const FieldRule& rule) const {
    for (const std::string& field : rule.fields) {
        const Advice expression = expression_of(setting, rule, field);
        const std::string problem = problem_with(expression, rule);
        if (!problem.empty()) unused.push_back({"unused-fields", Sentence(expression) + problem});
    }
}

std::vector<Reason> Conversion::unused_expressions() const {
    std::vector<Reason> unused;
    for (const FieldRule& rule : settings_.fields.wanted)
        add_unused(unused, Setting::FIELDS, rule);
    for (const FieldRule& rule : settings_.fields.unwanted)
        add_unused(unused, Setting::EXCLUDE_FIELDS, rule);
    return unused;
}

/// Throws WrongUsage where no field is left of any topic, and for a rule that no topic follows.
void Conversion::check_choices() const {
    if (outcomes_.any_unwanted && !outcomes_.any_accepted) {
        Sentence why = "no field is left of any topic";
        for (const Reason& unused : unused_expressions())
            why += Sentence("; ") + unused.text;
        throw WrongUsage(why);
    }
    for (std::size_t i = 0; outcomes_.any_accepted && i < settings_.explode.size(); ++i) {
        const auto found = outcomes_.exploded.find(i);
        if (found != outcomes_.exploded.end() && found->second.followed) continue;
        const bool any = found != outcomes_.exploded.end() && !found->second.problem.empty();
        throw WrongUsage(Advice{Setting::EXPLODE, settings_.explode[i].given} + Sentence(": ") +
                         (any ? found->second.problem : "no topic has such sequences"));
    }
}

LimitsByTopic Conversion::measure(Report& report) {
    LimitsByTopic by_name;
    report.recordings.resize(recordings_.size());
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        RecordingReport& entry = report.recordings[i];
        const auto run = open(i, entry);
        if (!run) continue;
        TopicLengths lengths;
        const Measured measured = run->measure(lengths, [](const Topic&) { return true; });
        entry.messages_wanted = measured.messages_wanted;
        entry.messages_met = measured.messages_met;
        for (const Topic& topic : run->topics()) {
            merge(by_name[topic.name], lengths[topic.identity]);
            TopicReport& told = entry.topics.emplace_back(TopicReport{topic.name, topic.type_name});
            told.messages = topic.message_count;
            if (topic.refusal() != nullptr) told.refusal = *topic.refusal();
        }
        entry.finished = true;
    }
    check_choices();
    if (settings_.start || settings_.end) tell_spans_missed(report);
    add_notes(report);
    return by_name;
}

Limits Conversion::plan(const std::string& name) {
    std::optional<Topic> found;
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        RecordingRun run(recordings_[i], types_, settings_, watch_of(i), 0);
        add_names(run.stream());
        outcomes_.add(run.outcomes());
        measure(run);
        for (const Topic& topic : run.topics())
            if (topic.name == name && (!found || found->refusal() != nullptr)) found = topic;
    }
    check_choices();
    if (!found)
        throw std::runtime_error(recordings_[0].name + " has no topic " + in_quotes(name) +
                                 nearest_topics(name));
    TopicReport unused;
    Limits limits = found->accepted() != nullptr ? limits_of(*found, unused) : Limits();
    if (const Reason* const refusal = found->refusal()) throw Refusal(name + ": " + refusal->text);
    return limits;
}

}  // namespace zun::convert
