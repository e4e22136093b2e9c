// manual: prints the manual page and the shells' completions, made from the command line that the tool has.
//
// usage: manual man|bash|zsh|fish

#include <iostream>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"

namespace zun::cli {

namespace {

/// "-t" and "--topics" of an option, short ones first; empty for a positional.
std::vector<std::string> names_of(const CLI::Option& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.get_snames())
        names.push_back('-' + name);
    for (const std::string& name : option.get_lnames())
        names.push_back("--" + name);
    return names;
}

bool takes_value(const CLI::Option& option) {
    return !option.get_type_name().empty();
}

/// The words of a value that is one of a few; empty for any other.
std::vector<std::string> words_of(const CLI::Option& option) {
    return option.get_type_name().find('|') == std::string::npos
               ? std::vector<std::string>{}
               : CLI::detail::split(option.get_type_name(), '|');
}

std::string replaced(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
    return text;
}

/// Text that troff takes as it is.
std::string roff(const std::string& text) {
    std::string result = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    result = replaced(result, "\n'", "\n\\&'");
    return replaced(result, "\n.", "\n\\&.");
}

void print_option(std::ostream& out, const CLI::Option& option) {
    std::string names;
    for (const std::string& name : names_of(option))
        names += (names.empty() ? "" : ", ") + name;
    out << ".TP\n\\fB" << roff(names.empty() ? option.get_name() : names) << "\\fR";
    if (takes_value(option) && !names.empty()) out << " \\fI" << roff(option.get_type_name()) << "\\fR";
    out << '\n';
    out << roff(option.get_description());
    if (!option.get_default_str().empty()) out << " [" << roff(option.get_default_str()) << ']';
    out << '\n';
}

void print_manual(std::ostream& out, const CLI::App& app) {
    out << ".TH DDS2CSV 1\n.SH NAME\ndds2csv \\- " << roff(app.get_description()) << "\n.SH SYNOPSIS\n";
    for (const CLI::App* command : app.get_subcommands({}))
        out << ".B dds2csv " << command->get_name() << "\n[OPTIONS] ARGUMENTS\n.br\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        out << ".SH " << command->get_name() << '\n' << roff(command->get_description()) << ".\n";
        for (const CLI::Option* option : command->get_options({}))
            print_option(out, *option);
        out << ".PP\n.nf\n" << roff(command->get_footer()) << "\n.fi\n";
    }
    out << ".SH EXAMPLE AND EXIT CODES\n.nf\n" << roff(app.get_footer()) << "\n.fi\n";
}

void print_bash(std::ostream& out, const CLI::App& app) {
    std::string commands;
    out << "_dds2csv() {\n    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} "
           "options=\n"
           "    COMPREPLY=()\n    case ${COMP_WORDS[1]} in\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        commands += command->get_name() + ' ';
        std::string options;
        out << "    " << command->get_name() << ")\n        case $before in\n";
        for (const CLI::Option* option : command->get_options({})) {
            const auto words = CLI::detail::join(words_of(*option), " ");
            const auto names = names_of(*option);
            options += CLI::detail::join(names, " ") + ' ';
            if (!words.empty())
                out << "        " << CLI::detail::join(names, "|") << ") COMPREPLY=($(compgen -W '" << words
                    << "' -- \"$word\")); return ;;\n";
        }
        out << "        esac\n        options='" << options << "' ;;\n";
    }
    out << "    esac\n"
           "    if ((COMP_CWORD == 1)); then COMPREPLY=($(compgen -W '"
        << commands
        << "--help --version' -- \"$word\"))\n"
           "    elif [[ $word == -* ]]; then COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
           "    fi\n}\ncomplete -o default -F _dds2csv dds2csv\n";
}

/// The text of an option as zsh completion takes it, where brackets and colons have meanings.
std::string zsh_text(const std::string& text) {
    return replaced(replaced(replaced(replaced(text, "'", "’"), "[", "\\["), "]", "\\]"), ":", "\\:");
}

void print_zsh(std::ostream& out, const CLI::App& app) {
    out << "#compdef dds2csv\nlocal -a commands=(\n";
    for (const CLI::App* command : app.get_subcommands({}))
        out << "    '" << command->get_name() << ':' << zsh_text(command->get_description()) << "'\n";
    out << ")\nif ((CURRENT == 2)); then\n    _describe command commands\n    return\nfi\ncase $words[2] "
           "in\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        out << command->get_name() << ")\n    shift words; ((CURRENT--))\n    _arguments \\\n";
        for (const CLI::Option* option : command->get_options({})) {
            const std::string words = CLI::detail::join(words_of(*option), " ");
            const std::string action = words.empty() ? "_files" : '(' + words + ')';
            for (const std::string& name : names_of(*option))
                out << "        '*" << name << '[' << zsh_text(option->get_description()) << ']'
                    << (takes_value(*option) ? ":value:" + action : "") << "' \\\n";
        }
        out << "        '*:file:_files' ;;\n";
    }
    out << "esac\n";
}

void print_fish(std::ostream& out, const CLI::App& app) {
    for (const CLI::App* command : app.get_subcommands({})) {
        out << "complete -c dds2csv -n __fish_use_subcommand -f -a " << command->get_name() << " -d '"
            << replaced(command->get_description(), "'", "\\'") << "'\n";
        for (const CLI::Option* option : command->get_options({})) {
            if (names_of(*option).empty()) continue;
            out << "complete -c dds2csv -n '__fish_seen_subcommand_from " << command->get_name() << '\'';
            for (const std::string& name : option->get_snames())
                out << " -s " << name;
            for (const std::string& name : option->get_lnames())
                out << " -l " << name;
            if (takes_value(*option)) out << " -r";
            const auto words = words_of(*option);
            if (!words.empty()) out << " -f -a '" << CLI::detail::join(words, " ") << '\'';
            out << " -d '" << replaced(option->get_description(), "'", "\\'") << "'\n";
        }
    }
}

int print(std::string_view form) {
    Action unused;
    const auto app = make_command_line(unused);
    if (form == "man")
        print_manual(std::cout, *app);
    else if (form == "bash")
        print_bash(std::cout, *app);
    else if (form == "zsh")
        print_zsh(std::cout, *app);
    else if (form == "fish")
        print_fish(std::cout, *app);
    else
        return WRONG_USAGE;
    return std::cout.flush() ? ALL_DONE : FAILED;
}

}  // namespace

}  // namespace zun::cli

int main(int argc, char** argv) {
    return argc == 2 ? zun::cli::print(argv[1]) : zun::cli::WRONG_USAGE;
}
