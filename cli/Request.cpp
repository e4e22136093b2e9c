#include "cli/Request.hpp"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <thread>

#include <CLI/CLI.hpp>

#include "cli/open_recording.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

CLI::Option* add_repeated(CLI::App& command, const std::string& name, const std::string& value_name,
                          std::vector<std::string>& values, const std::string& help) {
    return command.add_option(name, values, help)->type_name(value_name)->allow_extra_args(false);
}

void read_limits_file(const std::string& path, convert::Settings& settings) {
    if (!settings.limits) settings.limits.emplace();
    convert::read_limits(path, *settings.limits);
}

}  // namespace

CLI::Option* add_parsed(CLI::App& command, const std::string& name, const std::string& value_name,
                        std::function<void(const std::string&)> read, const std::string& help) {
    const auto read_all = [name, read = std::move(read)](const std::vector<std::string>& texts) {
        try {
            for (const std::string& text : texts)
                read(text);
        } catch (const std::exception& problem) {
            throw CLI::ValidationError(name, problem.what());
        }
    };
    return command.add_option_function<std::vector<std::string>>(name, read_all, help)
        ->type_name(value_name)
        ->allow_extra_args(false);
}

void add_recordings(CLI::App& command, Request& request, const std::string& what) {
    command
        .add_option("recordings", request.recordings,
                    what + ": MCAP or rosbag2 files, bag folders, or folders of them")
        ->type_name("RECORDING")
        ->required();
}

void add_topic_choice(CLI::App& command, Request& request) {
    convert::TopicFilter& filter = request.settings.topics;
    add_repeated(command, "-t,--topics", "TOPIC", filter.wanted,
                 "only these topics; wildcards; may be repeated");
    add_repeated(command, "-x,--exclude", "TOPIC", filter.unwanted,
                 "not these topics; wildcards; may be repeated");
}

void add_time_choice(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    add_parsed(
        command, "-S,--start", "TIME",
        [&](const auto& text) { settings.start = convert::parse_time_bound(text); },
        "only messages logged from here on: nanoseconds, RFC 3339, +10s from the first, -30s from the last");
    add_parsed(
        command, "-E,--end", "TIME",
        [&](const auto& text) { settings.end = convert::parse_time_bound(text); },
        "only messages logged before this");
    command.add_option("--every", settings.every, "one message in N of each topic")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
}

void add_reading(CLI::App& command, Request& request) {
    add_repeated(
        command, "--types", "PATH", request.types,
        "where types are defined that a recording does not define: a folder with .msg and .idl files, or "
        "another recording; AMENT_PREFIX_PATH is searched too");
    request.settings.jobs = std::max(1U, std::thread::hardware_concurrency());
    command.add_option("-j,--jobs", request.settings.jobs, "threads; all cores when not given")
        ->type_name("N")
        ->check(CLI::PositiveNumber);
}

void add_limits(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    add_parsed(
        command, "--limit", "[TOPIC:]EXPR=N",
        [&](const auto& text) { settings.rules.push_back(convert::parse_limit_rule(text)); },
        "N element columns for the unbounded sequences whose full names match EXPR, of topics that match "
        "TOPIC; "
        "wildcards, [*] and [3] mean indices; expressions are tried in byte order, the first match wins");
    add_parsed(
        command, "--limits", "FILE", [&](const auto& path) { read_limits_file(path, settings); },
        "element columns as 'dds2csv fit' wrote them, instead of measuring; of several files the longest "
        "count");
    command.add_flag("!--no-fit", settings.fit,
                     "do not measure: 1000 element columns for every unbounded sequence");
    command
        .add_option("--max-columns", settings.most_columns,
                    "columns that a topic may have; its longest sequences are held to 1000 elements to fit")
        ->type_name("N")
        ->capture_default_str();
    add_parsed(
        command, "--blobs", "columns|skip",
        [&](const auto& text) {
            if (text != "columns" && text != "skip") throw std::invalid_argument("expected columns or skip");
            settings.skip_blobs = text == "skip";
        },
        "unbounded sequences of bytes: a column for each byte, or none");
}

void add_definitions(schema::TypeCatalog& catalog, const std::vector<std::string>& types) {
    for (const std::string& path : types) {
        if (fs::is_directory(path) && !is_recording(path)) {
            catalog.add_folder(path);
            continue;
        }
        const auto stream = open_recording(path);
        for (const input::Channel& channel : stream->channels())
            if (!channel.schema_text.empty())
                catalog.add_definition(channel.type_name, channel.schema_encoding, channel.schema_text);
    }
    const char* const variable = std::getenv("AMENT_PREFIX_PATH");
    std::string_view prefixes = variable == nullptr ? "" : variable;
    while (!prefixes.empty()) {
        const std::size_t size = std::min(prefixes.find(':'), prefixes.size());
        const fs::path share = fs::path(prefixes.substr(0, size)) / "share";
        if (size > 0 && fs::is_directory(share)) catalog.add_folder(share);
        prefixes.remove_prefix(std::min(size + 1, prefixes.size()));
    }
}

}  // namespace zun::cli
