#include <algorithm>
#include <array>
#include <cstdio>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>

#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/options.hpp"
#include "convert/report/table.hpp"
#include "platform/error/TextStream.hpp"
#include "platform/text/visible.hpp"

namespace zun::cli {

namespace {

using convert::Topic;
using nlohmann::ordered_json;

struct InfoRequest : Request {
    bool json = false;
};

/// A recording that was opened, and what it says of itself.
struct Opened {
    convert::RecordingReport report = {};
    std::unique_ptr<convert::RecordingRun> run = {};  ///< null when it cannot be opened

    const input::Summary& summary() const { return run->stream().summary(); }
    std::uint64_t messages() const {
        std::uint64_t count = 0;
        for (const Topic& topic : run->topics())
            count += topic.message_count;
        return count;
    }
    double seconds() const {
        if (!summary().first) return 0;
        const input::Time first = *summary().first;
        const input::Time last = *summary().last;
        return static_cast<double>(last.seconds - first.seconds) +
               (static_cast<double>(last.nanoseconds) - static_cast<double>(first.nanoseconds)) * 1e-9;
    }
};

std::string fixed(double value, const char* format) {
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), format, value);
    return text.data();
}

/// What a reader of the table wants to know beside its columns.
std::string note_on(const Topic& topic) {
    static const std::map<std::string, std::string> words = {{"encoding", "not CDR"},
                                                             {"unnamed-type", "type not named"},
                                                             {"missing-type", "type missing"},
                                                             {"schema", "schema unreadable"},
                                                             {"unsupported-type", "type unsupported"},
                                                             {"no-layout", "type missing"},
                                                             {"too-wide", "too wide"}};
    if (const convert::Accepted* const accepted = topic.accepted())
        return accepted->built_in.empty() ? "" : "type built in";
    const std::string& code = std::get<convert::Refused>(topic.plan).why.code;
    const auto found = words.find(code);
    return found == words.end() ? code : found->second;
}

std::string encoding_of(const input::Channel& channel) {
    return channel.schema_encoding.empty() ? channel.message_encoding
                                           : channel.message_encoding + '/' + channel.schema_encoding;
}

const input::Channel& first_channel(const Opened& recording, const Topic& topic) {
    return recording.run->stream().channels()[topic.channels.front()];
}

void print_topics(std::ostream& out, const Opened& recording) {
    const double seconds = recording.seconds();
    std::vector<std::vector<std::string>> rows;
    for (const Topic& topic : recording.run->topics()) {
        const auto count = static_cast<double>(topic.message_count);
        rows.push_back({visible(topic.name), std::to_string(topic.message_count),
                        seconds > 0 ? fixed(count / seconds, "%.2f") : "", visible(topic.type_name),
                        visible(encoding_of(first_channel(recording, topic))), note_on(topic)});
    }
    const bool noted = std::any_of(rows.begin(), rows.end(), [](const auto& row) { return !row[5].empty(); });
    using enum convert::TableColumn::Align;
    convert::print_table(out,
                         {{"topic"},
                          {"messages", RIGHT},
                          {"per second", RIGHT},
                          {"type"},
                          {"encoding"},
                          {noted ? "note" : ""}},
                         rows);
}

void print_recording(std::ostream& out, const Opened& recording) {
    const input::Summary& summary = recording.summary();
    out << visible(recording.report.name) << ": " << convert::counted(recording.messages(), "message")
        << " on " << convert::counted(recording.run->topics().size(), "topic") << ", "
        << convert::size_text(summary.file_bytes);
    for (const std::string& compression : summary.compressions)
        out << ", " << visible(compression);
    out << '\n';
    if (summary.first)
        out << "  from " << recording.report.first << " to " << recording.report.last << ", "
            << fixed(recording.seconds(), "%.3f") << " s\n";
    print_topics(out, recording);
}

ordered_json reason_json(const convert::Reason& reason) {
    return {{"code", reason.code}, {"text", reason.text.spelled(option_of)}};
}

ordered_json topic_json(const Opened& recording, const Topic& topic) {
    const input::Channel& channel = first_channel(recording, topic);
    ordered_json json = {{"topic", topic.name},
                         {"type", topic.type_name},
                         {"messages", topic.message_count},
                         {"message_encoding", channel.message_encoding},
                         {"schema_encoding", channel.schema_encoding}};
    if (const convert::Reason* const refusal = topic.refusal())
        json["refusal"] = reason_json(*refusal);
    else if (!topic.accepted()->built_in.empty())
        json["built_in"] = topic.accepted()->built_in;
    return json;
}

ordered_json recording_json(const Opened& recording) {
    ordered_json json = {{"recording", recording.report.name}};
    if (recording.report.failure) {
        json["failure"] = reason_json(*recording.report.failure);
        return json;
    }
    const input::Summary& summary = recording.summary();
    json["bytes"] = summary.file_bytes;
    json["compressions"] = summary.compressions;
    json["messages"] = recording.messages();
    if (summary.first)
        json["span"] = {{"first", recording.report.first},
                        {"last", recording.report.last},
                        {"seconds", recording.seconds()}};
    json["topics"] = ordered_json::array();
    for (const Topic& topic : recording.run->topics())
        json["topics"].push_back(topic_json(recording, topic));
    json["problems"] = ordered_json::array();
    for (const input::Problem& problem : recording.run->stream().problems())
        json["problems"].push_back(convert::text_of(problem));
    return json;
}

void complain(const Opened& recording) {
    if (recording.report.failure) {
        const std::string failure = recording.report.failure->text.spelled(option_of);
        const bool names_itself = failure.find(recording.report.name) != std::string::npos;
        std::cerr << visible((names_itself ? "" : recording.report.name + ": ") + failure) << '\n';
    }
    if (!recording.run) return;
    for (const input::Problem& problem : recording.run->stream().problems())
        std::cerr << visible(convert::text_of(problem)) << '\n';
}

bool is_whole(const Opened& recording) {
    if (!recording.run) return false;
    const auto& found = recording.run->stream().problems();
    return std::all_of(found.begin(), found.end(),
                       [](const input::Problem& problem) { return problem.hint; });
}

int show_info(const InfoRequest& request) {
    const auto recordings = find_recordings(request.recordings, std::nullopt, request.links);
    const auto conversion = make_conversion(request, recordings, {{}, &end_requested()});
    bool any = false;
    bool all = true;
    ordered_json json = {{"version", ZUN_VERSION}, {"recordings", ordered_json::array()}};
    for (std::size_t i = 0; i < recordings.size(); ++i) {
        Opened recording;
        recording.run = conversion->open(i, recording.report);
        any = any || recording.run;
        all = all && is_whole(recording);
        complain(recording);
        if (request.json) json["recordings"].push_back(recording_json(recording));
        if (request.json || !recording.run) continue;
        TextStream text;
        print_recording(text, recording);
        write_data(text.str());
    }
    convert::Report unmatched;
    conversion->add_notes(unmatched);
    for (const convert::Reason& loss : unmatched.losses)
        std::cerr << visible(loss.text.spelled(option_of)) << '\n';
    if (request.json) write_data(json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n');
    if (!any) return FAILED;
    return all && unmatched.losses.empty() ? ALL_DONE : SOMETHING_LOST;
}

}  // namespace

void add_info(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("info", "Shows topics, types, counts and times of recordings");
    const auto request = std::make_shared<InfoRequest>();
    command.footer(
        "Example: dds2csv info drive.mcap\n\n"
        "A note says where a topic's type is missing, or why else it would not be converted.");
    add_recordings(command, *request, "what to look at");
    add_choice_of_topics(command, *request);
    add_type_sources(command, *request);
    command.add_flag("--json", request->json, "print it as JSON")->group("Output");
    command.callback([request, &action] { action = [request] { return show_info(*request); }; });
}

}  // namespace zun::cli
