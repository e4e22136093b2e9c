// dds2csv: recordings of a DDS data bus as CSV files.

#include <csignal>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <system_error>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"

namespace zun::cli {

namespace {

/// Buffers of some megabytes come and go with every batch. By default they go back to the system each time,
/// and their pages come anew, one fault each.
void keep_freed_memory() {
#ifdef __GLIBC__
    constexpr int bytes = 32 << 20;  // the most that can be asked for
    mallopt(M_MMAP_THRESHOLD, bytes);
    mallopt(M_TRIM_THRESHOLD, bytes);
#endif
}

int complain(const char* problem, ExitCode code) {
    std::cerr << "dds2csv: " << problem << '\n';
    return code;
}

/// Help and version are data; what is wrong with the arguments is talk.
int answer(const CLI::App& app, const CLI::ParseError& answer) {
    const bool asked_for = answer.get_exit_code() == 0;
    app.exit(answer, std::cout, std::cerr);
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
    using namespace zun::cli;
    keep_freed_memory();
    std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is the error code of a write
    try {
        return run(argc, argv);
    } catch (const std::system_error& problem) {
        if (problem.code() == std::errc::broken_pipe) return ALL_DONE;
        return complain(problem.what(), FAILED);
    } catch (const std::exception& problem) {
        return complain(problem.what(), FAILED);
    }
}
