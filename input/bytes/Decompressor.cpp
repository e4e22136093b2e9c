#include "input/bytes/Decompressor.hpp"

#include <algorithm>
#include <lz4.h>
#include <new>

#include <lz4frame.h>
#include <zstd.h>

namespace zun::input {

ZstdDecoder::ZstdDecoder() : context_(ZSTD_createDCtx()) {
    if (!context_) throw std::bad_alloc();
}

void ZstdDecoder::Free::operator()(ZSTD_DCtx* context) const {
    ZSTD_freeDCtx(context);
}

void ZstdDecoder::begin() {
    ZSTD_DCtx_reset(context_.get(), ZSTD_reset_session_only);
}

DecodeResult ZstdDecoder::decode(Bytes in, std::span<std::byte> out) {
    ZSTD_inBuffer source{in.data(), in.size(), 0};
    ZSTD_outBuffer target{out.data(), out.size(), 0};
    const std::size_t result = ZSTD_decompressStream(context_.get(), &target, &source);
    return {source.pos, target.pos, result == 0,
            ZSTD_isError(result) != 0 ? ZSTD_getErrorName(result) : nullptr};
}

Lz4Decoder::Lz4Decoder() {
    LZ4F_dctx* context = nullptr;
    if (LZ4F_isError(LZ4F_createDecompressionContext(&context, LZ4F_VERSION)) != 0) throw std::bad_alloc();
    context_.reset(context);
}

void Lz4Decoder::Free::operator()(LZ4F_dctx* context) const {
    LZ4F_freeDecompressionContext(context);
}

void Lz4Decoder::begin() {
    LZ4F_resetDecompressionContext(context_.get());
}

DecodeResult Lz4Decoder::decode(Bytes in, std::span<std::byte> out) {
    std::size_t consumed = in.size();
    std::size_t produced = out.size();
    const std::size_t result =
        LZ4F_decompress(context_.get(), out.data(), &produced, in.data(), &consumed, nullptr);
    if (LZ4F_isError(result) != 0) return {0, 0, false, LZ4F_getErrorName(result)};
    return {consumed, produced, result == 0, nullptr};
}

std::uint64_t zstd_content_size(Bytes frame, std::uint64_t otherwise) {
    const unsigned long long size = ZSTD_getFrameContentSize(frame.data(), frame.size());
    return size == ZSTD_CONTENTSIZE_UNKNOWN || size == ZSTD_CONTENTSIZE_ERROR ? otherwise : size;
}

namespace {

template <typename Decoder>
Decompressed decode_frames(Bytes stored, std::size_t expected_bytes) {
    thread_local Decoder decoder;
    decoder.begin();
    // The byte beyond the expected ones shows content that is too long.
    const std::size_t limit = expected_bytes + 1;
    Decompressed result;
    result.bytes.resize(std::min(limit, 65536 + 64 * stored.size()));
    std::size_t filled = 0;
    DecodeResult step;
    do {
        if (filled == result.bytes.size()) result.bytes.resize(std::min(limit, 2 * filled));
        step = decoder.decode(stored, std::span(result.bytes).subspan(filled));
        stored = stored.subspan(step.consumed);
        filled += step.produced;
    } while (step.error == nullptr && step.consumed + step.produced > 0 && filled < limit &&
             !(step.frame_ended && filled == expected_bytes));
    if (step.error != nullptr) result.error = step.error;
    result.bytes.resize(filled);
    return result;
}

}  // namespace

std::string decompressor_versions() {
    return std::string("liblz4/") + LZ4_versionString() + " libzstd/" + ZSTD_versionString();
}

bool is_compression(std::string_view name) {
    return name == "zstd" || name == "lz4";
}

Decompressed decompress(std::string_view compression, Bytes stored, std::size_t expected_bytes) {
    return compression == "zstd" ? decode_frames<ZstdDecoder>(stored, expected_bytes)
                                 : decode_frames<Lz4Decoder>(stored, expected_bytes);
}

}  // namespace zun::input
