#include "cli/find_recordings.hpp"

#include <filesystem>
#include <system_error>

#include "convert/plan/file_names.hpp"
#include "input/recording/find_recordings.hpp"

namespace zun::cli {

namespace fs = std::filesystem;

std::vector<convert::Recording> find_recordings(const std::vector<std::string>& paths,
                                                const std::optional<std::string>& output,
                                                const input::Links& links) {
    const std::vector<input::FoundRecording> all = input::find_recordings(paths, links);
    const bool single = all.size() == 1 && all.front().path == fs::path(paths.front());
    std::vector<convert::FileSubject> subjects;
    subjects.reserve(all.size());
    for (const input::FoundRecording& found : all)
        subjects.push_back({found.name});
    const std::vector<std::string> names = convert::file_names(subjects);
    std::vector<convert::Recording> recordings;
    for (std::size_t i = 0; i < all.size(); ++i) {
        fs::path folder = single && output ? fs::path(*output) : fs::path(output.value_or("")) / names[i];
        std::error_code no_such_folder;
        if (fs::equivalent(folder, all[i].path, no_such_folder))
            folder += "_csv";  // recordings stay as they are
        recordings.push_back({all[i].title, folder, all[i].open});
    }
    return recordings;
}

}  // namespace zun::cli
