#include "convert/passes/RowWriter.hpp"

namespace zun::convert {

namespace {

constexpr std::size_t most_waiting_bytes = std::size_t{8} << 20;  // rows of one message

}  // namespace

RowWriter::RowWriter(const Topic& topic, const Columns& columns, const Settings& settings,
                     const TimeStyle& times)
    : topic_(topic),
      column_names_(settings.column_names),
      times_(topic, settings, times),
      values_(topic, times),
      sheet_(columns, columns.types.row),
      printer_(topic.accepted()->type, topic.name, topic.writer, settings.text_style,
               topic.accepted()->view) {
    columns.check(sheet_.format());
    if (!columns.types.elements.empty()) elements_.emplace(columns, *topic.accepted()->view);
}

std::string RowWriter::header() const {
    return renamed_header(sheet_.header(), column_names_);
}

cdr::Findings RowWriter::append_rows(const input::Message& message, std::uint64_t number) {
    time_text_.clear();
    times_.append(time_text_, message);
    if (!elements_) return append_row(message, number);
    const cdr::Findings findings = elements_->print(printer_, topic_.name, message.data, values_, number);
    append_more();
    return findings;
}

cdr::Findings RowWriter::append_row(const input::Message& message, std::uint64_t number) {
    // A row that does not fit is counted to its end and made again, in a sheet that is half as large again:
    // so only a few of the first rows are made twice.
    for (;;) {
        values_.begin(number);
        // The context counts from the start of the sheet, as the format does.
        ZUNXMLSaveContext context = sheet_.context(size_);
        ZUNXMLSaveContext_append(&context, time_text_.data(), time_text_.size());
        const std::uint32_t row = context.length;
        const cdr::Findings findings =
            printer_.print(*sheet_.native(), context, message.data, &values_, {}, sheet_.runs());
        ZUNXMLSaveContext_appendString(&context, "\n");
        if (!sheet_.holds(context, topic_.name)) continue;
        sheet_.shorten_lengths(row, std::span(&context.length, 1));
        size_ = context.length;
        row_ends_.push_back(size_);
        return findings;
    }
}

void RowWriter::append_more() {
    const std::size_t before = element_rows_.size();
    while (elements_->has_next() && element_rows_.size() - before < most_waiting_bytes) {
        element_rows_ += time_text_;
        elements_->append_next(element_rows_);
        element_rows_ += '\n';
        row_ends_.push_back(element_rows_.size());
    }
}

std::string_view RowWriter::rows() const {
    return elements_ ? std::string_view(element_rows_) : std::string_view(sheet_.text(), size_);
}

void RowWriter::clear() {
    size_ = 0;
    row_ends_.clear();
    element_rows_.clear();
    sheet_.shrink();
}

}  // namespace zun::convert
