#include <CLI/CLI.hpp>

#include "cli/commands.hpp"
#include "cli/tasks.hpp"

namespace zun::cli {

namespace {

/// A conversion whose rows are there already.
int join(const std::string& plan_file, const std::vector<std::string>& arguments) {
    const convert::Plan plan = read_own_plan(plan_file);
    std::vector<std::string> all = arguments;
    all.insert(all.end(), plan.arguments.begin(), plan.arguments.end());
    ConvertRequest request = parse_convert(all);
    for (std::size_t i = 0; i < plan.recordings.size(); ++i)
        check_files(plan, i);
    recordings_of(plan, request);
    std::vector<convert::TaskPart> parts = convert::read_parts(*request.output, plan);
    return convert_recordings(request, [&](convert::Conversion& conversion) {
        const convert::Measurement measured =
            parts.empty() ? convert::Measurement() : convert::measurement_of(parts.front().lengths);
        conversion.take(plan, measured, std::move(parts));
    });
}

}  // namespace

void add_join(CLI::App& app, Action& action) {
    CLI::App& command =
        *app.add_subcommand("join", "Makes the files of a conversion from the tasks of its plan");
    const auto plan_file = std::make_shared<std::string>();
    const auto request = std::make_shared<ConvertRequest>();
    command.footer(
        "Example: dds2csv join night.plan -o csv\n\n"
        "Files, report and exit code are those of one dds2csv convert. The parts of the tasks stay, in "
        "DIR/parts.");
    command.add_option("PLAN", *plan_file, "the plan, all of whose tasks are done")->required();
    add_destination(command, *request)
        ->description("the folder that the tasks were given, where the files go too")
        ->required();
    add_overwrite(command, *request);
    add_outcome(command, *request);
    add_diagnostics(command, *request);
    command.callback([=, &command, &action] {
        static_cast<void>(request);  // the options write into it when the command is parsed
        action = [plan_file, arguments = arguments_of(command, {"PLAN"})] {
            return join(*plan_file, arguments);
        };
    });
}

}  // namespace zun::cli
