// Pass: one reading of a recording from its beginning to its end.

#ifndef ZUN_CONVERT_PASSES_PASS_HPP
#define ZUN_CONVERT_PASSES_PASS_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/plan/Topic.hpp"

namespace zun::convert {

/// What the steps of one pass share. Only touched where steps go in order.
class Pass {
public:
    /// `activity`       what the watch is told that is being done: "measuring"
    /// `channel_count`  of the recording
    /// `every`          which messages of each topic are wanted
    /// `origin`         where the first interval begins; with the first message that is met where nobody
    /// knows
    ///
    /// `topics` and `watch` must outlive the pass.
    Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
         const Thinning& every, std::optional<input::Time> origin, const Watch& watch);

    /// The index of the topic that `channel` belongs to; none for channels of topics that are not converted.
    std::optional<std::size_t> topic_of(std::uint32_t channel) const { return topic_of_channel_[channel]; }
    /// Whether this message of its topic, the next in order, is one of those wanted. One that is late, from
    /// an interval before that of a message taken, is not.
    bool takes_next(std::size_t topic, input::Time time);
    bool takes_all() const { return every_.messages == 1 && every_.interval_ns == 0; }
    /// Messages of a topic that were met, wanted or not.
    std::uint64_t seen(std::size_t topic) const { return seen_[topic]; }
    /// Whether messages are numbered, since files are called after them.
    bool numbers_messages() const { return numbers_messages_; }
    /// The number of the message of its topic that was taken last, from 1.
    std::uint64_t next_number(std::size_t topic) { return ++taken_[topic]; }
    /// Tells the watch; throws Interrupted when it wants an end.
    void advance(std::uint64_t messages);
    std::uint64_t done() const { return done_; }
    /// Messages of all topics, as the recording counts them.
    std::uint64_t total() const { return total_; }

private:
    std::uint64_t interval_of(input::Time time);

    std::string activity_;
    std::vector<std::optional<std::size_t>> topic_of_channel_;
    std::vector<std::uint64_t> seen_;           // messages by topic
    std::vector<std::uint64_t> taken_;          // likewise, those that were numbered
    std::vector<std::uint64_t> next_interval_;  // by topic: behind that of the last message taken
    bool numbers_messages_ = false;
    Thinning every_;
    std::optional<input::Time> origin_;
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;
    const Watch& watch_;
};

}  // namespace zun::convert

#endif
