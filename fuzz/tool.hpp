// tool: the tool's own command line inside a fuzzer, on files that vanish with the process.

#ifndef ZUN_FUZZ_TOOL_HPP
#define ZUN_FUZZ_TOOL_HPP

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace zun::fuzz {

using Bytes = std::span<const std::uint8_t>;

/// A folder in memory of this process alone; empty at first, gone at its end.
const std::filesystem::path& folder();

/// Writes a file of folder() anew; its path.
std::string write_file(const std::string& name, Bytes content);

/// Runs `dds2csv ARGUMENTS`. What bad input may throw is caught as main() would catch it; std::logic_error,
/// std::bad_alloc and whatever else is a fault of ours go through.
void run_tool(std::vector<std::string> arguments);

/// Only reads the command line. The same exceptions.
void parse_arguments(std::vector<std::string> arguments);

}  // namespace zun::fuzz

#endif
