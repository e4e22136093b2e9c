// limits_file: learned lengths, kept from one conversion to the next.
//
//     limits:
//       /scan:
//         ranges: 1440

#ifndef ZUN_CONVERT_PLAN_LIMITS_FILE_HPP
#define ZUN_CONVERT_PLAN_LIMITS_FILE_HPP

#include <filesystem>
#include <map>
#include <ostream>
#include <string>

#include "convert/plan/Limits.hpp"

namespace zun::convert {

/// By topic name.
using LimitsByTopic = std::map<std::string, Lengths>;

void write_limits(std::ostream& out, const LimitsByTopic& limits);

/// Adds the limits of a file; where it has a field that is there already, the longer limit stays.
/// Throws InputError with the line when it is no such file, std::system_error when it cannot be read.
void read_limits(const std::filesystem::path& path, LimitsByTopic& limits);

}  // namespace zun::convert

#endif
