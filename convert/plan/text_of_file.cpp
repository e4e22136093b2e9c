#include "convert/plan/text_of_file.hpp"

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>

namespace zun::convert {

std::string text_of_file(const std::filesystem::path& path) {
    const std::string problem = "cannot read '" + path.string() + '\'';
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open()) throw std::system_error(errno, std::generic_category(), problem);
    try {
        return {std::istreambuf_iterator<char>(file), {}};
    } catch (const std::ios_base::failure& fault) {
        throw std::system_error(fault.code(), problem);
    }
}

}  // namespace zun::convert
