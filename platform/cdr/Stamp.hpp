// Stamp: a structure of seconds and nanoseconds as one value.

#ifndef ZUN_PLATFORM_CDR_STAMP_HPP
#define ZUN_PLATFORM_CDR_STAMP_HPP

#include <cstdint>

namespace zun::cdr {

struct Stamp {
    std::int64_t seconds = 0;
    std::int64_t nanoseconds = 0;  ///< as the sample has them, perhaps more than a second
};

}  // namespace zun::cdr

#endif
