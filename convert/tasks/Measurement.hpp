// Measurement: the lengths of sequences that tasks have measured, by groups of topics.

#ifndef ZUN_CONVERT_TASKS_MEASUREMENT_HPP
#define ZUN_CONVERT_TASKS_MEASUREMENT_HPP

#include <cstddef>
#include <filesystem>
#include <map>
#include <ostream>
#include <vector>

#include "convert/plan/Limits.hpp"
#include "convert/plan/outliers.hpp"
#include "convert/tasks/Plan.hpp"

namespace zun::convert {

struct Measurement {
    bool whole = true;                                ///< all messages could be read
    std::map<std::size_t, Lengths> lengths = {};      ///< the longest, by group
    std::map<std::size_t, TopicSpread> spreads = {};  ///< likewise
};

/// What task `number` (from 1) of `plan` has measured, as a YAML file that is JSON too.
void write_measurement(std::ostream& out, const Measurement& measured, const Plan& plan, std::size_t number);
/// All tasks of `plan` together; those that did one more than once count once.
/// Throws InputError for a file that is none, or is of another plan or version; std::runtime_error for a
/// task that is in none of `files`.
Measurement read_measurements(const std::vector<std::filesystem::path>& files, const Plan& plan);

/// As texts, which are equal when the measurements are.
std::string text_of(const Measurement& measured);
Measurement measurement_of(const std::string& text);

}  // namespace zun::convert

#endif
