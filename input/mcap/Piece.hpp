// Piece: a part of a recording that is read on its own: a chunk, or a run of records outside the chunks.
//
//     magic  Header  [Schema Channel Message Message]  [Chunk]  [Chunk]  Attachment  [Message]  DataEnd ...
//                    '------------ run -------------'
//
// Both hold records one after another; a run is a chunk that is neither compressed nor checked.

#ifndef ZUN_INPUT_MCAP_PIECE_HPP
#define ZUN_INPUT_MCAP_PIECE_HPP

#include "input/MessageStream.hpp"
#include "input/mcap/Records.hpp"

namespace zun::input::mcap {

/// Place of a message in the order of delivery: log time, then file.
struct Key {
    Time log_time;
    std::uint64_t offset = 0;  ///< of the piece

    friend constexpr auto operator<=>(const Key&, const Key&) = default;
    static constexpr Key beyond_all() { return {{std::numeric_limits<std::int64_t>::max(), 0}, 0}; }
};

struct Piece {
    std::uint64_t offset = 0;  ///< in the file, of its first record
    std::uint64_t bytes = 0;   ///< in the file
    bool is_chunk = false;
    bool is_reported = false;  ///< its damage is among the problems of opening
    std::uint64_t first = 0;   ///< log times, nanoseconds
    std::uint64_t last = 0;
    std::uint64_t message_count = 0;
    std::uint64_t content_bytes = 0;  ///< uncompressed, as the file says
    std::vector<std::uint16_t> channel_ids = {};

    Key first_key() const { return {Time::from_nanoseconds(first), offset}; }
    Key last_key() const { return {Time::from_nanoseconds(last), offset}; }
    std::size_t loaded_bytes() const { return content_bytes + message_count * sizeof(Message); }
    bool is_compressed() const { return content_bytes > bytes; }
};

/// A problem; its text ends with the messages lost, if any.
Problem make_problem(const std::string& source, std::uint64_t position, std::string text,
                     std::uint64_t messages_lost = 0);

/// Content of a piece, as far as it can be had.
struct Content {
    Buffer storage;
    Bytes records;             ///< in `storage`
    std::string damage;        ///< empty for none
    std::string compression;   ///< empty for none
    bool is_lost = false;      ///< nothing of it can be used
    bool is_verified = false;  ///< by its checksum
    std::uint64_t first = 0;   ///< log time, the least that a chunk says it has
};

/// Reads, decompresses and checks a piece. Any thread. Throws std::system_error.
Content read_content(const File& file, const Piece& piece);

/// Where and why walk_records() stopped before the end; empty for the end.
struct WalkEnd {
    std::size_t position = 0;
    const char* damage = nullptr;
};

/// True when the message that ends at `next` has been torn by a crash: in files that grow by blocks of zero
/// bytes, the end of the last record and all behind it are zero.
inline bool is_torn(const Content& content, std::uint64_t log_time, std::size_t next) {
    return !content.is_verified && log_time < content.first &&
           (next == content.records.size() || content.records[next] == std::byte{0});
}

/// What is wrong with a piece whose records were walked to `end`, in words; empty for nothing.
std::string describe_damage(const Piece& piece, const Content& content, const WalkEnd& end);

/// Calls, in order, `visitor.message(offset, MessageRecord)` for messages and `visitor.record(offset, opcode,
/// Bytes)` for all other records. `offset` counts from the beginning of the content.
template <typename Visitor>
WalkEnd walk_records(const Content& content, Visitor& visitor) {
    const Bytes bytes = content.records;
    std::size_t at = 0;
    while (bytes.size() - at >= head_bytes) {
        const RecordHead head = load_head(bytes.subspan(at));
        if (head.opcode == Opcode::NONE) return {at, "zero bytes where a record is to begin"};
        if (head.length > bytes.size() - at - head_bytes) return {at, "record that is not all there"};
        const Bytes body = bytes.subspan(at + head_bytes, head.length);
        const std::size_t next = at + head_bytes + head.length;
        if (head.opcode == Opcode::MESSAGE) {
            if (body.size() < message_fields_bytes) return {at, "message that is too short for its fields"};
            const MessageRecord message(body);
            if (is_torn(content, message.log_time, next)) return {at, "message torn by zero bytes"};
            visitor.message(at, message);
        } else {
            visitor.record(at, head.opcode, body);
        }
        at = next;
    }
    return {at, at == bytes.size() ? nullptr : "record that is not all there"};
}

}  // namespace zun::input::mcap

#endif
