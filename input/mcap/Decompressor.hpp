// Decompressor: the bytes of a compressed chunk, whole or as far as a cut file has them.

#ifndef ZUN_INPUT_MCAP_DECOMPRESSOR_HPP
#define ZUN_INPUT_MCAP_DECOMPRESSOR_HPP

#include <string>
#include <string_view>

#include "input/mcap/File.hpp"

namespace zun::input::mcap {

struct Decompressed {
    Buffer bytes;       ///< all up to the end of the input or the first error
    std::string error;  ///< empty where the input can be decoded as far as it goes
};

/// True for the names of the compressions that decompress() knows.
bool is_compression(std::string_view name);

/// Decodes the frames of `stored` until `expected_bytes` are there; what follows is ignored.
///
/// `compression`     "zstd" or "lz4" (the frame formats)
/// `expected_bytes`  as the file says, so not believed: memory grows with what is decoded, and one byte
///                   more than expected ends the decoding
/// Any thread; each keeps its own decoders.
Decompressed decompress(std::string_view compression, Bytes stored, std::size_t expected_bytes);

}  // namespace zun::input::mcap

#endif
