#include "input/rosbag2/MessageFrame.hpp"

#include <algorithm>
#include <new>

#include <zstd.h>

#include "input/rosbag2/Rosbag2.hpp"

namespace zun::input::rosbag2 {

namespace {

constexpr std::size_t largest_message = std::size_t{1} << 30U;  // as large as a value in SQLite can be

}  // namespace

std::size_t inflated_size(std::span<const std::byte> payload) {
    if (!is_zstd(payload)) return payload.size();
    const unsigned long long size = ZSTD_getFrameContentSize(payload.data(), payload.size());
    const bool known = size != ZSTD_CONTENTSIZE_UNKNOWN && size != ZSTD_CONTENTSIZE_ERROR;
    return known ? std::min<std::size_t>(size, largest_message) : payload.size();
}

void FrameInflater::Free::operator()(ZSTD_DCtx_s* context) const {
    ZSTD_freeDCtx(context);
}

FrameInflater::FrameInflater() : context_(ZSTD_createDCtx()) {
    if (!context_) throw std::bad_alloc();
}

// The size in the frame's header is a stranger's word: the buffer begins with what the frame's own size makes
// likely and grows with what really comes out.
std::string FrameInflater::inflate(std::span<const std::byte> frame, std::vector<std::byte>& content) {
    constexpr std::size_t likely_ratio = 64;
    ZSTD_DCtx_reset(context_.get(), ZSTD_reset_session_only);
    content.resize(std::min(std::max<std::size_t>(inflated_size(frame), 64), frame.size() * likely_ratio));
    ZSTD_inBuffer in{frame.data(), frame.size(), 0};
    ZSTD_outBuffer out{content.data(), content.size(), 0};
    for (;;) {
        const std::size_t left = ZSTD_decompressStream(context_.get(), &out, &in);
        if (ZSTD_isError(left) != 0) return ZSTD_getErrorName(left);
        if (left == 0) break;
        if (out.pos < out.size) return "the frame is cut";
        if (out.size >= largest_message) return "larger than 1 GiB";
        content.resize(std::min(content.size() * 2, largest_message));
        out.dst = content.data();
        out.size = content.size();
    }
    if (in.pos < in.size) return std::to_string(in.size - in.pos) + " bytes after the frame";
    content.resize(out.pos);
    return {};
}

}  // namespace zun::input::rosbag2
