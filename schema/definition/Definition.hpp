// Definition: one definition of a text, in the form that both grammars share. Names and constant expressions
// in it are not looked up yet, since what they mean may stand later in the text, or in another one.

#ifndef ZUN_SCHEMA_DEFINITION_DEFINITION_HPP
#define ZUN_SCHEMA_DEFINITION_DEFINITION_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "platform/error/InputError.hpp"
#include "platform/xtypes/DynamicType.hpp"
#include "schema/definition/ConstantExpression.hpp"

namespace zun::schema {

/// A type as it is written: a name, or what it is made of.
struct TypeExpression {
    enum class Form : std::uint8_t { PRIMITIVE, NAMED, STRING, WSTRING, SEQUENCE, MAP, ARRAY, PLACEHOLDER };
    Form form = Form::NAMED;
    core::xtypes::TypeKind primitive = core::xtypes::TypeKind::NO_TYPE;
    std::vector<std::string> names = {};  ///< tried in order; a leading "::" ends the search of scopes
    bool in_any_scope = false;            ///< where none is defined, the only type of that last name serves
    std::vector<TypeExpression> arguments = {};  ///< sequence, array: the element; map: key and value
    std::vector<ConstantExpression> sizes = {};  ///< array: dimensions; else the bound, where there is one
    Position position = {};
};

/// A member of a structure or union.
struct MemberDefinition {
    std::string name;
    TypeExpression type;
    Position position;
    std::optional<ConstantExpression> id = {};
    std::optional<std::string> hashed_name = {};  ///< the text whose hash is the id
    bool optional = false;
    std::optional<ConstantExpression> default_value = {};
    std::vector<ConstantExpression> labels = {};  ///< union: discriminator values
    bool is_default = false;                      ///< union: selected by every other value
    std::string unit = {};                        ///< of measurement, "m/s"; empty where none is written
};

/// A structure; of ROS, a message.
struct StructDefinition {
    std::vector<MemberDefinition> members = {};
    std::optional<TypeExpression> base = {};  ///< its members come first
    core::xtypes::Extensibility extensibility =
        core::xtypes::Extensibility::UNSPECIFIED;  ///< whether samples of other versions of it are expected
};

struct UnionDefinition {
    TypeExpression discriminator;
    std::vector<MemberDefinition> members = {};
    core::xtypes::Extensibility extensibility = core::xtypes::Extensibility::UNSPECIFIED;
};

struct EnumDefinition {
    struct Enumerator {
        std::string name;
        std::optional<ConstantExpression> value = {};  ///< the previous one's plus one when not given, from 0
        bool is_default = false;
    };
    std::vector<Enumerator> enumerators = {};
    std::optional<ConstantExpression> bit_bound = {};
};

/// Flags, which are constants beside it.
struct BitmaskDefinition {
    std::optional<ConstantExpression> bit_bound = {};  ///< 1 to 64 bits, 32 when not given
};

/// Numbers of a few bits each, in one integer.
struct BitsetDefinition {
    struct Field {
        std::string name;          ///< empty for unnamed bits
        ConstantExpression width;  ///< bits, 1 to 64
        /// When not given, a boolean for one bit, else the smallest unsigned integer that is wide enough.
        std::optional<TypeExpression> type = {};
    };
    std::vector<Field> fields = {};
    std::optional<TypeExpression> base = {};  ///< its bits come first
};

/// Another name of a type.
struct AliasDefinition {
    TypeExpression type;
};

struct ConstantDefinition {
    ConstantExpression value;
};

/// An enumerator's name, which is a constant beside its enumeration.
struct EnumeratorDefinition {
    std::string enumeration;  ///< scoped name
    std::string name;
};

/// What could not be read. Whoever needs it gets the error.
struct BrokenDefinition {
    InputError error;
};

struct Definition {
    std::string name;  ///< scoped
    Position position;
    std::variant<StructDefinition, UnionDefinition, EnumDefinition, BitmaskDefinition, BitsetDefinition,
                 AliasDefinition, ConstantDefinition, EnumeratorDefinition, BrokenDefinition>
        body;
    std::string source = {};  ///< what errors name: a type, or a file
};

}  // namespace zun::schema

#endif
