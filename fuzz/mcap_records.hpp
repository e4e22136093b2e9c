// mcap_records: an MCAP file as a list of records, to be changed and written again.
//
//     magic, then for each record: operation (1 byte), length (8 bytes), content
//     the content of an uncompressed chunk ends with records of its own

#ifndef ZUN_FUZZ_MCAP_RECORDS_HPP
#define ZUN_FUZZ_MCAP_RECORDS_HPP

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zun::fuzz {

struct McapRecord {
    std::uint8_t operation = 0;
    std::optional<std::uint64_t> false_length = {};  ///< written instead of the content's size
    std::string content = {};                        ///< of a chunk: the fields before its records
    std::vector<McapRecord> inside = {};             ///< of a chunk
};

/// The records of `text`; what does not parse is the content of a last record without operation.
std::vector<McapRecord> parse_records(const std::string& text);

/// The records' bytes; sizes and checksums of chunks say what is there.
std::string records_text(const std::vector<McapRecord>& records);

}  // namespace zun::fuzz

#endif
