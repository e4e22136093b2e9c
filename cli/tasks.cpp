#include "cli/tasks.hpp"

#include <algorithm>
#include <glob.h>
#include <iostream>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "platform/error/TextStream.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

bool names(const std::vector<std::string>& list, const std::string& name) {
    return std::find(list.begin(), list.end(), name) != list.end();
}

/// The files that patterns match, and those that are named without any.
std::vector<fs::path> matching_files(const std::vector<std::string>& patterns) {
    std::vector<fs::path> files;
    for (const std::string& pattern : patterns) {
        glob_t found{};
        if (::glob(pattern.c_str(), GLOB_NOCHECK, nullptr, &found) == 0)
            files.insert(files.end(), found.gl_pathv, found.gl_pathv + found.gl_pathc);
        ::globfree(&found);
    }
    return files;
}

/// A task with all that it takes.
struct OpenTask {
    explicit OpenTask(const TaskRequest& task, const Request& outer)
        : plan(read_own_plan(task.plan_file)), request(parse_convert(plan.arguments)) {
        if (task.number > plan.tasks.size())
            throw std::runtime_error("'" + task.plan_file + "' has " + std::to_string(plan.tasks.size()) +
                                     " tasks, and no task " + std::to_string(task.number));
        request.settings.jobs = outer.settings.jobs;
        recording = plan.tasks[task.number - 1].recording;
        check_files(plan, recording);
    }

    convert::Plan plan;
    ConvertRequest request;
    std::size_t recording;
};

}  // namespace

void add_task(CLI::App& command, TaskRequest& task) {
    const char* const group = "Tasks";
    CLI::Option* const plan =
        command
            .add_option("--plan", task.plan_file,
                        "do one task of a plan, which has the recordings and the options; see dds2csv plan")
            ->type_name("PLAN")
            ->group(group);
    CLI::Option* const number = command.add_option("--task", task.number, "which one, from 1")
                                    ->type_name("I")
                                    ->check(CLI::Range(std::size_t{1}, SIZE_MAX).description(""))
                                    ->needs(plan)
                                    ->group(group);
    plan->needs(number);
}

void refuse_beside_plan(const CLI::App& command, const std::vector<std::string>& allowed) {
    for (const CLI::Option* const option : command.get_options()) {
        const std::string name = option->get_name();
        if (!option->empty() && name != "--plan" && name != "--task" && !names(allowed, name))
            throw CLI::ValidationError(name, "the plan has the recordings and the options");
    }
}

std::vector<std::string> arguments_of(const CLI::App& command, const std::vector<std::string>& left_out) {
    std::vector<std::string> arguments;
    std::vector<std::string> words;
    for (const CLI::Option* const option : command.get_options()) {
        const std::string name = option->get_name();
        if (option->empty() || names(left_out, name)) continue;
        for (const std::string& value : option->results()) {
            if (option->get_positional())
                words.push_back(value);
            else if (option->get_expected_min() == 0)
                arguments.push_back(name);
            else if (value.empty())
                arguments.insert(arguments.end(), {name, value});
            else
                arguments.push_back(name + '=' + value);
        }
    }
    if (!words.empty()) arguments.emplace_back("--");
    arguments.insert(arguments.end(), words.begin(), words.end());
    return arguments;
}

ConvertRequest parse_convert(const std::vector<std::string>& arguments) {
    CLI::App command("", "convert");
    ConvertRequest request;
    add_recordings(command, request, "");
    add_convert_options(command, request);
    command.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    settle(command, request);
    return request;
}

convert::Plan read_own_plan(const std::string& path) {
    convert::Plan plan = convert::read_plan(path);
    if (plan.version == ZUN_VERSION) return plan;
    throw std::runtime_error("'" + path + "' is a plan of version " + plan.version +
                             ", and this is version " ZUN_VERSION);
}

std::vector<convert::Recording> recordings_of(const convert::Plan& plan, const ConvertRequest& request) {
    auto recordings = find_recordings(request.recordings, request.output, request.links);
    if (!std::equal(recordings.begin(), recordings.end(), plan.recordings.begin(), plan.recordings.end(),
                    [](const auto& a, const auto& b) { return a.name == b.name; }))
        throw std::runtime_error("there are other recordings than when the plan was made");
    return recordings;
}

void check_files(const convert::Plan& plan, std::size_t index) {
    const auto check = [](const std::string& name, const std::vector<convert::SourceFile>& then,
                          const std::vector<convert::SourceFile>& now) {
        if (then != now) throw std::runtime_error("'" + name + "' has changed since the plan was made");
    };
    const convert::PlannedRecording& recording = plan.recordings.at(index);
    check(recording.name, recording.files, convert::source_files(recording.name));
    for (const convert::SourceFile& file : plan.files)
        check(file.path, {file}, convert::source_files(file.path));
}

int measure_task(const TaskRequest& task, const Request& outer) {
    const OpenTask open(task, outer);
    const auto conversion =
        make_conversion(open.request, recordings_of(open.plan, open.request), {{}, &end_requested()});
    const convert::Measurement measured = conversion->measure_task(open.plan, task.number);
    check_files(open.plan, open.recording);
    TextStream text;
    convert::write_measurement(text, measured, open.plan, task.number);
    write_data(text.str());
    return ALL_DONE;
}

int convert_task(const TaskRequest& task, const ConvertRequest& outer) {
    const OpenTask open(task, outer);
    const convert::Plan& plan = open.plan;
    convert::Measurement measured;
    if (open.request.settings.fit)
        measured = convert::read_measurements(matching_files(outer.limits_files), plan);
    const std::string lengths = convert::text_of(measured);
    if (convert::is_done(*outer.output, plan, task.number, lengths)) {
        std::cerr << "task " << task.number << " of " << plan.tasks.size() << " is done already\n";
        return ALL_DONE;
    }
    ProgressLine line(outer.progress);
    const auto show = [&](const auto& activity, auto messages, auto total) {
        line.show(activity, messages, total);
    };
    const auto conversion =
        make_conversion(open.request, recordings_of(plan, open.request), {show, &end_requested()});
    conversion->take(plan, measured, {});
    convert::TaskPart part =
        conversion->make_part(plan, task.number, convert::part_folder(*outer.output, task.number));
    check_files(plan, open.recording);
    part.lengths = lengths;
    convert::write_part(part, plan, task.number);
    return ALL_DONE;
}

}  // namespace zun::cli
