#include "convert/tasks/json.hpp"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zun::convert {

std::string text_of_file(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file || file.bad())
        throw std::system_error(errno, std::generic_category(), "cannot read '" + path.string() + "'");
    return text;
}

std::string digest_of(std::string_view text) {
    std::uint64_t hash = 0xcbf2'9ce4'8422'2325;  // FNV-1a
    for (const char character : text)
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100'0000'01b3;
    std::array<char, 17> digits{};
    std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(hash));
    return digits.data();
}

std::string line_of(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace zun::convert
