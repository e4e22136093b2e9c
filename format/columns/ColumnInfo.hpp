// ColumnInfo: one node of the column tree.
//
// A node with children stands for a value made of other values; the leaves, depth first,
// are the columns of the CSV file. The tree is built once and only read afterwards.
//
//     pose                 full name "pose"
//     |- x                 full name "pose.x"                 column 1
//     `- tags              full name "pose.tags"
//        |- tags.length    full name "pose.tags.length"       column 2
//        `- tags[0]        full name "pose.tags[0]"           column 3

#ifndef ZUN_FORMAT_COLUMNS_COLUMN_INFO_HPP
#define ZUN_FORMAT_COLUMNS_COLUMN_INFO_HPP

#include <cstdint>
#include <list>
#include <string>

#include "platform/xtypes/DynamicType.hpp"

namespace zun::tamber::utils {

class ColumnInfo {
public:
    using Children = std::list<ColumnInfo>;  // stays in place: nodes hold their parent's address
    using TypeKind = dds::core::xtypes::TypeKind;

    /// A node without parent and children. Of `type` it keeps the kind alone.
    ColumnInfo(const std::string& name, const core::xtypes::DynamicTypeImpl& type);

    /// Copies member by member: the copy keeps its source's parent, and so its full name.
    ColumnInfo(const ColumnInfo&) = default;
    ColumnInfo& operator=(const ColumnInfo&) = delete;

    /// Appends a copy of `child`, a node without children, and returns the copy.
    ColumnInfo& add_child(const ColumnInfo& child);

    const Children& children() const { return children_; }
    Children::const_iterator first_child() const { return children_.begin(); }
    const ColumnInfo* parent() const { return parent_; }  ///< null for the root
    const std::string& name() const { return name_; }

    /// The names from the child of the root down to this node, joined with dots; a collection's own name
    /// is left out where an element or length column, whose name begins with it, follows. Empty for the root.
    /// Built anew on each call; not for use per sample.
    std::string full_name() const;

    TypeKind type_kind() const { return type_kind_; }
    void type_kind(TypeKind kind) { type_kind_ = kind; }

    /// The number of element columns of a sequence; 0 for every other node.
    std::uint32_t sequence_bounds() const { return sequence_bounds_; }
    void sequence_bounds(std::uint32_t bounds) { sequence_bounds_ = bounds; }

    /// The node's place among its siblings, from 0.
    std::uint32_t position() const { return position_; }

    /// Numbers the leaf columns at and below this node, depth first, from `first` on; call it on the root
    /// when the tree is complete. Returns the number after the last.
    std::uint32_t number_leaves(std::uint32_t first);
    std::uint32_t first_leaf() const { return first_leaf_; }  ///< only since number_leaves()
    /// Leaf columns at and below this node, which are counted anew where they have not been numbered.
    std::uint32_t leaf_count() const { return leaf_count_ != 0 ? leaf_count_ : count_leaves(); }

private:
    std::uint32_t count_leaves() const;

    ColumnInfo* parent_ = nullptr;  // not owned
    std::string name_;
    TypeKind type_kind_;
    Children children_;
    std::uint32_t sequence_bounds_ = 0;

    // Known so that a run of empty cells is counted without walking it.
    std::uint32_t position_ = 0;
    std::uint32_t first_leaf_ = 0;
    std::uint32_t leaf_count_ = 0;  // 0 since a child came
};

}  // namespace zun::tamber::utils

#endif
