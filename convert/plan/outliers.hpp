// outliers: the few messages that make a file much wider than all others need.

#ifndef ZUN_CONVERT_PLAN_OUTLIERS_HPP
#define ZUN_CONVERT_PLAN_OUTLIERS_HPP

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "convert/plan/Limits.hpp"
#include "platform/cdr/LengthMeter.hpp"

namespace zun::convert {

/// How the lengths of a topic's fields are spread over its messages.
struct TopicSpread {
    std::uint64_t messages = 0;
    std::map<std::string, cdr::LengthSpread> fields = {};  ///< by full name

    void add(const TopicSpread& more);
};
/// By the topics' identities.
using TopicSpreads = std::map<std::string, TopicSpread>;

/// Messages that have more elements in one field than all others.
struct Outliers {
    std::size_t field;           ///< index in Limits::fields()
    std::uint64_t messages;      ///< fewer than one in a hundred
    std::uint32_t longest;       ///< of these
    std::uint32_t next_longest;  ///< of the others
    std::uint64_t columns;       ///< of the topic, were it not for them
};

/// The field where a few messages take the most of `columns`, the topic's; none where they take no more than
/// half of them, or only a few.
std::optional<Outliers> outliers_of(const Limits& limits, std::uint64_t columns, const TopicSpread& spread);

}  // namespace zun::convert

#endif
