#include "input/bytes/first_bytes.hpp"

#include <cstring>

#include "input/bytes/File.hpp"

namespace zun::input {

std::vector<std::byte> read_first_bytes(const std::filesystem::path& file) {
    std::vector<std::byte> bytes(16);
    bytes.resize(File(file).read(0, bytes));
    return bytes;
}

bool starts_with(std::span<const std::byte> bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

bool is_zstd(std::span<const std::byte> first_bytes) {
    return starts_with(first_bytes, "\x28\xB5\x2F\xFD");
}

}  // namespace zun::input
