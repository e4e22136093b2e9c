// TopicConverter: the rows of one topic.
//
// In: a message. Out: its row: time, one cell a column, line end. For one thread at a time.

#ifndef ZUN_CONVERT_TOPIC_CONVERTER_HPP
#define ZUN_CONVERT_TOPIC_CONVERTER_HPP

#include <sstream>
#include <string>
#include <vector>

#include "convert/Topic.hpp"
#include "convert/time_text.hpp"
#include "format/PrintFormatCsv.hpp"
#include "input/MessageStream.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

class TopicConverter {
public:
    /// `property`  must outlive the converter
    TopicConverter(const Topic& topic, const tamber::utils::PrintFormatCsvProperty& property,
                   TimeFormat time_format);

    std::string header() const { return header_.str(); }  ///< with line end

    /// Appends the row of `message` to `rows`, or leaves them as they are.
    ///
    /// Returns  the number of bytes after the sample; up to 3 are padding
    /// Throws   InputError when the message is no sample of the topic's type
    std::size_t append_row(std::string& rows, const input::Message& message);

private:
    std::size_t print(const input::Message& message);

    std::string topic_;
    TimeFormat time_format_;
    std::ostringstream header_;
    std::vector<char> buffer_;
    tamber::utils::PrintFormatCsv format_;
    printing::SamplePrinter printer_;
    ZUNXMLSaveContext context_;
};

}  // namespace zun::convert

#endif
