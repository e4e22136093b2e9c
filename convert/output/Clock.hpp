// Clock: whose time a row begins with.

#ifndef ZUN_CONVERT_OUTPUT_CLOCK_HPP
#define ZUN_CONVERT_OUTPUT_CLOCK_HPP

#include <cstdint>

namespace zun::convert {

/// Which of a message's two times stand before its row.
enum class Clock : std::uint8_t {
    RECEPTION,  ///< when the recorder got it
    SOURCE,     ///< when its sender wrote it; the reception, where the recording does not tell
    BOTH,       ///< the reception, then a column of its own for the source
};

}  // namespace zun::convert

#endif
