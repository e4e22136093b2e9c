// CellValues: the text of values that a view shows as one, where it depends on the conversion.

#ifndef ZUN_CONVERT_PASSES_CELL_VALUES_HPP
#define ZUN_CONVERT_PASSES_CELL_VALUES_HPP

#include <cstdint>
#include <span>
#include <string>

#include "convert/output/time_text.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

/// For one thread at a time.
class CellValues : public printing::ValueWriter {
public:
    /// `style` must outlive this.
    explicit CellValues(const TimeStyle& style) : style_(style) {}

    void append_file(ZUNXMLSaveContext& context, std::uint32_t field,
                     std::span<const std::byte> bytes) override;
    void append_stamp(ZUNXMLSaveContext& context, cdr::View::Shape shape, cdr::Stamp stamp) override;

private:
    const TimeStyle& style_;
    std::string text_;
};

}  // namespace zun::convert

#endif
