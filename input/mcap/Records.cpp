#include "input/mcap/Records.hpp"

namespace zun::input::mcap {

namespace {

std::string text_of(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

Bytes Fields::take(std::uint64_t size) {
    ok_ = ok_ && size <= rest_.size();
    if (!ok_) return {};
    const Bytes taken = rest_.first(size);
    rest_ = rest_.subspan(size);
    return taken;
}

std::string Fields::string() {
    return text_of(sized<std::uint32_t>());
}

std::optional<SchemaRecord> parse_schema(Bytes content) {
    Fields fields(content);
    SchemaRecord schema;
    schema.id = fields.integer<std::uint16_t>();
    schema.name = fields.string();
    schema.encoding = fields.string();
    schema.text = fields.string();
    return fields.ok() ? std::optional(std::move(schema)) : std::nullopt;
}

std::optional<ChannelRecord> parse_channel(Bytes content) {
    Fields fields(content);
    ChannelRecord channel;
    channel.id = fields.integer<std::uint16_t>();
    channel.schema_id = fields.integer<std::uint16_t>();
    channel.topic = fields.string();
    channel.message_encoding = fields.string();
    Fields pairs(fields.sized<std::uint32_t>());
    while (pairs.ok() && !pairs.rest().empty()) {
        std::string key = pairs.string();
        channel.metadata.try_emplace(std::move(key), pairs.string());
    }
    return fields.ok() && pairs.ok() ? std::optional(std::move(channel)) : std::nullopt;
}

std::optional<ChunkRecord> parse_chunk(Bytes content) {
    Fields fields(content);
    ChunkRecord chunk;
    chunk.first = fields.integer<std::uint64_t>();
    chunk.last = fields.integer<std::uint64_t>();
    chunk.uncompressed_bytes = fields.integer<std::uint64_t>();
    chunk.crc = fields.integer<std::uint32_t>();
    chunk.compression = fields.string();
    chunk.stored_bytes = fields.integer<std::uint64_t>();
    chunk.stored = fields.rest().first(std::min<std::uint64_t>(chunk.stored_bytes, fields.rest().size()));
    return fields.ok() ? std::optional(std::move(chunk)) : std::nullopt;
}

std::optional<ChunkIndexRecord> parse_chunk_index(Bytes content) {
    Fields fields(content);
    ChunkIndexRecord index;
    index.first = fields.integer<std::uint64_t>();
    index.last = fields.integer<std::uint64_t>();
    index.chunk_offset = fields.integer<std::uint64_t>();
    index.chunk_bytes = fields.integer<std::uint64_t>();
    Fields offsets(fields.sized<std::uint32_t>());
    while (offsets.ok() && !offsets.rest().empty()) {
        index.channel_ids.push_back(offsets.integer<std::uint16_t>());
        offsets.integer<std::uint64_t>();
    }
    std::sort(index.channel_ids.begin(), index.channel_ids.end());
    index.message_index_bytes = fields.integer<std::uint64_t>();
    index.compression = fields.string();
    fields.integer<std::uint64_t>();  // compressed size
    index.uncompressed_bytes = fields.integer<std::uint64_t>();
    return fields.ok() && offsets.ok() ? std::optional(std::move(index)) : std::nullopt;
}

std::optional<StatisticsRecord> parse_statistics(Bytes content) {
    Fields fields(content);
    StatisticsRecord statistics;
    statistics.message_count = fields.integer<std::uint64_t>();
    fields.take(2 + 4 + 4 + 4);  // counts of schemas, channels, attachments, metadata records
    statistics.chunk_count = fields.integer<std::uint32_t>();
    statistics.first = fields.integer<std::uint64_t>();
    statistics.last = fields.integer<std::uint64_t>();
    Fields counts(fields.sized<std::uint32_t>());
    while (counts.ok() && !counts.rest().empty()) {
        const auto id = counts.integer<std::uint16_t>();
        statistics.channel_message_counts.emplace_back(id, counts.integer<std::uint64_t>());
    }
    return fields.ok() && counts.ok() ? std::optional(std::move(statistics)) : std::nullopt;
}

std::string attachment_name(Opcode opcode, Bytes content) {
    constexpr std::uint64_t times = 2 * sizeof(std::uint64_t);
    constexpr std::uint64_t place_and_size = 3 * sizeof(std::uint64_t);
    Fields fields(content);
    fields.take(opcode == Opcode::ATTACHMENT ? times : times + place_and_size);
    return fields.string();
}

std::optional<FooterRecord> parse_footer(Bytes content) {
    Fields fields(content);
    FooterRecord footer;
    footer.summary_start = fields.integer<std::uint64_t>();
    footer.summary_offset_start = fields.integer<std::uint64_t>();
    footer.summary_crc = fields.integer<std::uint32_t>();
    return fields.ok() ? std::optional(footer) : std::nullopt;
}

}  // namespace zun::input::mcap
