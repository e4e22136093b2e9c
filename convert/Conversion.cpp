#include "convert/Conversion.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <system_error>
#include <unistd.h>

#include "convert/plan/nearest.hpp"
#include "convert/report/sidecar.hpp"
#include "convert/report/table.hpp"
#include "platform/error/InputError.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::convert {

namespace {

/// Blobs of fewer columns are not worth a notice.
constexpr std::uint32_t wide_blob = 100;

/// Recordings that stay open from the first pass to the second; each may hold a few files.
constexpr std::size_t most_kept_runs = 8;
/// Decompressed batches that wait from the first pass for the second.
constexpr std::size_t kept_batches_bytes = std::size_t{80} << 20;

using Setting = Advice::Setting;

std::string in_quotes(const std::string& text) {
    return '\'' + text + '\'';
}

std::string list_of(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

void add_hints(const Topic& topic, const Limits& limits, const std::string& clock_field,
               TopicReport& report) {
    const Accepted& accepted = *topic.accepted();
    std::vector<Reason>& hints = report.hints;
    hints.insert(hints.end(), accepted.hints.begin(), accepted.hints.end());
    if (accepted.other_type)
        hints.push_back({"second-type", "the topic has a second type, " + topic.type_name +
                                            ", whose file is " + accepted.file});
    for (const auto& [name, type] : parts_of_shape(accepted.root(), cdr::View::Shape::EXCLUDED))
        if (accepted.unwanted.count(name) == 0)
            hints.push_back(
                {"left-out", in_quotes(name) + " is left out; " + Advice{Setting::KEEP_BLOBS} + " keeps it"});
    if (!accepted.clock && !clock_field.empty())
        hints.push_back({"clock", "it has no time in " + in_quotes(clock_field) +
                                      "; its rows have the time of reception"});
    for (const Limits::Field& field : limits.fields())
        if (field.blob && field.limit >= wide_blob && field.limit > report.columns / 2)
            hints.push_back({"blob", in_quotes(field.full_name) + " holds bytes and takes " +
                                         std::to_string(field.limit) + " of " +
                                         std::to_string(report.columns) + " columns; " +
                                         Advice{Setting::SKIP_BLOBS} + " leaves them out"});
}

/// Lets the lengths of long sequences of bytes stand for them, where no rule of the user's asks for columns.
/// Whether there are any.
bool show_lengths(Accepted& accepted, const Limits& limits) {
    bool any = false;
    for (const Limits::Field& field : limits.fields()) {
        const bool asked_for = field.origin == Limits::Origin::RULE || !field.element_rules.empty();
        if (!field.blob || field.limit <= most_blob_columns || asked_for) continue;
        accepted.request.named[field.full_name] = cdr::View::Shape::LENGTH;
        accepted.blob_lengths[field.full_name] = field.limit;
        any = true;
    }
    if (any) accepted.view = view_of(accepted.type, accepted.request);
    return any;
}

/// Adds "/camera: data, up to 921,600 bytes" for each field of which only the length is shown.
void add_left_out(const Accepted& accepted, const std::string& topic, std::vector<std::string>& notes) {
    if (accepted.request.blobs != Blobs::AUTO) return;
    for (const auto& [name, type] : parts_of_shape(accepted.root(), cdr::View::Shape::LENGTH)) {
        const auto longest = accepted.blob_lengths.find(name);
        std::string note = topic + ": " + name;
        if (longest != accepted.blob_lengths.end())
            note += ", up to " + with_separators(longest->second) + " bytes";
        else
            note +=
                ", " + with_separators(core::xtypes::ArrayTypeImpl(type).total_element_count()) + " bytes";
        notes.push_back(std::move(note));
    }
}

Reason left_out_note(const std::vector<std::string>& notes) {
    constexpr std::size_t most_named = 10;
    std::string names;
    for (std::size_t i = 0; i < std::min(notes.size(), most_named); ++i)
        names += notes[i] + "; ";
    if (notes.size() > most_named) names += counted(notes.size() - most_named, "other") + "; ";
    return {"blobs", "left out by default: " + names + Advice{Setting::BLOB_FILES} +
                         (notes.size() == 1 ? " keeps it" : " keeps them")};
}

/// Says which few messages take the most columns of a topic, and what would spare them.
void add_outliers(const Topic& topic, const Limits& limits, const TopicSpread& spread, TopicReport& report) {
    const std::optional<Outliers> outliers = outliers_of(limits, report.columns, spread);
    if (!outliers) return;
    const auto& [field, messages, longest, next, columns] = *outliers;
    const std::string& name = limits.fields()[field].full_name;
    const std::string rule = topic.name + ':' + name + '=' + std::to_string(next);
    report.hints.push_back(
        {"outliers", std::to_string(messages) + " of " + std::to_string(spread.messages) +
                         (messages == 1 ? " messages has " : " messages have up to ") +
                         std::to_string(longest) + " elements in " + in_quotes(name) + ", the next longest " +
                         std::to_string(next) + ": " + Advice{Setting::LIMIT, rule} + " makes " +
                         std::to_string(columns) + " columns of " + std::to_string(report.columns)});
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

/// Files in `folder` that a conversion may have left beside those of the topics of `run`.
std::vector<std::string> companions_in(const std::filesystem::path& folder, const RecordingRun& run) {
    std::vector<std::string> found;
    const std::vector<std::string> names = OutputFiles::names_in(folder);
    for (const Topic& topic : run.topics()) {
        if (topic.accepted() == nullptr) continue;
        const std::string& file = topic.accepted()->file;
        const std::string start = file.substr(0, file.rfind('.') + 1);
        for (auto name = std::lower_bound(names.begin(), names.end(), start);
             name != names.end() && name->starts_with(start); ++name)
            if (run.companion_names().is_companion(*name, file)) found.push_back(*name);
    }
    return found;
}

void refuse_existing(const std::filesystem::path& folder, std::vector<std::string> names,
                     const RecordingRun& run) {
    for (const std::vector<std::string>& more : {run.blob_folders(), companions_in(folder, run)})
        names.insert(names.end(), more.begin(), more.end());
    if (const auto file = OutputFiles::existing(folder, names))
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

/// The groups of a run's topics, as its plan has them.
const std::vector<std::size_t>& groups_for(const RecordingRun& run, const std::vector<std::size_t>& groups) {
    if (groups.size() == run.topics().size()) return groups;
    throw std::runtime_error("a recording has other topics than when the plan was made");
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

std::unique_ptr<RecordingRun> Conversion::open(std::size_t index, RecordingReport& report,
                                               const input::Stretch& stretch) {
    const Recording& recording = recordings_[index];
    report = {.name = recording.name, .folder = recording.folder.string()};
    try {
        auto run = std::make_unique<RecordingRun>(
            recording, types_, settings_, watch_of(index),
            kept_batches_bytes / std::min(recordings_.size(), most_kept_runs), stretch);
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
            refuse_existing(recordings_[i].folder, files_of(run->topics()), *run);
        measure(i, *run);
        const bool costs_nothing = kept < most_kept_runs && !run->stream().holds_disk_space();
        if (recordings_.size() > 1 && !costs_nothing) continue;
        kept_runs_[i] = std::move(run);
        ++kept;
    }
    check_choices();
}

void Conversion::measure(std::size_t index, RecordingRun& run) {
    if (!settings_.fit) return;
    if (done_) {
        const std::vector<std::size_t>& groups = groups_for(run, done_->groups.at(index));
        for (std::size_t i = 0; i < groups.size(); ++i) {
            const auto lengths = done_->measured.lengths.find(groups[i]);
            if (lengths == done_->measured.lengths.end()) continue;
            lengths_[run.topics()[i].identity] = lengths->second;
            spreads_[run.topics()[i].identity] = done_->measured.spreads.at(groups[i]);
        }
        lengths_are_sure_ = done_->measured.whole;
        return;
    }
    const Measured measured = run.measure(lengths_, [&](const Topic& topic) {
        return !settings_.limits || !names_all(*settings_.limits, topic);
    });
    lengths_are_sure_ = lengths_are_sure_ && measured.whole;
    for (const auto& [topic, spread] : measured.spreads)
        spreads_[topic].add(spread);
}

/// The limits of a topic, whatever number of columns they make.
Limits Conversion::wanted_limits(const Topic& topic) {
    Limits limits = topic.accepted()->plain_limits();
    const auto measured = lengths_.find(topic.identity);
    if (measured != lengths_.end()) limits.set(measured->second, Limits::Origin::MEASURED);
    if (settings_.limits) {
        const auto given = settings_.limits->find(topic.name);
        if (given != settings_.limits->end()) limits.set(given->second, Limits::Origin::FILE);
    }
    limits.apply(settings_.rules, topic.name, rule_outcomes_);
    return limits;
}

/// Refuses the topic where it does not fit with its limits.
Limits Conversion::limits_of(Topic& topic, TopicReport& report) {
    if (settings_.limits && settings_.fit && !names_all(*settings_.limits, topic))
        report.hints.push_back(
            {"limits-file", Advice{Setting::LIMITS_FILE} +
                                (settings_.limits->count(topic.name) == 0
                                     ? " does not name the topic; its lengths are measured"
                                     : " does not name all its sequences; the others are measured")});
    Limits limits = wanted_limits(topic);
    if (settings_.blobs == Blobs::AUTO && show_lengths(*topic.accepted(), limits))
        limits = wanted_limits(topic);
    limits.hold(settings_.most_columns);
    report.columns = limits.columns();
    if (report.columns > settings_.most_columns)
        topic.plan = too_wide(limits.blame(), report.columns, settings_.most_columns);
    else
        add_hints(topic, limits, settings_.clock_field, report);
    const auto spread = spreads_.find(topic.identity);
    if (topic.accepted() != nullptr && spread != spreads_.end())
        add_outliers(topic, limits, spread->second, report);
    return limits;
}

/// By topic; adds the topics to `report`.
std::vector<Limits> Conversion::limits_of(RecordingRun& run, RecordingReport& report) {
    std::vector<Limits> limits;
    std::vector<std::string> left_out;
    for (Topic& topic : run.topics()) {
        TopicReport& entry = report.topics.emplace_back(TopicReport{topic.name, topic.type_name});
        entry.messages = topic.message_count;
        limits.push_back(topic.accepted() != nullptr ? limits_of(topic, entry) : Limits());
        if (const Accepted* const accepted = topic.accepted()) {
            entry.file = accepted->file;
            report.built_in.insert(accepted->built_in.begin(), accepted->built_in.end());
            add_left_out(*accepted, topic.name, left_out);
        } else {
            entry.refusal = *topic.refusal();
        }
    }
    if (!left_out.empty()) report.hints.push_back(left_out_note(left_out));
    return limits;
}

void Conversion::convert(std::size_t index, RecordingReport& report) {
    auto run = kept_runs_[index] ? std::move(kept_runs_[index]) : open(index, report);
    if (!run) return;
    const std::vector<Limits> limits = limits_of(*run, report);
    const std::unique_ptr<Output> output = make_output(index, *run);
    const std::vector<TaskPart>* const parts =
        done_ && !done_->parts.empty() ? &done_->parts[index] : nullptr;
    const auto settle_all = [&] {
        for (std::size_t i = 0; i < limits.size(); ++i)
            settle_cuts(report.topics[i], limits[i], settings_.most_columns);
    };
    try {
        run->convert(limits, lengths_are_sure_ ? lengths_ : TopicLengths(), *output, report, parts);
        if (settings_.sidecars) write_sidecars(*run, limits, *output, report);
        output->finish();
    } catch (...) {
        settle_all();
        throw;
    }
    settle_all();
    report.finished = true;
    if (settings_.overwrite && !settings_.dry_run && !settings_.to_stdout)
        remove_leftovers(index, *run, report);
    if (run->kept_files().empty() && run->unwanted_topics().empty()) tell_if_empty(report);
}

/// By topic, empty where there is none; behind them their sidecars, where these are wanted, likewise.
std::vector<std::string> Conversion::files_of(const std::vector<Topic>& topics) const {
    std::vector<std::string> files;
    files.reserve(2 * topics.size());
    for (const Topic& topic : topics)
        files.push_back(topic.accepted() != nullptr ? topic.accepted()->file : "");
    for (std::size_t i = 0; settings_.sidecars && i < topics.size(); ++i)
        files.push_back(files[i].empty() ? "" : CompanionNames::sidecar(files[i]));
    return files;
}

void Conversion::write_sidecars(RecordingRun& run, const std::vector<Limits>& limits, Output& output,
                                RecordingReport& report) {
    const std::size_t count = run.topics().size();
    for (std::size_t i = 0; i < count; ++i) {
        const Topic& topic = run.topics()[i];
        if (topic.accepted() == nullptr) continue;
        TopicReport& entry = report.topics[i];
        entry.sidecar = CompanionNames::sidecar(entry.file);
        const input::Channel& channel = run.stream().channels()[topic.channels.front()];
        Sidecar sidecar{.topic = topic.name,
                        .type_name = topic.type_name,
                        .file = entry.sidecar,
                        .files = {entry.file},
                        .clock = settings_.clock,
                        .clock_field = settings_.clock_field,
                        .time_format = settings_.time_format,
                        .empty_text = settings_.empty_text,
                        .enum_as_string = settings_.enum_as_string,
                        .column_names = settings_.column_names,
                        .limits = &limits[i],
                        .definition = schema::whole_text(types_.catalog.texts_of(
                            channel.type_name, channel.schema_encoding, channel.schema_text))};
        sidecar.files.insert(sidecar.files.end(), entry.further_files.begin(), entry.further_files.end());
        TextStream text;
        print_sidecar(text, sidecar);
        output.write(count + i, text.str());
    }
}

/// Files of earlier conversions of the topics that would be taken for a part of this one.
void Conversion::remove_leftovers(std::size_t index, const RecordingRun& run, RecordingReport& report) const {
    std::set<std::string> made;
    for (const TopicReport& topic : report.topics) {
        made.insert(topic.sidecar);
        made.insert(topic.further_files.begin(), topic.further_files.end());
    }
    const std::filesystem::path& folder = recordings_[index].folder;
    std::vector<std::string> removed;
    for (const std::string& name : companions_in(folder, run)) {
        std::error_code error;
        if (made.count(name) == 0 && std::filesystem::remove(folder / name, error)) removed.push_back(name);
    }
    if (!removed.empty())
        report.hints.push_back({"removed-files",
                                counted(removed.size(), "file") + " of an earlier conversion removed",
                                removed});
}

std::unique_ptr<Output> Conversion::make_output(std::size_t index, const RecordingRun& run) const {
    if (settings_.dry_run) return std::make_unique<OutputNothing>();
    const std::vector<std::string> files = files_of(run.topics());
    if (!settings_.to_stdout)
        return std::make_unique<OutputFiles>(recordings_[index].folder, files, run.blob_folders(),
                                             settings_.overwrite);
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

std::vector<Reason> Conversion::unused_expressions() const {
    std::vector<Reason> unused;
    for (const FieldRule& rule : settings_.fields.wanted)
        add_unused(Setting::FIELDS, rule, unused);
    for (const FieldRule& rule : settings_.fields.unwanted)
        add_unused(Setting::EXCLUDE_FIELDS, rule, unused);
    return unused;
}

void Conversion::add_unused(Setting setting, const FieldRule& rule, std::vector<Reason>& unused) const {
    for (const std::string& field : rule.fields) {
        const Advice expression = expression_of(setting, rule, field);
        const std::string problem = problem_with(expression, rule);
        if (!problem.empty()) unused.push_back({"unused-fields", Sentence(expression) + problem});
    }
}

/// Throws WrongUsage where no field is left of any topic, and for a rule that no topic follows.
void Conversion::check_choices() const {
    if (outcomes_.any_unwanted && !outcomes_.any_accepted) {
        Sentence why = "no field is left of any topic";
        for (const Reason& unused : unused_expressions())
            why += Sentence("; ") + unused.text;
        throw WrongUsage(why);
    }
    if (outcomes_.any_accepted && !settings_.clock_field.empty() && !outcomes_.any_clock)
        throw WrongUsage(Advice{Setting::CLOCK, settings_.clock_field} +
                         Sentence(": no topic has such a field of seconds and nanoseconds"));
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

void Conversion::plan_tasks(Plan& plan, const PartSize& part_size, Report& report) {
    report.recordings.resize(recordings_.size());
    std::map<std::string, std::size_t> groups;  // by identity
    struct Opened {
        std::size_t index;
        std::vector<input::Extent> extents;
        std::uint64_t bytes;
        input::Time first;
    };
    std::vector<Opened> all;
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        const auto run = open(i, report.recordings[i]);
        if (!run) continue;
        for (const Topic& topic : run->topics())
            plan.recordings[i].groups.push_back(
                groups.try_emplace(topic.identity, groups.size()).first->second);
        Opened& opened = all.emplace_back(Opened{i, run->extents(), 0, {}});
        opened.first = run->stream().summary().first.value_or(input::Time());
        for (const input::Extent& extent : opened.extents)
            opened.bytes += extent.bytes;
        report.recordings[i].finished = true;
    }
    check_choices();
    std::uint64_t bytes = 0;
    for (const Opened& opened : all)
        bytes += opened.bytes;
    const double part_bytes = part_size(bytes);
    for (Opened& opened : all) {
        const auto parts =
            static_cast<std::size_t>(std::llround(static_cast<double>(opened.bytes) / part_bytes));
        for (Task& task : cut_into_tasks(std::move(opened.extents), std::max<std::size_t>(parts, 1),
                                         opened.first, settings_.every.interval_ns)) {
            task.recording = opened.index;
            plan.tasks.push_back(task);
        }
    }
}

std::unique_ptr<RecordingRun> Conversion::open_task(const Plan& plan, std::size_t number,
                                                    RecordingReport& report) {
    const Task& task = plan.tasks.at(number - 1);
    auto run = open(task.recording, report, task.stretch);
    if (!run) throw std::runtime_error(report.name + ": " + report.failure->text.spelled(setting_and_value));
    groups_for(*run, plan.recordings[task.recording].groups);
    return run;
}

Measurement Conversion::measure_task(const Plan& plan, std::size_t number) {
    RecordingReport report;
    const auto run = open_task(plan, number, report);
    const std::vector<std::size_t>& groups = plan.recordings[plan.tasks[number - 1].recording].groups;
    if (settings_.fit) measure(0, *run);
    Measurement measured{.whole = lengths_are_sure_};
    for (std::size_t i = 0; i < groups.size(); ++i) {
        const auto lengths = lengths_.find(run->topics()[i].identity);
        if (lengths == lengths_.end()) continue;
        measured.lengths[groups[i]] = lengths->second;
        measured.spreads[groups[i]] = spreads_[lengths->first];
    }
    return measured;
}

TaskPart Conversion::make_part(const Plan& plan, std::size_t number, const std::filesystem::path& folder) {
    RecordingReport report;
    const auto run = open_task(plan, number, report);
    measure(plan.tasks[number - 1].recording, *run);
    const std::vector<Limits> limits = limits_of(*run, report);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < limits.size(); ++i)
        names.push_back(rows_file(i));
    OutputFiles output(folder, names, {}, true);
    TaskPart part =
        run->make_part(limits, lengths_are_sure_ ? lengths_ : TopicLengths(), output, std::move(report));
    output.finish();
    part.folder = folder;
    return part;
}

void Conversion::take(const Plan& plan, const Measurement& measured, std::vector<TaskPart> parts) {
    done_.emplace(Done{{}, measured, {}});
    for (const PlannedRecording& recording : plan.recordings)
        done_->groups.push_back(recording.groups);
    if (parts.empty()) return;
    done_->parts.resize(plan.recordings.size());
    for (std::size_t i = 0; i < parts.size(); ++i)
        done_->parts[plan.tasks[i].recording].push_back(std::move(parts[i]));
}

Limits Conversion::plan(const std::string& name) {
    std::optional<Topic> found;
    for (std::size_t i = 0; i < recordings_.size(); ++i) {
        RecordingRun run(recordings_[i], types_, settings_, watch_of(i), 0);
        add_names(run.stream());
        outcomes_.add(run.outcomes());
        measure(i, run);
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
