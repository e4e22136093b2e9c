#include <algorithm>
#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "convert/plan/nearest.hpp"
#include "input/bytes/Decompressor.hpp"
#include "input/sqlite/Database.hpp"

namespace zun::cli {

namespace {

constexpr std::size_t name_width = 32;
constexpr std::size_t text_width = 68;

std::string wrapped(const std::string& text) {
    std::istringstream words(text);
    std::string result;
    std::size_t width = 0;
    for (std::string word; words >> word; width += word.size()) {
        const bool fits = width + 1 + word.size() <= text_width;
        if (!result.empty()) result += fits ? ' ' : '\n';
        width = fits ? width + 1 : 0;
        result += word;
    }
    return result;
}

/// Options with the names of their values alone on the left, wrapped text and the default on the right.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() { column_width(name_width); }

    std::string make_option_opts(const CLI::Option* option) const override {
        return option->get_positional() || option->get_type_size() == 0 ? "" : ' ' + option->get_type_name();
    }

    std::string make_option_desc(const CLI::Option* option) const override {
        const std::string& standard = option->get_default_str();
        return wrapped(option->get_description() + (standard.empty() ? "" : " [" + standard + ']'));
    }
};

std::vector<std::string> subcommand_names(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands({}))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> option_names(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options())
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    return names;
}

std::string unknown_subcommand(const CLI::App& app, const std::string& word) {
    return '\'' + word + "' is no subcommand" + convert::nearest_note(word, subcommand_names(app));
}

/// What a library was when the tool was built may differ from what runs now, where it can be asked.
std::string versions() {
    return "dds2csv " ZUN_VERSION "\nbuilt with " ZUN_LIBRARIES "\nrunning with " +
           input::decompressor_versions() + ' ' + input::rosbag2::sqlite_version();
}

}  // namespace

std::string unknown_word(const CLI::App& app) {
    const std::vector<std::string> words = app.remaining(true);
    if (words.empty()) return "";
    const std::string word = words.front().substr(0, words.front().find('='));
    const auto commands = app.get_subcommands();
    if (word.front() != '-')
        return commands.empty() ? unknown_subcommand(app, word) : '\'' + word + "' is one argument too many";
    const CLI::App& command = commands.empty() ? app : *commands.front();
    return '\'' + word + "' is no option of " + command.get_name() +
           convert::nearest_note(word, option_names(command));
}

void add_help(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("help", "Shows what a subcommand takes, as its --help does");
    command.footer("Example: dds2csv help convert");
    const auto name = std::make_shared<std::string>();
    command.add_option("SUBCOMMAND", *name, "which one; without it, what all of them are for");
    command.callback([name, &app, &action] {
        const auto known = subcommand_names(app);
        if (!name->empty() && std::count(known.begin(), known.end(), *name) == 0)
            throw CLI::ValidationError(unknown_subcommand(app, *name));
        const CLI::App* const about = name->empty() ? &app : app.get_subcommand(*name);
        action = [about, &app] {
            const std::string title = app.get_name() + (about == &app ? "" : ' ' + about->get_name());
            write_data(app.get_formatter()->make_help(about, title, CLI::AppFormatMode::Normal));
            return ALL_DONE;
        };
    });
}

std::unique_ptr<CLI::App> make_command_line(Action& action) {
    auto app = std::make_unique<CLI::App>("Recordings of a DDS data bus as CSV files", "dds2csv");
    app->formatter(std::make_shared<HelpFormatter>());
    app->set_version_flag("-V,--version", versions);
    app->require_subcommand(1);
    app->footer(
        "Example: dds2csv convert drive.mcap -o csv\n\n"
        "Exit code: 0 all of it converted, 1 failed, 2 wrong usage, 3 finished, but something was lost or\n"
        "skipped.");
    add_convert(*app, action);
    add_info(*app, action);
    add_columns(*app, action);
    add_fit(*app, action);
    add_plan(*app, action);
    add_join(*app, action);
    add_types(*app, action);
    add_help(*app, action);
    return app;
}

}  // namespace zun::cli
