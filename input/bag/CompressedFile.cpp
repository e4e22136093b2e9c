// A storage file inside a zstd stream, unpacked into the folder for temporary files.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "input/bag/BagFolder.hpp"
#include "input/bag/StandIn.hpp"
#include "input/bag/StorageFile.hpp"
#include "input/bytes/Decompressor.hpp"
#include "input/bytes/TemporaryFolder.hpp"
#include "platform/error/InputError.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

/// Decodes all of `packed`, a frame after the other, up to the first damage.
DecodeResult unpack_block(ZstdDecoder& decoder, Bytes packed, Buffer& unpacked, NewFile& target) {
    DecodeResult last;
    std::size_t consumed = 0;
    do {
        last = decoder.decode(packed.subspan(consumed), unpacked);
        if (last.error == nullptr) target.write(Bytes(unpacked).first(last.produced));
        consumed += last.consumed;
    } while (last.error == nullptr &&
             (consumed < packed.size() || (last.produced == unpacked.size() && !last.frame_ended)));
    last.consumed = consumed;
    return last;
}

/// Unpacks frame after frame, up to the first damage.
Unpacked unpack(const fs::path& from, const fs::path& to) {
    constexpr std::size_t block_bytes = std::size_t{1} << 17U;
    const File source(from);
    NewFile target(to);
    ZstdDecoder decoder;
    Buffer packed(block_bytes);
    Buffer unpacked(block_bytes);
    std::uint64_t position = 0;
    DecodeResult last{.frame_ended = true};
    while (last.error == nullptr) {
        const std::size_t count = source.read(position, packed);
        if (count == 0) break;
        last = unpack_block(decoder, Bytes(packed).first(count), unpacked, target);
        position += last.consumed;
    }
    target.close();
    Unpacked result{"zstd", source.size()};
    if (last.error != nullptr)
        result.damage = {from.string(), position, std::string("the zstd stream is damaged: ") + last.error};
    else if (!last.frame_ended)
        result.damage = {from.string(), position, "the zstd stream ends within a frame"};
    return result;
}

}  // namespace

// The name of the unpacked file is gone as soon as it is open, so that not even a killed process leaves it.
std::unique_ptr<MessageStream> open_compressed(const fs::path& file, const OpenFile& open_file) {
    TemporaryFolder folder;
    const fs::path unpacked = folder.file(without_zstd(file.filename()).string());
    const Unpacked how = unpack(file, unpacked);
    try {
        return open_stand_in(unpacked, file.string(), open_file, how);
    } catch (const InputError&) {
        if (how.damage) throw InputError(file.string(), how.damage->position, how.damage->text);
        throw;
    }
}

}  // namespace zun::input::rosbag2
