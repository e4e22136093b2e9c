// presets: what --for sets for a program that opens the files, in options that a user could give as well.

#ifndef ZUN_CLI_PRESETS_HPP
#define ZUN_CLI_PRESETS_HPP

#include <string>

#include <CLI/App.hpp>

namespace zun::cli {

/// --for. What it sets is set by apply_preset().
void add_preset(CLI::App& command, const std::string& group);

/// Once `command` is parsed: gives it the options of the chosen preset that it has, but for those that the
/// user gave, or in whose place the user gave another.
void apply_preset(CLI::App& command);

/// A line for each preset with its options: "--for r: --empty NA ...".
std::string preset_lines();

}  // namespace zun::cli

#endif
