// Records: the records of an MCAP file, bytes in, fields out.
//
//     opcode (1)  length (8)  content (length)         in the file and, decompressed, in its chunks
//
// Integers are little-endian and lie anywhere. Content may go on behind the fields that are known here.

#ifndef ZUN_INPUT_MCAP_RECORDS_HPP
#define ZUN_INPUT_MCAP_RECORDS_HPP

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input/SharedText.hpp"
#include "input/bytes/File.hpp"

namespace zun::input::mcap {

constexpr std::string_view magic = "\x89MCAP0\r\n";
constexpr std::size_t head_bytes = 9;             ///< opcode and length of a record
constexpr std::size_t message_fields_bytes = 22;  ///< what comes before a message's payload
constexpr std::size_t message_bytes = head_bytes + message_fields_bytes;  ///< of a message, at least
constexpr std::size_t footer_bytes = 20;
/// Sizes in a file can be damaged, or lies: nothing larger than this is ever read into memory at once.
constexpr std::uint64_t largest_bytes = std::uint64_t{1} << 30;

enum class Opcode : std::uint8_t {
    NONE = 0x00,  ///< never written: zero bytes where a record is to begin
    HEADER = 0x01,
    FOOTER = 0x02,
    SCHEMA = 0x03,
    CHANNEL = 0x04,
    MESSAGE = 0x05,
    CHUNK = 0x06,
    MESSAGE_INDEX = 0x07,
    CHUNK_INDEX = 0x08,
    ATTACHMENT = 0x09,
    ATTACHMENT_INDEX = 0x0A,
    STATISTICS = 0x0B,
    DATA_END = 0x0F,
};

/// The integer at `at`, which has room for it.
template <typename Integer>
Integer load(const std::byte* at) {
    std::array<std::byte, sizeof(Integer)> bytes;
    std::memcpy(bytes.data(), at, bytes.size());
    if constexpr (std::endian::native == std::endian::big) std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<Integer>(bytes);
}

/// What every record begins with.
struct RecordHead {
    Opcode opcode = Opcode::NONE;
    std::uint64_t length = 0;  ///< of the content behind the head, in bytes
};

/// `bytes` has the size of a head at least.
inline RecordHead load_head(Bytes bytes) {
    return {static_cast<Opcode>(bytes[0]), load<std::uint64_t>(bytes.data() + 1)};
}

/// Reads fields one after another. Behind the first that does not fit, all are empty and ok() is false.
class Fields {
public:
    explicit Fields(Bytes bytes) : rest_(bytes) {}

    template <typename Integer>
    Integer integer() {
        const Bytes bytes = take(sizeof(Integer));
        return bytes.empty() ? Integer{} : load<Integer>(bytes.data());
    }
    /// A length of 4 or 8 bytes, then the bytes themselves.
    template <typename Length>
    Bytes sized() {
        return take(integer<Length>());
    }
    /// A length of 4 bytes, then the text, which is copied and not checked.
    std::string string();
    /// The next `size` bytes; empty where fewer are left, and then ok() is false.
    Bytes take(std::uint64_t size);
    Bytes rest() const { return rest_; }
    bool ok() const { return ok_; }

private:
    Bytes rest_;
    bool ok_ = true;
};

struct SchemaRecord {
    std::uint16_t id = 0;  ///< 0 is for channels without a schema; a schema must not have it
    std::string name;
    std::string encoding;  ///< of the text: "ros2msg", "ros2idl", "omgidl"
    SharedText text;

    bool operator==(const SchemaRecord&) const = default;
};

struct ChannelRecord {
    std::uint16_t id = 0;
    std::uint16_t schema_id = 0;  ///< 0: none
    std::string topic;
    std::string message_encoding;
    std::map<std::string, std::string> metadata;  ///< as each recorder likes; tells which one it was

    bool operator==(const ChannelRecord&) const = default;
};

/// The head of a chunk and as much of its stored bytes as there is.
struct ChunkRecord {
    std::uint64_t first = 0;  ///< log times, nanoseconds
    std::uint64_t last = 0;
    std::uint64_t uncompressed_bytes = 0;
    std::uint32_t crc = 0;  ///< of the uncompressed bytes, 0 for none
    std::string compression;
    std::uint64_t stored_bytes = 0;
    Bytes stored;  ///< shorter than stored_bytes in a file that is cut here
};

/// Says where a chunk lies and what is in it, so that it need not be read to know.
struct ChunkIndexRecord {
    std::uint64_t first = 0;  ///< log times, nanoseconds
    std::uint64_t last = 0;
    std::uint64_t chunk_offset = 0;
    std::uint64_t chunk_bytes = 0;
    std::vector<std::uint16_t> channel_ids;  ///< of the channels that have an index, ascending
    std::uint64_t message_index_bytes = 0;   ///< of the indexes that follow the chunk; 0: it has none
    std::string compression;
    std::uint64_t uncompressed_bytes = 0;
};

/// Counts over the whole file, by its recorder.
struct StatisticsRecord {
    std::uint64_t message_count = 0;
    std::uint32_t chunk_count = 0;
    std::uint64_t first = 0;  ///< log times, nanoseconds
    std::uint64_t last = 0;
    std::vector<std::pair<std::uint16_t, std::uint64_t>> channel_message_counts;  ///< by channel id
};

struct FooterRecord {
    std::uint64_t summary_start = 0;         ///< offset in the file; 0: there is no summary
    std::uint64_t summary_offset_start = 0;  ///< end of the records that matter here; 0: none follow them
    std::uint32_t summary_crc = 0;           ///< from summary_start into the footer, 0 for none
};

/// The records of `content`; none when it ends before their fields do.
std::optional<SchemaRecord> parse_schema(Bytes content);
std::optional<ChannelRecord> parse_channel(Bytes content);
std::optional<ChunkRecord> parse_chunk(Bytes content);
std::optional<ChunkIndexRecord> parse_chunk_index(Bytes content);
std::optional<StatisticsRecord> parse_statistics(Bytes content);
std::optional<FooterRecord> parse_footer(Bytes content);

/// The name in an Attachment or in an AttachmentIndex, of which the beginning suffices; empty when it is cut.
std::string attachment_name(Opcode opcode, Bytes content);

/// A message record, which has `message_fields_bytes` at least.
struct MessageRecord {
    explicit MessageRecord(Bytes content)
        : channel_id(load<std::uint16_t>(content.data())),
          log_time(load<std::uint64_t>(content.data() + 6)),
          publish_time(load<std::uint64_t>(content.data() + 14)),
          data(content.subspan(message_fields_bytes)) {}

    std::uint16_t channel_id;
    std::uint64_t log_time;      ///< nanoseconds, as publish_time
    std::uint64_t publish_time;  ///< the log time where the recorder did not know better
    Bytes data;                  ///< a view of the content
};

}  // namespace zun::input::mcap

#endif
