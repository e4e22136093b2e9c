#include "convert/TopicConverter.hpp"

#include <algorithm>

namespace zun::convert {

namespace {

constexpr std::size_t first_capacity = 4096;

/// The format compares positions with the capacity, and the engine writes into the size: both are the same
/// here.
void set_capacity(std::vector<char>& buffer, std::size_t capacity) {
    buffer.resize(capacity);
    buffer.resize(buffer.capacity());
}

}  // namespace

TopicConverter::TopicConverter(const Topic& topic, const tamber::utils::PrintFormatCsvProperty& property,
                               TimeFormat time_format)
    : topic_(topic.name),
      time_format_(time_format),
      format_(property, *topic.type, header_, buffer_),
      printer_(*topic.type, topic.name, topic.writer) {
    set_capacity(buffer_, first_capacity);
}

std::size_t TopicConverter::append_row(std::string& rows, const input::Message& message) {
    const std::size_t left_over = print(message);
    append_time(rows, message.log_time, time_format_);
    if (format_.property().include_source_timestamp()) {
        rows += ',';
        append_time(rows, message.publish_time, time_format_);
    }
    rows.append(context_.text, context_.length);
    rows += '\n';
    return left_over;
}

/// Prints into the buffer, again after enlarging it when the row did not fit.
std::size_t TopicConverter::print(const input::Message& message) {
    for (;;) {
        context_ = {.text = buffer_.data(), .capacity = static_cast<std::uint32_t>(buffer_.size())};
        const std::size_t left_over = printer_.print(*format_.native(), context_, message.data);
        const std::size_t wanted = context_.length + std::size_t{context_.length} / 2;
        if (context_.failed != 0 || wanted > UINT32_MAX)
            throw InputError(topic_, 0, "the row of this sample is longer than a row can be");
        if (context_.length <= context_.capacity) return left_over;
        set_capacity(buffer_, wanted);
    }
}

}  // namespace zun::convert
