// PassStep: one batch on its way through a pass.

#ifndef ZUN_CONVERT_PASSES_PASS_STEP_HPP
#define ZUN_CONVERT_PASSES_PASS_STEP_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/passes/BatchSource.hpp"
#include "convert/passes/pipeline.hpp"
#include "convert/plan/Topic.hpp"

namespace zun::convert {

/// What the steps of one pass share. Only touched where steps go in order.
class Pass {
public:
    /// All must outlive the pass.
    ///
    /// `origin`  where the first interval begins; with the first message that is met where nobody knows
    Pass(std::string activity, const std::vector<Topic>& topics, std::size_t channel_count,
         const Thinning& every, std::optional<input::Time> origin, const Watch& watch);

    /// The index of the topic that `channel` belongs to; none for channels that nobody wants.
    std::optional<std::size_t> topic_of(std::uint32_t channel) const { return topic_of_channel_[channel]; }
    /// Whether this message of its topic, the next in order, is one of those wanted. One that is late, from
    /// an interval before that of a message taken, is not.
    bool takes_next(std::size_t topic, input::Time time);
    bool takes_all() const { return every_.messages == 1 && every_.interval_ns == 0; }
    /// Messages of a topic that were met, wanted or not.
    std::uint64_t seen(std::size_t topic) const { return seen_[topic]; }
    /// Tells the watch; throws Interrupted when it wants an end.
    void advance(std::uint64_t messages);
    std::uint64_t done() const { return done_; }
    /// Messages of all topics, as the recording counts them.
    std::uint64_t total() const { return total_; }

private:
    std::string activity_;
    std::vector<std::optional<std::size_t>> topic_of_channel_;
    std::uint64_t interval_of(input::Time time);

    std::vector<std::uint64_t> seen_;           // messages by topic
    std::vector<std::uint64_t> next_interval_;  // by topic: behind that of the last message taken
    Thinning every_;
    std::optional<input::Time> origin_;
    std::uint64_t done_ = 0;
    std::uint64_t total_ = 0;
    const Watch& watch_;
};

class PassStep : public Step {
public:
    PassStep(Pass& pass, SourceBatch source) : pass_(pass), source_(std::move(source)) {}
    std::size_t bytes() const override { return source_.batch->loaded_bytes(); }
    void load() override;
    void pick() override;

protected:
    Pass& pass() { return pass_; }
    const std::shared_ptr<input::Batch>& batch() const { return source_.batch; }

    /// Calls `use` with the index of the topic and the message, for each message that is wanted, until it
    /// returns false. The next call goes on behind that message.
    template <typename Use>
    void for_each_picked(const Use& use) {
        const auto messages = source_.batch->messages();
        for (bool go_on = true; go_on && next_ < messages.size(); ++next_) {
            const auto topic = pass_.topic_of(messages[next_].channel);
            if (topic && (picked_.empty() || picked_[next_])) go_on = use(*topic, messages[next_]);
        }
    }

private:
    Pass& pass_;
    SourceBatch source_;
    std::vector<bool> picked_;  // by message; empty for all
    std::size_t next_ = 0;      // message that for_each_picked() goes on with
};

}  // namespace zun::convert

#endif
