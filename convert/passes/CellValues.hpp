// CellValues: the text of values that a view shows as one, where it depends on the conversion.

#ifndef ZUN_CONVERT_PASSES_CELL_VALUES_HPP
#define ZUN_CONVERT_PASSES_CELL_VALUES_HPP

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "convert/output/time_text.hpp"
#include "convert/plan/Topic.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

/// For one thread at a time.
class CellValues : public printing::ValueWriter {
public:
    /// Both must outlive this.
    CellValues(const Topic& topic, const TimeStyle& style) : topic_(topic), style_(style) {}

    /// A value that goes into a file.
    struct Blob {
        std::size_t folder;  ///< of those of the recording
        std::string name;
        std::span<const std::byte> bytes;  ///< in the message
    };
    /// Forgets the blobs of the message before.
    ///
    /// `number`  of the message among those of its topic, from 1
    void begin(std::uint64_t number);
    /// Those of this message.
    const std::vector<Blob>& blobs() const { return blobs_; }

    void append_file(ZUNXMLSaveContext& context, std::uint32_t field,
                     std::span<const std::byte> bytes) override;
    void append_stamp(ZUNXMLSaveContext& context, cdr::View::Shape shape, cdr::Stamp stamp) override;

private:
    const Topic& topic_;
    const TimeStyle& style_;
    std::uint64_t number_ = 0;
    std::vector<Blob> blobs_;
    std::vector<std::uint32_t> counts_;  // of those, by field
    std::string text_;
};

}  // namespace zun::convert

#endif
