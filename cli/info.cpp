#include <algorithm>
#include <iomanip>
#include <iostream>
#include <system_error>

#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "platform/error/InputError.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace {

using input::Summary;

double seconds_between(input::Time first, input::Time last) {
    return static_cast<double>(last.seconds - first.seconds) +
           (static_cast<double>(last.nanoseconds) - static_cast<double>(first.nanoseconds)) * 1e-9;
}

std::string fixed(double value, int digits) {
    TextStream text;
    text << std::fixed << std::setprecision(digits) << value;
    return text.str();
}

std::string moment(input::Time time) {
    std::string text;
    convert::append_time(text, time, convert::TimeFormat::RFC3339);
    return text;
}

/// Rows of text, each column as wide as its widest cell; numbers to the right.
void print_table(std::ostream& out, const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], row[i].size());
    for (const auto& row : rows) {
        TextStream line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line << "  " << (i == 1 || i == 2 ? std::right : std::left)
                 << std::setw(static_cast<int>(widths[i])) << row[i];
        std::string text = line.str();
        text.erase(text.find_last_not_of(' ') + 1);
        out << text << '\n';
    }
}

std::string encoding_of(const input::Channel& channel) {
    return channel.schema_encoding.empty() ? channel.message_encoding
                                           : channel.message_encoding + '/' + channel.schema_encoding;
}

void print_recording(std::ostream& out, const std::string& name, const input::MessageStream& stream) {
    const Summary& summary = stream.summary();
    std::uint64_t messages = 0;
    for (const auto& channel : summary.channels)
        messages += channel.message_count;
    out << name << ": " << messages << " messages on " << stream.channels().size() << " channels\n";
    const double seconds = summary.first ? seconds_between(*summary.first, *summary.last) : 0;
    if (summary.first)
        out << "  from " << moment(*summary.first) << " to " << moment(*summary.last) << ", "
            << fixed(seconds, 3) << " s\n";
    if (stream.channels().empty()) return;
    std::vector<std::vector<std::string>> rows = {{"topic", "messages", "per second", "type", "encoding"}};
    for (std::size_t i = 0; i < stream.channels().size(); ++i) {
        const input::Channel& channel = stream.channels()[i];
        const std::uint64_t count = summary.channels[i].message_count;
        rows.push_back({channel.topic, std::to_string(count),
                        seconds > 0 ? fixed(static_cast<double>(count) / seconds, 2) : "", channel.type_name,
                        encoding_of(channel)});
    }
    print_table(out, rows);
}

/// Null, with the reason on stderr, when it cannot be opened.
std::unique_ptr<input::MessageStream> try_open(const convert::Recording& recording) {
    try {
        return recording.open();
    } catch (const InputError& problem) {
        std::cerr << problem.what() << '\n';
    } catch (const std::system_error& problem) {
        std::cerr << problem.what() << '\n';
    }
    return nullptr;
}

bool lost_nothing(const input::MessageStream& stream) {
    const auto& found = stream.problems();
    return std::all_of(found.begin(), found.end(),
                       [](const input::Problem& problem) { return problem.hint; });
}

int show_info(const Request& request) {
    bool any = false;
    bool all = true;
    for (const convert::Recording& recording : find_recordings(request.recordings, std::nullopt)) {
        const auto stream = try_open(recording);
        all = all && stream && lost_nothing(*stream);
        if (!stream) continue;
        any = true;
        TextStream text;
        print_recording(text, recording.name, *stream);
        write_data(text.str());
        for (const input::Problem& problem : stream->problems())
            std::cerr << problem.source << ':' << problem.position << ": " << problem.text << '\n';
    }
    if (!any) return FAILED;
    return all ? ALL_DONE : SOMETHING_LOST;
}

}  // namespace

void add_info(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("info", "Shows topics, types, counts and times of recordings");
    const auto request = std::make_shared<Request>();
    command.footer("Example: dds2csv info drive.mcap");
    add_recordings(command, *request, "what to look at");
    command.callback([request, &action] { action = [request] { return show_info(*request); }; });
}

}  // namespace zun::cli
