#include "convert/passes/CellValues.hpp"

#include <cstring>
#include <string_view>
#include <utility>

#include "convert/passes/RowTimes.hpp"
#include "platform/printing/ValueText.hpp"

namespace zun::convert {

namespace {

/// By what its first bytes say.
const char* extension_of(std::span<const std::byte> bytes) {
    const auto begins = [&](std::string_view start) {
        return bytes.size() >= start.size() && std::memcmp(bytes.data(), start.data(), start.size()) == 0;
    };
    if (begins("\xff\xd8\xff")) return ".jpg";
    return begins("\x89PNG\r\n\x1a\n") ? ".png" : ".bin";
}

}  // namespace

void CellValues::begin(std::uint64_t number) {
    number_ = number;
    blobs_.clear();
    counts_.assign(topic_.accepted()->blob_folders.size(), 0);
}

void CellValues::append_file(ZUNXMLSaveContext& context, std::uint32_t field,
                             std::span<const std::byte> bytes) {
    const BlobFolder& folder = topic_.accepted()->blob_folders[field];
    std::string name = std::to_string(number_);  // "12.jpg"; the field's next in the message is "12-1.jpg"
    if (counts_[field] > 0) name += '-' + std::to_string(counts_[field]);
    ++counts_[field];
    name += extension_of(bytes);
    text_ = folder.name + '/' + name;
    printing::append_text(&context, text_, {.invalid = printing::InvalidText::RAW});
    blobs_.push_back({folder.number, std::move(name), bytes});
}

void CellValues::append_stamp(ZUNXMLSaveContext& context, cdr::View::Shape shape, cdr::Stamp stamp) {
    // Spans of time have no date, and begin nowhere.
    const bool counted = style_.format == TimeFormat::NANOSECONDS;
    const TimeStyle span(counted ? TimeFormat::NANOSECONDS : TimeFormat::SECONDS);
    text_.clear();
    append_time(text_, time_of(stamp), shape == cdr::View::Shape::DURATION ? span : style_);
    ZUNXMLSaveContext_append(&context, text_.data(), text_.size());
}

}  // namespace zun::convert
