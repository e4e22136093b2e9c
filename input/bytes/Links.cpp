#include "input/bytes/Links.hpp"

#include <algorithm>
#include <system_error>

namespace zun::input {

namespace fs = std::filesystem;

bool lies_in(const fs::path& file, const fs::path& folder) {
    std::error_code unresolved;
    const fs::path outer = fs::canonical(folder, unresolved);
    if (unresolved) return true;
    const fs::path inner = fs::canonical(file, unresolved);
    return unresolved ||
           std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

std::string refusal(const fs::path& file, const fs::path& folder, const Links& links) {
    if (links.followed || lies_in(file, folder)) return {};
    const std::string advice = links.advice.empty() ? "" : "; " + links.advice;
    return "not read: it leads out of '" + folder.string() + "', to '" + fs::canonical(file).string() + '\'' +
           advice;
}

}  // namespace zun::input
