// type_walk: the parts of a type that get columns, under the names that the format gives them.
//
//     (whole)                  ""
//     `- markers               "markers"             a sequence
//        `- its elements       "markers[*]"          one part stands for all of them
//           `- points          "markers[*].points"

#ifndef ZUN_CONVERT_PLAN_TYPE_WALK_HPP
#define ZUN_CONVERT_PLAN_TYPE_WALK_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/cdr/View.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::convert {

inline std::string joined(const std::string& parent, const std::string& name) {
    return parent.empty() ? name : parent + '.' + name;
}

struct Part {
    Part(const core::xtypes::DynamicTypeImpl& declared, const cdr::View* how = nullptr, std::string name = "",
         const cdr::View* around = nullptr);

    core::xtypes::DynamicTypeImpl type;  ///< no alias; of the column where the view shows one value
    const cdr::View* view;               ///< null where all of it is shown as it is
    std::string full_name;
    /// Of the innermost sequence around it whose elements have rows of their own; null where there is none.
    const cdr::View* rows;

    /// As in the header, but for other indices: "markers[i].points[*]".
    std::string column_name() const;

    bool is_sequence() const { return type.kind() == core::xtypes::TypeKind::SEQUENCE_TYPE; }
    bool is_collection() const { return is_sequence() || type.kind() == core::xtypes::TypeKind::ARRAY_TYPE; }
};

using MemberVisitor = std::function<void(const std::string& name, const core::xtypes::DynamicTypeImpl& type)>;
using PartVisitor = std::function<void(const Part& part)>;

/// Visits all members of a structure, those of its bases first, or of a union; nothing for other types.
void for_each_member(const core::xtypes::DynamicTypeImpl& type, const MemberVisitor& visit);

/// Visits the members of a part that have columns; of a sequence whose elements have rows of their own, the
/// element, which is called "markers[*]".
void for_each_member(const Part& part, const PartVisitor& visit);

/// The members and elements of a part that its view gives that shape, with their own types.
std::vector<std::pair<std::string, core::xtypes::DynamicTypeImpl>> parts_of_shape(const Part& part,
                                                                                  cdr::View::Shape shape);

/// What stands for every element of a collection.
Part element_of(const Part& collection);

/// The indices that the elements of a collection type bear: "[*]" for each dimension.
std::string any_indices(const core::xtypes::DynamicTypeImpl& collection);

/// The indices of one element of a collection type: "[1][0]" for the third of an array of two columns.
std::string indices_of(const core::xtypes::DynamicTypeImpl& collection, std::uint64_t element);

std::uint64_t saturating_sum(std::uint64_t a, std::uint64_t b);
std::uint64_t saturating_product(std::uint64_t a, std::uint64_t b);

/// Counts what is in a part. Each distinct type is counted once, however often it stands in another.
class PartCounts {
public:
    struct Counts {
        std::uint64_t columns = 0;    ///< leaf columns while every sequence is empty; saturating
        std::uint64_t sequences = 0;  ///< saturating
        std::uint64_t parts = 1;      ///< itself and all in it, elements as one; saturating
    };
    PartCounts() = default;
    explicit PartCounts(const Part& root) { count(root); }

    /// The counts of the root or of a part of it.
    const Counts& of(const Part& part) const { return known_.at(key_of(part)); }

private:
    using Key = std::pair<const core::xtypes::TypeNode*, const cdr::View*>;

    static Key key_of(const Part& part) { return {part.type.node().get(), part.view}; }
    Counts count(const Part& part);
    Counts counted(const Part& part);

    std::map<Key, Counts> known_;
};

bool has_sequences(const Part& part);

}  // namespace zun::convert

#endif
