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

/// True for an option or a positional whose value is a topic of the recordings beside it.
bool takes_topic(const CLI::Option& option) {
    return option.get_type_name() == "TOPIC";
}

bool is_positional(const CLI::Option& option) {
    return names_of(option).empty();
}

/// A shell's command that prints the topics of those of its arguments that are recordings. It quotes nothing
/// with ', so that all three shells take it in such quotes.
constexpr auto list_topics =
    R"(for word do test -e "$word" && timeout 2 dds2csv info "$word" 2>/dev/null; done |)"
    R"( sed -n "/^  topic /,/^[^ ]/{/^  topic /d;s/^  \([^ ]*\) .*/\1/p}")";

/// Text that troff takes as it is.
std::string roff(const std::string& text) {
    std::string result = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
    result = replaced(result, "\n'", "\n\\&'");
    return replaced(result, "\n.", "\n\\&.");
}

void print_entry(std::ostream& out, const std::string& term, const std::string& text) {
    out << ".TP\n" << term << '\n' << roff(text) << '\n';
}

void print_option(std::ostream& out, const CLI::Option& option) {
    const auto names = names_of(option);
    std::string term =
        "\\fB" + roff(names.empty() ? option.get_name() : CLI::detail::join(names, ", ")) + "\\fR";
    if (takes_value(option) && !names.empty()) term += " \\fI" + roff(option.get_type_name()) + "\\fR";
    const std::string& standard = option.get_default_str();
    print_entry(out, term, option.get_description() + (standard.empty() ? "" : " [" + standard + ']'));
}

/// "dds2csv convert [OPTIONS] RECORDING..."
std::string synopsis(const CLI::App& command) {
    std::string text = "dds2csv " + command.get_name() + " [OPTIONS]";
    for (const CLI::Option* option : command.get_options({}))
        if (is_positional(*option))
            text += ' ' + (option->get_required() ? option->get_name() : '[' + option->get_name() + ']') +
                    (option->get_expected_max() > 1 ? "..." : "") + (takes_topic(*option) ? " TOPIC" : "");
    return text;
}

void print_options(std::ostream& out, const CLI::App& command) {
    std::string group = "Options";
    for (const CLI::Option* option : command.get_options({})) {
        if (!is_positional(*option) && option->get_group() != group)
            out << ".PP\n.I " << roff(group = option->get_group()) << '\n';
        print_option(out, *option);
    }
}

/// Paragraphs, of which the first is an example with lines of its own.
void print_footer(std::ostream& out, const std::string& footer) {
    const std::size_t end = footer.find("\n\n");
    out << ".PP\n.nf\n" << roff(footer.substr(0, end)) << "\n.fi\n";
    if (end != std::string::npos)
        out << ".PP" << replaced(roff(footer.substr(end + 1)), "\n\n", "\n.PP\n") << '\n';
}

void print_surroundings(std::ostream& out) {
    out << ".SH ENVIRONMENT\n";
    print_entry(out, ".B AMENT_PREFIX_PATH",
                "Folders, separated by colons. Each one's share/ is searched for the .msg and .idl files of "
                "types that a recording does not define.");
    out << ".SH FILES\n";
    print_entry(out, ".IR DIR /*.csv",
                "One file for each topic, named after it. While it is unfinished its name ends in .part; "
                "a conversion that does not finish removes it. Behind --max-rows rows it goes on in *.2.csv, "
                "*.3.csv, and so on.");
    print_entry(out, ".IR DIR /*.schema.json",
                "With --sidecar, what is in the files of a topic: columns, types, units, limits, the "
                "definition, and how to read them.");
    print_entry(out, ".I FILE",
                "Of --limits: YAML, the longest length of every sequence by topic, as 'dds2csv fit' writes "
                "it. Of --report: the closing report as JSON.");
    out << ".SH EXIT STATUS\n";
    print_entry(out, std::to_string(ALL_DONE), "All of it was converted.");
    print_entry(out, std::to_string(FAILED),
                "Failed: nothing was converted, or with --fail-on-truncation a field was cut.");
    print_entry(out, std::to_string(WRONG_USAGE), "Wrong usage.");
    print_entry(out, std::to_string(SOMETHING_LOST),
                "Finished, but something was lost or skipped; the report says what.");
}

void print_manual(std::ostream& out, const CLI::App& app) {
    const std::string version = app.version();
    out << ".TH DDS2CSV 1 \"\" \"" << roff(version.substr(0, version.find('\n')))
        << "\" \"User Commands\"\n.SH NAME\ndds2csv \\- " << roff(app.get_description())
        << "\n.SH SYNOPSIS\n.nf\n";
    for (const CLI::App* command : app.get_subcommands({}))
        out << ".B " << roff(synopsis(*command)) << '\n';
    out << ".fi\n.SH COMMANDS\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        out << ".SS " << roff(synopsis(*command)) << '\n' << roff(command->get_description()) << ".\n";
        print_options(out, *command);
        print_footer(out, command->get_footer());
    }
    print_surroundings(out);
}

void print_bash_case(std::ostream& out, const CLI::Option& option) {
    const auto words = CLI::detail::join(words_of(option), " ");
    const std::string answers = takes_topic(option) ? "\"$(_dds2csv_topics)\"" : '\'' + words + '\'';
    if (!words.empty() || takes_topic(option))
        out << "        " << CLI::detail::join(names_of(option), "|") << ") COMPREPLY=($(compgen -W "
            << answers << " -- \"$word\")); return ;;\n";
}

void print_bash(std::ostream& out, const CLI::App& app) {
    std::string commands;
    out << "_dds2csv_topics() {\n    sh -c '" << list_topics << "' sh \"${COMP_WORDS[@]:2}\"\n}\n"
        << "_dds2csv() {\n    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD-1]} "
           "options= positional=\n    COMPREPLY=()\n    case ${COMP_WORDS[1]} in\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        commands += command->get_name() + ' ';
        std::string options;
        out << "    " << command->get_name() << ")\n        case $before in\n";
        for (const CLI::Option* option : command->get_options({})) {
            if (is_positional(*option)) continue;
            options += CLI::detail::join(names_of(*option), " ") + ' ';
            print_bash_case(out, *option);
        }
        out << "        esac\n        options='" << options << "'\n";
        for (const CLI::Option* option : command->get_options({}))
            if (is_positional(*option) && takes_topic(*option)) out << "        positional=topic\n";
        out << "        ;;\n";
    }
    out << "    esac\n    if ((COMP_CWORD == 1)); then COMPREPLY=($(compgen -W '" << commands
        << "--help --version' -- \"$word\"))\n"
           "    elif [[ $word == -* ]]; then COMPREPLY=($(compgen -W \"$options\" -- \"$word\"))\n"
           "    elif [[ $positional ]]; then COMPREPLY=($(compgen -W \"$(_dds2csv_topics)\" -- \"$word\"))\n"
           "    fi\n}\ncomplete -o default -F _dds2csv dds2csv\n";
}

/// The text of an option as zsh completion takes it, where brackets and colons have meanings.
std::string zsh_text(const std::string& text) {
    return replaced(replaced(replaced(replaced(text, "'", "’"), "[", "\\["), "]", "\\]"), ":", "\\:");
}

void print_zsh_option(std::ostream& out, const CLI::Option& option) {
    const std::string words = CLI::detail::join(words_of(option), " ");
    const std::string action = takes_topic(option) ? "_dds2csv_topics"
                               : words.empty()     ? "_files"
                                                   : '(' + words + ')';
    for (const std::string& name : names_of(option))
        out << "        '*" << name << '[' << zsh_text(option.get_description()) << ']'
            << (takes_value(option) ? ":value:" + action : "") << "' \\\n";
    if (is_positional(option))
        out << "        '" << (option.get_expected_max() > 1 ? "*" : "") << ":value:" << action << "' \\\n";
}

void print_zsh(std::ostream& out, const CLI::App& app) {
    out << "#compdef dds2csv\n_dds2csv_topics() {\n    compadd -- ${(f)\"$(sh -c '" << list_topics
        << "' sh ${(Q)words})\"}\n}\nlocal -a commands=(\n";
    for (const CLI::App* command : app.get_subcommands({}))
        out << "    '" << command->get_name() << ':' << zsh_text(command->get_description()) << "'\n";
    out << ")\nif ((CURRENT == 2)); then\n    _describe command commands\n    return\nfi\ncase $words[2] "
           "in\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        out << command->get_name() << ")\n    shift words; ((CURRENT--))\n    _arguments \\\n";
        for (const CLI::Option* option : command->get_options({}))
            print_zsh_option(out, *option);
        out << "        ;;\n";
    }
    out << "esac\n";
}

void print_fish_option(std::ostream& out, const std::string& command, const CLI::Option& option) {
    if (is_positional(option) && !takes_topic(option)) return;  // files, without a word
    out << "complete -c dds2csv -n '__fish_seen_subcommand_from " << command << '\'';
    for (const std::string& name : option.get_snames())
        out << " -s " << name;
    for (const std::string& name : option.get_lnames())
        out << " -l " << name;
    if (takes_value(option) && !is_positional(option)) out << " -r";
    const auto words = words_of(option);
    if (takes_topic(option))
        out << (is_positional(option) ? "" : " -f") << " -a '(__dds2csv_topics)'";
    else if (!words.empty())
        out << " -f -a '" << CLI::detail::join(words, " ") << '\'';
    out << " -d '" << replaced(option.get_description(), "'", "\\'") << "'\n";
}

void print_fish(std::ostream& out, const CLI::App& app) {
    out << "function __dds2csv_topics\n    sh -c '" << list_topics << "' sh (commandline -opc)\nend\n";
    for (const CLI::App* command : app.get_subcommands({})) {
        out << "complete -c dds2csv -n __fish_use_subcommand -f -a " << command->get_name() << " -d '"
            << replaced(command->get_description(), "'", "\\'") << "'\n";
        for (const CLI::Option* option : command->get_options({}))
            print_fish_option(out, command->get_name(), *option);
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
