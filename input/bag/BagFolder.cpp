// A bag folder: metadata.yaml says which files are its parts; without it, all that look like storage files.

#include "input/bag/BagFolder.hpp"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "input/bag/MergedStream.hpp"
#include "input/bag/Metadata.hpp"
#include "input/bag/StorageFile.hpp"
#include "input/bytes/first_bytes.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t most_open_files = 16;

/// What a folder holds, before any of its storage files is opened.
struct BagFolder {
    fs::path folder;
    Links links;
    fs::path metadata_file = folder / "metadata.yaml";
    std::optional<Metadata> metadata = {};
    std::vector<fs::path> files = {};
    std::vector<Problem> problems = {};
    std::vector<std::string> missing = {};  // of the listed files
    std::vector<fs::path> refused = {};     // since they lead out of the folder
};

/// One file can be named in several ways, through links for one.
bool holds(const std::vector<fs::path>& files, const fs::path& file) {
    return std::any_of(files.begin(), files.end(), [&](const fs::path& held) {
        std::error_code unreadable;
        return held == file || fs::equivalent(held, file, unreadable);
    });
}

/// False for a file that cannot be read, which opening it tells.
bool is_compressed(const fs::path& file) {
    try {
        return is_zstd(read_first_bytes(file));
    } catch (const std::system_error&) {
        return false;
    }
}

/// Whether `file` may be opened; notes once why not.
bool admit(BagFolder& bag, const fs::path& file) {
    const std::string why = refusal(file, bag.folder, bag.links);
    if (why.empty()) return true;
    if (!holds(bag.refused, file)) {
        bag.refused.push_back(file);
        bag.problems.push_back({file.string(), 0, why});
    }
    return false;
}

void take_metadata(BagFolder& bag) {
    try {
        if (fs::exists(bag.metadata_file) && admit(bag, bag.metadata_file))
            bag.metadata = read_metadata(bag.metadata_file);
    } catch (const InputError& error) {
        bag.problems.push_back({bag.metadata_file.string(), error.position(), error.problem()});
    }
}

void take_listed_files(BagFolder& bag) {
    for (const std::string& listed : bag.metadata->files) {
        const std::optional<fs::path> file = resolve(bag.folder, listed);
        if (!file) {
            bag.missing.push_back(listed);
        } else if (!holds(bag.files, *file) && admit(bag, *file)) {
            bag.files.push_back(*file);
        }
    }
}

BagFolder look_into(const fs::path& folder, const Links& links) {
    BagFolder bag{.folder = folder, .links = links};
    take_metadata(bag);
    if (bag.metadata) take_listed_files(bag);
    std::vector<fs::path> present = storage_files(folder);
    std::erase_if(present, [&](const fs::path& file) { return !admit(bag, file); });
    if (bag.files.empty()) bag.files = present;
    if (bag.files.empty() && !bag.problems.empty())
        throw InputError(bag.problems.back().source, bag.problems.back().position, bag.problems.back().text);
    if (bag.files.empty())
        throw InputError(folder.string(), 0,
                         "expected the storage files of a recording (.db3, .mcap), found none");
    for (const fs::path& file : present)
        if (!holds(bag.files, file))
            bag.problems.push_back({file.string(), 0, "left out: metadata.yaml does not list it"});
    return bag;
}

/// Counts are compared only: an interrupted recording has false ones. Messages that are counted, not there,
/// and not known to be lost are lost as well.
std::vector<Problem> count_differences(const BagFolder& bag, const MergedStream& stream) {
    std::vector<Problem> differences;
    std::map<std::string, std::uint64_t> found;
    std::uint64_t total = 0;
    for (std::size_t i = 0; i < stream.channels().size(); ++i) {
        const std::uint64_t count = stream.summary().channels[i].message_count;
        found[stream.channels()[i].topic] += count;
        total += count;
    }
    const auto compare = [&](std::uint64_t listed, const std::string& of_what, std::uint64_t held) {
        if (listed == held) return;
        differences.push_back({bag.metadata_file.string(), 0,
                               "counts " + std::to_string(listed) + " messages" + of_what +
                                   ", the recording holds " + std::to_string(held)});
    };
    if (bag.metadata->message_count) compare(*bag.metadata->message_count, "", total);
    if (!differences.empty()) {
        for (const Problem& problem : stream.problems())
            total += problem.messages_lost;
        differences.front().messages_lost =
            *bag.metadata->message_count - std::min(*bag.metadata->message_count, total);
        if (!bag.missing.empty()) return differences;
    }
    for (const auto& [topic, count] : bag.metadata->topic_counts)
        compare(count, " of " + topic, found[topic]);
    return differences;
}

/// A listed file that is missing costs nothing when the others hold all that is counted: it has been renamed.
void hold_against_metadata(const BagFolder& bag, MergedStream& stream) {
    const std::vector<Problem> differences = count_differences(bag, stream);
    const bool renamed = bag.metadata->message_count && differences.empty();
    for (const std::string& file : bag.missing)
        stream.add_problem({bag.metadata_file.string(), 0,
                            "the storage file " + file + " is missing" +
                                (renamed ? "; the folder holds all messages that are counted" : ""),
                            0, renamed});
    for (const Problem& difference : differences)
        stream.add_problem(difference);
}

}  // namespace

std::unique_ptr<MessageStream> open_part(const fs::path& file, const OpenFile& open_file) {
    return is_zstd(read_first_bytes(file)) ? open_compressed(file, open_file) : open_file(file);
}

std::unique_ptr<MessageStream> open_folder(const fs::path& folder, const OpenFile& open_file,
                                           const Links& links) {
    const BagFolder bag = look_into(folder, links);
    std::vector<MergedStream::Part> parts;
    for (const fs::path& file : bag.files) {
        // An unpacked file takes up disk space for as long as it is open.
        const bool keep_open =
            bag.files.size() == 1 || (bag.files.size() <= most_open_files && !is_compressed(file));
        parts.push_back({file, keep_open});
    }
    auto stream = std::make_unique<MergedStream>(
        parts, [open_file](const fs::path& file) { return open_part(file, open_file); });
    if (bag.metadata) hold_against_metadata(bag, *stream);
    if (bag.metadata) stream->add_compression(bag.metadata->compression);
    for (const Problem& problem : bag.problems)
        stream->add_problem(problem);
    return stream;
}

}  // namespace zun::input::rosbag2
