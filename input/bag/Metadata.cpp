#include "input/bag/Metadata.hpp"

#include <span>
#include <string>
#include <system_error>

#include <yaml-cpp/yaml.h>

#include "input/bytes/File.hpp"
#include "input/bytes/Links.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

std::optional<std::uint64_t> count_of(const YAML::Node& node) {
    std::uint64_t count = 0;
    if (!node.IsDefined() || !YAML::convert<std::uint64_t>::decode(node, count)) return std::nullopt;
    return count;
}

Metadata metadata_of(const YAML::Node& bag) {
    Metadata metadata;
    for (const YAML::Node& file : bag["relative_file_paths"])
        metadata.files.push_back(file.as<std::string>());
    metadata.compression = bag["compression_format"].as<std::string>("");
    metadata.message_count = count_of(bag["message_count"]);
    for (const YAML::Node& topic : bag["topics_with_message_count"]) {
        const std::optional<std::uint64_t> count = count_of(topic["message_count"]);
        const std::string name = topic["topic_metadata"]["name"].as<std::string>();
        if (count) metadata.topic_counts[name] += *count;
    }
    return metadata;
}

/// Not YAML::LoadFile, which waits at pipes and takes want of memory for a bad file.
YAML::Node load(const fs::path& path) {
    constexpr std::size_t most_bytes = std::size_t{64} << 20U;
    if (fs::is_other(path) || fs::is_directory(path))
        throw InputError(path.string(), 0, "expected a file, found a folder, a device or a pipe");
    const File file(path);
    if (file.size() > most_bytes)
        throw InputError(path.string(), 0,
                         "expected the metadata of a rosbag2 recording, found a file of " +
                             std::to_string(file.size()) + " bytes");
    std::string text(file.size(), '\0');
    text.resize(file.read(0, std::as_writable_bytes(std::span(text))));
    return YAML::Load(text);
}

}  // namespace

Metadata read_metadata(const fs::path& file) {
    try {
        const YAML::Node bag = load(file)["rosbag2_bagfile_information"];
        Metadata metadata = metadata_of(bag);
        if (metadata.files.empty())
            throw InputError(file.string(), 1, "expected storage files in relative_file_paths, found none");
        return metadata;
    } catch (const YAML::Exception& error) {
        const bool placed = !error.mark.is_null();
        throw InputError(file.string(), placed ? static_cast<std::uint64_t>(error.mark.line) + 1 : 1,
                         "expected the metadata of a rosbag2 recording: " + error.msg);
    }
}

std::optional<fs::path> resolve(const fs::path& folder, const std::string& listed) {
    const fs::path path = listed;
    const fs::path parent = fs::absolute(folder).lexically_normal();
    const fs::path above = parent.has_filename() ? parent.parent_path() : parent.parent_path().parent_path();
    std::optional<fs::path> outside;
    for (const fs::path& base : {folder / path, above / path, folder / path.filename()}) {
        const fs::path other =
            base.extension() == ".zstd" ? fs::path(base).replace_extension() : fs::path(base) += ".zstd";
        for (const fs::path& candidate : {base, other}) {
            std::error_code unreadable;
            if (!fs::is_regular_file(candidate, unreadable)) continue;
            if (lies_in(candidate, folder)) return candidate;
            if (!outside) outside = candidate;
        }
    }
    return outside;
}

}  // namespace zun::input::rosbag2
