#include "format/columns/ColumnInfo.hpp"

namespace zun::tamber::utils {

namespace {

/// Element and length columns bear their collection's name in their own.
bool is_named_by_children(const ColumnInfo& column) {
    return column.type_kind() == ColumnInfo::TypeKind::ARRAY_TYPE ||
           column.type_kind() == ColumnInfo::TypeKind::SEQUENCE_TYPE;
}

}  // namespace

ColumnInfo::ColumnInfo(const std::string& name, const core::xtypes::DynamicTypeImpl& type)
    : name_(name), type_kind_(type.kind()) {}

ColumnInfo& ColumnInfo::add_child(const ColumnInfo& child) {
    ColumnInfo& added = children_.emplace_back(child);
    added.parent_ = this;
    added.position_ = static_cast<std::uint32_t>(children_.size() - 1);
    for (ColumnInfo* above = this; above != nullptr && above->leaf_count_ != 0; above = above->parent_)
        above->leaf_count_ = 0;
    return added;
}

std::string ColumnInfo::full_name() const {
    const ColumnInfo* above = parent_;
    while (above != nullptr && is_named_by_children(*above))
        above = above->parent_;
    const std::string path = above != nullptr ? above->full_name() : "";
    return path.empty() ? name_ : path + "." + name_;
}

std::uint32_t ColumnInfo::count_leaves() const {
    std::uint32_t count = children_.empty() ? 1 : 0;
    for (const ColumnInfo& child : children_)
        count += child.leaf_count();
    return count;
}

std::uint32_t ColumnInfo::number_leaves(std::uint32_t first) {
    first_leaf_ = first;
    std::uint32_t next = first;
    for (ColumnInfo& child : children_)
        next = child.number_leaves(next);
    if (children_.empty()) ++next;
    leaf_count_ = next - first;
    return next;
}

}  // namespace zun::tamber::utils
