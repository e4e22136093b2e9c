// view: what of a topic's type has columns, and how.

#ifndef ZUN_CONVERT_PLAN_VIEW_HPP
#define ZUN_CONVERT_PLAN_VIEW_HPP

#include <map>
#include <memory>
#include <string>

#include "platform/cdr/View.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// Whether `type` is an array or a sequence of octets or uint8.
bool is_blob(const core::xtypes::DynamicTypeImpl& type);

/// What is asked for.
struct ViewRequest {
    using Shape = cdr::View::Shape;
    /// By full name, "[*]" for indices; goes before the others. Those of shape ROWS are an Explosion's.
    std::map<std::string, Shape> named = {};
    Shape blobs = Shape::PARTS;  ///< of all arrays and sequences of bytes
};

/// The view of `type` that `request` asks for; null where all is shown as it is.
std::shared_ptr<const cdr::View> view_of(const core::xtypes::DynamicTypeImpl& type,
                                         const ViewRequest& request);

}  // namespace zun::convert

#endif
