#include <cstdint>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unistd.h>
#include <unordered_set>
#include <utility>

#include <CLI/CLI.hpp>

#include "cli/ConvertRequest.hpp"
#include "cli/ReportFile.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/options.hpp"
#include "cli/presets.hpp"
#include "cli/tasks.hpp"
#include "platform/logger/Logger.hpp"
#include "platform/text/visible.hpp"

namespace zun::cli {

namespace {

constexpr std::size_t terminal_name_width = 60;
constexpr std::size_t most_messages_told_apart = 100'000;

void listen(int verbosity) {
    using chronicle::Logger;
    if (verbosity == 0) return;
    // Every thread's converter says the same, and so does every row: once is enough.
    const auto said = std::make_shared<std::unordered_set<std::string>>();
    Logger::instance().listen(
        verbosity == 1 ? Logger::Level::WARN : Logger::Level::LOCAL,
        [said](Logger::Level, const std::string& message) {
            // Nobody wrote the expressions: the plan makes them of rules for single elements.
            if (message.find(" match against expression: ") != std::string::npos) return;
            if (said->size() < most_messages_told_apart && !said->insert(message).second) return;
            std::cerr << visible(message) << '\n';
        });
}

int exit_code(const convert::Report& report, bool fail_on_truncation) {
    if (!report.finished_any() || (fail_on_truncation && report.cut_anything())) return FAILED;
    return report.lost_anything() ? SOMETHING_LOST : ALL_DONE;
}

}  // namespace

int convert_recordings(ConvertRequest& request, const std::function<void(convert::Conversion&)>& prepare) {
    listen(request.verbosity);
    request.settings.to_stdout = request.output == "-";
    if (request.settings.to_stdout) request.output = "";
    if (request.settings.to_stdout && request.settings.blobs == convert::Blobs::FILES)
        throw convert::WrongUsage("standard output has no place for files; --blobs files needs a folder");
    auto recordings = find_recordings(request.recordings, request.output, request.links);
    if (request.settings.to_stdout && recordings.size() != 1)
        throw std::runtime_error("standard output takes one recording");
    ReportFile report_file(request.report_file, recordings);
    convert::Report report{.version = ZUN_VERSION, .options = request.given};
    const auto tell = [&] {
        const auto detail = request.quiet ? convert::Detail::LOSSES : convert::Detail::TABLE;
        const bool on_terminal = ::isatty(STDERR_FILENO) == 1;
        print_report(std::cerr, report, detail, option_of, on_terminal ? terminal_name_width : SIZE_MAX);
        report_file.write(report);
    };
    try {
        ProgressLine line(request.progress);
        const auto show = [&](const auto& activity, auto messages, auto total) {
            line.show(activity, messages, total);
        };
        const auto conversion = make_conversion(request, std::move(recordings), {show, &end_requested()});
        prepare(*conversion);
        conversion->run(report);
    } catch (const std::exception&) {
        tell();
        throw;
    }
    tell();
    return exit_code(report, request.fail_on_truncation);
}

void add_convert(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("convert", "Writes a CSV file for each topic of recordings");
    const auto request = std::make_shared<ConvertRequest>();
    const auto task = std::make_shared<TaskRequest>();
    command.footer(
        "Example: dds2csv convert drive.mcap -o csv -t '/imu/*' --time-format rfc3339\n\n"
        "Each row holds one message: its time, then one cell for each field. The closing report names all "
        "that "
        "was lost, cut or skipped.\n\n"
        "The options that --for stands for:\n" +
        preset_lines());
    CLI::Option* const recordings = add_recordings(command, *request, "what to convert")->required(false);
    add_task(command, *task);
    add_convert_options(command, *request);
    const Action convert_one_task = [=] { return convert_task(*task, *request); };
    const Action convert_all = [=] { return convert_recordings(*request); };
    command.callback([=, &command, &action] {
        if (!task->plan_file.empty()) {
            refuse_beside_plan(command, {"--output", "--limits", "--jobs", "--progress", "--no-progress"});
            if (!request->output) throw CLI::RequiredError("--output");
            action = convert_one_task;
            return;
        }
        if (recordings->empty()) throw CLI::RequiredError("RECORDING");
        settle(command, *request);
        action = convert_all;
    });
}

}  // namespace zun::cli
