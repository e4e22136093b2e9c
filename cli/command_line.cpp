#include <CLI/CLI.hpp>

#include "cli/commands.hpp"

namespace zun::cli {

std::unique_ptr<CLI::App> make_command_line(Action& action) {
    auto app = std::make_unique<CLI::App>("Recordings of a DDS data bus as CSV files", "dds2csv");
    app->set_version_flag("--version", "dds2csv " ZUN_VERSION);
    app->require_subcommand(1);
    app->footer(
        "Example: dds2csv convert drive.mcap -o csv\n\n"
        "Exit code: 0 all of it converted, 1 failed, 2 wrong usage, 3 finished, but something was lost or "
        "skipped.");
    add_convert(*app, action);
    add_info(*app, action);
    add_columns(*app, action);
    add_fit(*app, action);
    return app;
}

}  // namespace zun::cli
