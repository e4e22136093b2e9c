// Which folders are one recording. Without metadata.yaml, names and contents of the storage files decide.

#include <algorithm>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "input/bag/BagFolder.hpp"
#include "input/bag/StorageFile.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t longest_gap_seconds = 600;

bool have_one_name(const std::vector<fs::path>& files) {
    const NumberedName first = numbered_name(files.front());
    return std::all_of(files.begin(), files.end(), [&](const fs::path& file) {
        const NumberedName name = numbered_name(file);
        return name.stem == first.stem && name.extension == first.extension;
    });
}

/// What the storage files seen until now have in common.
class CommonContents {
public:
    /// False when `stream` shares no topic with those before. One without channels fits anywhere.
    bool add(const MessageStream& stream) {
        bool shares = topics_.empty() || stream.channels().empty();
        for (const Channel& channel : stream.channels())
            shares = !topics_.emplace(channel.topic, channel.type_name).second || shares;
        const Summary& summary = stream.summary();
        if (summary.first && summary.last) spans_.insert({*summary.first, *summary.last});
        return shares;
    }

    /// Whether each begins before, or soon after, all that began earlier have ended.
    bool adjoin() const {
        if (spans_.empty()) return true;
        Time last = spans_.begin()->second;
        for (const auto& [begin, end] : spans_) {
            if (begin.seconds - last.seconds > longest_gap_seconds) return false;
            last = std::max(last, end);
        }
        return true;
    }

private:
    std::set<std::pair<std::string, std::string>> topics_;  // with their types
    std::multiset<std::pair<Time, Time>> spans_;
};

/// A file that cannot be opened, or is not to be, fits anywhere.
bool have_common_contents(const std::vector<fs::path>& files, const OpenFile& open_file, const Links& links) {
    CommonContents contents;
    for (const fs::path& file : files) {
        if (!refusal(file, file.parent_path(), links).empty()) continue;
        try {
            if (!contents.add(*open_part(file, open_file))) return false;
        } catch (const InputError&) {
            continue;
        } catch (const std::system_error&) {
            continue;
        }
    }
    return contents.adjoin();
}

}  // namespace

bool is_bag_folder(const fs::path& folder, const OpenFile& open_file, const Links& links) {
    if (fs::exists(folder / "metadata.yaml")) return true;
    const std::vector<fs::path> files = storage_files(folder);
    if (files.size() < 2) return !files.empty();
    return have_one_name(files) && have_common_contents(files, open_file, links);
}

}  // namespace zun::input::rosbag2
