#include "input/recording/find_recordings.hpp"

#include <algorithm>
#include <stdexcept>

#include "input/recording/open_recording.hpp"

namespace zun::input {

namespace fs = std::filesystem;

namespace {

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

}  // namespace

std::vector<FoundRecording> find_recordings(const std::vector<std::string>& paths) {
    std::vector<FoundRecording> all;
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

}  // namespace zun::input
