#include <iostream>

#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/options.hpp"
#include "cli/tasks.hpp"
#include "convert/Conversion.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace {

int learn_limits(const Request& request) {
    convert::Report report;
    const auto conversion = make_conversion(
        request, find_recordings(request.recordings, std::nullopt, request.links), {{}, &end_requested()});
    const convert::LimitsByTopic limits = conversion->measure(report);
    convert::print_report(std::cerr, report, convert::Detail::LOSSES, option_of);
    if (!report.finished_any()) return FAILED;
    TextStream text;
    convert::write_limits(text, limits);
    write_data(text.str());
    return report.lost_anything() ? SOMETHING_LOST : ALL_DONE;
}

}  // namespace

void add_fit(CLI::App& app, Action& action) {
    CLI::App& command =
        *app.add_subcommand("fit", "Learns the longest length of every sequence, for convert --limits");
    const auto request = std::make_shared<Request>();
    const auto task = std::make_shared<TaskRequest>();
    command.footer(
        "Example: dds2csv fit monday.mcap tuesday.mcap > limits.yaml\n"
        "         dds2csv convert wednesday.mcap --limits limits.yaml\n\n"
        "Recordings that are converted with the same limits have the same columns.");
    CLI::Option* const recordings = add_recordings(command, *request, "what to learn from")->required(false);
    add_task(command, *task);
    add_choice_of_messages(command, *request);
    add_columns_choice(command, *request);
    add_reading(command, *request);
    const Action measure = [=] { return measure_task(*task, *request); };
    const Action learn = [=] { return learn_limits(*request); };
    command.callback([=, &command, &action] {
        if (!task->plan_file.empty()) {
            refuse_beside_plan(command, {"--jobs"});
            action = measure;
            return;
        }
        if (recordings->empty()) throw CLI::RequiredError("RECORDING");
        check_span(*request);
        action = learn;
    });
}

}  // namespace zun::cli
