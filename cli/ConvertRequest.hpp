// ConvertRequest: the options of a conversion, for the subcommands that do it or a part of it.

#ifndef ZUN_CLI_CONVERT_REQUEST_HPP
#define ZUN_CLI_CONVERT_REQUEST_HPP

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"

namespace zun::cli {

struct ConvertRequest : Request {
    std::vector<std::pair<std::string, std::vector<std::string>>> given = {};  ///< options, with their values
    std::optional<std::string> output = {};
    std::string report_file = {};
    bool fail_on_truncation = false;
    bool quiet = false;
    int verbosity = 0;
    ProgressLine::When progress = ProgressLine::When::ON_TERMINALS;
};

/// --output.
CLI::Option* add_destination(CLI::App& command, ConvertRequest& request);
/// --for, --max-rows, --sidecar.
void add_files(CLI::App& command, ConvertRequest& request);
/// --overwrite.
CLI::Option* add_overwrite(CLI::App& command, ConvertRequest& request);
/// --fail-on-truncation, --report.
void add_outcome(CLI::App& command, ConvertRequest& request);
/// Which messages, cells and columns there are, and how recordings are read.
void add_shaping(CLI::App& command, ConvertRequest& request);
/// --progress, --no-progress, --quiet, --verbose.
void add_diagnostics(CLI::App& command, ConvertRequest& request);
/// All options of a conversion.
void add_convert_options(CLI::App& command, ConvertRequest& request);

/// Once `command` is parsed: notes what was given, applies the preset, and reads files of limits. Throws
/// CLI::ValidationError for what does not go together.
void settle(CLI::App& command, ConvertRequest& request);

/// Converts, reports, and returns the exit code.
///
/// `prepare`  is called before the work
int convert_recordings(
    ConvertRequest& request,
    const std::function<void(convert::Conversion&)>& prepare = [](convert::Conversion&) {});

}  // namespace zun::cli

#endif
