#include "convert/tasks/Plan.hpp"

#include <algorithm>
#include <cmath>
#include <sstream>

#include "convert/plan/text_of_file.hpp"
#include "convert/tasks/json.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t second_ns = 1'000'000'000;

Json json_of(input::Time time) {
    return {time.seconds, time.nanoseconds};
}

input::Time time_of(const Json& json) {
    return {json.at(0).get<std::int64_t>(), json.at(1).get<std::uint32_t>()};
}

Json json_of(const std::vector<SourceFile>& files) {
    Json list = Json::array();
    for (const SourceFile& file : files)
        list.push_back({{"path", file.path}, {"bytes", file.bytes}, {"changed", file.changed}});
    return list;
}

std::vector<SourceFile> files_of(const Json& list) {
    std::vector<SourceFile> files;
    for (const Json& file : list)
        files.push_back({file.at("path"), file.at("bytes"), file.at("changed")});
    return files;
}

Json json_of(const Plan& plan, std::size_t number) {
    const Task& task = plan.tasks[number];
    Json json = {
        {"task", number + 1}, {"recording", plan.recordings[task.recording].name}, {"index", task.recording}};
    if (task.stretch.from) json["from"] = json_of(*task.stretch.from);
    if (task.stretch.until) json["until"] = json_of(*task.stretch.until);
    json["bytes"] = task.bytes;
    return json;
}

Plan plan_of(const Json& json) {
    if (json.at("plan") != 1) throw std::invalid_argument("another form of plans");
    Plan plan{.version = json.at("version"), .arguments = json.at("arguments")};
    plan.files = files_of(json.at("files"));
    for (const Json& recording : json.at("recordings"))
        plan.recordings.push_back(
            {recording.at("recording"), files_of(recording.at("files")), recording.at("groups")});
    return plan;
}

Task task_of(const Json& json, const Plan& plan) {
    Task task{.recording = json.at("index"), .bytes = json.at("bytes")};
    if (task.recording >= plan.recordings.size()) throw std::invalid_argument("no such recording");
    if (json.contains("from")) task.stretch.from = time_of(json["from"]);
    if (json.contains("until")) task.stretch.until = time_of(json["until"]);
    return task;
}

SourceFile source_file(const fs::path& path) {
    return {path.string(), fs::file_size(path), fs::last_write_time(path).time_since_epoch().count()};
}

/// Whether a file in the folder of a recording belongs to it.
bool is_storage(const fs::path& file) {
    for (const char* const ending : {".mcap", ".db3", ".db3-wal", ".db3-journal", ".zst", ".zstd"})
        if (file.extension() == ending) return true;
    return file.filename() == "metadata.yaml";
}

/// The latest time that is no later than `time` and a multiple of `step_ns` behind `origin`; `origin` for
/// what is before it.
input::Time aligned(input::Time time, input::Time origin, std::uint64_t step_ns) {
    if (time <= origin) return origin;
    // In 64 bits there is room for 584 years, which is more than 63-bit counts of nanoseconds span.
    const std::uint64_t behind = static_cast<std::uint64_t>(time.seconds - origin.seconds) * second_ns +
                                 time.nanoseconds - origin.nanoseconds;
    const std::uint64_t rest = origin.nanoseconds + behind / step_ns * step_ns;
    return {origin.seconds + static_cast<std::int64_t>(rest / second_ns),
            static_cast<std::uint32_t>(rest % second_ns)};
}

}  // namespace

std::vector<SourceFile> source_files(const fs::path& path) {
    std::vector<SourceFile> files;
    if (fs::is_directory(path)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(path))
            if (entry.is_regular_file() && is_storage(entry.path()))
                files.push_back(source_file(entry.path()));
    } else {
        for (const char* const ending : {"", "-wal", "-journal"})
            if (fs::exists(path.string() + ending)) files.push_back(source_file(path.string() + ending));
    }
    std::sort(files.begin(), files.end(),
              [](const SourceFile& a, const SourceFile& b) { return a.path < b.path; });
    return files;
}

void write_plan(std::ostream& out, const Plan& plan) {
    Json recordings = Json::array();
    for (const PlannedRecording& recording : plan.recordings)
        recordings.push_back({{"recording", recording.name},
                              {"files", json_of(recording.files)},
                              {"groups", recording.groups}});
    out << line_of({{"plan", 1},
                    {"version", plan.version},
                    {"arguments", plan.arguments},
                    {"files", json_of(plan.files)},
                    {"recordings", recordings}});
    for (std::size_t i = 0; i < plan.tasks.size(); ++i)
        out << line_of(json_of(plan, i));
}

Plan read_plan(const fs::path& path) {
    const std::string text = text_of_file(path);
    std::istringstream lines(text);
    Plan plan;
    std::size_t number = 0;
    try {
        for (std::string line; std::getline(lines, line);) {
            const Json json = Json::parse(line);
            if (++number == 1)
                plan = plan_of(json);
            else
                plan.tasks.push_back(task_of(json, plan));
        }
    } catch (const std::exception&) {
        throw InputError(path.string(), number == 0 ? 1 : number, "expected a line of 'dds2csv plan'");
    }
    if (number == 0) throw InputError(path.string(), 1, "expected a plan, found an empty file");
    plan.id = digest_of(text);
    return plan;
}

std::vector<Task> cut_into_tasks(std::vector<input::Extent> extents, std::size_t parts, input::Time origin,
                                 std::uint64_t step_ns) {
    std::sort(extents.begin(), extents.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    double left = 0;
    for (const input::Extent& extent : extents)
        left += static_cast<double>(extent.bytes);
    std::vector<Task> tasks(1);
    for (const input::Extent& extent : extents) {
        const auto bytes = static_cast<double>(extent.bytes);
        const auto taken = static_cast<double>(tasks.back().bytes);
        const double wanted = (taken + left) / static_cast<double>(parts - tasks.size() + 1);
        input::Time cut = extent.first;
        if (step_ns > 0) cut = aligned(cut, origin, step_ns);
        const auto& from = tasks.back().stretch.from;
        // Whichever is nearer: a task without this extent, or with it.
        const bool full = taken > 0 && taken + bytes / 2 > wanted;
        if (full && tasks.size() < parts && cut > from.value_or(extents.front().first)) {
            tasks.back().stretch.until = cut;
            tasks.push_back({.stretch = {.from = cut}});
        }
        tasks.back().bytes += extent.bytes;
        left -= bytes;
    }
    return tasks;
}

}  // namespace zun::convert
