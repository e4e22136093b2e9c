#include "input/bag/StorageFile.hpp"

#include <algorithm>
#include <charconv>
#include <tuple>

namespace zun::input::rosbag2 {

namespace fs = std::filesystem;

fs::path without_zstd(const fs::path& file) {
    const bool compressed = file.extension() == ".zstd" || file.extension() == ".zst";
    return compressed ? fs::path(file).replace_extension() : file;
}

std::vector<fs::path> storage_files(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        const fs::path extension = without_zstd(entry.path()).extension();
        if ((extension == ".db3" || extension == ".mcap") && entry.is_regular_file())
            files.push_back(entry.path());
    }
    // "bag_10.mcap" comes after "bag_9.mcap": the recorder numbers its files without leading zeros.
    std::sort(files.begin(), files.end(), [](const fs::path& a, const fs::path& b) {
        const NumberedName x = numbered_name(a);
        const NumberedName y = numbered_name(b);
        return std::tie(x.stem, x.number, x.extension, a) < std::tie(y.stem, y.number, y.extension, b);
    });
    return files;
}

NumberedName numbered_name(const fs::path& file) {
    const fs::path name = without_zstd(file.filename());
    const std::string stem = name.stem().string();
    NumberedName parts{.stem = stem, .extension = name.extension().string()};
    const std::size_t underscore = stem.rfind('_');
    if (underscore == std::string::npos) return parts;
    const char* const end = stem.data() + stem.size();
    const auto [stop, error] = std::from_chars(stem.data() + underscore + 1, end, parts.number);
    // Digits to the very end: "run_2a" is a name, not a number. Nor is one with more digits than fit.
    if (error == std::errc() && stop == end) {
        parts.stem.resize(underscore);
    } else {
        parts.number = 0;
    }
    return parts;
}

}  // namespace zun::input::rosbag2
