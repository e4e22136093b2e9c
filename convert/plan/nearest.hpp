// nearest: what somebody may have meant by a name that there is not.

#ifndef ZUN_CONVERT_PLAN_NEAREST_HPP
#define ZUN_CONVERT_PLAN_NEAREST_HPP

#include <string>
#include <string_view>
#include <vector>

namespace zun::convert {

/// Those of `names` that `word` is likely to mean, three at most, in their order: the ones with the fewest
/// typing errors (letters that are missing, added, wrong or swapped), one in three letters at most. Letter
/// case does not count; the part of a name behind a slash or a dot stands for the name, and so does its
/// beginning.
std::vector<std::string> nearest(std::string_view word, const std::vector<std::string>& names);

/// "; nearest: '/imu', '/imu/raw'", or nothing where no name is near.
std::string nearest_note(std::string_view word, const std::vector<std::string>& names);

}  // namespace zun::convert

#endif
