#include "convert/passes/Pass.hpp"

#include <utility>

namespace zun::convert {

Pass::Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
           std::uint64_t every, const Watch& watch)
    : activity_(std::move(activity)),
      topic_of_channel_(channel_count),
      seen_(topics.size()),
      taken_(topics.size()),
      every_(every),
      watch_(watch) {
    for (std::size_t i = 0; i < topics.size(); ++i) {
        if (topics[i].accepted() == nullptr) continue;
        numbers_messages_ = numbers_messages_ || !topics[i].accepted()->blob_folders.empty();
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

}  // namespace zun::convert
