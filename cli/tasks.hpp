// tasks: a conversion in parts, as a plan says.
//
//     plan                          the command line of the conversion, and stretches of its recordings
//     fit --plan, of each task      lengths
//     convert --plan, of each task  rows, in files of their own
//     join                          the files of the conversion

#ifndef ZUN_CLI_TASKS_HPP
#define ZUN_CLI_TASKS_HPP

#include <cstddef>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "cli/ConvertRequest.hpp"
#include "convert/tasks/Plan.hpp"

namespace zun::cli {

struct TaskRequest {
    std::string plan_file = {};
    std::size_t number = 0;  ///< from 1
};

/// --plan, --task.
void add_task(CLI::App& command, TaskRequest& task);
/// Throws CLI::ValidationError for an option that the plan has to hold: any but these and those of
/// add_task().
void refuse_beside_plan(const CLI::App& command, const std::vector<std::string>& allowed);

/// The options that were given to `command`, but for `left_out`, as arguments.
std::vector<std::string> arguments_of(const CLI::App& command, const std::vector<std::string>& left_out);
/// The conversion that arguments ask for.
ConvertRequest parse_convert(const std::vector<std::string>& arguments);

/// A plan that this version made. Throws InputError or std::runtime_error otherwise.
convert::Plan read_own_plan(const std::string& path);
/// The recordings of the plan. Throws std::runtime_error when they are other ones than when it was made.
std::vector<convert::Recording> recordings_of(const convert::Plan& plan, const ConvertRequest& request);
/// Throws std::runtime_error when a file is another than when the plan was made: of recording `index`, or of
/// the options.
void check_files(const convert::Plan& plan, std::size_t index);

// What the subcommands do with one task; the exit code. `request` has what may be given beside a plan.
int measure_task(const TaskRequest& task, const Request& request);
int convert_task(const TaskRequest& task, const ConvertRequest& request);

}  // namespace zun::cli

#endif
