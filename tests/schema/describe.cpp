#include "tests/schema/describe.hpp"

#include <ostream>
#include <sstream>

namespace zun::test {

using namespace core::xtypes;

namespace {

const char* const primitive_names[] = {"none",    "boolean",  "octet",  "int8",  "uint8",  "int16",
                                       "uint16",  "int32",    "uint32", "int64", "uint64", "float32",
                                       "float64", "float128", "char",   "wchar"};

std::string bounded(std::uint32_t bound) {
    return bound == no_bound ? "" : "<" + std::to_string(bound) + ">";
}

const char* prefix(Extensibility extensibility) {
    const char* const words[] = {"", "final ", "appendable ", "mutable "};
    return words[static_cast<int>(extensibility)];
}

struct DefaultText {
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(const std::string& value) const { return '"' + value + '"'; }
    template <typename Number>
    std::string operator()(Number value) const {
        std::ostringstream out;
        out << value;
        return out.str();
    }
};

/// `next_id` is the id that the member has when the text gives none.
std::string id_text(std::uint32_t id, std::uint32_t& next_id) {
    std::string text = id == next_id ? "" : "@" + std::to_string(id) + " ";
    next_id = id + 1;
    return text;
}

std::string braced(const std::string& head, const std::string& items) {
    return head + (items.empty() ? " {}" : " {" + items + " }");
}

std::uint32_t id_after(const StructTypeImpl& type) {
    return type.member_count() == 0 ? 0 : type.member(type.member_count() - 1).id() + 1;
}

std::string describe_struct(const StructTypeImpl& type) {
    std::string items;
    std::uint32_t next_id = type.has_parent() ? id_after(type.parent()) : 0;
    for (std::uint32_t i = 0; i < type.member_count(); ++i) {
        const MemberImpl& member = type.member(i);
        items += std::string(", ") + (member.is_optional() ? "@optional " : "");
        items += id_text(member.id(), next_id) + describe(member.type()) + " " + member.name();
        if (!type.bit_fields().empty())
            items += ":" + std::to_string(type.bit_fields()[i].position) + "+" +
                     std::to_string(type.bit_fields()[i].width);
        if (member.default_value()) items += " = " + std::visit(DefaultText(), *member.default_value());
        if (!member.unit().empty()) items += " [" + member.unit() + "]";
    }
    if (type.placeholder_octet()) items = ", placeholder octet";
    std::string head = prefix(type.extensibility()) + type.name();
    if (type.has_parent()) head += " : " + describe(type.parent());
    if (type.bit_size() > 0) head += " bits " + std::to_string(type.bit_size());
    return braced(head, items.empty() ? "" : items.substr(1));
}

std::string describe_union(const UnionTypeImpl& type) {
    std::string items;
    std::uint32_t next_id = 1;
    for (std::uint32_t i = 0; i < type.member_count(); ++i) {
        const UnionMember& member = type.member(i);
        items += ",";
        for (const std::int64_t label : member.labels())
            items += " " + std::to_string(label) + ":";
        if (member.is_default()) items += " default:";
        items += " " + id_text(member.id(), next_id) + describe(member.type()) + " " + member.name();
    }
    const std::string head =
        prefix(type.extensibility()) + type.name() + " switch " + describe(type.discriminator());
    return braced(head, items.empty() ? "" : items.substr(1));
}

std::string describe_enum(const EnumTypeImpl& type) {
    std::string items;
    for (const auto& enumerator : type.enumerators())
        items += ", " + enumerator.name + "=" + std::to_string(enumerator.value) +
                 (enumerator.value == type.default_value() ? "*" : "");
    return braced("enum<" + std::to_string(type.bit_bound()) + "> " + type.name(), items.substr(1));
}

std::string describe_array(const ArrayTypeImpl& type) {
    std::string text = describe(type.content_type());
    for (std::uint32_t i = 0; i < type.dimension_count(); ++i)
        text += "[" + std::to_string(type.dimension(i)) + "]";
    return text;
}

std::string describe_sequence(const SequenceTypeImpl& type) {
    const std::string bound = type.bounds() == no_bound ? "" : "<=" + std::to_string(type.bounds());
    return (type.is_map() ? "map " : "") + describe(type.content_type()) + "[" + bound + "]";
}

}  // namespace

std::string describe(const DynamicTypeImpl& type) {
    switch (type.kind()) {
        case TypeKind::STRING_TYPE:
            return "string" + bounded(StringTypeImpl(type).bounds());
        case TypeKind::WSTRING_TYPE:
            return "wstring" + bounded(StringTypeImpl(type).bounds());
        case TypeKind::ENUMERATION_TYPE:
            return describe_enum(EnumTypeImpl(type));
        case TypeKind::BITMASK_TYPE:
            return "bitmask<" + std::to_string(BitmaskTypeImpl(type).bit_bound()) + "> " + type.name();
        case TypeKind::ALIAS_TYPE:
            return type.name() + "=" + describe(AliasTypeImpl(type).related_type());
        case TypeKind::STRUCTURE_TYPE:
            return describe_struct(StructTypeImpl(type));
        case TypeKind::UNION_TYPE:
            return describe_union(UnionTypeImpl(type));
        case TypeKind::ARRAY_TYPE:
            return describe_array(ArrayTypeImpl(type));
        case TypeKind::SEQUENCE_TYPE:
            return describe_sequence(SequenceTypeImpl(type));
        default:
            return primitive_names[static_cast<int>(type.kind())];
    }
}

std::string read_type(schema::TypeCatalog& catalog, const std::string& type_name, const std::string& encoding,
                      const std::string& text) {
    try {
        return describe(catalog.type_of(type_name, encoding, text));
    } catch (const schema::UnknownType& error) {
        return "UnknownType " + error.type_name() + ", " + error.what();
    } catch (const InputError& error) {
        return std::string("InputError ") + error.what();
    }
}

void PrintTo(const SchemaCase& c, std::ostream* out) {
    *out << c.name;
}

}  // namespace zun::test
