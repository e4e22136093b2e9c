#include "platform/xtypes/TypeBuilder.hpp"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "platform/xtypes/TypeNode.hpp"

namespace zun::core::xtypes {

namespace {

DynamicTypeImpl make(TypeNode node) {
    return DDS_TypeCode(std::make_shared<const TypeNode>(std::move(node)));
}

void require(bool holds, const std::string& type_name, const std::string& problem) {
    if (!holds) throw std::invalid_argument("type '" + type_name + "': " + problem);
}

bool is_primitive(TypeKind kind) {
    return kind >= TypeKind::BOOLEAN_TYPE && kind <= TypeKind::CHAR_16_TYPE;
}

bool is_integer(TypeKind kind) {
    return kind >= TypeKind::BOOLEAN_TYPE && kind <= TypeKind::UINT_64_TYPE;
}

/// The base's own name must not return among the derived structure's members.
void collect_names(const StructTypeImpl& type, std::unordered_set<std::string>& names) {
    if (type.has_parent()) collect_names(type.parent(), names);
    for (std::uint32_t i = 0; i < type.member_count(); ++i)
        names.insert(type.member(i).name());
}

/// The id that follows the last member of `type` or, where it has none, of its bases.
std::uint32_t next_id(const StructTypeImpl& type) {
    if (type.member_count() > 0) return type.member(type.member_count() - 1).id() + 1;
    return type.has_parent() ? next_id(type.parent()) : 0;
}

DynamicTypeImpl bounded(TypeKind kind, std::uint32_t bound) {
    require(bound >= 1 && bound <= no_bound, "string", "a bound lies between 1 and 2147483647");
    return make({.kind = kind, .bound = bound});
}

DynamicTypeImpl bit_field_type(const std::string& name, const BitFieldSpec& field) {
    if (field.type) {
        require(is_integer(field.type->resolved().kind()), name, "a bit field is a boolean or an integer");
        return *field.type;
    }
    if (field.width == 1) return primitive_type(TypeKind::BOOLEAN_TYPE);
    if (field.width <= 8) return primitive_type(TypeKind::UINT_8_TYPE);
    if (field.width <= 16) return primitive_type(TypeKind::UINT_16_TYPE);
    return primitive_type(field.width <= 32 ? TypeKind::UINT_32_TYPE : TypeKind::UINT_64_TYPE);
}

}  // namespace

DynamicTypeImpl primitive_type(TypeKind kind) {
    require(is_primitive(kind), "primitive", "the kind is not primitive");
    static const auto types = [] {
        std::array<DDS_TypeCode, static_cast<std::size_t>(TypeKind::CHAR_16_TYPE) + 1> made;
        for (std::uint32_t k = 1; k < made.size(); ++k)
            made[k] = make({.kind = static_cast<TypeKind>(k)});
        return made;
    }();
    return types[static_cast<std::size_t>(kind)];
}

DynamicTypeImpl string_type(std::uint32_t bound) {
    return bounded(TypeKind::STRING_TYPE, bound);
}
DynamicTypeImpl wstring_type(std::uint32_t bound) {
    return bounded(TypeKind::WSTRING_TYPE, bound);
}

DynamicTypeImpl alias_type(std::string name, const DynamicTypeImpl& related) {
    return make({.kind = TypeKind::ALIAS_TYPE, .name = std::move(name), .related = related});
}

DynamicTypeImpl enum_type(EnumSpec spec) {
    require(!spec.enumerators.empty(), spec.name, "an enumeration has at least one enumerator");
    require(spec.bit_bound >= 1 && spec.bit_bound <= 32, spec.name, "a bit bound lies between 1 and 32");
    std::unordered_set<std::string> names;
    std::unordered_set<std::int64_t> values;
    for (const auto& [name, value] : spec.enumerators) {
        require(names.insert(name).second, spec.name, "two enumerators are called '" + name + "'");
        require(values.insert(value).second, spec.name, "two enumerators are " + std::to_string(value));
    }
    const std::int64_t first = spec.enumerators.front().value;
    return make({.kind = TypeKind::ENUMERATION_TYPE,
                 .name = std::move(spec.name),
                 .bound = spec.bit_bound,
                 .enumerators = std::move(spec.enumerators),
                 .default_value = spec.default_value.value_or(first)});
}

DynamicTypeImpl bitmask_type(std::string name, std::uint32_t bit_bound) {
    require(bit_bound >= 1 && bit_bound <= 64, name, "a bit bound lies between 1 and 64");
    return make({.kind = TypeKind::BITMASK_TYPE, .name = std::move(name), .bound = bit_bound});
}

DynamicTypeImpl struct_type(StructSpec spec) {
    TypeNode node{.kind = TypeKind::STRUCTURE_TYPE};
    std::unordered_set<std::string> names;
    std::uint32_t id = 0;
    if (spec.base) {
        const DynamicTypeImpl base = spec.base->resolved();
        require(base.kind() == TypeKind::STRUCTURE_TYPE, spec.name,
                "the base '" + base.name() + "' is no structure");
        require(!StructTypeImpl(base).placeholder_octet(), spec.name, "a placeholder octet is no base");
        collect_names(StructTypeImpl(base), names);
        id = next_id(StructTypeImpl(base));
        node.related = base;
    }
    require(!spec.placeholder_octet || (spec.members.empty() && !spec.base), spec.name,
            "a placeholder octet stands for no members");
    for (MemberSpec& member : spec.members) {
        require(!member.name.empty(), spec.name, "a member has no name");
        require(names.insert(member.name).second, spec.name, "two members are called '" + member.name + "'");
        id = member.id.value_or(id);
        node.members.emplace_back(std::move(member.name), std::move(member.type), id++, member.optional,
                                  std::move(member.default_value), std::move(member.unit));
    }
    node.name = std::move(spec.name);
    node.extensibility = spec.extensibility;
    node.placeholder_octet = spec.placeholder_octet;
    return make(std::move(node));
}

DynamicTypeImpl bitset_type(std::string name, const std::vector<BitFieldSpec>& fields) {
    TypeNode node{.kind = TypeKind::STRUCTURE_TYPE, .bound = 0, .extensibility = Extensibility::FINAL};
    std::unordered_set<std::string> names;
    for (const BitFieldSpec& field : fields) {
        require(field.width >= 1 && node.bound + field.width <= 64, name, "a bit set has 1 to 64 bits");
        if (!field.name.empty()) {
            require(names.insert(field.name).second, name, "two members are called '" + field.name + "'");
            node.bit_fields.push_back({static_cast<std::uint8_t>(node.bound), field.width});
            node.members.emplace_back(field.name, bit_field_type(name, field),
                                      static_cast<std::uint32_t>(node.members.size()), false, std::nullopt);
        }
        // Unnamed bits take their place without being a member.
        node.bound += field.width;
    }
    require(!node.members.empty(), name, "a bit set has at least one named bit field");
    node.name = std::move(name);
    return make(std::move(node));
}

DynamicTypeImpl union_type(UnionSpec spec) {
    const TypeKind kind = spec.discriminator.resolved().kind();
    require(is_integer(kind) || kind == TypeKind::CHAR_8_TYPE || kind == TypeKind::CHAR_16_TYPE ||
                kind == TypeKind::ENUMERATION_TYPE || kind == TypeKind::BITMASK_TYPE,
            spec.name, "the discriminator is no boolean, character, integer, enumeration or bit mask");
    TypeNode node{
        .kind = TypeKind::UNION_TYPE, .related = spec.discriminator, .extensibility = spec.extensibility};
    std::unordered_set<std::string> names{"_d"};
    std::unordered_set<std::int64_t> labels;
    std::uint32_t id = 1;
    bool has_default = false;
    for (UnionMemberSpec& member : spec.members) {
        require(!member.name.empty(), spec.name, "a member has no name");
        require(names.insert(member.name).second, spec.name, "two members are called '" + member.name + "'");
        for (const std::int64_t label : member.labels)
            require(labels.insert(label).second, spec.name,
                    "two members have the label " + std::to_string(label));
        require(!(member.is_default && std::exchange(has_default, has_default || member.is_default)),
                spec.name, "two members are the default");
        id = member.id.value_or(id);
        node.union_members.emplace_back(std::move(member.name), std::move(member.type), id++,
                                        std::move(member.labels), member.is_default);
    }
    node.name = std::move(spec.name);
    return make(std::move(node));
}

DynamicTypeImpl array_type(const DynamicTypeImpl& element, std::vector<std::uint32_t> dimensions) {
    require(!dimensions.empty(), "array", "an array has at least one dimension");
    std::uint64_t count = 1;
    for (const std::uint32_t size : dimensions) {
        require(size > 0, "array", "a dimension has at least one element");
        count *= size;
        require(count <= UINT32_MAX, "array", "an array has fewer than 2^32 elements");
    }
    return make({.kind = TypeKind::ARRAY_TYPE,
                 .related = element,
                 .dimensions = std::move(dimensions),
                 .element_count = static_cast<std::uint32_t>(count)});
}

DynamicTypeImpl sequence_type(const DynamicTypeImpl& element, std::uint32_t bound) {
    require(bound <= no_bound, "sequence", "a bound is at most 2147483647");
    return make({.kind = TypeKind::SEQUENCE_TYPE, .related = element, .bound = bound});
}

DynamicTypeImpl map_type(const DynamicTypeImpl& key, const DynamicTypeImpl& value, std::uint32_t bound) {
    require(bound <= no_bound, "map", "a bound is at most 2147483647");
    const DynamicTypeImpl pair = struct_type(
        {.name = "", .members = {{"key", key}, {"value", value}}, .extensibility = Extensibility::FINAL});
    return make({.kind = TypeKind::SEQUENCE_TYPE, .related = pair, .bound = bound, .map = true});
}

}  // namespace zun::core::xtypes
