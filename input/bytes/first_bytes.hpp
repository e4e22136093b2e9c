// first_bytes: what the beginning of a file tells.

#ifndef ZUN_INPUT_BYTES_FIRST_BYTES_HPP
#define ZUN_INPUT_BYTES_FIRST_BYTES_HPP

#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

namespace zun::input {

/// Up to 16 bytes. Throws std::system_error with the path when the file cannot be read.
std::vector<std::byte> read_first_bytes(const std::filesystem::path& file);

bool starts_with(std::span<const std::byte> bytes, std::string_view magic);

/// Whether they begin a zstd frame.
bool is_zstd(std::span<const std::byte> first_bytes);

}  // namespace zun::input

#endif
