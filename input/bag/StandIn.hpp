// StandIn: a file that is read in place of another one, which alone the user knows.

#ifndef ZUN_INPUT_BAG_STAND_IN_HPP
#define ZUN_INPUT_BAG_STAND_IN_HPP

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "input/bag/BagFolder.hpp"

namespace zun::input::rosbag2 {

struct Unpacked {
    std::string compression;
    std::uint64_t source_bytes = 0;
    std::optional<Problem> damage = {};  ///< what was lost on the way; one more problem of the stream
};

/// The stream that `open` makes of `file`; it, and the InputError of a file that is refused, speak of
/// `source`.
///
/// `unpacked`  how `file` was made of `source`, where that was compressed
std::unique_ptr<MessageStream> open_stand_in(const std::filesystem::path& file, const std::string& source,
                                             const OpenFile& open,
                                             const std::optional<Unpacked>& unpacked = {});

}  // namespace zun::input::rosbag2

#endif
