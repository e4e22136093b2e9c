// blobs: arrays and sequences of bytes, and the members of a type that are excluded for being one.

#ifndef ZUN_CONVERT_PLAN_BLOBS_HPP
#define ZUN_CONVERT_PLAN_BLOBS_HPP

#include <memory>

#include "platform/cdr/Exclusions.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// Whether `type` is an array or a sequence of octets or uint8.
bool is_blob(const core::xtypes::DynamicTypeImpl& type);

/// The members of `type` that are blobs; null when there is none.
std::shared_ptr<const cdr::Exclusions> blobs_of(const core::xtypes::DynamicTypeImpl& type);

}  // namespace zun::convert

#endif
