// TaskPart: what one task has made of a recording: rows without headers, and what is to be told of them.
//
//     DIR/parts/3/0.rows      the rows of the recording's first topic
//     DIR/parts/3/task.json   the rest; written last, so that a part that has it is whole

#ifndef ZUN_CONVERT_TASKS_TASK_PART_HPP
#define ZUN_CONVERT_TASKS_TASK_PART_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "convert/report/Report.hpp"
#include "convert/tasks/Plan.hpp"

namespace zun::convert {

/// What a pass met.
struct Met {
    std::vector<std::uint64_t> messages = {};  ///< by topic, wanted or not
    std::uint64_t all = 0;                     ///< of all topics
    std::optional<input::Problem> cut = {};    ///< why it ended before the end
};

struct TaskPart {
    std::filesystem::path folder = {};          ///< of its files
    std::vector<TopicReport> topics = {};       ///< counts, reasons and cuts alone
    std::vector<std::string> headers = {};      ///< digests, by topic; empty where there is no file
    std::vector<input::Problem> problems = {};  ///< all that were met, in their order
    Met met = {};
    std::string lengths = {};  ///< the measurement that its rows follow
};

std::filesystem::path part_folder(const std::filesystem::path& output, std::size_t number);
/// The file of the rows of topic number `topic`.
std::string rows_file(std::size_t topic);

/// Whether task `number` (from 1) of `plan` is done, with these lengths; else takes its mark away, so that
/// nobody takes for whole what is made anew.
bool is_done(const std::filesystem::path& output, const Plan& plan, std::size_t number,
             const std::string& lengths);
/// Makes the mark of a part whose rows are there. Throws std::system_error.
void write_part(const TaskPart& part, const Plan& plan, std::size_t number);
/// The parts of all tasks, in their order. Throws std::runtime_error for one that is missing, is of another
/// plan or version, or not whole, and where two follow different lengths.
std::vector<TaskPart> read_parts(const std::filesystem::path& output, const Plan& plan);

/// Adds what the parts of one recording have met: counts and cuts to `report`, and to `problems` those of
/// all, each once. Parts behind one that was cut off do not count. The number of those that do.
std::size_t add_parts(const std::vector<TaskPart>& parts, RecordingReport& report,
                      std::vector<input::Problem>& problems, Met& met);

}  // namespace zun::convert

#endif
