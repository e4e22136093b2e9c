#include "convert/report/Report.hpp"

#include <algorithm>
#include <map>

#include "convert/report/table.hpp"
#include "platform/text/utf8.hpp"
#include "platform/text/visible.hpp"

namespace zun::convert {

namespace {

constexpr std::uint64_t spreadsheet_columns = 16'384;
constexpr std::uint64_t spreadsheet_rows = 1'048'576;
constexpr std::uint64_t sqlite_columns = 2'000;

using Reasons = std::vector<Reason>;

/// `name`, printable, in no more than `width` bytes, of which there are at least as many as characters.
std::string short_name(const std::string& name, std::size_t width) {
    std::string text = visible(name);
    if (text.size() <= width) return text;
    return std::string(first_characters(text, width - 3)) + "...";
}

std::string files_of(const TopicReport& topic) {
    std::string files = topic.file;
    for (const std::string& file : topic.further_files)
        files += ", " + file;
    return files + (topic.sidecar.empty() ? "" : ", " + topic.sidecar);
}

void print_topics(std::ostream& out, const RecordingReport& recording, std::size_t name_width) {
    std::vector<std::vector<std::string>> rows;
    for (const TopicReport& topic : recording.topics)
        if (!topic.file.empty())
            rows.push_back({short_name(topic.topic, name_width), std::to_string(topic.rows),
                            std::to_string(topic.columns), size_text(topic.bytes), visible(files_of(topic))});
    using enum TableColumn::Align;
    print_table(out, {{"topic"}, {"rows", RIGHT, 10}, {"columns", RIGHT}, {"size", RIGHT, 8}, {"file"}},
                rows);
}

Sentence cut_sentence(const std::string& topic, const CutField& cut) {
    return topic + ": '" + cut.field + "' is cut to " + std::to_string(cut.columns) + " of up to " +
           counted(cut.longest, "element") + " in " + counted(cut.rows, "row") + "; " + cut.remedy +
           " keeps all";
}

/// Those that a rule asked for, or the others.
void add_cuts(Reasons& reasons, const TopicReport& topic, bool asked_for) {
    for (const CutField& cut : topic.cuts)
        if (cut.rule.empty() != asked_for) reasons.push_back({"cut", cut_sentence(topic.topic, cut)});
}

void add_unreadable(Reasons& losses, const TopicReport& topic) {
    if (topic.unreadable > 0)
        losses.push_back({"unreadable",
                          topic.topic + ": " + counted(topic.unreadable, "message") +
                              (topic.unreadable == 1 ? " is no sample of " : " are no samples of ") +
                              topic.type_name,
                          topic.reasons});
}

/// Topics that are refused for one reason are told in one line; those without messages lose nothing.
void add_refusals(Reasons& reasons, const RecordingReport& recording, bool with_messages) {
    struct Refused {
        std::string topics;
        std::uint64_t messages;
        const Reason* why;
    };
    std::map<Sentence, std::size_t> told;  // by text: index in `refused`
    std::vector<Refused> refused;
    for (const TopicReport& topic : recording.topics) {
        if (!topic.refusal || (topic.messages > 0) != with_messages) continue;
        const auto [place, is_new] = told.try_emplace(topic.refusal->text, refused.size());
        if (is_new) refused.push_back({"", 0, &*topic.refusal});
        Refused& entry = refused[place->second];
        entry.topics += (entry.topics.empty() ? "" : ", ") + topic.topic;
        entry.messages += topic.messages;
    }
    for (const Refused& entry : refused) {
        const std::string messages = with_messages ? counted(entry.messages, "message") + " not converted: "
                                                   : "not converted, without messages: ";
        reasons.push_back({entry.why->code, entry.topics + ": " + messages + entry.why->text});
    }
}

void add_damage(Reasons& losses, const RecordingReport& recording) {
    if (recording.problem_count == 0) return;
    Reason damage{"damage", "the recording is damaged in " + counted(recording.problem_count, "place")};
    if (recording.messages_lost > 0)
        damage.text += ", " + counted(recording.messages_lost, "message") + " known to be lost";
    for (const input::Problem& problem : recording.problems)
        damage.details.push_back(text_of(problem));
    if (recording.problem_count > recording.problems.size())
        damage.details.push_back(
            "and " + std::to_string(recording.problem_count - recording.problems.size()) + " more");
    losses.push_back(std::move(damage));
}

/// What the messages of a topic had beside their values.
void add_message_hints(Reasons& hints, const TopicReport& topic) {
    const auto add = [&](const char* code, std::uint64_t count, const char* one, const char* many,
                         const Sentence& rest) {
        if (count > 0)
            hints.push_back(
                {code, topic.topic + ": " + counted(count, "message") + (count == 1 ? one : many) + rest});
    };
    add("left-over", topic.left_over, " goes", " go",
        " on after the sample: the sender may know a longer type than " + topic.type_name);
    add("unknown-members", topic.unknown_members, " has", " have",
        " members that " + topic.type_name + " does not have, which are left out");
    add("absent-members", topic.absent_members, " lacks", " lack",
        " members of " + topic.type_name + ", whose cells show their default values");
    add("invalid-text", topic.invalid_text, " holds", " hold",
        Sentence(" text that is not UTF-8, or zeros in it; ") + Advice{Advice::Setting::INVALID_TEXT} +
            " says what becomes of it");
}

void add_reader_hints(Reasons& hints, const TopicReport& topic) {
    if (topic.file.empty()) return;
    const std::string start = topic.topic + ": ";
    const std::string columns = counted(topic.columns, "column");
    if (topic.columns >= spreadsheet_columns || topic.longest_file_rows >= spreadsheet_rows)
        hints.push_back(
            {"spreadsheet", start + columns + " and " + counted(topic.longest_file_rows, "row") +
                                " are more than a spreadsheet opens (16384 columns, 1048576 rows)"});
    if (topic.columns >= sqlite_columns)
        hints.push_back({"sqlite", start + columns + " are more than an SQLite table has (2000)"});
}

void print_reasons(std::ostream& out, const char* title, const Reasons& reasons, const Spelling& spelling) {
    if (reasons.empty()) return;
    out << title << '\n';
    for (const Reason& reason : reasons) {
        out << "  " << visible(reason.text.spelled(spelling)) << '\n';
        for (const std::string& detail : reason.details)
            out << "    " << visible(detail) << '\n';
    }
}

std::string summary_of(const RecordingReport& recording, bool dry_run) {
    std::uint64_t rows = 0;
    std::uint64_t files = 0;
    for (const TopicReport& topic : recording.topics) {
        rows += topic.rows;
        files += topic.file.empty() ? 0 : 1;
    }
    std::string text = recording.name + ": " + counted(rows, "row") + " of " + counted(files, "topic");
    if (dry_run) return text + " would go to " + recording.folder;
    return text + (recording.folder.empty() ? "" : " in " + recording.folder);
}

}  // namespace

std::string text_of(const input::Problem& problem) {
    const std::string place =
        problem.source.empty() ? "" : problem.source + ':' + std::to_string(problem.position) + ": ";
    return place + problem.text;
}

std::vector<Reason> losses_of(const RecordingReport& recording) {
    Reasons losses;
    if (recording.failure)
        losses.push_back({recording.failure->code, "not converted: " + recording.failure->text});
    add_refusals(losses, recording, true);
    for (const TopicReport& topic : recording.topics) {
        add_unreadable(losses, topic);
        add_cuts(losses, topic, false);
    }
    if (recording.messages_missing > 0)
        losses.push_back({"missing-messages", counted(recording.messages_missing, "message") +
                                                  " that the recording counts cannot be found"});
    losses.insert(losses.end(), recording.losses.begin(), recording.losses.end());
    add_damage(losses, recording);
    return losses;
}

std::vector<Reason> hints_of(const RecordingReport& recording, bool for_readers) {
    Reasons hints = recording.hints;
    add_refusals(hints, recording, false);
    for (const TopicReport& topic : recording.topics) {
        add_cuts(hints, topic, true);
        for (const Reason& hint : topic.hints)
            hints.push_back({hint.code, topic.topic + ": " + hint.text, hint.details});
        add_message_hints(hints, topic);
        if (for_readers) add_reader_hints(hints, topic);
    }
    std::string names;
    for (const std::string& name : recording.built_in)
        names += (names.empty() ? "" : ", ") + name;
    if (!names.empty()) hints.push_back({"built-in", "types built in: " + names});
    return hints;
}

bool Report::lost_anything() const {
    const auto lost = [](const RecordingReport& recording) { return !losses_of(recording).empty(); };
    return !losses.empty() || std::any_of(recordings.begin(), recordings.end(), lost);
}

bool Report::cut_anything() const {
    for (const RecordingReport& recording : recordings)
        for (const TopicReport& topic : recording.topics)
            if (!topic.cuts.empty()) return true;
    return false;
}

bool Report::finished_any() const {
    return std::any_of(recordings.begin(), recordings.end(),
                       [](const RecordingReport& recording) { return recording.finished; });
}

void print_report(std::ostream& out, const Report& report, Detail detail, const Spelling& spelling,
                  std::size_t name_width) {
    const auto print = [&](const char* title, const Reasons& reasons) {
        print_reasons(out, title, reasons, spelling);
    };
    for (const RecordingReport& recording : report.recordings) {
        const Reasons losses = losses_of(recording);
        if (detail == Detail::TABLE && recording.finished) {
            out << visible(summary_of(recording, report.dry_run)) << '\n';
            print_topics(out, recording, name_width);
        } else if (!losses.empty()) {
            out << visible(recording.name) << ":\n";
        }
        print("lost:", losses);
        if (detail == Detail::TABLE) print("hints:", hints_of(recording, report.dry_run));
    }
    print("lost:", report.losses);
    if (detail == Detail::TABLE) print("hints:", report.notes);
}

}  // namespace zun::convert
