// TypeResolver: definitions to types.
//
// Looks up the names that a definition uses, computes its constant expressions, and builds its type from the
// inside out.

#ifndef ZUN_SCHEMA_DEFINITION_TYPE_RESOLVER_HPP
#define ZUN_SCHEMA_DEFINITION_TYPE_RESOLVER_HPP

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/xtypes/TypeBuilder.hpp"
#include "schema/definition/Definition.hpp"

namespace zun::schema {

/// For one text and what it refers to, on one thread. Types and constants are made once, so a type that many
/// members have is one object; it outlives the resolver.
class TypeResolver {
public:
    /// The definition of the first of some scoped names that has one; null where none has.
    using Find = std::function<const Definition*(const std::vector<std::string>& names)>;

    /// What `find` returns must outlive the resolver.
    explicit TypeResolver(Find find) : find_(std::move(find)) {}

    /// Throws UnknownType when it needs a type that nothing defines, InputError when it, or a type that it
    /// needs, is malformed, contains itself, or is nested too deep.
    core::xtypes::DynamicTypeImpl type_of(const Definition& definition);

private:
    class Level;

    core::xtypes::DynamicTypeImpl type_of(const TypeExpression& expression, const Definition& user);
    core::xtypes::DynamicTypeImpl named_type(const TypeExpression& expression, const Definition& user);
    /// What serves where no name of `expression` is defined.
    const Definition& substitute(const TypeExpression& expression, const Definition& user) const;
    /// A type that has no name: a primitive, a string or a collection.
    core::xtypes::DynamicTypeImpl make_anonymous(const TypeExpression& expression, const Definition& user);

    // The type that a definition of each form stands for. Of a constant or an enumerator there is none: these
    // throw InputError, as does what could not be read.
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const StructDefinition& body);
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const UnionDefinition& body);
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const EnumDefinition& body);
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const BitmaskDefinition& body);
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const BitsetDefinition& body);
    core::xtypes::DynamicTypeImpl make_type(const Definition& definition, const AliasDefinition& body);
    [[noreturn]] core::xtypes::DynamicTypeImpl make_type(const Definition& definition,
                                                         const ConstantDefinition& body);
    [[noreturn]] core::xtypes::DynamicTypeImpl make_type(const Definition& definition,
                                                         const EnumeratorDefinition& body);
    [[noreturn]] core::xtypes::DynamicTypeImpl make_type(const Definition& definition,
                                                         const BrokenDefinition& body);

    /// The fields of the base first, so that the order is that of the bits from the lowest.
    void append_bits(const Definition& definition, const BitsetDefinition& body,
                     std::vector<core::xtypes::BitFieldSpec>& fields);
    /// Of what `base` names, through aliases.
    void append_bits(const TypeExpression& base, const Definition& user,
                     std::vector<core::xtypes::BitFieldSpec>& fields);
    /// The member id that the text gives, 28 bits; none where it leaves ids to the order of members.
    std::optional<std::uint32_t> id_of(const MemberDefinition& member, const Definition& user);
    /// The value of a member that a sample does not carry; none for the usual one, zero or empty.
    std::optional<core::xtypes::DefaultValue> default_of(const MemberDefinition& member,
                                                         const core::xtypes::DynamicTypeImpl& type,
                                                         const Definition& user);

    /// `type`  where it is an enumeration or a bit mask, its enumerators or flags need no scope
    Constant constant(const ConstantExpression& expression, const Definition& user,
                      const core::xtypes::DynamicTypeImpl* type = nullptr);
    Constant named_constant(const Step& step, const std::vector<std::string>& names, const Definition& user);
    /// Throws InputError when the value is not a whole number from `lowest` to `highest`.
    Integer integer(const ConstantExpression& expression, const Definition& user, Integer lowest,
                    Integer highest, const core::xtypes::DynamicTypeImpl* type = nullptr);

    /// A name with a leading "::" is meant as it stands, any other from the scope of `user` outwards.
    const Definition* find(const std::vector<std::string>& names, const Definition& user) const;

    Find find_;
    std::unordered_map<const Definition*, core::xtypes::DynamicTypeImpl> types_;
    std::unordered_map<const Definition*, Constant> constants_;
    std::unordered_set<const Definition*> open_;  // being made, from the outermost one in
    unsigned depth_ = 0;
};

}  // namespace zun::schema

#endif
