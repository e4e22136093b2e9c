// Plan: a conversion as tasks, which any number of machines can do.
//
// A file of JSON lines: the first says what is converted and how, each that follows is a task.
//
//     {"plan": 1, "version": "0.1.0", "arguments": ["drive.mcap", "--every=100ms"], "recordings": [...]}
//     {"task": 1, "recording": "drive.mcap", "until": [1700000000, 5], "bytes": 1073741824}
//     {"task": 2, "recording": "drive.mcap", "from": [1700000000, 5], "bytes": 1073741824}

#ifndef ZUN_CONVERT_TASKS_PLAN_HPP
#define ZUN_CONVERT_TASKS_PLAN_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "input/MessageStream.hpp"

namespace zun::convert {

/// A file as it was when the plan was made.
struct SourceFile {
    std::string path;
    std::uint64_t bytes = 0;
    std::int64_t changed = 0;  ///< its modification time, in the file clock's own count

    friend bool operator==(const SourceFile&, const SourceFile&) = default;
};

struct PlannedRecording {
    std::string name;
    std::vector<SourceFile> files = {};
    /// By topic: the number of its group. Topics of one group, of all recordings, have one name and one type,
    /// and so the same columns.
    std::vector<std::size_t> groups = {};
};

struct Task {
    std::size_t recording = 0;  ///< index in Plan::recordings
    input::Stretch stretch = {};
    std::uint64_t bytes = 0;  ///< about so many are read
};

struct Plan {
    std::string version;                 ///< of the tool
    std::vector<std::string> arguments;  ///< of the conversion, but for those that shape no result
    std::vector<SourceFile> files = {};  ///< that the arguments name besides recordings
    std::vector<PlannedRecording> recordings = {};
    std::vector<Task> tasks = {};
    std::string id = {};  ///< of a plan that was read: equal for the same content only
};

/// The file, or the files of a recording's folder, as they are now; sorted.
/// Throws std::filesystem::filesystem_error.
std::vector<SourceFile> source_files(const std::filesystem::path& path);

void write_plan(std::ostream& out, const Plan& plan);
/// Throws InputError with the line when it is no plan, std::system_error when it cannot be read.
Plan read_plan(const std::filesystem::path& path);

/// Stretches of about the same number of bytes, which begin where extents begin; no more than `parts`.
/// Together they are the whole stream.
///
/// `step_ns`  unless 0, each stretch begins at a multiple of so many nanoseconds behind `origin`
std::vector<Task> cut_into_tasks(std::vector<input::Extent> extents, std::size_t parts, input::Time origin,
                                 std::uint64_t step_ns);

}  // namespace zun::convert

#endif
