// commands: the subcommands of dds2csv.

#ifndef ZUN_CLI_COMMANDS_HPP
#define ZUN_CLI_COMMANDS_HPP

#include <functional>
#include <memory>
#include <string>

#include <CLI/App.hpp>

namespace zun::cli {

/// What the process returns.
enum ExitCode : int {
    ALL_DONE = 0,
    FAILED = 1,
    WRONG_USAGE = 2,
    SOMETHING_LOST = 3,  ///< finished, and the report says what was lost or skipped
};

/// What the given arguments ask for; set by parsing them.
using Action = std::function<int()>;

// Each adds one subcommand to `app`. Parsing arguments that call it sets `action`.
void add_convert(CLI::App& app, Action& action);
void add_info(CLI::App& app, Action& action);
void add_columns(CLI::App& app, Action& action);
void add_fit(CLI::App& app, Action& action);
void add_plan(CLI::App& app, Action& action);
void add_join(CLI::App& app, Action& action);
void add_types(CLI::App& app, Action& action);
void add_help(CLI::App& app, Action& action);

/// The whole command line. `action` must outlive it.
std::unique_ptr<CLI::App> make_command_line(Action& action);

/// What is wrong with the first word that parsing `app` could not place, and which subcommands or options are
/// nearest; empty where it placed all.
std::string unknown_word(const CLI::App& app);

}  // namespace zun::cli

#endif
