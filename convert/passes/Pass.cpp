#include "convert/passes/Pass.hpp"

#include <utility>

#include "convert/plan/type_walk.hpp"

namespace zun::convert {

Pass::Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
           const Thinning& every, std::optional<input::Time> origin, const Watch& watch)
    : activity_(std::move(activity)),
      topic_of_channel_(channel_count),
      seen_(topics.size()),
      taken_(topics.size()),
      next_interval_(topics.size()),
      every_(every),
      origin_(origin),
      watch_(watch) {
    for (std::size_t i = 0; i < topics.size(); ++i) {
        if (topics[i].accepted() == nullptr) continue;
        numbers_messages_ = numbers_messages_ || !topics[i].accepted()->blob_folders.empty();
        for (const std::uint32_t channel : topics[i].channels)
            topic_of_channel_[channel] = i;
        total_ += topics[i].message_count;
    }
}

bool Pass::takes_next(std::size_t topic, input::Time time) {
    const std::uint64_t before = seen_[topic]++;
    if (every_.interval_ns == 0) return before % every_.messages == 0;
    const std::uint64_t interval = interval_of(time);
    if (interval < next_interval_[topic]) return false;
    next_interval_[topic] = interval + 1;
    return true;
}

/// From 0; that of the first message, for what is before it.
std::uint64_t Pass::interval_of(input::Time time) {
    const input::Time origin = origin_ ? *origin_ : origin_.emplace(time);
    if (time < origin) return 0;
    constexpr std::uint64_t nanoseconds_per_second = 1'000'000'000;
    const bool borrows = time.nanoseconds < origin.nanoseconds;
    const auto seconds = static_cast<std::uint64_t>(time.seconds - origin.seconds) - (borrows ? 1 : 0);
    const std::uint64_t rest = time.nanoseconds + (borrows ? nanoseconds_per_second : 0) - origin.nanoseconds;
    return saturating_sum(saturating_product(seconds, nanoseconds_per_second), rest) / every_.interval_ns;
}

void Pass::advance(std::uint64_t messages) {
    if (watch_.stop != nullptr && *watch_.stop) throw Interrupted();
    done_ += messages;
    if (watch_.progress) watch_.progress(activity_, done_, total_);
}

}  // namespace zun::convert
