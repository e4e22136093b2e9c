// RowWriter: the rows of one topic.
//
// In: messages. Out: their rows, one behind the other: time, one cell a column, line end. The rows are made
// where they stay until they are written. For one thread at a time.

#ifndef ZUN_CONVERT_PASSES_ROW_WRITER_HPP
#define ZUN_CONVERT_PASSES_ROW_WRITER_HPP

#include <string>
#include <string_view>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/plan/Columns.hpp"
#include "convert/plan/Topic.hpp"
#include "format/PrintFormatCsv.hpp"
#include "input/MessageStream.hpp"
#include "platform/error/TextStream.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

class RowWriter {
public:
    /// All must outlive the writer.
    RowWriter(const Topic& topic, const Columns& columns, const Settings& settings);

    std::string header() const { return header_.str(); }  ///< with line end

    /// Appends the row of `message` to the rows, or leaves them as they are.
    ///
    /// Throws InputError when the message is no sample of the topic's type.
    cdr::Findings append_row(const input::Message& message);

    /// The rows since the last clear(), good until the next call.
    std::string_view rows() const { return {buffer_.data(), size_}; }
    void clear();

private:
    void append_times(const input::Message& message);

    const Topic& topic_;
    const Settings& settings_;
    TextStream header_;
    std::string times_;         // of one row
    std::vector<char> buffer_;  // the rows, and room for more
    std::uint32_t size_ = 0;    // of the rows
    tamber::utils::PrintFormatCsv format_;
    printing::SamplePrinter printer_;
};

}  // namespace zun::convert

#endif
