#include "cli/ConvertRequest.hpp"

#include <cstdint>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "cli/presets.hpp"

namespace zun::cli {

namespace {

constexpr const char* output_group = "Output";

void choose_clock(convert::Settings& settings, const std::string& word) {
    using convert::Clock;
    settings.clock = word == "reception" ? Clock::RECEPTION : word == "source" ? Clock::SOURCE : Clock::FIELD;
    settings.clock_field = settings.clock == Clock::FIELD ? word : "";
}

void add_cell_values(CLI::App& command, convert::Settings& settings) {
    const char* const group = "Cell values";
    const auto set_empty = [&settings](const std::string& text) {
        if (text.find_first_of(",\"\r\n") != std::string::npos)
            throw std::invalid_argument("the text of a cell has no comma, double quote or line break in it");
        settings.empty_text = text;
    };
    add_parsed(command, "--empty", "TEXT", set_empty, "text of cells without a value")
        ->default_str(settings.empty_text)
        ->group(group);
    CLI::Option* const plain = command
                                   .add_flag("--plain-lengths", settings.plain_lengths,
                                             "lengths of sequences without spaces in front")
                                   ->group(group);
    command
        .add_flag_callback(
            "--padded-lengths", [&] { settings.plain_lengths = false; },
            "lengths of sequences right-aligned in 15 characters, as without either")
        ->excludes(plain)
        ->group(group);
    command.add_flag("--bom", settings.byte_order_mark, "a UTF-8 byte order mark before the header")
        ->group(group);
    add_choice(command, "--enum-as",
               {{"name", [&] { settings.enum_as_string = true; }},
                {"number", [&] { settings.enum_as_string = false; }}},
               "how enumeration values are written")
        ->group(group);
    using printing::InvalidText;
    add_choice(
        command, "--invalid-text",
        {{"escape", [&] { settings.text_style.invalid = InvalidText::ESCAPE; }},
         {"replace", [&] { settings.text_style.invalid = InvalidText::REPLACE; }},
         {"raw", [&] { settings.text_style.invalid = InvalidText::RAW; }}},
        "what becomes of bytes in strings that are not UTF-8, and of zeros: \\xff, U+FFFD, or as they are")
        ->group(group);
    command
        .add_flag(
            "--spreadsheet-safe", settings.text_style.spreadsheet_safe,
            "write an apostrophe before texts that spreadsheets take for formulas: those that begin with "
            "= + - @, a tab or a carriage return")
        ->group(group);
}

void add_times(CLI::App& command, convert::Settings& settings) {
    using convert::Clock;
    using convert::TimeFormat;
    const char* const group = "Cell values";
    const auto write_times = [&settings](TimeFormat format) {
        return [&settings, format] { settings.time_format = format; };
    };
    add_choice(
        command, "--time-format",
        {{"nanoseconds", write_times(TimeFormat::NANOSECONDS)},
         {"seconds", write_times(TimeFormat::SECONDS)},
         {"rfc3339", write_times(TimeFormat::RFC3339)},
         {"elapsed", write_times(TimeFormat::ELAPSED)}},
        "how times are written, exact in each form; elapsed: seconds since the recording's first message")
        ->group(group);
    CLI::Option* const clock =
        add_parsed(
            command, "--clock", "reception|source|FIELD",
            [&](const std::string& word) { choose_clock(settings, word); },
            "the time before a row: of recording, of sending, or what a field of the message says "
            "(header.stamp, or header for short)")
            ->default_str("reception")
            ->group(group);
    command
        .add_flag_callback(
            "--source-timestamp", [&] { settings.clock = Clock::BOTH; }, "both times")
        ->excludes(clock)
        ->group(group);
}

}  // namespace

CLI::Option* add_destination(CLI::App& command, ConvertRequest& request) {
    return command
        .add_option(
            "-o,--output", request.output,
            "folder of the CSV files, or the parent of one folder each for several recordings; - writes "
            "one topic to standard output; by default folders bear the names of the recordings")
        ->type_name("DIR")
        ->group(output_group);
}

void add_files(CLI::App& command, ConvertRequest& request) {
    add_preset(command, output_group);
    command
        .add_option("--max-rows", request.settings.most_rows,
                    "rows that a file may have besides its header; more go to TOPIC.2.csv, TOPIC.3.csv, ...")
        ->type_name("N")
        ->check(CLI::Range(std::uint64_t{1}, UINT64_MAX).description(""))
        ->group(output_group);
    command
        .add_flag(
            "--sidecar", request.settings.sidecars,
            "write TOPIC.schema.json beside each topic's file: columns, types, units, and how to read it")
        ->group(output_group);
}

CLI::Option* add_overwrite(CLI::App& command, ConvertRequest& request) {
    return command.add_flag("--overwrite", request.settings.overwrite, "replace files that exist")
        ->group(output_group);
}

void add_outcome(CLI::App& command, ConvertRequest& request) {
    command.add_flag("--fail-on-truncation", request.fail_on_truncation, "exit code 1 when a field was cut")
        ->group(output_group);
    command.add_option("--report", request.report_file, "write the closing report to a file, as JSON")
        ->type_name("FILE")
        ->group(output_group);
}

void add_shaping(CLI::App& command, ConvertRequest& request) {
    add_choice_of_messages(command, request);
    add_cell_values(command, request.settings);
    add_times(command, request.settings);
    add_columns_choice(command, request);
    add_column_names(command, request);
    add_limits(command, request);
    add_reading(command, request);
}

void add_diagnostics(CLI::App& command, ConvertRequest& request) {
    using When = ProgressLine::When;
    const char* const group = "Diagnostics";
    command
        .add_flag_callback(
            "--progress", [&] { request.progress = When::ALWAYS; }, "show progress")
        ->group(group);
    command
        .add_flag_callback(
            "--no-progress", [&] { request.progress = When::NEVER; },
            "show no progress; without either, terminals show it")
        ->group(group);
    command.add_flag("-q,--quiet", request.quiet, "report only what was lost")->group(group);
    command
        .add_flag("-v,--verbose", request.verbosity, "show the format's warnings; twice: all of its messages")
        ->group(group);
}

void add_convert_options(CLI::App& command, ConvertRequest& request) {
    add_destination(command, request);
    add_files(command, request);
    CLI::Option* const overwrite = add_overwrite(command, request);
    command
        .add_flag("--skip-existing", request.settings.skip_existing,
                  "keep files that exist, and convert the topics that have none")
        ->excludes(overwrite)
        ->group(output_group);
    command.add_flag("--dry-run", request.settings.dry_run, "write nothing; report what would be written")
        ->group(output_group);
    command.add_flag("--strict", request.settings.strict, "stop at the first damage or unreadable message")
        ->group(output_group);
    add_outcome(command, request);
    add_shaping(command, request);
    add_diagnostics(command, request);
}

void settle(CLI::App& command, ConvertRequest& request) {
    check_span(request);
    if (request.output == "-" && request.settings.sidecars)
        throw CLI::ValidationError("--sidecar", "standard output takes one file alone");
    for (const CLI::Option* const option : command.get_options())
        if (!option->empty()) request.given.emplace_back(option->get_name(), option->results());
    apply_preset(command);
    read_limits_files(request);
}

}  // namespace zun::cli
