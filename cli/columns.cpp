
#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "convert/Conversion.hpp"
#include "convert/plan/column_list.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace {

struct ColumnsRequest : Request {
    std::string recording = {};
    std::string topic = {};
};

int list_columns(ColumnsRequest& request) {
    request.settings.topics.wanted = {convert::exact_pattern(request.topic)};
    const auto conversion =
        make_conversion(request, find_recordings({request.recording}, std::nullopt), {{}, &end_requested()});
    const auto [topic, limits] = conversion->plan(request.topic);
    TextStream text;
    convert::print_columns(text, topic, limits);
    write_data(text.str());
    return ALL_DONE;
}

}  // namespace

void add_columns(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("columns", "Lists the columns that a topic's file will have");
    const auto request = std::make_shared<ColumnsRequest>();
    command.footer(
        "Example: dds2csv columns drive.mcap /scan\n\n"
        "A line for each column: its name, its kind, and for the length of a sequence the number of its "
        "elements "
        "that have columns.");
    command.add_option("RECORDING", request->recording, "where the topic is")->required();
    command.add_option("TOPIC", request->topic, "its name")->required();
    add_limits(command, *request);
    add_reading(command, *request);
    command.callback([request, &action] { action = [request] { return list_columns(*request); }; });
}

}  // namespace zun::cli
