// Decompressor: zstd and lz4 frames, whole or as far as a cut file has them.

#ifndef ZUN_INPUT_BYTES_DECOMPRESSOR_HPP
#define ZUN_INPUT_BYTES_DECOMPRESSOR_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "input/bytes/File.hpp"

struct LZ4F_dctx_s;
struct ZSTD_DCtx_s;

namespace zun::input {

/// What one call of a decoder did.
struct DecodeResult {
    std::size_t consumed = 0;
    std::size_t produced = 0;
    bool frame_ended = false;
    const char* error = nullptr;  ///< null for none
};

/// Decodes frames piecewise. What follows a frame is taken for the next one.
class ZstdDecoder {
public:
    ZstdDecoder();
    /// Forgets the frame that was begun.
    void begin();
    DecodeResult decode(Bytes in, std::span<std::byte> out);

private:
    struct Free {
        void operator()(ZSTD_DCtx_s* context) const;
    };
    std::unique_ptr<ZSTD_DCtx_s, Free> context_;
};

class Lz4Decoder {
public:
    Lz4Decoder();
    void begin();
    DecodeResult decode(Bytes in, std::span<std::byte> out);

private:
    struct Free {
        void operator()(LZ4F_dctx_s* context) const;
    };
    std::unique_ptr<LZ4F_dctx_s, Free> context_;
};

/// Bytes of the content of a zstd frame as its head says, which is not to be believed; `otherwise` where it
/// says nothing.
std::uint64_t zstd_content_size(Bytes frame, std::uint64_t otherwise);

/// How much `stored_bytes` may become: more is an attack on memory, whatever a file says.
///
/// `usual`  that is always allowed; beyond it 64 times the stored bytes are, up to 1 GiB
constexpr std::uint64_t most_content(std::uint64_t stored_bytes, std::uint64_t usual) {
    constexpr std::uint64_t likely_ratio = 64;
    constexpr std::uint64_t largest = std::uint64_t{1} << 30;
    return std::min(largest, std::max(usual, likely_ratio * stored_bytes));
}

struct Decompressed {
    Buffer bytes;       ///< all up to the end of the input or the first error
    std::string error;  ///< empty where the input can be decoded as far as it goes
};

/// "liblz4/1.9.4 libzstd/1.5.4": the libraries that run, by their own word.
std::string decompressor_versions();

/// True for the names of the compressions that decompress() knows.
bool is_compression(std::string_view name);

/// Decodes the frames of `stored` until `expected_bytes` are there; what follows is ignored.
///
/// `compression`     "zstd" or "lz4" (the frame formats)
/// `expected_bytes`  as the file says, so not believed: memory grows with what is decoded, and one byte
///                   more than expected ends the decoding
/// Any thread; each keeps its own decoders.
Decompressed decompress(std::string_view compression, Bytes stored, std::size_t expected_bytes);

}  // namespace zun::input

#endif
