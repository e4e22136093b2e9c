#include "convert/passes/CellValues.hpp"

#include "convert/passes/RowTimes.hpp"

namespace zun::convert {

void CellValues::append_file(ZUNXMLSaveContext&, std::uint32_t, std::span<const std::byte>) {}

void CellValues::append_stamp(ZUNXMLSaveContext& context, cdr::View::Shape shape, cdr::Stamp stamp) {
    // Spans of time have no date, and begin nowhere.
    const bool counted = style_.format == TimeFormat::NANOSECONDS;
    const TimeStyle span(counted ? TimeFormat::NANOSECONDS : TimeFormat::SECONDS);
    text_.clear();
    append_time(text_, time_of(stamp), shape == cdr::View::Shape::DURATION ? span : style_);
    ZUNXMLSaveContext_append(&context, text_.data(), text_.size());
}

}  // namespace zun::convert
