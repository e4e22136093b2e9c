#include "platform/xtypes/TypeIdentities.hpp"

#include <sstream>

#include "platform/xtypes/TypeNode.hpp"

namespace zun::core::xtypes {

namespace {

/// Texts with their sizes before them, so that none runs into the next.
void write_text(std::ostream& out, const std::string& text) {
    out << text.size() << ':' << text << ' ';
}

void write_default(std::ostream& out, const std::optional<DefaultValue>& value) {
    if (!value) return;
    out << '=' << value->index() << ' ';
    if (const auto* const text = std::get_if<std::string>(&*value)) return write_text(out, *text);
    std::visit(
        [&](const auto& number) {
            if constexpr (!std::is_same_v<std::decay_t<decltype(number)>, std::string>)
                out << std::hexfloat << number << ' ';
        },
        *value);
}

}  // namespace

std::size_t TypeIdentities::of(const DynamicTypeImpl& declared) {
    const TypeNodePtr node = declared.resolved().node();
    const auto known = by_node_.find(node);
    if (known != by_node_.end()) return known->second;
    const std::size_t identity =
        by_description_.try_emplace(description_of(*node), by_description_.size()).first->second;
    by_node_.emplace(node, identity);
    return identity;
}

/// Everything about a node, with the identities of the types that it is made of.
std::string TypeIdentities::description_of(const TypeNode& node) {
    std::ostringstream out;
    out << static_cast<std::uint32_t>(node.kind) << ' ' << node.bound << ' '
        << static_cast<int>(node.extensibility) << node.map << node.placeholder_octet << ' '
        << node.default_value << ' ';
    if (!node.related.empty()) out << '<' << of(node.related) << "> ";
    for (const std::uint32_t dimension : node.dimensions)
        out << '[' << dimension << ']';
    for (const MemberImpl& member : node.members) {
        write_text(out, member.name());
        out << of(member.type()) << ' ' << member.id() << member.is_optional() << ' ';
        write_default(out, member.default_value());
    }
    for (const BitField& field : node.bit_fields)
        out << int{field.position} << '+' << int{field.width} << ' ';
    for (const UnionMember& member : node.union_members) {
        write_text(out, member.name());
        out << of(member.type()) << ' ' << member.id() << member.is_default() << ' ';
        for (const std::int64_t label : member.labels())
            out << '#' << label << ' ';
    }
    for (const EnumTypeImpl::Enumerator& enumerator : node.enumerators) {
        write_text(out, enumerator.name);
        out << enumerator.value << ' ';
    }
    return out.str();
}

}  // namespace zun::core::xtypes
