// type_walk: the parts of a type under the names that the format gives them.

#ifndef ZUN_CONVERT_PLAN_TYPE_WALK_HPP
#define ZUN_CONVERT_PLAN_TYPE_WALK_HPP

#include <functional>
#include <string>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

inline std::string joined(const std::string& parent, const std::string& name) {
    return parent.empty() ? name : parent + '.' + name;
}

using PartVisitor = std::function<void(const std::string& name, const core::xtypes::DynamicTypeImpl& type)>;

/// Visits the members of a structure, those of its bases first, or of a union; nothing for other types.
void for_each_member(const core::xtypes::DynamicTypeImpl& type, const PartVisitor& visit);

/// The indices that the elements of a collection type bear: "[*]" for each dimension.
std::string any_indices(const core::xtypes::DynamicTypeImpl& collection);

/// Visits the full name and the element type of every unbounded sequence in `type`, in the order of
/// declaration; `full_name` is the name of `type` itself.
void for_each_unbounded(const core::xtypes::DynamicTypeImpl& type, const std::string& full_name,
                        const PartVisitor& visit);

bool is_collection(const core::xtypes::DynamicTypeImpl& type);  ///< an array or sequence, aliases resolved
bool is_unbounded(const core::xtypes::DynamicTypeImpl& type);   ///< a sequence without bound, the same

}  // namespace zun::convert

#endif
