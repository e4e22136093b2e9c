// view: what of a topic's type has columns, and how.

#ifndef ZUN_CONVERT_PLAN_VIEW_HPP
#define ZUN_CONVERT_PLAN_VIEW_HPP

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "platform/cdr/View.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// Whether `type` is an array or a sequence of octets or uint8.
bool is_blob(const core::xtypes::DynamicTypeImpl& type);

/// What becomes of arrays and sequences of bytes.
enum class Blobs : std::uint8_t {
    AUTO,     ///< columns up to `most_blob_columns`, else the length
    COLUMNS,  ///< a column for each byte
    LENGTH,
    SKIP,
    HEX,
    BASE64,
    FILES,
};
inline constexpr std::uint32_t most_blob_columns = 64;

/// What is asked for.
struct ViewRequest {
    using Shape = cdr::View::Shape;
    /// By full name, "[*]" for indices; goes before the others. Those of shape ROWS are an Explosion's.
    std::map<std::string, Shape> named = {};
    Blobs blobs = Blobs::AUTO;   ///< AUTO: sequences are taken for short ones
    bool text_arrays = false;    ///< arrays and sequences of characters are one text
    bool joined_stamps = false;  ///< structures of seconds and nanoseconds are one time
};

/// The view of `type` that `request` asks for; null where all is shown as it is. Throws std::length_error for
/// a type with so many parts that they cannot be told apart by their names.
std::shared_ptr<const cdr::View> view_of(const core::xtypes::DynamicTypeImpl& type,
                                         const ViewRequest& request);

/// Shows nothing of `type` but the stamp called `field`, or its member "stamp"; null where there is none.
std::shared_ptr<const cdr::View> clock_view_of(const core::xtypes::DynamicTypeImpl& type,
                                               const std::string& field);

}  // namespace zun::convert

#endif
