#include "convert/passes/RowTimes.hpp"

namespace zun::convert {

input::Time time_of(cdr::Stamp stamp) {
    const auto rest = input::Time::from_nanoseconds(stamp.nanoseconds);
    return {stamp.seconds + rest.seconds, rest.nanoseconds};
}

RowTimes::RowTimes(const Topic& topic, const Settings& settings, const TimeStyle& style)
    : settings_(settings), style_(style) {
    const Accepted& accepted = *topic.accepted();
    if (accepted.clock) stamps_.emplace(accepted.type, topic.name, topic.writer, accepted.clock);
}

void RowTimes::append(std::string& text, const input::Message& message) {
    if (stamps_) {
        const std::optional<cdr::Stamp> stamp = stamps_->read(message.data);
        if (stamp)
            append_time(text, time_of(*stamp), style_);
        else
            text += settings_.empty_text;
        return;
    }
    const bool source_only = settings_.clock == Clock::SOURCE;
    append_time(text, source_only ? message.publish_time : message.log_time, style_);
    if (settings_.clock != Clock::BOTH) return;
    text += ',';
    append_time(text, message.publish_time, style_);
}

}  // namespace zun::convert
