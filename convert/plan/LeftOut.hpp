// LeftOut: members of a type that get no columns.
//
// The engine reads a sample by its whole type; the format only knows the rest of it. Between them, a filter
// passes on the engine's calls but for those of the members left out:
//
//     engine, whole type  ->  LeftOutFilter  ->  format, column type

#ifndef ZUN_CONVERT_PLAN_LEFT_OUT_HPP
#define ZUN_CONVERT_PLAN_LEFT_OUT_HPP

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/printing/DDS_PrintFormat.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// A part of a type that has members left out, or is one.
struct LeftOut {
    bool whole = false;  ///< the member itself is left out
    /// By name, those concerned; equal parts of a type share one.
    std::map<std::string, std::shared_ptr<const LeftOut>, std::less<>> members;
    std::shared_ptr<const LeftOut> element;  ///< of a collection, where concerned

    /// What of a member is left out; null for nothing.
    const LeftOut* member(std::string_view name) const;
};

/// Whether `type` is an array or a sequence of octets or uint8.
bool is_blob(const core::xtypes::DynamicTypeImpl& type);

/// The members of `type` that are arrays or sequences of bytes; null when there is none.
std::shared_ptr<const LeftOut> blobs_of(const core::xtypes::DynamicTypeImpl& type);

/// The full names of the members left out, "[*]" for indices.
std::vector<std::string> names_of(const core::xtypes::DynamicTypeImpl& type, const LeftOut& left_out);

/// A print format that passes calls on to another.
class LeftOutFilter {
public:
    /// Both must outlive this.
    LeftOutFilter(const LeftOut& left_out, DDS_PrintFormat& target);
    LeftOutFilter(const LeftOutFilter&) = delete;
    LeftOutFilter& operator=(const LeftOutFilter&) = delete;

    DDS_PrintFormat& native() { return record_.format; }

private:
    struct Calls;

    /// The engine hands back the format's address, and so the filter's.
    struct Record {
        DDS_PrintFormat format;
        LeftOutFilter* filter;
    };

    void enter(const LeftOut* place) { places_.push_back(place); }
    const LeftOut* member(const char* name) const;
    const LeftOut* element() const;

    Record record_;
    const LeftOut* root_;
    DDS_PrintFormat* target_;
    std::vector<const LeftOut*> places_;  // from the root inwards; null where nothing is left out
    std::optional<int> muted_depth_;      // of the member that nobody hears of
    std::uint32_t muted_length_ = 0;      // of the text before it
};

}  // namespace zun::convert

#endif
