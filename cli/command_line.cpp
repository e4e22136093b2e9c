#include <sstream>

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"

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

}  // namespace

std::unique_ptr<CLI::App> make_command_line(Action& action) {
    auto app = std::make_unique<CLI::App>("Recordings of a DDS data bus as CSV files", "dds2csv");
    app->formatter(std::make_shared<HelpFormatter>());
    app->set_version_flag("--version", "dds2csv " ZUN_VERSION "\nbuilt with " ZUN_LIBRARIES);
    app->require_subcommand(1);
    app->footer(
        "Example: dds2csv convert drive.mcap -o csv\n\n"
        "Exit code: 0 all of it converted, 1 failed, 2 wrong usage, 3 finished, but something was lost or\n"
        "skipped.");
    add_convert(*app, action);
    add_info(*app, action);
    add_columns(*app, action);
    add_fit(*app, action);
    return app;
}

}  // namespace zun::cli
