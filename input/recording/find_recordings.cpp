#include "input/recording/find_recordings.hpp"

#include <algorithm>
#include <future>
#include <stdexcept>
#include <system_error>

#include "input/bag/StreamAdapter.hpp"
#include "input/bytes/Pipe.hpp"
#include "input/recording/open_recording.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input {

namespace fs = std::filesystem;

namespace {

/// Whether the name says that the file is a recording, whatever it holds.
bool claims_to_be_recording(const fs::path& file) {
    const fs::path ending = file.extension();
    return ending == ".mcap" || ending == ".db3" || ending == ".zstd" || ending == ".zst" || ending == ".bag";
}

/// Looks for recordings in one argument.
class Search {
public:
    Search(fs::path root, const Links& links) : root_(std::move(root)), links_(links) {}

    /// The folder itself where it is a recording, else its files that are; and what its subfolders hold, by
    /// name. Subfolders of a recording count too: nothing lies in a folder unseen. One that cannot be looked
    /// into stands for itself: opening it tells why.
    void look_into(const fs::path& folder) {
        try {
            look_at_entries(folder);
        } catch (const std::system_error&) {
            found_.push_back(folder);
        }
    }
    const std::vector<fs::path>& found() const { return found_; }

private:
    /// What cannot or must not be read counts by its name; opening it tells why.
    bool is_candidate(const fs::path& file) const {
        try {
            return claims_to_be_recording(file) ||
                   (refusal(file, root_, links_).empty() && is_recording(file));
        } catch (const std::system_error&) {
            return false;
        }
    }
    void look_at_entries(const fs::path& folder);

    fs::path root_;
    const Links& links_;
    std::vector<fs::path> found_;
};

void Search::look_at_entries(const fs::path& folder) {
    std::vector<fs::path> entries;
    for (const auto& entry : fs::directory_iterator(folder))
        entries.push_back(entry.path());
    std::sort(entries.begin(), entries.end());
    const bool is_bag = is_recording(folder, links_);
    if (is_bag) found_.push_back(folder);
    for (const fs::path& entry : entries) {
        std::error_code unreadable;
        const bool is_link = fs::is_symlink(entry, unreadable);
        if (fs::is_directory(entry, unreadable)) {
            if (!is_link) look_into(entry);
        } else if (!is_bag && is_candidate(entry)) {
            found_.push_back(entry);
        }
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

/// `root`  where it was found; empty for a path that the user named
FoundRecording in_file(const fs::path& path, const std::string& name, const Links& links,
                       const fs::path& root = {}) {
    return {path, name, path.string(), [path, links, root] {
                const std::string why = root.empty() ? "" : refusal(path, root, links);
                if (!why.empty()) throw InputError(path.string(), 0, why);
                return open_recording(path, links);
            }};
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

std::vector<FoundRecording> find_recordings(const std::vector<std::string>& paths, const Links& links) {
    std::vector<FoundRecording> all;
    for (const std::string& text : paths) {
        const fs::path path = text;
        if (Pipe::is_pipe(path)) {
            all.push_back(in_pipe(path));
            continue;
        }
        std::error_code unreadable;
        if (!fs::is_directory(path, unreadable)) {
            all.push_back(in_file(path, stem(path), links));
            continue;
        }
        Search inside(path, links);
        inside.look_into(path);
        if (inside.found().empty()) throw std::runtime_error("'" + text + "' has no recordings in it");
        for (const fs::path& recording : inside.found())
            all.push_back(in_file(
                recording, (recording.lexically_relative(path).parent_path() / stem(recording)).string(),
                links, path));
    }
    return all;
}

}  // namespace zun::input
