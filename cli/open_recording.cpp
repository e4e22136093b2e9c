#include "cli/open_recording.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "convert/plan/file_names.hpp"
#include "input/mcap/McapStream.hpp"
#include "input/rosbag2/Rosbag2.hpp"
#include "platform/error/InputError.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t first_byte_count = 16;

std::vector<std::byte> first_bytes(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, first_byte_count> bytes{};
    file.read(bytes.data(), bytes.size());
    if (file.bad() || !file.is_open())
        throw std::system_error(errno, std::generic_category(), "cannot read '" + path.string() + "'");
    const auto* const begin = reinterpret_cast<const std::byte*>(bytes.data());
    return {begin, begin + file.gcount()};
}

std::unique_ptr<input::MessageStream> open_plain(const fs::path& path) {
    const auto bytes = first_bytes(path);
    if (input::is_mcap(bytes)) return input::open_mcap(path);
    if (input::rosbag2::is_sqlite(bytes)) return input::rosbag2::open_sqlite(path);
    throw InputError(path.string(), 0,
                     "expected a recording (MCAP, or SQLite of rosbag2; zstd around either)");
}

bool is_recording_file(const fs::path& path) {
    const auto bytes = first_bytes(path);
    return input::is_mcap(bytes) || input::rosbag2::is_sqlite(bytes) || input::rosbag2::is_zstd(bytes);
}

/// The folder itself where it is a recording, else its files that are; and what its subfolders hold, by name.
/// Subfolders of a recording count too: nothing lies in a folder unseen.
std::vector<fs::path> recordings_in(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder))
        entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    const bool is_bag = is_recording(folder);
    std::vector<fs::path> found;
    if (is_bag) found.push_back(folder);
    for (const fs::path& entry : entries) {
        if (fs::is_directory(entry) && !fs::is_symlink(entry)) {
            const auto inside = recordings_in(entry);
            found.insert(found.end(), inside.begin(), inside.end());
        } else if (!is_bag && is_recording(entry)) {
            found.push_back(entry);
        }
    }
    return found;
}

/// The name of a recording without the ending of its kind.
std::string stem(const fs::path& path) {
    fs::path name = fs::weakly_canonical(path).filename();
    if (fs::is_directory(path)) return name.string();
    if (name.extension() == ".zstd" || name.extension() == ".zst") name = name.stem();
    return name.stem().string();
}

struct Found {
    fs::path path;
    std::string name;  // of its folder
};

std::vector<Found> find_all(const std::vector<std::string>& paths) {
    std::vector<Found> all;
    for (const std::string& text : paths) {
        const fs::path path = text;
        if (!fs::is_directory(path)) {
            all.push_back({path, stem(path)});
            continue;
        }
        const auto inside = recordings_in(path);
        if (inside.empty()) throw std::runtime_error("'" + text + "' has no recordings in it");
        for (const fs::path& recording : inside)
            all.push_back(
                {recording, (fs::relative(recording, path).parent_path() / stem(recording)).string()});
    }
    return all;
}

}  // namespace

bool is_recording(const fs::path& path) {
    if (fs::is_directory(path)) return input::rosbag2::is_bag_folder(path);
    return fs::is_regular_file(path) && is_recording_file(path);
}

std::unique_ptr<input::MessageStream> open_recording(const fs::path& path) {
    if (fs::is_directory(path)) return input::rosbag2::open_folder(path, open_plain);
    if (input::rosbag2::is_zstd(first_bytes(path))) return input::rosbag2::open_compressed(path, open_plain);
    return open_plain(path);
}

std::vector<convert::Recording> find_recordings(const std::vector<std::string>& paths,
                                                const std::optional<std::string>& output) {
    const std::vector<Found> all = find_all(paths);
    const bool single = all.size() == 1 && all.front().path == fs::path(paths.front());
    std::vector<convert::FileSubject> subjects;
    subjects.reserve(all.size());
    for (const Found& found : all)
        subjects.push_back({found.name});
    const std::vector<std::string> names = convert::file_names(subjects);
    std::vector<convert::Recording> recordings;
    for (std::size_t i = 0; i < all.size(); ++i) {
        fs::path folder = single && output ? fs::path(*output) : fs::path(output.value_or("")) / names[i];
        std::error_code no_such_folder;
        if (fs::equivalent(folder, all[i].path, no_such_folder))
            folder += "_csv";  // recordings stay as they are
        recordings.push_back(
            {all[i].path.string(), folder, [path = all[i].path] { return open_recording(path); }});
    }
    return recordings;
}

}  // namespace zun::cli
