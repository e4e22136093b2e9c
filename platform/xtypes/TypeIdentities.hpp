// TypeIdentities: tells types apart by what they are, not by where they come from.

#ifndef ZUN_PLATFORM_XTYPES_TYPE_IDENTITIES_HPP
#define ZUN_PLATFORM_XTYPES_TYPE_IDENTITIES_HPP

#include <cstddef>
#include <string>
#include <unordered_map>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::core::xtypes {

class TypeIdentities {
public:
    /// A number that equals another one from here exactly if the types behind all aliases are the same: in
    /// kinds, members, ids, labels, bounds, enumerators, defaults and extensibility. Names of types do not
    /// count. Takes time for each distinct node of `type` once.
    std::size_t of(const DynamicTypeImpl& type);

private:
    std::string description_of(const TypeNode& node);

    std::unordered_map<TypeNodePtr, std::size_t> by_node_;  // which stay alive, so that addresses stay theirs
    std::unordered_map<std::string, std::size_t> by_description_;
};

}  // namespace zun::core::xtypes

#endif
