#include "input/recording/find_recordings.hpp"

#include <algorithm>
#include <future>
#include <stdexcept>
#include <system_error>

#include "input/bag/StreamAdapter.hpp"
#include "input/bytes/Pipe.hpp"
#include "input/recording/open_recording.hpp"

namespace zun::input {

namespace fs = std::filesystem;

namespace {

/// Whether the name says that the file is a recording, whatever it holds.
bool claims_to_be_recording(const fs::path& file) {
    const fs::path ending = file.extension();
    return ending == ".mcap" || ending == ".db3" || ending == ".zstd" || ending == ".zst" || ending == ".bag";
}

/// What cannot be read counts by its name; opening it tells why.
bool is_candidate(const fs::path& file) {
    try {
        return claims_to_be_recording(file) || is_recording(file);
    } catch (const std::system_error&) {
        return false;
    }
}

void search(const fs::path& folder, std::vector<fs::path>& found);

void search_entries(const fs::path& folder, std::vector<fs::path>& found) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder))
        entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    const bool is_bag = is_recording(folder);
    if (is_bag) found.push_back(folder);
    for (const fs::path& entry : entries) {
        std::error_code unreadable;
        const bool is_link = fs::is_symlink(entry, unreadable);
        if (fs::is_directory(entry, unreadable)) {
            if (!is_link) search(entry, found);
        } else if (!is_bag && is_candidate(entry)) {
            found.push_back(entry);
        }
    }
}

/// The folder itself where it is a recording, else its files that are; and what its subfolders hold, by name.
/// Subfolders of a recording count too: nothing lies in a folder unseen. One that cannot be looked into
/// stands for itself: opening it tells why.
void search(const fs::path& folder, std::vector<fs::path>& found) {
    try {
        search_entries(folder, found);
    } catch (const std::system_error&) {
        found.push_back(folder);
    }
}

/// The name of a recording without the ending of its kind.
std::string stem(const fs::path& path) {
    std::error_code unreadable;
    fs::path name = fs::weakly_canonical(path, unreadable).filename();
    if (name.empty()) name = path.filename();
    if (fs::is_directory(path, unreadable)) return name.string();
    if (name.extension() == ".zstd" || name.extension() == ".zst") name = name.stem();
    return name.stem().string();
}

FoundRecording in_file(const fs::path& path, const std::string& name) {
    return {path, name, path.string(), [path] { return open_recording(path); }};
}

/// A pipe's bytes come once: the first call opens, later ones get the same stream, or the same error.
FoundRecording in_pipe(const fs::path& path) {
    const auto open = [path] { return std::shared_ptr<MessageStream>(open_pipe(path)); };
    const auto opened = std::async(std::launch::deferred, open).share();
    const bool is_standard_input = path == "-";
    return {path, is_standard_input ? "stdin" : path.stem().string(),
            is_standard_input ? "standard input" : path.string(),
            [opened] { return std::make_unique<rosbag2::StreamAdapter>(opened.get()); }};
}

}  // namespace

std::vector<FoundRecording> find_recordings(const std::vector<std::string>& paths) {
    std::vector<FoundRecording> all;
    for (const std::string& text : paths) {
        const fs::path path = text;
        if (Pipe::is_pipe(path)) {
            all.push_back(in_pipe(path));
            continue;
        }
        std::error_code unreadable;
        if (!fs::is_directory(path, unreadable)) {
            all.push_back(in_file(path, stem(path)));
            continue;
        }
        std::vector<fs::path> inside;
        search(path, inside);
        if (inside.empty()) throw std::runtime_error("'" + text + "' has no recordings in it");
        for (const fs::path& recording : inside)
            all.push_back(
                in_file(recording, (fs::relative(recording, path).parent_path() / stem(recording)).string()));
    }
    return all;
}

}  // namespace zun::input
