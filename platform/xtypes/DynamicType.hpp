// DynamicType: types as data, and the handles through which they are read.
//
// A type is an immutable tree of nodes. A handle shares its node; copying a handle copies no type.
// The classes below are views of one handle, each with the operations of its kind:
//
//     DDS_TypeCode                     a handle, perhaps empty
//     `- DynamicTypeImpl               a handle that is filled
//        |- AliasTypeImpl
//        |- AbstractConstructedType<M> members of M
//        |  |- StructTypeImpl          M = MemberImpl
//        |  `- UnionTypeImpl           M = UnionMember
//        |- EnumTypeImpl, BitmaskTypeImpl, StringTypeImpl
//        `- CollectionTypeImpl         element type
//           |- ArrayTypeImpl           dimensions
//           `- UnidimensionalCollectionTypeImpl (SequenceTypeImpl)   bound
//
// Types are made with the functions of TypeBuilder.hpp.

#ifndef ZUN_PLATFORM_XTYPES_DYNAMIC_TYPE_HPP
#define ZUN_PLATFORM_XTYPES_DYNAMIC_TYPE_HPP

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/xtypes/TypeKind.hpp"

namespace zun::core {
class DynamicTypeNativeAdapter;
}

namespace zun::core::xtypes {

using dds::core::xtypes::TypeKind;

struct TypeNode;  // a type's content; TypeBuilder makes it, the handles read it
using TypeNodePtr = std::shared_ptr<const TypeNode>;

/// The bound of a sequence, string or wide string that has none.
inline constexpr std::uint32_t no_bound = 2147483647;

/// How a structure or union may change between writer and reader; UNSPECIFIED where the text does not say.
enum class Extensibility : std::uint8_t { UNSPECIFIED, FINAL, APPENDABLE, MUTABLE };

/// The place of a bit set's member: `width` bits from bit `position` up.
struct BitField {
    std::uint8_t position;
    std::uint8_t width;
};

/// The value a member takes when a sample does not carry it. Enumerations: the number.
using DefaultValue = std::variant<bool, std::int64_t, std::uint64_t, double, std::string>;

}  // namespace zun::core::xtypes

/// A handle on a type; empty until DynamicTypeNativeAdapter::copy has filled it.
class DDS_TypeCode {
public:
    DDS_TypeCode() = default;
    explicit DDS_TypeCode(zun::core::xtypes::TypeNodePtr node) : node_(std::move(node)) {}

    bool empty() const { return node_ == nullptr; }
    const zun::core::xtypes::TypeNodePtr& node() const { return node_; }

private:
    friend class zun::core::DynamicTypeNativeAdapter;
    zun::core::xtypes::TypeNodePtr node_;
};

namespace zun::core::xtypes {

class DynamicTypeImpl;
/// A boolean, octet, integer, floating-point or character type. One node per kind serves all.
DynamicTypeImpl primitive_type(TypeKind kind);

/// A filled handle.
class DynamicTypeImpl : public DDS_TypeCode {
public:
    /// Throws std::logic_error when `code` is empty.
    DynamicTypeImpl(const DDS_TypeCode& code);  // implicit: a filled type code serves as a type

    TypeKind kind() const;
    const std::string& name() const;  ///< as declared; empty for anonymous types

    /// The type behind all aliases; this type itself when it is none.
    DynamicTypeImpl resolved() const;
};

class AliasTypeImpl : public DynamicTypeImpl {
public:
    /// Throws std::logic_error when `type` is no alias; so do the other kinds' constructors.
    explicit AliasTypeImpl(const DynamicTypeImpl& type);
    DynamicTypeImpl related_type() const;  ///< one level down, perhaps an alias again
};

class AbstractMember {
public:
    explicit AbstractMember(std::string name) : name_(std::move(name)) {}
    const char* name() const { return name_.c_str(); }

private:
    std::string name_;
};

class AbstractAggregationMember : public AbstractMember {
public:
    AbstractAggregationMember(std::string name, DynamicTypeImpl type, std::uint32_t id)
        : AbstractMember(std::move(name)), type_(std::move(type)), id_(id) {}
    const DynamicTypeImpl& type() const { return type_; }
    std::uint32_t id() const { return id_; }  ///< member id on the wire, 28 bits

private:
    DynamicTypeImpl type_;
    std::uint32_t id_;
};

/// A member of a structure.
class MemberImpl : public AbstractAggregationMember {
public:
    MemberImpl(std::string name, DynamicTypeImpl type, std::uint32_t id, bool optional,
               std::optional<DefaultValue> default_value, std::string unit = {})
        : AbstractAggregationMember(std::move(name), std::move(type), id),
          optional_(optional),
          default_value_(std::move(default_value)),
          unit_(std::move(unit)) {}
    bool is_optional() const { return optional_; }
    const std::optional<DefaultValue>& default_value() const { return default_value_; }
    /// Of measurement, as it is written: "m/s". Empty where none is. It does not tell types apart.
    const std::string& unit() const { return unit_; }

private:
    bool optional_;
    std::optional<DefaultValue> default_value_;
    std::string unit_;
};

/// A member of a union with the discriminator values that select it.
class UnionMember : public AbstractAggregationMember {
public:
    UnionMember(std::string name, DynamicTypeImpl type, std::uint32_t id, std::vector<std::int64_t> labels,
                bool is_default)
        : AbstractAggregationMember(std::move(name), std::move(type), id),
          labels_(std::move(labels)),
          default_(is_default) {}
    const std::vector<std::int64_t>& labels() const { return labels_; }  ///< those from 2^63 on wrap
    bool is_default() const { return default_; }  ///< selected by every value that is no label

private:
    std::vector<std::int64_t> labels_;
    bool default_;
};

/// A type with members of the class Member.
template <typename Member>
class AbstractConstructedType : public DynamicTypeImpl {
public:
    std::uint32_t member_count() const;
    const Member& member(unsigned int index) const;  ///< `index` from 0, less than member_count()

protected:
    using DynamicTypeImpl::DynamicTypeImpl;
};

template <>
std::uint32_t AbstractConstructedType<MemberImpl>::member_count() const;
template <>
const MemberImpl& AbstractConstructedType<MemberImpl>::member(unsigned int index) const;
template <>
std::uint32_t AbstractConstructedType<UnionMember>::member_count() const;
template <>
const UnionMember& AbstractConstructedType<UnionMember>::member(unsigned int index) const;

class StructTypeImpl : public AbstractConstructedType<MemberImpl> {
public:
    explicit StructTypeImpl(const DynamicTypeImpl& type);
    bool has_parent() const;
    StructTypeImpl parent() const;  ///< the base structure; only where has_parent()
    Extensibility extensibility() const;

    /// True for a structure without members whose wire form is one octet all the same.
    bool placeholder_octet() const;

    /// The bits of each member of a bit set, whose wire form is one integer; empty for every other structure.
    const std::vector<BitField>& bit_fields() const;
    std::uint32_t bit_size()
        const;  ///< bits of a bit set, unnamed ones included; 0 for every other structure
};

class UnionTypeImpl : public AbstractConstructedType<UnionMember> {
public:
    explicit UnionTypeImpl(const DynamicTypeImpl& type);
    DynamicTypeImpl discriminator() const;
    Extensibility extensibility() const;
};

class EnumTypeImpl : public DynamicTypeImpl {
public:
    struct Enumerator {
        std::string name;
        std::int64_t value;
    };
    explicit EnumTypeImpl(const DynamicTypeImpl& type);
    const std::vector<Enumerator>& enumerators() const;
    std::int64_t default_value() const;  ///< the enumerator marked as such, else the first
    std::uint32_t bit_bound() const;     ///< 1 to 32
};

class BitmaskTypeImpl : public DynamicTypeImpl {
public:
    explicit BitmaskTypeImpl(const DynamicTypeImpl& type);
    std::uint32_t bit_bound() const;  ///< 1 to 64
};

/// A string or wide string.
class StringTypeImpl : public DynamicTypeImpl {
public:
    explicit StringTypeImpl(const DynamicTypeImpl& type);
    std::uint32_t bounds() const;  ///< in characters; no_bound where there is none
};

/// An array or sequence.
class CollectionTypeImpl : public DynamicTypeImpl {
public:
    explicit CollectionTypeImpl(const DynamicTypeImpl& type);
    DynamicTypeImpl content_type() const;
};

class ArrayTypeImpl : public CollectionTypeImpl {
public:
    explicit ArrayTypeImpl(const DynamicTypeImpl& type);
    std::uint32_t dimension_count() const;  ///< at least 1
    std::uint32_t dimension(unsigned int index) const;
    std::uint32_t total_element_count() const;  ///< the product of the dimensions
};

class UnidimensionalCollectionTypeImpl : public CollectionTypeImpl {
public:
    explicit UnidimensionalCollectionTypeImpl(const DynamicTypeImpl& type);
    std::uint32_t bounds() const;  ///< no_bound where there is none

    /// True for a map: its elements are structures of `key` and `value`.
    bool is_map() const;
};
using SequenceTypeImpl = UnidimensionalCollectionTypeImpl;

}  // namespace zun::core::xtypes

namespace zun::core {

/// Fills and empties type codes.
class DynamicTypeNativeAdapter {
public:
    /// Makes `destination` a type of its own equal to `source`; what it held is released. True.
    static bool copy(DDS_TypeCode& destination, const DDS_TypeCode& source);
    /// Releases what copy() put into `code`, which is empty afterwards.
    static void finalize(DDS_TypeCode& code);
};

}  // namespace zun::core

/// The 32-bit unsigned integer, the type of every length column. Defined here so that it is made before any
/// object of a file that knows it.
inline const DDS_TypeCode DDS_g_tc_ulong =
    zun::core::xtypes::primitive_type(dds::core::xtypes::TypeKind::UINT_32_TYPE);

#endif
