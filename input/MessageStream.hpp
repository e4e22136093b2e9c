// MessageStream: what every source of samples delivers.
//
// Opening a source reads what it holds: channels, counts, the time span. Messages then come in batches, in
// the order of their log times (equal times in the order of recording), first by batch, then within each. A
// batch is cheap until it is loaded, and can be loaded on any thread while others are read, loaded and used:
//
//     stream->start(selection);
//     while (auto batch = stream->next_batch()) {   one thread: reads bytes
//         batch->load();                            any thread: decompresses, checks, sorts
//         for (const Message& m : batch->messages()) ...
//     }

#ifndef ZUN_INPUT_MESSAGE_STREAM_HPP
#define ZUN_INPUT_MESSAGE_STREAM_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "input/SharedText.hpp"
#include "input/Time.hpp"

namespace zun::input {

/// Programs whose messages deviate from the encoding that they name, recognised by what they record besides.
enum class Recorder { UNKNOWN, FAST_DDS };

/// A topic as one writer recorded it. Two channels can bear one topic, with one type or with two.
struct Channel {
    std::string topic;
    std::string type_name;         ///< as recorded: "std_msgs/msg/String", "acme::Report"
    std::string message_encoding;  ///< "cdr", "json", ...
    std::string schema_encoding;   ///< "ros2msg", "ros2idl", "omgidl", ..., empty for none
    SharedText schema_text;
    std::string type_hash = {};             ///< of the type, as recorded: "RIHS01_...", empty for none
    std::string source = {};                ///< file that the channel is from
    Recorder recorder = Recorder::UNKNOWN;  ///< that wrote its messages
};

struct Message {
    std::uint32_t channel = 0;  ///< index in MessageStream::channels()
    Time log_time;              ///< of recording
    Time publish_time;          ///< of sending; the log time where the recording has none
    std::span<const std::byte> data;
};

/// Damage that was stepped over, or a flaw that costs nothing.
struct Problem {
    std::string source;               ///< file
    std::uint64_t position = 0;       ///< byte offset in it (from 0); for a database, the row
    std::string text;                 ///< "chunk does not decompress, 12 messages lost"
    std::uint64_t messages_lost = 0;  ///< 0 where nothing, or nothing countable, is lost
    bool hint = false;                ///< nothing is lost by it
};

/// Messages that are read and loaded together.
class Batch {
public:
    virtual ~Batch() = default;
    /// Makes the two below good. Once; damage becomes a problem, never an exception.
    virtual void load() = 0;
    /// Their data lie in the batch.
    virtual std::span<const Message> messages() const = 0;
    virtual std::span<const Problem> problems() const = 0;
    /// Bytes that the loaded batch holds, known before load().
    virtual std::size_t loaded_bytes() const = 0;
    /// Whether loading it again costs so much time that it is worth the memory to keep it. Known before
    /// load().
    virtual bool is_costly() const { return true; }
};

/// A stretch of a stream, in its order. Stretches that adjoin have together what the whole has, every message
/// once; damage that reaches into several of them is told by each.
struct Stretch {
    std::optional<Time> from = {};  ///< the place of the first message of this time; the beginning when unset
    std::optional<Time> until = {};  ///< up to, not including, that place; the end when unset
};

/// What next_batch() delivers of a stream.
struct Selection {
    std::vector<bool> channels = {};  ///< by index; all when empty
    std::optional<Time> start = {};   ///< log times from here on
    std::optional<Time> end = {};     ///< log times before this
    Stretch stretch = {};             ///< of what the above leaves
};

/// Messages that are best read together, as an index describes them.
struct Extent {
    Time first;  ///< log times
    Time last;
    std::uint64_t bytes = 0;  ///< that reading them takes
};

struct ChannelSummary {
    std::uint64_t message_count = 0;
};

struct Summary {
    std::vector<ChannelSummary> channels;  ///< by index
    std::optional<Time> first;             ///< log times; none without messages
    std::optional<Time> last;
    std::uint64_t file_bytes = 0;             ///< of all its files, as stored
    std::set<std::string> compressions = {};  ///< "zstd", "lz4": of files, chunks or messages

    void add_compression(const std::string& name) {
        if (!name.empty()) compressions.insert(name);
    }
};

class MessageStream {
public:
    virtual ~MessageStream() = default;
    /// All channels, those without messages included. Complete once the stream is open.
    virtual const std::vector<Channel>& channels() const = 0;
    /// Counts and time span, from the recording's own summary where it has a sound one.
    virtual const Summary& summary() const = 0;
    /// Damage found by opening; batches have their own.
    virtual std::span<const Problem> problems() const = 0;
    /// Whether it takes up disk space while it is open, for files that were compressed as a whole.
    virtual bool holds_disk_space() const { return false; }
    /// Where in time the bytes of `selection` lie, as far as an index says it without a look at the messages'
    /// data; empty where none does. Ends a pass. Throws as next_batch() does.
    virtual std::vector<Extent> extents(const Selection&) { return {}; }
    /// Goes to the first batch of `selection`; again for another pass.
    virtual void start(const Selection& selection) = 0;
    /// Null at the end. Throws InputError or std::system_error when the source cannot be read on.
    virtual std::unique_ptr<Batch> next_batch() = 0;
};

}  // namespace zun::input

#endif
