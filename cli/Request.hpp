// Request: the options that subcommands have in common.

#ifndef ZUN_CLI_REQUEST_HPP
#define ZUN_CLI_REQUEST_HPP

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <CLI/App.hpp>

#include "convert/Settings.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::cli {

struct Request {
    std::vector<std::string> recordings = {};
    std::vector<std::string> types = {};  ///< folders and recordings with definitions
    convert::Settings settings = {};
};

/// RECORDING...; `what` says what becomes of them.
void add_recordings(CLI::App& command, Request& request, const std::string& what);
/// --topics, --exclude.
void add_topic_choice(CLI::App& command, Request& request);
/// --start, --end, --every.
void add_time_choice(CLI::App& command, Request& request);
/// --types, --jobs.
void add_reading(CLI::App& command, Request& request);
/// --limit, --limits, --no-fit, --max-columns, --blobs.
void add_limits(CLI::App& command, Request& request);

/// A string option that is read by `read`, whose std::invalid_argument becomes wrong usage. May be repeated.
CLI::Option* add_parsed(CLI::App& command, const std::string& name, const std::string& value_name,
                        std::function<void(const std::string&)> read, const std::string& help);

/// The definitions that `types` and the environment name.
void add_definitions(schema::TypeCatalog& catalog, const std::vector<std::string>& types);

}  // namespace zun::cli

#endif
