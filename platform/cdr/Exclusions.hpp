// Exclusions: members of a type that are excluded from a walk: they are stepped over, not announced.
//
// A tree beside the type's own, of those of its parts alone in which something is excluded:
//
//     type  header, parts: sequence of { blob, n }        exclusions  parts -> element -> blob (whole)
//
// A walk reads over excluded members by their size, and tells its handler nothing of them.

#ifndef ZUN_PLATFORM_CDR_EXCLUSIONS_HPP
#define ZUN_PLATFORM_CDR_EXCLUSIONS_HPP

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace zun::cdr {

struct Exclusions {
    bool whole = false;  ///< the member itself is excluded; never the root, nor an element
    /// By name, those that are excluded or have something excluded in them; parts that are alike share one.
    std::map<std::string, std::shared_ptr<const Exclusions>, std::less<>> members = {};
    std::shared_ptr<const Exclusions> element = {};  ///< of a collection

    /// What is excluded of a member; null for nothing.
    const Exclusions* member(std::string_view name) const {
        const auto found = members.find(name);
        return found == members.end() ? nullptr : found->second.get();
    }
};

}  // namespace zun::cdr

#endif
