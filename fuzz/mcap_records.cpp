#include "fuzz/mcap_records.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace zun::fuzz {

namespace {

constexpr std::uint8_t no_operation = 0;
constexpr std::uint8_t footer_operation = 2;
constexpr std::uint8_t chunk_operation = 6;
constexpr std::uint8_t data_end_operation = 15;
constexpr std::size_t header_size = 9;
// Fields of a chunk: two times, the size of its records (8), their checksum (4), the compression's name.
constexpr std::size_t records_size_at = 16, checksum_at = 24, compression_at = 28;
constexpr std::size_t chunk_fields_size = compression_at + 4 + 8;  // without compression

template <typename Number>
Number number_at(const std::string& text, std::size_t offset) {
    Number number{};
    std::memcpy(&number, text.data() + offset, sizeof number);
    return number;
}

template <typename Number>
void put_number(std::string& text, std::size_t offset, Number number) {
    std::memcpy(text.data() + offset, &number, sizeof number);
}

std::uint32_t crc32(const std::string& text) {
    std::uint32_t crc = ~0U;
    for (const char c : text) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
    }
    return ~crc;
}

bool is_plain_chunk(const McapRecord& record) {
    return record.operation == chunk_operation && record.content.size() >= chunk_fields_size &&
           number_at<std::uint32_t>(record.content, compression_at) == 0;
}

/// A checksum of 0 says that the writer made none.
void forget_checksum(McapRecord& record) {
    const bool has_one = record.operation == footer_operation || record.operation == data_end_operation;
    if (has_one && record.content.size() >= 4)
        put_number(record.content, record.content.size() - 4, std::uint32_t{0});
    if (record.operation == chunk_operation && record.content.size() >= compression_at)
        put_number(record.content, checksum_at, std::uint32_t{0});
}

void append(std::string& text, McapRecord record) {
    forget_checksum(record);
    if (is_plain_chunk(record)) {
        const std::string inside = records_text(record.inside);
        put_number(record.content, records_size_at, std::uint64_t{inside.size()});
        put_number(record.content, checksum_at, crc32(inside));
        put_number(record.content, compression_at + 4, std::uint64_t{inside.size()});
        record.content += inside;
    }
    if (record.operation != no_operation) {
        const std::uint64_t length = record.false_length.value_or(record.content.size());
        text += static_cast<char>(record.operation);
        text.append(reinterpret_cast<const char*>(&length), sizeof length);
    }
    text += record.content;
}

}  // namespace

std::vector<McapRecord> parse_records(const std::string& text) {
    std::vector<McapRecord> records;
    std::size_t at = 0;
    while (text.size() - at >= header_size && text[at] != no_operation) {
        const auto length = number_at<std::uint64_t>(text, at + 1);
        if (length > text.size() - at - header_size) break;
        McapRecord record{static_cast<std::uint8_t>(text[at]), {}, text.substr(at + header_size, length)};
        if (is_plain_chunk(record)) {
            record.inside = parse_records(record.content.substr(chunk_fields_size));
            record.content.resize(chunk_fields_size);
        }
        records.push_back(std::move(record));
        at += header_size + length;
    }
    if (at < text.size()) records.push_back({no_operation, {}, text.substr(at)});
    return records;
}

std::string records_text(const std::vector<McapRecord>& records) {
    std::string text;
    for (const McapRecord& record : records)
        append(text, record);
    return text;
}

}  // namespace zun::fuzz
