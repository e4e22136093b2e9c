// dds2csv: recordings of a DDS data bus as CSV files.

#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <stdexcept>
#include <string>
#include <system_error>

#include <CLI/CLI.hpp>

#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/heap.hpp"
#include "cli/options.hpp"
#include "convert/Settings.hpp"
#include "platform/error/TextStream.hpp"
#include "platform/text/visible.hpp"

namespace zun::cli {

namespace {

int complain(const std::string& problem, ExitCode code) {
    std::cerr << "dds2csv: " << visible(problem) << '\n';
    return code;
}

/// Help and version are data; what is wrong with the arguments is talk.
int answer(const CLI::App& app, const CLI::ParseError& answer) {
    const bool asked_for = answer.get_exit_code() == 0 && app.remaining().empty();
    const std::string unknown = asked_for ? "" : unknown_word(app);
    TextStream talk;
    if (unknown.empty())
        app.exit(answer, std::cout, talk);
    else
        talk << unknown << "\nRun with --help for more information.\n";
    std::cerr << visible_lines(talk.str());
    return asked_for ? ALL_DONE : WRONG_USAGE;
}

int run(int argc, char** argv) {
    Action action;
    const auto app = make_command_line(action);
    try {
        app->parse(argc, argv);
    } catch (const CLI::ParseError& problem) {
        return answer(*app, problem);
    }
    return action();
}

}  // namespace

}  // namespace zun::cli

int main(int argc, char** argv) {
    using namespace zun;
    using namespace zun::cli;
    prepare_heap();
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is the error code of a write
    std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that the system lets grow no more
    try {
        return run(argc, argv);
    } catch (const std::filesystem::filesystem_error& problem) {
        return complain("cannot read '" + problem.path1().string() + "': " + problem.code().message(),
                        FAILED);
    } catch (const std::system_error& problem) {
        if (problem.code() == std::errc::broken_pipe) return ALL_DONE;
        return complain(problem.what(), FAILED);
    } catch (const convert::Interrupted& interruption) {
        complain(interruption.what(), FAILED);
        end_as_requested();
        return FAILED;
    } catch (const convert::WrongUsage& problem) {
        return complain(problem.why().spelled(option_of), WRONG_USAGE);
    } catch (const convert::Refusal& refusal) {
        return complain(refusal.why().spelled(option_of), FAILED);
    } catch (const std::exception& problem) {
        return complain(problem.what(), FAILED);
    }
}
