// options_fuzz: a text as a limits file, and each of its lines as an argument of the command line.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "convert/plan/limits_file.hpp"
#include "fuzz/tool.hpp"
#include "platform/error/InputError.hpp"

namespace {

using namespace zun;

/// What can be read can be written and read again.
void check_limits(const std::string& path) {
    convert::LimitsByTopic limits, again;
    try {
        convert::read_limits(path, limits);
    } catch (const InputError&) {
        return;
    }
    std::ostringstream text;
    convert::write_limits(text, limits);
    const std::string written = text.str();
    convert::read_limits(
        fuzz::write_file("again.yaml",
                         {reinterpret_cast<const std::uint8_t*>(written.data()), written.size()}),
        again);
    if (limits != again) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string path = fuzz::write_file("limits.yaml", {data, size});
    check_limits(path);
    std::vector<std::string> arguments = {"convert", "x.mcap"};
    std::istringstream lines(std::string(reinterpret_cast<const char*>(data), size));
    for (std::string line; std::getline(lines, line);)
        arguments.push_back(line);
    fuzz::parse_arguments(arguments);
    return 0;
}
