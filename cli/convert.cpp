#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/ReportFile.hpp"
#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "cli/options.hpp"
#include "cli/presets.hpp"
#include "convert/Conversion.hpp"
#include "platform/logger/Logger.hpp"
#include "platform/text/visible.hpp"

namespace zun::cli {

namespace {

struct ConvertRequest : Request {
    std::vector<std::pair<std::string, std::vector<std::string>>> given = {};  ///< options, with their values
    std::optional<std::string> output = {};
    std::string report_file = {};
    bool fail_on_truncation = false;
    bool quiet = false;
    int verbosity = 0;
    ProgressLine::When progress = ProgressLine::When::ON_TERMINALS;
};

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

void add_output(CLI::App& command, ConvertRequest& request) {
    const char* const group = "Output";
    command
        .add_option(
            "-o,--output", request.output,
            "folder of the CSV files, or the parent of one folder each for several recordings; - writes "
            "one topic to standard output; by default folders bear the names of the recordings")
        ->type_name("DIR")
        ->group(group);
    add_preset(command, group);
    command
        .add_option("--max-rows", request.settings.most_rows,
                    "rows that a file may have besides its header; more go to TOPIC.2.csv, TOPIC.3.csv, ...")
        ->type_name("N")
        ->check(CLI::Range(std::uint64_t{1}, UINT64_MAX).description(""))
        ->group(group);
    command
        .add_flag(
            "--sidecar", request.settings.sidecars,
            "write TOPIC.schema.json beside each topic's file: columns, types, units, and how to read it")
        ->group(group);
    CLI::Option* const overwrite =
        command.add_flag("--overwrite", request.settings.overwrite, "replace files that exist")->group(group);
    command
        .add_flag("--skip-existing", request.settings.skip_existing,
                  "keep files that exist, and convert the topics that have none")
        ->excludes(overwrite)
        ->group(group);
    command.add_flag("--dry-run", request.settings.dry_run, "write nothing; report what would be written")
        ->group(group);
    command.add_flag("--strict", request.settings.strict, "stop at the first damage or unreadable message")
        ->group(group);
    command.add_flag("--fail-on-truncation", request.fail_on_truncation, "exit code 1 when a field was cut")
        ->group(group);
    command.add_option("--report", request.report_file, "write the closing report to a file, as JSON")
        ->type_name("FILE")
        ->group(group);
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

constexpr std::size_t terminal_name_width = 60;
constexpr std::size_t most_messages_told_apart = 100'000;

void listen(int verbosity) {
    using chronicle::Logger;
    if (verbosity == 0) return;
    // Every thread's converter says the same, and so does every row: once is enough.
    const auto said = std::make_shared<std::unordered_set<std::string>>();
    Logger::instance().listen(
        verbosity == 1 ? Logger::Level::WARN : Logger::Level::LOCAL,
        [said](Logger::Level, const std::string& message) {
            // Nobody wrote the expressions: the plan makes them of rules for single elements.
            if (message.find(" match against expression: ") != std::string::npos) return;
            if (said->size() < most_messages_told_apart && !said->insert(message).second) return;
            std::cerr << visible(message) << '\n';
        });
}

int exit_code(const convert::Report& report, bool fail_on_truncation) {
    if (!report.finished_any() || (fail_on_truncation && report.cut_anything())) return FAILED;
    return report.lost_anything() ? SOMETHING_LOST : ALL_DONE;
}

int convert_recordings(ConvertRequest& request) {
    listen(request.verbosity);
    request.settings.to_stdout = request.output == "-";
    if (request.settings.to_stdout) request.output = "";
    if (request.settings.to_stdout && request.settings.blobs == convert::Blobs::FILES)
        throw convert::WrongUsage("standard output has no place for files; --blobs files needs a folder");
    auto recordings = find_recordings(request.recordings, request.output, request.links);
    if (request.settings.to_stdout && recordings.size() != 1)
        throw std::runtime_error("standard output takes one recording");
    ReportFile report_file(request.report_file, recordings);
    convert::Report report{.version = ZUN_VERSION, .options = request.given};
    const auto tell = [&] {
        const auto detail = request.quiet ? convert::Detail::LOSSES : convert::Detail::TABLE;
        const bool on_terminal = ::isatty(STDERR_FILENO) == 1;
        print_report(std::cerr, report, detail, option_of, on_terminal ? terminal_name_width : SIZE_MAX);
        report_file.write(report);
    };
    try {
        ProgressLine line(request.progress);
        const auto show = [&](const auto& activity, auto messages, auto total) {
            line.show(activity, messages, total);
        };
        make_conversion(request, std::move(recordings), {show, &end_requested()})->run(report);
    } catch (const std::exception&) {
        tell();
        throw;
    }
    tell();
    return exit_code(report, request.fail_on_truncation);
}

}  // namespace

void add_convert(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("convert", "Writes a CSV file for each topic of recordings");
    const auto request = std::make_shared<ConvertRequest>();
    command.footer(
        "Example: dds2csv convert drive.mcap -o csv -t '/imu/*' --time-format rfc3339\n\n"
        "Each row holds one message: its time, then one cell for each field. The closing report names all "
        "that "
        "was lost, cut or skipped.\n\n"
        "The options that --for stands for:\n" +
        preset_lines());
    add_recordings(command, *request, "what to convert");
    add_output(command, *request);
    add_choice_of_messages(command, *request);
    add_cell_values(command, request->settings);
    add_times(command, request->settings);
    add_columns_choice(command, *request);
    add_column_names(command, *request);
    add_limits(command, *request);
    add_reading(command, *request);
    add_diagnostics(command, *request);
    command.callback([request, &command, &action] {
        check_span(*request);
        if (request->output == "-" && request->settings.sidecars)
            throw CLI::ValidationError("--sidecar", "standard output takes one file alone");
        for (const CLI::Option* const option : command.get_options())
            if (!option->empty()) request->given.emplace_back(option->get_name(), option->results());
        apply_preset(command);
        action = [request] { return convert_recordings(*request); };
    });
}

}  // namespace zun::cli
