// read_summary: opens a recording by its last part.
//
//     ... DataEnd | Schema Channel Statistics ChunkIndex ... | SummaryOffset ... | Footer | magic
//                 '-- summary_start                          '-- summary_offset_start
//
// The section is believed when its numbers agree with each other; what the file holds beside the indexed
// chunks shows in the count of messages.

#include <set>

#include "input/mcap/Contents.hpp"

namespace zun::input::mcap {

namespace {

constexpr std::size_t tail_bytes = head_bytes + footer_bytes + magic.size();

/// Chunks that are looked at before the index is believed, evenly spread.
constexpr std::size_t chunk_samples = 16;

class SummaryReader {
public:
    explicit SummaryReader(const File& file) : file_(file), contents_{ChannelTable(file.name())} {}

    std::optional<Contents> read(std::optional<Problem>& doubt);

private:
    bool find_footer();
    void check_footer();
    void read_records();
    void read_record(Opcode opcode, Bytes content);
    void check_chunks();
    void check_chunk_head(const ChunkIndexRecord& chunk);
    bool is_complete() const;
    void fill_contents();
    void doubt(std::uint64_t position, std::string text) {
        if (!doubt_)
            doubt_ =
                make_problem(file_.name(), position, std::move(text) + "; the whole file is read instead");
    }

    /// Messages in a chunk: its indexes have 15 bytes each, and 16 for every message.
    static std::uint64_t message_count(const ChunkIndexRecord& chunk) {
        const std::uint64_t heads = 15 * chunk.channel_ids.size();
        return chunk.message_index_bytes < heads ? 0 : (chunk.message_index_bytes - heads) / 16;
    }

    const File& file_;
    Contents contents_;
    std::optional<Problem> doubt_;
    std::uint64_t footer_at_ = 0;
    FooterRecord footer_;
    std::optional<StatisticsRecord> statistics_;
    std::map<std::uint64_t, ChunkIndexRecord> chunks_;  // by place in the file
};

std::optional<Contents> SummaryReader::read(std::optional<Problem>& doubt) {
    if (!find_footer()) return std::nullopt;
    check_footer();
    if (!doubt_) read_records();
    if (!doubt_) check_chunks();
    doubt = doubt_;
    if (doubt_ || !is_complete()) return std::nullopt;
    fill_contents();
    return std::move(contents_);
}

/// False when there is no footer at the end of the file, or none that names a summary.
bool SummaryReader::find_footer() {
    if (file_.size() < magic.size() + tail_bytes) return false;
    footer_at_ = file_.size() - tail_bytes;
    std::array<std::byte, tail_bytes> tail;
    if (file_.read(footer_at_, tail) != tail.size()) return false;
    const RecordHead head = load_head(tail);
    const bool is_footer =
        head.opcode == Opcode::FOOTER && head.length == footer_bytes &&
        std::memcmp(tail.data() + head_bytes + footer_bytes, magic.data(), magic.size()) == 0;
    footer_ = parse_footer(Bytes(tail).subspan(head_bytes)).value_or(FooterRecord{});
    return is_footer && footer_.summary_start != 0;
}

void SummaryReader::check_footer() {
    const std::uint64_t end = footer_.summary_offset_start == 0 ? footer_at_ : footer_.summary_offset_start;
    if (footer_.summary_start < magic.size() || footer_.summary_start > end || end > footer_at_) {
        doubt(footer_at_, "footer has impossible offsets");
        return;
    }
    constexpr std::size_t covered = head_bytes + footer_bytes - sizeof(footer_.summary_crc);
    if (footer_.summary_crc != 0 &&
        footer_.summary_crc != file_.crc(footer_.summary_start, footer_at_ + covered))
        doubt(footer_.summary_start, "checksum of the summary is wrong");
}

void SummaryReader::read_records() {
    FileWindow window(file_);
    std::uint64_t at = footer_.summary_start;
    while (at < footer_at_ && !doubt_) {
        const Bytes head = window.at(at, head_bytes);
        const RecordHead record = head.size() < head_bytes ? RecordHead{} : load_head(head);
        const std::uint64_t begin = at + head_bytes;
        if (record.opcode == Opcode::NONE || begin > footer_at_ || record.length > footer_at_ - begin ||
            record.length > largest_bytes) {
            doubt(at, "summary is damaged");
            return;
        }
        read_record(record.opcode, window.at(begin, record.length));
        at = begin + record.length;
    }
}

void SummaryReader::read_record(Opcode opcode, Bytes content) {
    bool is_sound = true;
    if (opcode == Opcode::SCHEMA) {
        auto schema = parse_schema(content);
        is_sound = schema && contents_.channels.add_schema(std::move(*schema));
    } else if (opcode == Opcode::CHANNEL) {
        auto channel = parse_channel(content);
        is_sound = channel && contents_.channels.add_channel(std::move(*channel), {});
    } else if (opcode == Opcode::ATTACHMENT_INDEX) {
        contents_.channels.add_attachment(attachment_name(opcode, content));
    } else if (opcode == Opcode::STATISTICS) {
        statistics_ = parse_statistics(content);
        is_sound = statistics_.has_value();
    } else if (opcode == Opcode::CHUNK_INDEX) {
        auto index = parse_chunk_index(content);
        is_sound = index.has_value();
        if (is_sound) chunks_.try_emplace(index->chunk_offset, std::move(*index));
    } else if (opcode == Opcode::CHUNK || opcode == Opcode::MESSAGE) {
        is_sound = false;
    }
    if (!is_sound) doubt(footer_.summary_start, "summary is damaged");
}

/// Chunks lie one behind the other, before the summary. A writer may index none of them, but not a part.
void SummaryReader::check_chunks() {
    if (statistics_ && !chunks_.empty() && statistics_->chunk_count != chunks_.size()) {
        doubt(footer_.summary_start, "summary counts " + std::to_string(statistics_->chunk_count) +
                                         " chunks and lists " + std::to_string(chunks_.size()));
        return;
    }
    std::uint64_t free_from = magic.size();
    for (const auto& [offset, chunk] : chunks_) {
        const std::uint64_t room = footer_.summary_start - std::min(offset, footer_.summary_start);
        if (offset < free_from || chunk.chunk_bytes < head_bytes || chunk.chunk_bytes > room ||
            (chunk.first > chunk.last && message_count(chunk) > 0) ||
            message_count(chunk) > chunk.uncompressed_bytes / message_bytes) {
            doubt(offset, "index of chunks is impossible");
            return;
        }
        free_from = offset + chunk.chunk_bytes;
    }
    const std::size_t step = chunks_.size() / chunk_samples + 1;
    std::size_t n = 0;
    for (const auto& [offset, chunk] : chunks_)
        if (n++ % step == 0 || n == chunks_.size()) check_chunk_head(chunk);
}

void SummaryReader::check_chunk_head(const ChunkIndexRecord& chunk) {
    std::array<std::byte, head_bytes> head;
    const bool is_there = file_.read(chunk.chunk_offset, head) == head.size() &&
                          load_head(head).opcode == Opcode::CHUNK &&
                          load_head(head).length == chunk.chunk_bytes - head_bytes;
    if (!is_there) doubt(chunk.chunk_offset, "no chunk where the summary says that there is one");
}

/// True when the summary tells of every message and channel. Writers may leave parts of it out.
bool SummaryReader::is_complete() const {
    if (!statistics_) return false;
    std::uint64_t indexed = 0;
    for (const auto& [offset, chunk] : chunks_)
        indexed += message_count(chunk);
    std::uint64_t counted = 0;
    std::set<std::uint16_t> used;
    for (const auto& [id, count] : statistics_->channel_message_counts) {
        counted += count;
        used.insert(id);
    }
    for (const auto& [offset, chunk] : chunks_)
        used.insert(chunk.channel_ids.begin(), chunk.channel_ids.end());
    const auto is_defined = [&](std::uint16_t id) { return contents_.channels.definitions().count(id) > 0; };
    const auto has_schema = [&](const auto& entry) {
        const std::uint16_t schema_id = entry.second.front().record.schema_id;
        return schema_id == 0 || contents_.channels.has_schema(schema_id);
    };
    const auto& channels = contents_.channels.definitions();
    return statistics_->chunk_count == chunks_.size() && statistics_->message_count == indexed &&
           statistics_->message_count == counted && std::all_of(used.begin(), used.end(), is_defined) &&
           std::all_of(channels.begin(), channels.end(), has_schema);
}

void SummaryReader::fill_contents() {
    contents_.channels.complete();
    contents_.summary.channels.resize(contents_.channels.channels().size());
    for (const auto& [id, count] : statistics_->channel_message_counts)
        contents_.summary.channels[contents_.channels.index_at(id, {})].message_count += count;
    if (statistics_->message_count > 0) {
        contents_.summary.first = Time::from_nanoseconds(statistics_->first);
        contents_.summary.last = Time::from_nanoseconds(statistics_->last);
    }
    for (auto& [offset, chunk] : chunks_) {
        if (message_count(chunk) == 0) continue;
        contents_.summary.add_compression(chunk.compression);
        contents_.pieces.push_back({.offset = offset,
                                    .bytes = chunk.chunk_bytes,
                                    .is_chunk = true,
                                    .first = chunk.first,
                                    .last = chunk.last,
                                    .message_count = message_count(chunk),
                                    .content_bytes = std::min(chunk.uncompressed_bytes, largest_bytes),
                                    .channel_ids = std::move(chunk.channel_ids)});
    }
}

}  // namespace

std::optional<Contents> read_summary(const File& file, std::optional<Problem>& doubt) {
    return SummaryReader(file).read(doubt);
}

}  // namespace zun::input::mcap
