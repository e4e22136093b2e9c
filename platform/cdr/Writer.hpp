// Writer: which serializer wrote a sample, so far as that is known beyond the sample's own header.

#ifndef ZUN_PLATFORM_CDR_WRITER_HPP
#define ZUN_PLATFORM_CDR_WRITER_HPP

#include <cstdint>

namespace zun::cdr {

/// Writers differ in the form of wide strings, long doubles and some headers.
enum class Writer : std::uint8_t { UNKNOWN, ROS2, CYCLONE_DDS, FAST_DDS };

}  // namespace zun::cdr

#endif
