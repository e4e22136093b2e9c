// Clock: whose time a row begins with.

#ifndef ZUN_CONVERT_OUTPUT_CLOCK_HPP
#define ZUN_CONVERT_OUTPUT_CLOCK_HPP

#include <cstdint>

namespace zun::convert {

/// Which time of a message stands before its row.
enum class Clock : std::uint8_t {
    RECEPTION,  ///< when the recorder got it
    SOURCE,     ///< when its sender wrote it; the reception, where the recording does not tell
    BOTH,       ///< the reception, then a column of its own for the source
    FIELD,      ///< what a field of the message says
};

}  // namespace zun::convert

#endif
