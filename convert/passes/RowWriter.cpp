#include "convert/passes/RowWriter.hpp"

namespace zun::convert {

namespace {

constexpr std::size_t most_waiting_bytes = std::size_t{8} << 20;  // rows of one message

}  // namespace

RowWriter::RowWriter(const Topic& topic, const Columns& columns, const Settings& settings)
    : topic_(topic),
      settings_(settings),
      sheet_(columns, columns.types.row),
      printer_(topic.accepted()->type, topic.name, topic.writer, settings.invalid_text,
               topic.accepted()->view) {
    columns.check(sheet_.format());
    if (!columns.types.elements.empty()) elements_.emplace(columns, *topic.accepted()->view);
}

cdr::Findings RowWriter::append_rows(const input::Message& message) {
    append_times(message);
    if (!elements_) return append_row(message);
    const cdr::Findings findings = elements_->print(printer_, topic_.name, message.data, nullptr);
    append_more();
    return findings;
}

cdr::Findings RowWriter::append_row(const input::Message& message) {
    for (;;) {
        // The context counts from the start of the sheet, as the format does.
        ZUNXMLSaveContext context = sheet_.context(size_);
        ZUNXMLSaveContext_append(&context, times_.data(), times_.size());
        const std::uint32_t row = context.length;
        const cdr::Findings findings = printer_.print(*sheet_.native(), context, message.data);
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
        element_rows_ += times_;
        elements_->append_next(element_rows_);
        element_rows_ += '\n';
        row_ends_.push_back(element_rows_.size());
    }
}

void RowWriter::append_times(const input::Message& message) {
    times_.clear();
    const bool source_only = settings_.clock == Clock::SOURCE;
    append_time(times_, source_only ? message.publish_time : message.log_time, settings_.time_format);
    if (settings_.clock != Clock::BOTH) return;
    times_ += ',';
    append_time(times_, message.publish_time, settings_.time_format);
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
