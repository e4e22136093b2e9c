#include "cli/Request.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <CLI/CLI.hpp>

#include "input/recording/open_recording.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* which_messages = "Which messages";
constexpr const char* which_columns = "Which columns";
constexpr const char* reading = "Reading";

CLI::Option* add_repeated(CLI::App& command, const std::string& name, const std::string& value_name,
                          std::vector<std::string>& values, const std::string& help) {
    return command.add_option(name, values, help)->type_name(value_name)->allow_extra_args(false);
}

/// The folders of AMENT_PREFIX_PATH that hold the definitions of installed packages.
std::vector<fs::path> installed_definitions() {
    const char* const variable = std::getenv("AMENT_PREFIX_PATH");
    std::istringstream prefixes(variable == nullptr ? "" : variable);
    std::vector<fs::path> folders;
    for (std::string prefix; std::getline(prefixes, prefix, ':');)
        if (!prefix.empty() && fs::is_directory(fs::path(prefix) / "share"))
            folders.push_back(fs::path(prefix) / "share");
    return folders;
}

}  // namespace

CLI::Option* add_parsed(CLI::App& command, const std::string& name, const std::string& value_name,
                        const std::function<void(const std::string&)>& read, const std::string& help) {
    const auto read_all = [name, read](const std::vector<std::string>& texts) {
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

CLI::Option* add_choice(CLI::App& command, const std::string& name, const std::vector<Choice>& choices,
                        const std::string& help) {
    std::string words;
    for (const Choice& choice : choices)
        words += (words.empty() ? "" : "|") + choice.word;
    const auto choose = [choices, words](const std::string& text) {
        const auto chosen = std::find_if(choices.begin(), choices.end(),
                                         [&](const Choice& choice) { return choice.word == text; });
        if (chosen == choices.end()) throw std::invalid_argument("'" + text + "' is none of " + words);
        chosen->choose();
    };
    return add_parsed(command, name, words, choose, help)->default_str(choices.front().word);
}

void check_span(const Request& request) {
    const convert::Settings& settings = request.settings;
    if (settings.start && settings.end && is_before_start(*settings.end, *settings.start))
        throw CLI::ValidationError("--end", "the end is before the start");
}

CLI::Option* add_recordings(CLI::App& command, Request& request, const std::string& what) {
    return command
        .add_option("RECORDING", request.recordings,
                    what + ": MCAP or rosbag2 files, bag folders, or folders of them; - for standard input")
        ->required();
}

void add_choice_of_topics(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    add_repeated(command, "-t,--topics", "TOPIC", settings.topics.wanted,
                 "only these topics; wildcards; several with commas between them or by repeating the option")
        ->delimiter(',')
        ->group(which_messages);
    add_repeated(command, "-x,--exclude", "TOPIC", settings.topics.unwanted, "not these topics; likewise")
        ->delimiter(',')
        ->group(which_messages);
}

void add_choice_of_messages(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    add_choice_of_topics(command, request);
    add_parsed(
        command, "-S,--start", "TIME",
        [&](const auto& text) { settings.start = convert::parse_time_bound(text); },
        "only messages logged from here on: nanoseconds since 1970, seconds with a point (1717156800.0), "
        "RFC 3339 or a date (UTC where no zone is given), +10s from the first message, -30s from the last")
        ->group(which_messages);
    add_parsed(
        command, "-E,--end", "TIME",
        [&](const auto& text) { settings.end = convert::parse_time_bound(text); },
        "only messages logged before this")
        ->group(which_messages);
    add_parsed(
        command, "--every", "STEP", [&](const auto& text) { settings.every = convert::parse_thinning(text); },
        "one message in so many of each topic (10), or the first of each interval (100ms, 0.5s, 1m), counted "
        "from the recording's first message")
        ->group(which_messages);
}

void add_type_sources(CLI::App& command, Request& request) {
    add_repeated(
        command, "--types", "PATH", request.types,
        "where types are defined that a recording does not define: a folder with .msg and .idl files, or "
        "another recording; AMENT_PREFIX_PATH is searched too")
        ->group(reading);
    command
        .add_flag_callback(
            "--no-standard-types", [&] { request.standard_types = false; },
            "do not use the common ROS interfaces that are built in")
        ->group(reading);
    command
        .add_flag("--follow", request.links.followed,
                  "read files outside of a folder that links in it, or its metadata.yaml, lead to")
        ->group(reading);
}

void add_reading(CLI::App& command, Request& request) {
    add_type_sources(command, request);
    cdr::Writer& writer = request.settings.writer;
    add_choice(
        command, "--writer",
        {{"auto", [&] { writer = cdr::Writer::UNKNOWN; }},
         {"cyclonedds", [&] { writer = cdr::Writer::CYCLONE_DDS; }},
         {"fastdds", [&] { writer = cdr::Writer::FAST_DDS; }},
         {"ros2", [&] { writer = cdr::Writer::ROS2; }}},
        "who wrote the messages whose types are not ROS 2's: DDS implementations differ in the form of "
        "wide strings, long doubles and some headers")
        ->group(reading);
    request.settings.jobs = std::max(1U, std::thread::hardware_concurrency());
    command.add_option("-j,--jobs", request.settings.jobs, "threads; all cores when not given")
        ->type_name("N")
        ->check(CLI::Range(1, 1024).description(""))
        ->group(reading);
}

void add_columns_choice(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    add_parsed(
        command, "--fields", "[TOPIC:]EXPR,...",
        [&](const auto& text) { settings.fields.wanted.push_back(convert::parse_field_choice(text)); },
        "only fields whose full names match, with all in them; wildcards, [*] for indices; topics without "
        "one "
        "are not converted")
        ->group(which_columns);
    add_parsed(
        command, "--exclude-fields", "[TOPIC:]EXPR,...",
        [&](const auto& text) { settings.fields.unwanted.push_back(convert::parse_field_choice(text)); },
        "not these fields; likewise")
        ->group(which_columns);
    add_parsed(
        command, "--explode", "[TOPIC:]FIELD,...",
        [&](const auto& text) { settings.explode.push_back(convert::parse_field_rule(text)); },
        "a row for each element of these sequences, side by side, with its index in a column [i]; "
        "markers[*].points gives a row for each point of each marker")
        ->group(which_columns);
    const auto blobs = [&settings](convert::Blobs how) { return [&settings, how] { settings.blobs = how; }; };
    add_choice(
        command, "--blobs",
        {{"auto", blobs(convert::Blobs::AUTO)},
         {"columns", blobs(convert::Blobs::COLUMNS)},
         {"length", blobs(convert::Blobs::LENGTH)},
         {"skip", blobs(convert::Blobs::SKIP)},
         {"hex", blobs(convert::Blobs::HEX)},
         {"base64", blobs(convert::Blobs::BASE64)},
         {"files", blobs(convert::Blobs::FILES)}},
        "arrays and sequences of bytes: a column for each byte, their number, nothing, all of them as one "
        "text, or the name of a file that holds them; auto: columns up to 64 bytes, else their number")
        ->group(which_columns);
    command
        .add_flag("--text-arrays", settings.text_arrays,
                  "arrays and sequences of characters as one text, up to their first zero")
        ->group(which_columns);
    add_choice(command, "--stamps",
               {{"split", [&] { settings.joined_stamps = false; }},
                {"joined", [&] { settings.joined_stamps = true; }}},
               "times of seconds and nanoseconds: two columns, or one in the form of --time-format")
        ->group(which_columns);
}

void add_column_names(CLI::App& command, Request& request) {
    using convert::ColumnNames;
    ColumnNames& form = request.settings.column_names;
    add_choice(command, "--column-names",
               {{"dots", [&] { form = ColumnNames::DOTS; }},
                {"slashes", [&] { form = ColumnNames::SLASHES; }},
                {"underscores", [&] { form = ColumnNames::UNDERSCORES; }}},
               "how the header names columns: track[0].x, track[0]/x or track_0_x")
        ->group(which_columns);
}

void add_limits(CLI::App& command, Request& request) {
    convert::Settings& settings = request.settings;
    const char* const group = "How many columns";
    add_parsed(
        command, "--limit", "[TOPIC:]EXPR=N",
        [&](const auto& text) { settings.rules.push_back(convert::parse_limit_rule(text)); },
        "N element columns for sequences whose full names match EXPR, of topics that match TOPIC; wildcards, "
        "[*] "
        "and [3] mean indices; of several the most specific wins")
        ->group(group);
    add_parsed(
        command, "--limits", "FILE", [&](const auto& path) { request.limits_files.push_back(path); },
        "element columns as 'dds2csv fit' wrote them, instead of measuring; of several files the longest "
        "count")
        ->group(group);
    command
        .add_flag_callback(
            "--no-fit", [&] { settings.fit = false; },
            "do not measure: as many element columns as a sequence's bound, 1000 where it has none")
        ->group(group);
    command
        .add_option("--max-columns", settings.most_columns,
                    "columns that a topic may have; its longest sequences are held to 1000 elements to fit")
        ->type_name("N")
        ->capture_default_str()
        ->group(group);
}

void read_limits_files(Request& request) {
    std::optional<convert::LimitsByTopic>& limits = request.settings.limits;
    for (const std::string& path : request.limits_files) {
        if (!limits) limits.emplace();
        try {
            convert::read_limits(path, *limits);
        } catch (const std::exception& problem) {
            throw CLI::ValidationError("--limits", problem.what());
        }
    }
}

std::unique_ptr<convert::Conversion> make_conversion(const Request& request,
                                                     std::vector<convert::Recording> recordings,
                                                     convert::Watch watch) {
    auto conversion =
        std::make_unique<convert::Conversion>(request.settings, std::move(recordings), std::move(watch));
    if (!request.standard_types) conversion->leave_out_standard_types();
    for (const std::string& path : request.types) {
        if (fs::is_directory(path) && !input::is_recording(path, request.links))
            conversion->add_types(fs::path(path));
        else
            conversion->add_types(*input::open_recording(path, request.links));
    }
    for (const fs::path& folder : installed_definitions())
        conversion->add_types(folder);
    return conversion;
}

}  // namespace zun::cli
