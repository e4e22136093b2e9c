#include "schema/type_hash.hpp"

#include <array>
#include <map>
#include <sha2.h>
#include <string_view>
#include <sys/types.h>
#include <utility>

#include "schema/definition/TypeName.hpp"

namespace zun::schema {

using namespace core::xtypes;

namespace {

constexpr std::string_view prefix = "RIHS01_";
constexpr std::size_t digits = std::size_t{SHA256_DIGEST_LENGTH} * 2;

// What a description numbers kinds by. Collections of a kind have its number and one of these more.
constexpr int nested_id = 1;
constexpr int bounded_string_more = 4;
constexpr int array_more = 48;
constexpr int bounded_sequence_more = 96;
constexpr int sequence_more = 144;

const std::map<TypeKind, int> ids{
    {TypeKind::INT_8_TYPE, 2},     {TypeKind::UINT_8_TYPE, 3},     {TypeKind::INT_16_TYPE, 4},
    {TypeKind::UINT_16_TYPE, 5},   {TypeKind::INT_32_TYPE, 6},     {TypeKind::UINT_32_TYPE, 7},
    {TypeKind::INT_64_TYPE, 8},    {TypeKind::UINT_64_TYPE, 9},    {TypeKind::FLOAT_32_TYPE, 10},
    {TypeKind::FLOAT_64_TYPE, 11}, {TypeKind::FLOAT_128_TYPE, 12}, {TypeKind::CHAR_8_TYPE, 13},
    {TypeKind::CHAR_16_TYPE, 14},  {TypeKind::BOOLEAN_TYPE, 15},   {TypeKind::OCTET_TYPE, 16},
    {TypeKind::STRING_TYPE, 17},   {TypeKind::WSTRING_TYPE, 18},
};

bool is_message(const DynamicTypeImpl& type) {
    const auto parts = name_parts(type.name());
    return type.kind() == TypeKind::STRUCTURE_TYPE && parts.size() == 3 && parts[1] == "msg";
}

/// What a field's type is described by.
struct FieldType {
    int id = 0;
    std::uint64_t capacity = 0;
    std::uint64_t string_capacity = 0;
    std::string nested_name = {};
};

/// Describes a message and those that it is made of.
class Description {
public:
    /// False where `type` has what messages of ROS do not have.
    bool add(const DynamicTypeImpl& type) {
        const StructTypeImpl message(type);
        if (message.has_parent() || message.bit_size() > 0) return false;
        const std::string& name = type.name();
        if (!described_.try_emplace(name).second) return true;
        std::string fields;
        for (std::uint32_t i = 0; i < message.member_count(); ++i) {
            const MemberImpl& member = message.member(i);
            const auto field = field_type(member.type());
            if (!field || member.is_optional()) return false;
            if (i > 0) fields += ", ";
            fields += field_text(member.name(), *field);
        }
        described_[name] = R"({"type_name": ")" + name + R"(", "fields": [)" + fields + "]}";
        return true;
    }

    /// The message first, then the others by their names.
    std::string json(const std::string& name) const {
        std::string text =
            R"({"type_description": )" + described_.at(name) + R"(, "referenced_type_descriptions": [)";
        std::string_view comma;
        for (const auto& [other, description] : described_) {
            if (other == name) continue;
            text.append(std::exchange(comma, ", ")).append(description);
        }
        return text + "]}";
    }

private:
    std::optional<FieldType> field_type(const DynamicTypeImpl& declared) {
        const DynamicTypeImpl type = declared.resolved();
        if (type.kind() == TypeKind::ARRAY_TYPE) {
            const ArrayTypeImpl array(type);
            if (array.dimension_count() > 1) return std::nullopt;
            return collection(array, array_more, array.total_element_count());
        }
        if (type.kind() != TypeKind::SEQUENCE_TYPE) return single(type);
        const SequenceTypeImpl sequence(type);
        if (sequence.is_map()) return std::nullopt;
        if (sequence.bounds() == no_bound) return collection(sequence, sequence_more, 0);
        return collection(sequence, bounded_sequence_more, sequence.bounds());
    }

    std::optional<FieldType> collection(const CollectionTypeImpl& type, int more, std::uint64_t capacity) {
        auto field = single(type.content_type().resolved());
        if (!field) return std::nullopt;
        field->id += more;
        field->capacity = capacity;
        return field;
    }

    std::optional<FieldType> single(const DynamicTypeImpl& type) {
        if (is_message(type)) {
            if (!add(type)) return std::nullopt;
            return FieldType{.id = nested_id, .nested_name = type.name()};
        }
        const bool is_octet =
            type.kind() == TypeKind::STRUCTURE_TYPE && StructTypeImpl(type).placeholder_octet();
        const auto id = ids.find(is_octet ? TypeKind::UINT_8_TYPE : type.kind());
        if (id == ids.end()) return std::nullopt;
        FieldType field{.id = id->second};
        const bool is_text = type.kind() == TypeKind::STRING_TYPE || type.kind() == TypeKind::WSTRING_TYPE;
        if (is_text && StringTypeImpl(type).bounds() != no_bound) {
            field.id += bounded_string_more;
            field.string_capacity = StringTypeImpl(type).bounds();
        }
        return field;
    }

    static std::string field_text(const std::string& name, const FieldType& field) {
        return R"({"name": ")" + name + R"(", "type": {"type_id": )" + std::to_string(field.id) +
               R"(, "capacity": )" + std::to_string(field.capacity) + R"(, "string_capacity": )" +
               std::to_string(field.string_capacity) + R"(, "nested_type_name": ")" + field.nested_name +
               R"("}})";
    }

    std::map<std::string, std::string> described_;  // by name
};

std::string sha256(const std::string& text) {
    SHA2_CTX context;
    std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
    SHA256Init(&context);
    SHA256Update(&context, reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    SHA256Final(digest.data(), &context);
    std::string sum;
    for (const std::uint8_t byte : digest) {
        sum += "0123456789abcdef"[byte >> 4U];
        sum += "0123456789abcdef"[byte & 15U];
    }
    return sum;
}

}  // namespace

std::optional<std::string> type_hash(const DynamicTypeImpl& type) {
    Description description;
    if (!is_message(type) || !description.add(type)) return std::nullopt;
    return std::string(prefix) + sha256(description.json(type.name()));
}

bool is_type_hash(const std::string& hash) {
    return hash.starts_with(prefix) && hash.size() == prefix.size() + digits &&
           hash.find_first_not_of("0123456789abcdef", prefix.size()) == std::string::npos &&
           hash.find_first_not_of('0', prefix.size()) != std::string::npos;
}

}  // namespace zun::schema
