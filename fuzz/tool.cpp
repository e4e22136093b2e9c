#include "fuzz/tool.hpp"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <streambuf>

#include <CLI/CLI.hpp>

#include "cli/commands.hpp"

namespace zun::fuzz {

namespace {

/// Takes all that is said.
class Nowhere : public std::streambuf {
    int overflow(int c) override { return c; }
    std::streamsize xsputn(const char*, std::streamsize size) override { return size; }
};

struct Folder {
    Folder() {
        std::string name = "/dev/shm/dds2csv_fuzz.XXXXXX";
        if (::mkdtemp(name.data()) == nullptr) std::abort();
        path = name;
        std::cout.rdbuf(&nowhere);
        std::cerr.rdbuf(&nowhere);
        ::unsetenv("AMENT_PREFIX_PATH");
    }
    ~Folder() {
        std::cout.rdbuf(nullptr);
        std::cerr.rdbuf(nullptr);
        std::filesystem::remove_all(path);
    }
    Nowhere nowhere = {};
    std::filesystem::path path = {};
};

void run(std::vector<std::string> arguments, bool act) {
    cli::Action action;
    const auto app = cli::make_command_line(action);
    std::reverse(arguments.begin(), arguments.end());  // as CLI11 wants them
    try {
        app->parse(arguments);
        if (act) action();
    } catch (const CLI::ParseError& answer) {
        app->exit(answer, std::cout, std::cerr);
    } catch (const std::runtime_error&) {
        return;
    }
}

}  // namespace

const std::filesystem::path& folder() {
    static const Folder made;
    return made.path;
}

std::string write_file(const std::string& name, Bytes content) {
    const std::string path = folder() / name;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(content.data()), static_cast<std::streamsize>(content.size()));
    if (!file.flush()) std::abort();
    return path;
}

void run_tool(std::vector<std::string> arguments) {
    run(std::move(arguments), true);
}

void parse_arguments(std::vector<std::string> arguments) {
    run(std::move(arguments), false);
}

}  // namespace zun::fuzz
