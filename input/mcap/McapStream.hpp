// McapStream: an MCAP recording in, its messages in the order of their log times out.
//
// Messages lie in pieces (chunks, or runs of records outside of chunks) that have time ranges. Sorted by
// their beginnings, each piece starts a slice of time, which ends where the next one starts:
//
//     piece 1   |------------|                 slice 1: piece 1
//     piece 2             |-----------|        slice 2: pieces 1 and 2
//     piece 3                          |---|   slice 3: piece 3
//               '---------'------------'---'
//
// A batch is a slice, or several where pieces are small. Pieces are shared by the batches that need them, so
// each is read once. Where more of them overlap than memory should hold, their messages are picked out slice
// by slice instead, reading the pieces again for each.

#ifndef ZUN_INPUT_MCAP_MCAP_STREAM_HPP
#define ZUN_INPUT_MCAP_MCAP_STREAM_HPP

#include <filesystem>

#include "input/MessageStream.hpp"

namespace zun::input {

struct McapLimits {
    std::size_t batch_bytes = std::size_t{1} << 20;     ///< small pieces are joined up to this size
    std::size_t overlap_bytes = std::size_t{32} << 20;  ///< overlapping pieces are held up to this size
};

/// True for the first bytes of an MCAP file of any version; 5 are needed.
bool is_mcap(std::span<const std::byte> first_bytes);

/// Opens a recording: by its summary where that is sound and complete, by reading all of it otherwise.
///
/// Memory   the batches in flight, and a few bytes for each chunk
/// Throws   InputError when it is no MCAP file of version 0, std::system_error with the path
std::unique_ptr<MessageStream> open_mcap(const std::filesystem::path& path, const McapLimits& limits = {});

}  // namespace zun::input

#endif
