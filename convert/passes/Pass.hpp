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
    /// `every`          of each topic the messages 0, n, 2n and so on are wanted; 1 for all
    ///
    /// `topics` and `watch` must outlive the pass.
    Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
         std::uint64_t every, const Watch& watch);

    /// The index of the topic that `channel` belongs to; none for channels of topics that are not converted.
    std::optional<std::size_t> topic_of(std::uint32_t channel) const { return topic_of_channel_[channel]; }
    /// Whether this message of its topic, the next in order, is one of those wanted.
    bool takes_next(std::size_t topic) { return seen_[topic]++ % every_ == 0; }
    bool takes_all() const { return every_ == 1 && !numbers_messages_; }
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
    std::string activity_;
    std::vector<std::optional<std::size_t>> topic_of_channel_;
    std::vector<std::uint64_t> seen_;   // messages by topic
    std::vector<std::uint64_t> taken_;  // likewise
    bool numbers_messages_ = false;
    std::uint64_t every_;
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;
    const Watch& watch_;
};

}  // namespace zun::convert

#endif
