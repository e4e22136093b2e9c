// explode: sequences each of whose elements has a row of its own.
//
//     "transforms"         rows [i],       with columns transforms[i].child_frame_id ...
//     "markers[*].points"  rows [i], [j],  with columns markers[i].id ... markers[i].points[j].x ...
//
// Sequences of one level stand side by side: row i has the element i of each.

#ifndef ZUN_CONVERT_PLAN_EXPLODE_HPP
#define ZUN_CONVERT_PLAN_EXPLODE_HPP

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/cdr/View.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

/// What becomes of rules for one type. A rule without a topic is for every one that has all its fields.
struct Explosion {
    std::vector<std::string> fields = {};  ///< full names, each behind those around it
    std::string problem = {};              ///< why the fields cannot be exploded; empty where they can
    bool unknown = false;  ///< the problem is a field that the type has not got, nor one like it
};
/// `view`  what of the type has columns; null for all
Explosion explosion_of(const core::xtypes::DynamicTypeImpl& type,
                       const std::shared_ptr<const cdr::View>& view, const std::vector<std::string>& fields);

/// What became of a rule.
struct ExplodeOutcome {
    bool followed = false;     ///< by some topic
    std::string problem = {};  ///< the first that a topic has with it, where the user should know

    void add(const ExplodeOutcome& more);
};

/// The letter of an index, from "i" on; at most `most_row_levels`.
char index_letter(std::uint32_t level);
inline constexpr std::uint32_t most_row_levels = 'z' - 'i' + 1;

/// The column that holds an index: "[i]".
std::string index_column(std::uint32_t level);

}  // namespace zun::convert

#endif
