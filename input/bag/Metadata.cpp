#include "input/bag/Metadata.hpp"

#include <cerrno>
#include <fstream>
#include <new>
#include <system_error>

#include <yaml-cpp/yaml.h>

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

/// As YAML::LoadFile, which takes want of memory for a bad file.
YAML::Node load(const fs::path& path) {
    std::ifstream file(path);
    if (!file.is_open() && errno == ENOMEM) throw std::bad_alloc();
    if (!file.is_open()) throw YAML::BadFile(path.string());
    return YAML::Load(file);
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
    for (const fs::path& base : {folder / path, above / path, folder / path.filename()}) {
        const fs::path other =
            base.extension() == ".zstd" ? fs::path(base).replace_extension() : fs::path(base) += ".zstd";
        for (const fs::path& candidate : {base, other}) {
            std::error_code unreadable;
            if (fs::is_regular_file(candidate, unreadable)) return candidate;
        }
    }
    return std::nullopt;
}

}  // namespace zun::input::rosbag2
