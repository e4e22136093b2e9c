
#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/presets.hpp"
#include "convert/Conversion.hpp"
#include "convert/plan/column_list.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace {

struct ColumnsRequest : Request {
    std::vector<std::string> arguments = {};  // recordings, then the topic
};

int list_columns(ColumnsRequest& request) {
    const std::string topic = request.arguments.back();
    request.recordings.assign(request.arguments.begin(), request.arguments.end() - 1);
    request.settings.topics.wanted = {convert::exact_pattern(topic)};
    const auto conversion = make_conversion(
        request, find_recordings(request.recordings, std::nullopt, request.links), {{}, &end_requested()});
    TextStream text;
    convert::print_columns(text, conversion->plan(topic), request.settings.column_names);
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
    command
        .add_option(
            "RECORDING", request->arguments,
            "where the topic is, one recording or several (- for standard input), and behind them its name")
        ->type_name("TOPIC")
        ->expected(2, CLI::detail::expected_max_vector_size)
        ->required();
    add_columns_choice(command, *request);
    add_column_names(command, *request);
    add_preset(command, "Which columns");
    add_limits(command, *request);
    add_reading(command, *request);
    command.callback([request, &command, &action] {
        read_limits_files(*request);
        apply_preset(command);
        action = [request] { return list_columns(*request); };
    });
}

}  // namespace zun::cli
