#include "input/mcap/Piece.hpp"

#include <system_error>

#include "input/bytes/Decompressor.hpp"

namespace zun::input::mcap {

namespace {

// Chunks up to this size are read whatever they are compressed to; larger ones have to be likely.
constexpr std::uint64_t usual_chunk_bytes = std::uint64_t{256} << 20;

void lose(Content& content, std::string damage) {
    content.damage = std::move(damage);
    content.is_lost = true;
}

/// Puts the uncompressed records of `chunk` into `content`, whose storage holds the chunk.
void open_chunk(const ChunkRecord& chunk, Content& content) {
    if (chunk.compression.empty()) {
        content.records = chunk.stored;
        return;
    }
    Decompressed decompressed = decompress(chunk.compression, chunk.stored, chunk.uncompressed_bytes);
    content.storage = std::move(decompressed.bytes);
    content.records = content.storage;
    if (!decompressed.error.empty()) lose(content, "chunk does not decompress: " + decompressed.error);
}

void check_content(const ChunkRecord& chunk, Content& content) {
    if (content.is_lost) return;
    if (chunk.stored.size() < chunk.stored_bytes) {
        content.damage = "chunk is cut, " + std::to_string(chunk.stored.size()) + " of its " +
                         std::to_string(chunk.stored_bytes) + " stored bytes are there";
        return;
    }
    if (content.records.size() != chunk.uncompressed_bytes) {
        const bool longer = content.records.size() > chunk.uncompressed_bytes;
        lose(content, "chunk has not the " + std::to_string(chunk.uncompressed_bytes) +
                          " bytes that it says, but " +
                          (longer ? "more" : std::to_string(content.records.size())));
        return;
    }
    // 0 says that the writer made no checksum.
    if (chunk.crc == 0) return;
    content.is_verified = crc32_of(content.records) == chunk.crc;
    if (!content.is_verified) content.damage = "checksum of the chunk is wrong; its messages are used";
}

}  // namespace

Problem make_problem(const std::string& source, std::uint64_t position, std::string text,
                     std::uint64_t messages_lost) {
    if (messages_lost == 1) text += ", 1 message lost";
    if (messages_lost > 1) text += ", " + std::to_string(messages_lost) + " messages lost";
    return {source, position, std::move(text), messages_lost};
}

std::string describe_damage(const Piece& piece, const Content& content, const WalkEnd& end) {
    if (end.damage == nullptr || content.is_lost) return content.damage;
    const std::string place =
        std::to_string(end.position) + (piece.is_chunk ? " of the chunk's content" : "");
    return content.damage + (content.damage.empty() ? "" : "; ") + end.damage + " at byte " + place;
}

Content read_content(const File& file, const Piece& piece) {
    Content content;
    if (piece.bytes > largest_bytes) {
        lose(content, std::to_string(piece.bytes) + " bytes in one record, more than 1 GiB");
        return content;
    }
    // A file that has become shorter gives fewer bytes; what is there is used.
    content.storage.resize(piece.bytes);
    try {
        content.storage.resize(file.read(piece.offset, content.storage));
    } catch (const std::system_error& error) {
        lose(content, "cannot be read: " + error.code().message());
        return content;
    }
    content.records = content.storage;
    if (!piece.is_chunk) return content;

    const Bytes bytes = content.records;
    content.records = {};
    if (bytes.size() < head_bytes || load_head(bytes).opcode != Opcode::CHUNK) {
        lose(content, "no chunk where the summary says that there is one");
        return content;
    }
    const std::uint64_t length = load_head(bytes).length;
    const Bytes rest = bytes.subspan(head_bytes);
    const std::optional<ChunkRecord> chunk =
        parse_chunk(rest.first(std::min<std::uint64_t>(length, rest.size())));
    // The length of the record can contradict the sizes within it, and either can end behind the file.
    if (!chunk || (chunk->stored.size() < chunk->stored_bytes && length <= rest.size())) {
        lose(content,
             length > rest.size() ? "chunk is cut within its fields" : "chunk is too short for its fields");
    } else if (!chunk->compression.empty() && !is_compression(chunk->compression)) {
        lose(content, "chunk has the unknown compression '" + chunk->compression + "'");
    } else if (const auto most = most_content(chunk->stored.size(), usual_chunk_bytes);
               chunk->uncompressed_bytes > most) {
        lose(content, "chunk of " + std::to_string(chunk->stored.size()) + " bytes says that it has " +
                          std::to_string(chunk->uncompressed_bytes) + ", more than the " +
                          std::to_string(most) + " that are read of it");
    } else {
        if (chunk->first <= chunk->last) content.first = chunk->first;
        content.compression = chunk->compression;
        open_chunk(*chunk, content);
        check_content(*chunk, content);
    }
    if (content.is_lost) content.records = {};
    return content;
}

}  // namespace zun::input::mcap
