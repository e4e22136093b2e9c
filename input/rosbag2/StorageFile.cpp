#include "input/rosbag2/StorageFile.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <string_view>
#include <system_error>
#include <tuple>

#include "input/rosbag2/Rosbag2.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

bool starts_with(std::span<const std::byte> bytes, std::string_view magic) {
    return bytes.size() >= magic.size() && std::memcmp(bytes.data(), magic.data(), magic.size()) == 0;
}

}  // namespace

bool is_sqlite(std::span<const std::byte> first_bytes) {
    using namespace std::string_view_literals;
    return starts_with(first_bytes, "SQLite format 3\0"sv);
}

bool is_zstd(std::span<const std::byte> first_bytes) {
    return starts_with(first_bytes, "\x28\xB5\x2F\xFD");
}

bool is_bag_folder(const fs::path& folder) {
    if (fs::exists(folder / "metadata.yaml")) return true;
    const std::vector<fs::path> files = storage_files(folder);
    return !files.empty() && std::all_of(files.begin(), files.end(), [&](const fs::path& file) {
        return numbered_name(file).stem == numbered_name(files.front()).stem &&
               numbered_name(file).extension == numbered_name(files.front()).extension;
    });
}

std::vector<std::byte> read_first_bytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::vector<std::byte> bytes(16);
    in.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (in.gcount() == 0 && !in.eof()) throw std::system_error(errno, std::generic_category(), file.string());
    bytes.resize(static_cast<std::size_t>(in.gcount()));
    return bytes;
}

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
    if (error == std::errc() && stop == end) {
        parts.stem.resize(underscore);
    } else {
        parts.number = 0;
    }
    return parts;
}

}  // namespace zun::input::rosbag2
