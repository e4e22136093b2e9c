#include "tests/support/sample_bytes.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <string>

namespace zun::test {

namespace {

using namespace core::xtypes;
using nlohmann::json;

class Writer {
public:
    std::vector<std::byte> take() { return std::move(bytes_); }

    void write(const DynamicTypeImpl& type, const json& value) {
        switch (type.kind()) {
            case TypeKind::ALIAS_TYPE:
                return write(AliasTypeImpl(type).related_type(), value);
            case TypeKind::STRUCTURE_TYPE:
                return write_struct(StructTypeImpl(type), value);
            case TypeKind::UNION_TYPE:
                return write_union(UnionTypeImpl(type), value);
            case TypeKind::ARRAY_TYPE:
                return write_elements(CollectionTypeImpl(type).content_type(), value);
            case TypeKind::SEQUENCE_TYPE:
                put<std::uint32_t>(static_cast<std::uint32_t>(value.size()));
                return write_elements(CollectionTypeImpl(type).content_type(), value);
            case TypeKind::STRING_TYPE:
                return write_string(value.get<std::string>());
            case TypeKind::ENUMERATION_TYPE:
                return put<std::int32_t>(number_of(EnumTypeImpl(type), value));
            default:
                return write_primitive(type.kind(), value);
        }
    }

private:
    template <typename T>
    void put(T value) {
        align(sizeof(T));
        const auto* const raw = reinterpret_cast<const std::byte*>(&value);
        bytes_.insert(bytes_.end(), raw, raw + sizeof(T));
    }

    void align(std::size_t size) {
        while ((bytes_.size() - origin_) % size != 0)
            bytes_.push_back(std::byte{0});
    }

    void write_string(const std::string& text) {
        put<std::uint32_t>(static_cast<std::uint32_t>(text.size() + 1));
        const auto* const raw = reinterpret_cast<const std::byte*>(text.c_str());
        bytes_.insert(bytes_.end(), raw, raw + text.size() + 1);
    }

    void write_primitive(TypeKind kind, const json& value) {
        switch (kind) {
            case TypeKind::BOOLEAN_TYPE:
                return put<std::uint8_t>(value.get<bool>() ? 1 : 0);
            case TypeKind::CHAR_8_TYPE:
                return put<char>(value.get<std::string>().at(0));
            case TypeKind::OCTET_TYPE:
            case TypeKind::UINT_8_TYPE:
                return put<std::uint8_t>(value.get<std::uint8_t>());
            case TypeKind::INT_8_TYPE:
                return put<std::int8_t>(value.get<std::int8_t>());
            case TypeKind::INT_16_TYPE:
                return put<std::int16_t>(value.get<std::int16_t>());
            case TypeKind::UINT_16_TYPE:
                return put<std::uint16_t>(value.get<std::uint16_t>());
            case TypeKind::INT_32_TYPE:
                return put<std::int32_t>(value.get<std::int32_t>());
            case TypeKind::UINT_32_TYPE:
            case TypeKind::BITMASK_TYPE:
                return put<std::uint32_t>(value.get<std::uint32_t>());
            case TypeKind::INT_64_TYPE:
                return put<std::int64_t>(value.get<std::int64_t>());
            case TypeKind::UINT_64_TYPE:
                return put<std::uint64_t>(value.get<std::uint64_t>());
            case TypeKind::FLOAT_32_TYPE:
                return put<float>(value.get<float>());
            case TypeKind::FLOAT_64_TYPE:
                return put<double>(value.get<double>());
            default:
                throw std::logic_error("no way to write this kind");
        }
    }

    void write_elements(const DynamicTypeImpl& content, const json& values) {
        for (const json& value : values)
            write(content, value);
    }

    void write_struct(const StructTypeImpl& type, const json& value) {
        if (type.has_parent()) write_struct(type.parent(), value);
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const MemberImpl& member = type.member(i);
            if (member.is_optional())
                write_optional(member, value.value(member.name(), json()));
            else
                write(member.type(), value.at(member.name()));
        }
        if (type.placeholder_octet()) put<std::uint8_t>(0);
    }

    /// A short parameter header with the size of the value; the value's start is the origin of all alignment
    /// from there on, as the writers of short headers have it.
    void write_optional(const MemberImpl& member, const json& value) {
        align(4);
        put<std::uint16_t>(static_cast<std::uint16_t>(member.id()));
        put<std::uint16_t>(0);
        if (value.is_null()) return;
        const std::size_t start = bytes_.size();
        origin_ = start;
        write(member.type(), value);
        const auto size = static_cast<std::uint16_t>(bytes_.size() - start);
        std::memcpy(&bytes_[start - sizeof size], &size, sizeof size);
    }

    void write_union(const UnionTypeImpl& type, const json& value) {
        const json& selector = value.at("_d");
        write(type.discriminator(), selector);
        const std::int64_t label = label_of(type.discriminator().resolved(), selector);
        const UnionMember* selected = nullptr;
        for (std::uint32_t i = 0; i < type.member_count(); ++i) {
            const UnionMember& member = type.member(i);
            const bool labelled = std::ranges::count(member.labels(), label) > 0;
            if (labelled || (member.is_default() && selected == nullptr)) selected = &member;
            if (labelled) break;
        }
        if (selected != nullptr) write(selected->type(), value.at(selected->name()));
    }

    static std::int64_t label_of(const DynamicTypeImpl& type, const json& selector) {
        if (type.kind() == TypeKind::ENUMERATION_TYPE) return number_of(EnumTypeImpl(type), selector);
        if (selector.is_boolean()) return selector.get<bool>() ? 1 : 0;
        return selector.is_string() ? selector.get<std::string>().at(0) : selector.get<std::int64_t>();
    }

    static std::int32_t number_of(const EnumTypeImpl& type, const json& value) {
        if (value.is_number()) return value.get<std::int32_t>();
        for (const auto& enumerator : type.enumerators())
            if (enumerator.name == value.get<std::string>())
                return static_cast<std::int32_t>(enumerator.value);
        throw std::logic_error("no enumerator " + value.dump());
    }

    std::vector<std::byte> bytes_ = {std::byte{0}, std::byte{1}, std::byte{0}, std::byte{0}};
    std::size_t origin_ = 4;  // behind the encapsulation header
};

}  // namespace

std::vector<std::byte> sample_bytes(const DynamicTypeImpl& type, const json& value) {
    Writer writer;
    writer.write(type, value);
    return writer.take();
}

}  // namespace zun::test
