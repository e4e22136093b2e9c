#include "convert/passes/RowWriter.hpp"

#include <algorithm>

namespace zun::convert {

namespace {

constexpr std::size_t first_capacity = 4096;
constexpr std::size_t most_kept_bytes = std::size_t{2} * 1024 * 1024;  // between batches

/// The format compares positions with the capacity, and the engine writes into the size: both are the same
/// here.
void set_capacity(std::vector<char>& buffer, std::size_t capacity) {
    buffer.resize(capacity);
    buffer.resize(buffer.capacity());
}

}  // namespace

RowWriter::RowWriter(const Topic& topic, const Columns& columns, const Settings& settings)
    : topic_(topic),
      settings_(settings),
      format_(columns.settings, columns.type, header_, buffer_),
      printer_(topic.accepted()->type, topic.name, topic.writer, settings.text_style,
               topic.accepted()->excluded) {
    columns.check(format_);
    set_capacity(buffer_, first_capacity);
}

cdr::Findings RowWriter::append_row(const input::Message& message) {
    append_times(message);
    for (;;) {
        // The context counts from the start of the buffer, as the format does.
        ZUNXMLSaveContext context{
            .text = buffer_.data(), .length = size_, .capacity = static_cast<std::uint32_t>(buffer_.size())};
        ZUNXMLSaveContext_append(&context, times_.data(), times_.size());
        const cdr::Findings findings = printer_.print(*format_.native(), context, message.data);
        ZUNXMLSaveContext_appendString(&context, "\n");
        const std::size_t wanted = context.length + std::size_t{context.length} / 2;
        if (context.failed != 0 || wanted > UINT32_MAX)
            throw InputError(topic_.name, 0, "the row of this sample is longer than a row can be");
        if (context.length <= context.capacity) {
            size_ = context.length;
            return findings;
        }
        set_capacity(buffer_, wanted);
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

void RowWriter::clear() {
    size_ = 0;
    if (buffer_.size() <= most_kept_bytes) return;
    buffer_ = {};
    set_capacity(buffer_, first_capacity);
}

}  // namespace zun::convert
