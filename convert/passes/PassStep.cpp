#include "convert/passes/PassStep.hpp"

namespace zun::convert {

Pass::Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
           std::uint64_t every, const Watch& watch)
    : activity_(std::move(activity)),
      topic_of_channel_(channel_count),
      seen_(topics.size()),
      every_(every),
      watch_(watch) {
    for (std::size_t i = 0; i < topics.size(); ++i) {
        if (topics[i].accepted() == nullptr) continue;
        for (const std::uint32_t channel : topics[i].channels)
            topic_of_channel_[channel] = i;
        total_ += topics[i].message_count;
    }
}

void Pass::advance(std::uint64_t messages) {
    if (watch_.stop != nullptr && *watch_.stop) throw Interrupted();
    done_ += messages;
    if (watch_.progress) watch_.progress(activity_, done_, total_);
}

void PassStep::load() {
    if (!source_.loaded) source_.batch->load();
}

void PassStep::pick() {
    if (pass_.takes_all()) return;
    for (const input::Message& message : source_.batch->messages()) {
        const auto topic = pass_.topic_of(message.channel);
        picked_.push_back(topic && pass_.takes_next(*topic));
    }
}

}  // namespace zun::convert
