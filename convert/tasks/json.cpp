#include "convert/tasks/json.hpp"

#include <array>
#include <cstdint>
#include <cstdio>

namespace zun::convert {

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
