#include <filesystem>
#include <fstream>
#include <iostream>

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/options.hpp"
#include "cli/presets.hpp"
#include "cli/tasks.hpp"
#include "convert/output/Output.hpp"
#include "convert/report/table.hpp"
#include "input/bytes/Pipe.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

struct PlanRequest : ConvertRequest {
    std::string plan_file = {};
    std::size_t parts = 0;  ///< about how many tasks; 0 where their size is given
    std::uint64_t part_bytes = std::uint64_t{1} << 30U;
    std::vector<std::string> arguments = {};
};

/// Throws CLI::ValidationError for what counts beyond the ends of tasks.
void refuse_counts(const PlanRequest& request) {
    const convert::Settings& settings = request.settings;
    if (settings.every.messages > 1)
        throw CLI::ValidationError("--every",
                                   "no task knows how many messages the ones before it have; an interval "
                                   "(100ms) can be planned");
    if (settings.most_rows)
        throw CLI::ValidationError("--max-rows", "no task knows how many rows the ones before it have");
    if (settings.blobs == convert::Blobs::FILES)
        throw CLI::ValidationError(
            "--blobs files", "no task knows how many files the ones before it have, which are numbered");
    for (const std::string& path : request.recordings)
        if (input::Pipe::is_pipe(path))
            throw CLI::ValidationError("RECORDING",
                                       "'" + path + "' can be read once, and tasks read it often");
}

void add_files_of(const PlanRequest& request, const std::vector<convert::Recording>& recordings,
                  convert::Plan& plan) {
    for (const convert::Recording& recording : recordings)
        plan.recordings.push_back({recording.name, convert::source_files(recording.name)});
    for (const std::vector<std::string>& paths : {request.limits_files, request.types})
        for (const std::string& path : paths)
            if (fs::is_regular_file(path)) plan.files.push_back(convert::source_files(path).front());
}

int make_plan(const PlanRequest& request) {
    convert::Plan plan{.version = ZUN_VERSION, .arguments = request.arguments};
    auto recordings = find_recordings(request.recordings, std::nullopt, request.links);
    add_files_of(request, recordings, plan);
    convert::Report report;
    const auto part_size = [&](std::uint64_t all_bytes) {
        return request.parts > 0 ? static_cast<double>(all_bytes) / static_cast<double>(request.parts)
                                 : static_cast<double>(request.part_bytes);
    };
    make_conversion(request, std::move(recordings), {{}, &end_requested()})
        ->plan_tasks(plan, part_size, report);
    convert::print_report(std::cerr, report, convert::Detail::LOSSES, option_of);
    if (!report.finished_any()) return FAILED;
    TextStream text;
    convert::write_plan(text, plan);
    const fs::path file = request.plan_file;
    convert::OutputFiles output(fs::absolute(file).parent_path(), {file.filename().string()}, {}, true);
    output.write(0, text.str());
    output.finish();
    std::cerr << request.plan_file << ": " << convert::counted(plan.tasks.size(), "task") << " of "
              << convert::counted(plan.recordings.size(), "recording") << '\n';
    return ALL_DONE;  // what was lost by now is told again by the join
}

}  // namespace

void add_plan(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("plan", "Splits a conversion into tasks that any machine can do");
    const auto request = std::make_shared<PlanRequest>();
    command.footer(
        "Example: dds2csv plan night/*.mcap -o night.plan --parts 64\n"
        "         dds2csv fit --plan night.plan --task 1 > lengths.1.yaml                      each task\n"
        "         dds2csv convert --plan night.plan --task 1 --limits 'lengths.*.yaml' -o csv  each task\n"
        "         dds2csv join night.plan -o csv\n\n"
        "Recordings, tasks and folders are those of the working directory of each step.");
    add_recordings(command, *request, "what to convert");
    const char* const group = "Tasks";
    command
        .add_option("-o,--output", request->plan_file, "the plan: a line for each task, behind a first one")
        ->type_name("PLAN")
        ->required()
        ->group(group);
    CLI::Option* const parts = command
                                   .add_option("--parts", request->parts,
                                               "about so many tasks, of about the same number of bytes each")
                                   ->type_name("N")
                                   ->check(CLI::Range(std::size_t{1}, std::size_t{1'000'000}).description(""))
                                   ->group(group);
    command
        .add_option("--part-size", request->part_bytes,
                    "tasks that read about so many bytes each (100M, 1G); 1G without either")
        ->transform(CLI::AsSizeValue(false))
        ->type_name("SIZE")
        ->excludes(parts)
        ->group(group);
    add_files(command, *request);
    add_shaping(command, *request);
    command.callback([request, &command, &action] {
        request->arguments = arguments_of(command, {"--output", "--parts", "--part-size", "--jobs"});
        settle(command, *request);
        refuse_counts(*request);
        action = [request] { return make_plan(*request); };
    });
}

}  // namespace zun::cli
