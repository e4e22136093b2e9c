// Findings: what a sample showed beside its values.

#ifndef ZUN_PLATFORM_CDR_FINDINGS_HPP
#define ZUN_PLATFORM_CDR_FINDINGS_HPP

#include <cstddef>

namespace zun::cdr {

struct Findings {
    static constexpr std::size_t most_padding = 3;  ///< bytes after the last member that mean nothing

    std::size_t left_over = 0;     ///< bytes after the last member
    bool unknown_members = false;  ///< it has members that the type does not have
    bool absent_members = false;   ///< it lacks members that the type has and that are not optional
    bool invalid_text = false;     ///< it has text that is not UTF-8 or holds a zero; only printing finds out
};

}  // namespace zun::cdr

#endif
