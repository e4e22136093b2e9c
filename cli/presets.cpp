#include "cli/presets.hpp"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string_view>

#include <CLI/CLI.hpp>

#include "cli/Request.hpp"

namespace zun::cli {

namespace {

constexpr const char* flag = "true";

/// One option of a preset. Of two for one option the first counts.
struct PresetOption {
    std::string_view program;
    const char* name;
    const char* value;           ///< `flag` for an option without
    const char* only = nullptr;  ///< where this option is given
};

// A cell without a value is what the program takes for a missing one, a time what it reads as a time or can
// calculate with. Excel's sheets have 16,384 columns, the times among them, and 1,048,576 rows, the header
// among them.
constexpr PresetOption preset_options[] = {
    {"pandas", "--empty", ""},
    {"pandas", "--time-format", "rfc3339"},
    {"pandas", "--plain-lengths", flag},
    {"excel", "--empty", ""},
    {"excel", "--time-format", "seconds"},
    {"excel", "--plain-lengths", flag},
    {"excel", "--max-columns", "16382", "--source-timestamp"},
    {"excel", "--max-columns", "16383"},
    {"excel", "--max-rows", "1048575"},
    {"excel", "--bom", flag},
    {"plotjuggler", "--empty", ""},
    {"plotjuggler", "--time-format", "seconds"},
    {"plotjuggler", "--plain-lengths", flag},
    {"plotjuggler", "--enum-as", "number"},
    {"plotjuggler", "--column-names", "slashes"},
    {"duckdb", "--empty", ""},
    {"duckdb", "--time-format", "rfc3339"},
    {"duckdb", "--plain-lengths", flag},
    {"duckdb", "--column-names", "underscores"},
    {"r", "--empty", "NA"},
    {"r", "--time-format", "seconds"},
    {"r", "--plain-lengths", flag},
    {"r", "--column-names", "underscores"},
    {"matlab", "--empty", ""},
    {"matlab", "--time-format", "seconds"},
    {"matlab", "--plain-lengths", flag},
    {"matlab", "--column-names", "underscores"},
};

bool is_flag(const PresetOption& option) {
    return std::string_view(option.value) == flag;
}

bool is_given(const CLI::App& command, const char* name) {
    const CLI::Option* const option = command.get_option_no_throw(name);
    return option != nullptr && !option->empty();
}

/// Whether the user gave the option, or another in its place.
bool is_decided(const CLI::Option& option) {
    const auto& others = option.get_excludes();
    return !option.empty() || std::any_of(others.begin(), others.end(),
                                          [](const CLI::Option* other) { return !other->empty(); });
}

void apply(const PresetOption& preset, CLI::App& command) {
    CLI::Option* const option = command.get_option_no_throw(preset.name);
    if (option == nullptr || is_decided(*option)) return;
    if (preset.only != nullptr && !is_given(command, preset.only)) return;
    option->add_result(preset.value);
    option->run_callback();
}

std::string words() {
    std::string text;
    std::string_view last;
    for (const PresetOption& option : preset_options)
        if (option.program != last) text += (text.empty() ? "" : "|") + std::string(last = option.program);
    return text;
}

std::string written(const PresetOption& option) {
    std::string text = option.name;
    if (!is_flag(option)) text += *option.value == '\0' ? " ''" : ' ' + std::string(option.value);
    return text;
}

}  // namespace

void add_preset(CLI::App& command, const std::string& group) {
    const auto check = [](const std::string& word) {
        for (const PresetOption& option : preset_options)
            if (option.program == word) return;
        throw std::invalid_argument('\'' + word + "' is none of " + words());
    };
    add_parsed(command, "--for", words(), check,
               "what suits a program that opens the files, in place of options that are not given; below is "
               "a list of them")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
        ->group(group);
}

void apply_preset(CLI::App& command) {
    const CLI::Option* const chosen = command.get_option_no_throw("--for");
    if (chosen == nullptr || chosen->empty()) return;
    for (const PresetOption& option : preset_options)
        if (option.program == chosen->results().back()) apply(option, command);
}

std::string preset_lines() {
    std::string text;
    std::string_view last;
    for (const PresetOption& option : preset_options) {
        if (option.only != nullptr) continue;
        if (option.program != last)
            text += (text.empty() ? "--for " : "\n--for ") + std::string(last = option.program) + ':';
        text += ' ' + written(option);
    }
    return text;
}

}  // namespace zun::cli
