// RecordingBuilder: MCAP recordings made byte by byte, sound ones and others.

#ifndef ZUN_TESTS_INPUT_MCAP_RECORDING_BUILDER_HPP
#define ZUN_TESTS_INPUT_MCAP_RECORDING_BUILDER_HPP

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
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

inline std::string channel_record(std::uint16_t id, std::uint16_t schema_id, const std::string& topic) {
    return record(4, bytes_of(id) + bytes_of(schema_id) + sized(topic) + sized("cdr") + sized(""));
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
    explicit RecordingBuilder(std::string head)
        : head_(std::move(head)), bytes_(mcap_magic + record(1, sized("") + sized(""))) {
        bytes_ += head_;
    }

    void add(const std::string& bytes) { bytes_ += bytes; }
    void add_message(const MadeMessage& m) {
        bytes_ += message_record(m.channel_id, m.log_time, m.data);
        count(m);
    }
    void add_chunk(const std::vector<MadeMessage>& messages, const std::string& before = "");

    std::uint64_t size() const { return bytes_.size(); }
    std::string unfinished() const { return bytes_; }
    /// With a summary. What is added to the counts makes it a false one.
    std::string finished(std::uint64_t extra_messages = 0, std::uint32_t extra_chunks = 0) const;

private:
    void count(const MadeMessage& m) {
        ++counts_[m.channel_id];
        first_ = std::min(first_, m.log_time);
        last_ = std::max(last_, m.log_time);
    }

    std::string head_;
    std::string bytes_;
    std::string chunk_indexes_;
    std::uint32_t chunks_ = 0;
    std::map<std::uint16_t, std::uint64_t> counts_;
    std::uint64_t first_ = ~std::uint64_t{0};
    std::uint64_t last_ = 0;
};

inline void RecordingBuilder::add_chunk(const std::vector<MadeMessage>& messages, const std::string& before) {
    std::string records = before;
    std::map<std::uint16_t, std::string> entries;
    std::uint64_t first = ~std::uint64_t{0};
    std::uint64_t last = 0;
    for (const MadeMessage& m : messages) {
        entries[m.channel_id] += bytes_of(m.log_time) + bytes_of(std::uint64_t{records.size()});
        records += message_record(m.channel_id, m.log_time, m.data);
        first = std::min(first, m.log_time);
        last = std::max(last, m.log_time);
        count(m);
    }
    const std::string size = bytes_of(std::uint64_t{records.size()});
    const std::string chunk = record(6, bytes_of(first) + bytes_of(last) + size + bytes_of(std::uint32_t{0}) +
                                            sized("") + sized<std::uint64_t>(records));
    const std::uint64_t offset = bytes_.size();
    bytes_ += chunk;
    std::string index_offsets;
    for (const auto& [id, times] : entries) {
        index_offsets += bytes_of(id) + bytes_of(std::uint64_t{bytes_.size()});
        bytes_ += record(7, bytes_of(id) + sized(times));
    }
    chunk_indexes_ += record(8, bytes_of(first) + bytes_of(last) + bytes_of(offset) +
                                    bytes_of(std::uint64_t{chunk.size()}) + sized(index_offsets) +
                                    bytes_of(std::uint64_t{bytes_.size()} - offset - chunk.size()) +
                                    sized("") + size + size);
    ++chunks_;
}

inline std::string RecordingBuilder::finished(std::uint64_t extra_messages,
                                              std::uint32_t extra_chunks) const {
    std::string counts;
    std::uint64_t total = 0;
    for (const auto& [id, count] : counts_) {
        counts += bytes_of(id) + bytes_of(count);
        total += count;
    }
    const std::string statistics =
        record(11, bytes_of(total + extra_messages) + std::string(14, '\0') +
                       bytes_of(chunks_ + extra_chunks) + bytes_of(first_) + bytes_of(last_) + sized(counts));
    std::string bytes = bytes_ + record(15, bytes_of(std::uint32_t{0}));
    const std::uint64_t summary = bytes.size();
    bytes += head_ + statistics + chunk_indexes_;
    return bytes + record(2, bytes_of(summary) + std::string(12, '\0')) + mcap_magic;
}

/// A file that is removed at the end.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::string& bytes)
        : path_(std::filesystem::temp_directory_path() /
                ("mcap_test_" + std::to_string(::getpid()) + "_" + std::to_string(++made()))) {
        std::ofstream(path_, std::ios::binary) << bytes;
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::filesystem::path& path() const { return path_; }

private:
    static int& made() {
        static int count = 0;
        return count;
    }
    std::filesystem::path path_;
};

}  // namespace zun::test

#endif
