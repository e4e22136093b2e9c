// MessageFrame: a payload that was recorded as a zstd frame.

#ifndef ZUN_INPUT_ROSBAG2_MESSAGE_FRAME_HPP
#define ZUN_INPUT_ROSBAG2_MESSAGE_FRAME_HPP

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct ZSTD_DCtx_s;

namespace zun::input::rosbag2 {

/// Bytes that the payload takes once it is inflated, as far as it says so itself; its own size when it is no
/// frame. Never more than the largest message.
std::size_t inflated_size(std::span<const std::byte> payload);

/// Inflates frames one after the other.
class FrameInflater {
public:
    FrameInflater();

    /// Puts the content of the frame into `content`. Returns what is wrong with it, empty when nothing is.
    std::string inflate(std::span<const std::byte> frame, std::vector<std::byte>& content);

private:
    struct Free {
        void operator()(ZSTD_DCtx_s* context) const;
    };

    std::unique_ptr<ZSTD_DCtx_s, Free> context_;
};

}  // namespace zun::input::rosbag2

#endif
