#include "convert/passes/Sheet.hpp"

#include "platform/error/InputError.hpp"

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

Sheet::Sheet(const Columns& columns, const core::xtypes::DynamicTypeImpl& type)
    : format_(columns.settings, type, header_, buffer_) {
    set_capacity(buffer_, first_capacity);
    if (columns.plain_lengths) plain_lengths_.emplace(format_.root_column());
}

ZUNXMLSaveContext Sheet::context(std::uint32_t length) {
    return {.text = buffer_.data(),
            .length = length,
            .failed = 0,
            .capacity = static_cast<std::uint32_t>(buffer_.size())};
}

bool Sheet::holds(const ZUNXMLSaveContext& context, const std::string& source) {
    const std::size_t wanted = context.length + std::size_t{context.length} / 2;
    if (context.failed != 0 || wanted > UINT32_MAX)
        throw InputError(source, 0, "the row of this sample is longer than a row can be");
    if (context.length <= context.capacity) return true;
    set_capacity(buffer_, wanted);
    return false;
}

void Sheet::shorten_lengths(std::uint32_t begin, std::span<std::uint32_t> ends) {
    if (!plain_lengths_) return;
    const char* text = buffer_.data() + begin;
    char* to = buffer_.data() + begin;
    for (std::uint32_t& end : ends) {
        const char* const text_end = buffer_.data() + end;
        to = plain_lengths_->move(text, text_end, to);
        text = text_end;
        end = static_cast<std::uint32_t>(to - buffer_.data());
    }
}

void Sheet::shrink() {
    if (buffer_.size() <= most_kept_bytes) return;
    buffer_ = {};
    set_capacity(buffer_, first_capacity);
}

}  // namespace zun::convert
