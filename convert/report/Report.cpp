#include "convert/report/Report.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <map>

namespace zun::convert {

namespace {

constexpr std::uint64_t spreadsheet_columns = 16'384;
constexpr std::uint64_t spreadsheet_rows = 1'048'576;
constexpr std::uint64_t sqlite_columns = 2'000;

using Lines = std::vector<std::string>;

/// "1 row", "2 rows".
std::string counted(std::uint64_t count, const std::string& noun, const std::string& plural_end = "s") {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : plural_end);
}

/// Three digits or so: "512 B", "1.4 MB".
std::string size_text(std::uint64_t bytes) {
    static constexpr std::array<const char*, 5> units = {"B", "kB", "MB", "GB", "TB"};
    auto value = static_cast<double>(bytes);
    std::size_t unit = 0;
    for (; value >= 999.5 && unit + 1 < units.size(); ++unit)
        value /= 1000;
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), unit > 0 && value < 99.95 ? "%.1f %s" : "%.0f %s", value,
                  units[unit]);
    return text.data();
}

void print_table(std::ostream& out, const RecordingReport& recording) {
    std::size_t width = 0;
    for (const TopicReport& topic : recording.topics)
        if (!topic.file.empty()) width = std::max({width, topic.topic.size(), std::size_t{5}});
    if (width == 0) return;
    const auto name = [&](const std::string& text) -> std::ostream& {
        return out << "  " << std::left << std::setw(static_cast<int>(width)) << text << std::right;
    };
    name("topic") << "        rows  columns      size  file\n";
    for (const TopicReport& topic : recording.topics) {
        if (topic.file.empty()) continue;
        name(topic.topic) << std::setw(12) << topic.rows << std::setw(9) << topic.columns << std::setw(10)
                          << size_text(topic.bytes) << "  " << topic.file << '\n';
    }
}

std::string cut_sentence(const CutField& cut) {
    return '\'' + cut.field + "' is cut to " + std::to_string(cut.columns) + " of up to " +
           counted(cut.longest, "element") + " in " + counted(cut.rows, "row") + "; " + cut.option +
           " keeps all";
}

void add_losses(Lines& lines, const TopicReport& topic) {
    const std::string start = topic.topic + ": ";
    if (topic.unreadable > 0)
        lines.push_back(start + counted(topic.unreadable, "message") +
                        (topic.unreadable == 1 ? " is no sample of " : " are no samples of ") +
                        topic.type_name);
    for (const std::string& reason : topic.reasons)
        lines.push_back("  " + reason);
    for (const CutField& cut : topic.cuts)
        if (cut.rule.empty()) lines.push_back(start + cut_sentence(cut));
}

/// Topics that are refused for one reason are told in one line; those without messages lose nothing.
void add_refusals(Lines& lines, const RecordingReport& recording, bool with_messages) {
    std::map<std::string, std::size_t> told;  // by refusal: index in `refused`
    struct Refused {
        std::string topics;
        std::uint64_t messages;
        std::string why;
    };
    std::vector<Refused> refused;
    for (const TopicReport& topic : recording.topics) {
        if (topic.refusal.empty() || (topic.messages > 0) != with_messages) continue;
        const auto [place, is_new] = told.try_emplace(topic.refusal, refused.size());
        if (is_new) refused.push_back({"", 0, topic.refusal});
        Refused& entry = refused[place->second];
        entry.topics += (entry.topics.empty() ? "" : ", ") + topic.topic;
        entry.messages += topic.messages;
    }
    for (const Refused& entry : refused)
        lines.push_back(entry.topics + ": " +
                        (with_messages ? counted(entry.messages, "message") + " not converted: "
                                       : "not converted, without messages: ") +
                        entry.why);
}

/// Damage that ended the recording names its place itself.
std::string place_of(const input::Problem& problem) {
    return problem.source.empty() ? "" : problem.source + ':' + std::to_string(problem.position) + ": ";
}

Lines losses_of(const RecordingReport& recording) {
    Lines lines;
    if (!recording.failure.empty()) lines.push_back("not converted: " + recording.failure);
    add_refusals(lines, recording, true);
    for (const TopicReport& topic : recording.topics)
        add_losses(lines, topic);
    if (recording.messages_missing > 0)
        lines.push_back(counted(recording.messages_missing, "message") +
                        " that the recording counts cannot be found");
    if (recording.problem_count > 0)
        lines.push_back("the recording is damaged in " + counted(recording.problem_count, "place") +
                        (recording.messages_lost == 0
                             ? ""
                             : ", " + counted(recording.messages_lost, "message") + " known to be lost"));
    for (const input::Problem& problem : recording.problems)
        lines.push_back("  " + place_of(problem) + problem.text);
    if (recording.problem_count > recording.problems.size())
        lines.push_back("  and " + std::to_string(recording.problem_count - recording.problems.size()) +
                        " more");
    return lines;
}

/// What the messages of a topic had beside their values.
void add_message_hints(Lines& lines, const TopicReport& topic) {
    const auto add = [&](std::uint64_t count, const char* one, const char* many, const std::string& rest) {
        if (count > 0)
            lines.push_back(topic.topic + ": " + counted(count, "message") + (count == 1 ? one : many) +
                            rest);
    };
    add(topic.left_over, " goes", " go",
        " on after the sample: the sender may know a longer type than " + topic.type_name);
    add(topic.unknown_members, " has", " have",
        " members that " + topic.type_name + " does not have, which are left out");
    add(topic.absent_members, " lacks", " lack",
        " members of " + topic.type_name + ", whose cells show their default values");
    add(topic.invalid_text, " holds", " hold",
        " text that is not UTF-8, or zeros in it; --invalid-text says what becomes of it");
}

void add_reader_hints(Lines& lines, const TopicReport& topic) {
    if (topic.file.empty()) return;
    const std::string start = topic.topic + ": ";
    const std::string size = counted(topic.columns, "column") + " and " + counted(topic.rows, "row");
    if (topic.columns >= spreadsheet_columns || topic.rows >= spreadsheet_rows)
        lines.push_back(start + size + " are more than a spreadsheet opens (16384 columns, 1048576 rows)");
    if (topic.columns >= sqlite_columns)
        lines.push_back(start + counted(topic.columns, "column") +
                        " are more than an SQLite table has (2000)");
}

Lines hints_of(const RecordingReport& recording, bool for_readers) {
    Lines lines;
    for (const input::Problem& hint : recording.hints)
        lines.push_back(place_of(hint) + hint.text);
    add_refusals(lines, recording, false);
    for (const TopicReport& topic : recording.topics) {
        const std::string start = topic.topic + ": ";
        for (const CutField& cut : topic.cuts)
            if (!cut.rule.empty()) lines.push_back(start + cut_sentence(cut));
        for (const std::string& hint : topic.hints)
            lines.push_back(start + hint);
        add_message_hints(lines, topic);
        if (for_readers) add_reader_hints(lines, topic);
    }
    return lines;
}

void print_lines(std::ostream& out, const char* title, const Lines& lines) {
    if (lines.empty()) return;
    out << title << '\n';
    for (const std::string& line : lines)
        out << "  " << line << '\n';
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

void print_report(std::ostream& out, const Report& report, Detail detail) {
    for (const RecordingReport& recording : report.recordings) {
        const Lines losses = losses_of(recording);
        if (detail == Detail::TABLE && recording.finished) {
            out << summary_of(recording, report.dry_run) << '\n';
            print_table(out, recording);
        } else if (!losses.empty()) {
            out << recording.name << ":\n";
        }
        print_lines(out, "lost:", losses);
        if (detail == Detail::TABLE) print_lines(out, "hints:", hints_of(recording, report.dry_run));
    }
    print_lines(out, "lost:", report.losses);
    if (detail == Detail::TABLE) print_lines(out, "hints:", report.notes);
}

}  // namespace zun::convert
