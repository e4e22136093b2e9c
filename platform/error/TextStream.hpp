// TextStream: text that is put together in memory.
//
// A standard stream that runs out of memory goes silent: what follows is missing, and nobody is told. This
// one throws.

#ifndef ZUN_PLATFORM_ERROR_TEXT_STREAM_HPP
#define ZUN_PLATFORM_ERROR_TEXT_STREAM_HPP

#include <sstream>

namespace zun {

/// Throws std::bad_alloc where std::ostringstream would only set badbit.
class TextStream : public std::ostringstream {
public:
    TextStream() { exceptions(badbit); }
};

}  // namespace zun

#endif
