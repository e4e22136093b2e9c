// RecordingBuilder: MCAP recordings made byte by byte, sound ones and others.

#ifndef ZUN_TESTS_INPUT_MCAP_RECORDING_BUILDER_HPP
#define ZUN_TESTS_INPUT_MCAP_RECORDING_BUILDER_HPP

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

namespace zun::test {

inline const std::string mcap_magic = "\x89MCAP0\r\n";

/// Little-endian.
template <typename Integer>
std::string bytes_of(Integer value) {
    std::string bytes(sizeof value, '\0');
    for (std::size_t i = 0; i < sizeof value; ++i)
        bytes[i] = static_cast<char>(static_cast<std::uint64_t>(value) >> 8 * i);
    return bytes;
}

template <typename Length = std::uint32_t>
std::string sized(const std::string& text) {
    return bytes_of(static_cast<Length>(text.size())) + text;
}

inline std::string record(int opcode, const std::string& content) {
    return static_cast<char>(opcode) + sized<std::uint64_t>(content);
}

inline std::string schema_record(std::uint16_t id, const std::string& name) {
    return record(3, bytes_of(id) + sized(name) + sized("ros2msg") + sized("int8 x"));
}

inline std::string channel_record(std::uint16_t id, std::uint16_t schema_id, const std::string& topic,
                                  const std::string& metadata = "") {
    return record(4, bytes_of(id) + bytes_of(schema_id) + sized(topic) + sized("cdr") + sized(metadata));
}

inline std::string message_record(std::uint16_t channel_id, std::uint64_t log_time, const std::string& data) {
    return record(5, bytes_of(channel_id) + bytes_of(std::uint32_t{7}) + bytes_of(log_time) +
                         bytes_of(log_time + 1) + data);
}

struct MadeMessage {
    std::uint16_t channel_id;
    std::uint64_t log_time;
    std::string data;
};

class RecordingBuilder {
public:
    /// `head` is repeated in the summary.
    explicit RecordingBuilder(const std::string& head)
        : head_(head), bytes_(mcap_magic + record(1, sized("") + sized("")) + head) {}

    void add(const std::string& bytes) { bytes_ += bytes; }
    void add_message(const MadeMessage& m) {
        bytes_ += message_record(m.channel_id, m.log_time, m.data);
        messages_.push_back(m);
    }
    /// `before`: records before the messages.
    void add_chunk(const std::vector<MadeMessage>& messages, const std::string& before = "");

    const std::vector<MadeMessage>& messages() const { return messages_; }
    std::string unfinished() const { return bytes_; }
    /// With a summary. What is added to the counts makes it a false one.
    std::string finished(std::uint64_t extra_messages = 0, std::uint32_t extra_chunks = 0) const;

private:
    static std::string time_span(const std::vector<MadeMessage>& messages) {
        std::uint64_t first = ~std::uint64_t{0};
        std::uint64_t last = 0;
        for (const MadeMessage& m : messages) {
            first = std::min(first, m.log_time);
            last = std::max(last, m.log_time);
        }
        return bytes_of(first) + bytes_of(last);
    }

    std::string head_;
    std::string bytes_;
    std::string chunk_indexes_;
    std::uint32_t chunks_ = 0;
    std::vector<MadeMessage> messages_;
};

inline void RecordingBuilder::add_chunk(const std::vector<MadeMessage>& messages, const std::string& before) {
    std::string records = before;
    std::map<std::uint16_t, std::string> entries;
    for (const MadeMessage& m : messages) {
        entries[m.channel_id] += bytes_of(m.log_time) + bytes_of(records.size());
        records += message_record(m.channel_id, m.log_time, m.data);
    }
    const std::string times = time_span(messages);
    const std::string size = bytes_of(records.size());
    const std::string chunk =
        record(6, times + size + bytes_of(std::uint32_t{0}) + sized("") + sized<std::uint64_t>(records));
    std::string indexes;
    std::string index_offsets;
    for (const auto& [id, places] : entries) {
        index_offsets += bytes_of(id) + bytes_of(bytes_.size() + chunk.size() + indexes.size());
        indexes += record(7, bytes_of(id) + sized(places));
    }
    chunk_indexes_ +=
        record(8, times + bytes_of(bytes_.size()) + bytes_of(chunk.size()) + sized(index_offsets) +
                      bytes_of(indexes.size()) + sized("") + size + size);
    bytes_ += chunk + indexes;
    ++chunks_;
    messages_.insert(messages_.end(), messages.begin(), messages.end());
}

inline std::string RecordingBuilder::finished(std::uint64_t extra_messages,
                                              std::uint32_t extra_chunks) const {
    std::map<std::uint16_t, std::uint64_t> counts;
    for (const MadeMessage& m : messages_)
        ++counts[m.channel_id];
    std::string count_texts;
    for (const auto& [id, count] : counts)
        count_texts += bytes_of(id) + bytes_of(count);
    const std::string statistics =
        record(11, bytes_of(messages_.size() + extra_messages) + std::string(14, '\0') +
                       bytes_of(chunks_ + extra_chunks) + time_span(messages_) + sized(count_texts));
    const std::string data = bytes_ + record(15, bytes_of(std::uint32_t{0}));
    return data + head_ + statistics + chunk_indexes_ +
           record(2, bytes_of(data.size()) + std::string(12, '\0')) + mcap_magic;
}

/// A file in memory.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& bytes) : descriptor_(::memfd_create("recording", 0)) {
        std::ofstream(path(), std::ios::binary) << bytes;
    }
    ~TemporaryFile() { ::close(descriptor_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

}  // namespace zun::test

#endif
