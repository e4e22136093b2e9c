// layouts: which layout of their type the messages of a topic have, where the type alone does not say.

#ifndef ZUN_CONVERT_PLAN_LAYOUTS_HPP
#define ZUN_CONVERT_PLAN_LAYOUTS_HPP

#include <cstdint>
#include <optional>
#include <vector>

#include "input/MessageStream.hpp"
#include "platform/xtypes/DynamicType.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::convert {

/// Channels with one topic and one type.
struct LayoutQuestion {
    std::vector<std::uint32_t> channels;
    const schema::KnownType* type;
    std::optional<core::xtypes::DynamicTypeImpl> answer = {};  ///< none where no layout fits
};

/// Answers all questions in one pass over `stream`: with the layout that all messages of the channels have;
/// of several, the one that leaves the fewest doubts, a newer one before an older one. Damage costs the
/// messages that it hits.
void find_layouts(input::MessageStream& stream, std::vector<LayoutQuestion>& questions);

}  // namespace zun::convert

#endif
