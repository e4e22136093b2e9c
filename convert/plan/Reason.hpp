// Reason: why something was not converted, or not all of it, and what else is worth knowing.

#ifndef ZUN_CONVERT_PLAN_REASON_HPP
#define ZUN_CONVERT_PLAN_REASON_HPP

#include <string>
#include <vector>

namespace zun::convert {

struct Reason {
    std::string code;                       ///< for programs, the same for ever: "missing-type"
    std::string text;                       ///< for people
    std::vector<std::string> details = {};  ///< a line each
};

}  // namespace zun::convert

#endif
