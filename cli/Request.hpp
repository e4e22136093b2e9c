// Request: the options that subcommands have in common.

#ifndef ZUN_CLI_REQUEST_HPP
#define ZUN_CLI_REQUEST_HPP

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "convert/Conversion.hpp"
#include "input/bytes/Links.hpp"

namespace zun::cli {

struct Request {
    std::vector<std::string> recordings = {};
    std::vector<std::string> types = {};  ///< folders and recordings with definitions
    bool standard_types = true;           ///< those built in serve where no other definition is
    std::vector<std::string> limits_files = {};
    input::Links links = {.advice = "--follow reads it"};
    convert::Settings settings = {};
};

/// RECORDING..., required; `what` says what becomes of them.
CLI::Option* add_recordings(CLI::App& command, Request& request, const std::string& what);
/// Throws CLI::ValidationError when the end of the time span is before its start.
void check_span(const Request& request);
/// --topics, --exclude.
void add_choice_of_topics(CLI::App& command, Request& request);
/// Those, and --start, --end, --every.
void add_choice_of_messages(CLI::App& command, Request& request);
/// --types, --no-standard-types, --follow.
void add_type_sources(CLI::App& command, Request& request);
/// Those, and --writer, --jobs.
void add_reading(CLI::App& command, Request& request);
/// --fields, --exclude-fields, --explode, --blobs, --text-arrays, --stamps.
void add_columns_choice(CLI::App& command, Request& request);
/// --column-names.
void add_column_names(CLI::App& command, Request& request);
/// --limit, --limits, --no-fit, --max-columns.
void add_limits(CLI::App& command, Request& request);
/// Puts what the files of --limits say into the settings. Throws CLI::ValidationError for one that is none.
void read_limits_files(Request& request);

/// A string option that is read by `read`, whose std::invalid_argument becomes wrong usage. May be repeated.
CLI::Option* add_parsed(CLI::App& command, const std::string& name, const std::string& value_name,
                        const std::function<void(const std::string&)>& read, const std::string& help);

/// An option that takes one word of a few and does what belongs to it; the first is what happens without it.
struct Choice {
    std::string word;
    std::function<void()> choose;
};
CLI::Option* add_choice(CLI::App& command, const std::string& name, const std::vector<Choice>& choices,
                        const std::string& help);

/// A conversion with the types that `request` and the environment name.
std::unique_ptr<convert::Conversion> make_conversion(const Request& request,
                                                     std::vector<convert::Recording> recordings,
                                                     convert::Watch watch);

}  // namespace zun::cli

#endif
