// RowWriter: the rows of one topic.
//
// In: messages. Out: their rows, one behind the other: time, one cell a column, line end. A message has one
// row, which is made where it stays until it is written; or several, where elements have rows of their own.
// For one thread at a time.

#ifndef ZUN_CONVERT_PASSES_ROW_WRITER_HPP
#define ZUN_CONVERT_PASSES_ROW_WRITER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/passes/CellValues.hpp"
#include "convert/passes/ElementRows.hpp"
#include "convert/passes/RowTimes.hpp"
#include "convert/passes/Sheet.hpp"
#include "convert/plan/Columns.hpp"
#include "convert/plan/Topic.hpp"
#include "input/MessageStream.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

class RowWriter {
public:
    /// All must outlive the writer.
    RowWriter(const Topic& topic, const Columns& columns, const Settings& settings, const TimeStyle& times);

    std::string header() const;  ///< with line end

    /// Appends rows of `message`, or leaves the rows as they are. What is not appended at once, since it is
    /// too much to wait, append_more() has.
    ///
    /// `number`  of the message among those of its topic, from 1
    /// Throws    InputError when the message is no sample of the topic's type
    cdr::Findings append_rows(const input::Message& message, std::uint64_t number);
    bool has_more() const { return elements_ && elements_->has_next(); }
    void append_more();

    /// The values of the last message that go into files; they lie in the message.
    const std::vector<CellValues::Blob>& blobs() const { return values_.blobs(); }

    /// The rows since the last clear(), good until the next call.
    std::string_view rows() const;
    const std::vector<std::size_t>& row_ends() const { return row_ends_; }  ///< where each of them ends
    void clear();

private:
    cdr::Findings append_row(const input::Message& message, std::uint64_t number);

    const Topic& topic_;
    const ColumnNames column_names_;
    RowTimes times_;
    CellValues values_;
    std::string time_text_;  // of one message
    Sheet sheet_;
    std::uint32_t size_ = 0;               // of the rows on the sheet
    std::optional<ElementRows> elements_;  // where elements have rows of their own
    std::string element_rows_;
    std::vector<std::size_t> row_ends_;
    printing::SamplePrinter printer_;
};

}  // namespace zun::convert

#endif
