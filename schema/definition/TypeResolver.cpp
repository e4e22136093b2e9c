#include "schema/definition/TypeResolver.hpp"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "platform/logger/Logger.hpp"
#include "schema/definition/NestingLevel.hpp"
#include "schema/definition/TypeName.hpp"
#include "schema/definition/UnknownType.hpp"
#include "schema/definition/name_hash.hpp"
#include "schema/definition/quoted.hpp"

namespace zun::schema {

using core::xtypes::DefaultValue;
using core::xtypes::DynamicTypeImpl;
using core::xtypes::EnumTypeImpl;
using core::xtypes::Extensibility;
using core::xtypes::TypeKind;

namespace {

constexpr Integer largest_member_id = 0x0fffffff;
constexpr Integer largest_size = std::numeric_limits<std::uint32_t>::max();

/// ROS never lets a type change between writer and reader, and does not say so in its texts.
Extensibility extensibility_of(const Definition& definition, Extensibility written) {
    const bool unsaid = written == Extensibility::UNSPECIFIED;
    return unsaid && is_ros_name(definition.name) ? Extensibility::FINAL : written;
}

std::optional<std::int64_t> enumerator_value(const DynamicTypeImpl& type, const std::string& name) {
    for (const auto& enumerator : EnumTypeImpl(type).enumerators())
        if (enumerator.name == name) return enumerator.value;
    return std::nullopt;
}

std::optional<DefaultValue> integer_default(TypeKind kind, Integer value) {
    const bool is_unsigned = kind == TypeKind::OCTET_TYPE || kind == TypeKind::UINT_8_TYPE ||
                             kind == TypeKind::UINT_16_TYPE || kind == TypeKind::UINT_32_TYPE ||
                             kind == TypeKind::UINT_64_TYPE || kind == TypeKind::BITMASK_TYPE;
    if (is_unsigned) return value < 0 ? std::nullopt : std::optional<DefaultValue>(std::uint64_t(value));
    if (value > INT64_MAX) return std::nullopt;
    return std::int64_t(value);
}

/// Nothing where the value does not fit the kind.
std::optional<DefaultValue> default_value(TypeKind kind, const Constant& value) {
    if (const std::string* text = std::get_if<std::string>(&value))
        return kind == TypeKind::STRING_TYPE || kind == TypeKind::WSTRING_TYPE
                   ? std::optional<DefaultValue>(*text)
                   : std::nullopt;
    const bool* truth = std::get_if<bool>(&value);
    const double* number = std::get_if<double>(&value);
    const Integer integer = truth ? Integer(*truth) : number ? 0 : std::get<Integer>(value);
    switch (kind) {
        case TypeKind::BOOLEAN_TYPE:
            return number ? std::nullopt : std::optional<DefaultValue>(integer != 0);
        case TypeKind::FLOAT_32_TYPE:
        case TypeKind::FLOAT_64_TYPE:
        case TypeKind::FLOAT_128_TYPE:
            return number ? *number : static_cast<double>(integer);
        case TypeKind::STRING_TYPE:
        case TypeKind::WSTRING_TYPE:
            return std::nullopt;
        default:
            return number ? std::nullopt : integer_default(kind, integer);
    }
}

/// What the builder refuses becomes an error of the text.
template <typename Make>
DynamicTypeImpl built(const std::string& source, const Position& position, Make make) {
    try {
        return make();
    } catch (const std::invalid_argument& refused) {
        throw error_at(source, position, refused.what());
    }
}

std::string shown(const std::string& name) {
    return display_name(name.starts_with("::") ? name.substr(2) : name);
}

std::string shown(const Definition& definition) {
    return quoted(display_name(definition.name));
}

}  // namespace

/// One step down, from a type to what it is made of, or from a constant to what computes it.
class TypeResolver::Level {
public:
    /// `target`  null for an anonymous type
    Level(TypeResolver& resolver, const Definition* target, const std::string& source,
          const Position& position)
        : nesting_(resolver.depth_), resolver_(resolver), target_(target) {
        if (nesting_.is_too_deep()) throw error_at(source, position, "more than 100 definitions are nested");
        if (target && !resolver.open_.insert(target).second)
            throw error_at(source, position, shown(*target) + " contains itself");
    }
    ~Level() {
        if (target_) resolver_.open_.erase(target_);
    }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    NestingLevel nesting_;
    TypeResolver& resolver_;
    const Definition* target_;
};

DynamicTypeImpl TypeResolver::type_of(const Definition& definition) {
    // Many members share a type; and a shared type is compared, and compiled for decoding, once.
    const auto known = types_.find(&definition);
    if (known != types_.end()) return known->second;
    const Level level(*this, &definition, definition.source, definition.position);
    DynamicTypeImpl type = built(definition.source, definition.position, [&] {
        return std::visit([&](const auto& body) { return make_type(definition, body); }, definition.body);
    });
    types_.emplace(&definition, type);
    return type;
}

DynamicTypeImpl TypeResolver::type_of(const TypeExpression& expression, const Definition& user) {
    if (expression.form == TypeExpression::Form::NAMED) return named_type(expression, user);
    const Level level(*this, nullptr, user.source, expression.position);
    return built(user.source, expression.position, [&] { return make_anonymous(expression, user); });
}

DynamicTypeImpl TypeResolver::named_type(const TypeExpression& expression, const Definition& user) {
    const Definition* found = find(expression.names, user);
    if (!found) found = &substitute(expression, user);
    if (open_.contains(found))
        throw error_at(user.source, expression.position, shown(*found) + " contains itself");
    return type_of(*found);
}

const Definition& TypeResolver::substitute(const TypeExpression& expression, const Definition& user) const {
    const std::string& written = expression.names.front();
    const std::string problem =
        shown(user) + " needs " + quoted(shown(written)) + ", which has no definition";
    const Definition* found =
        expression.in_any_scope ? find_({"*::" + std::string(last_name(written))}) : nullptr;
    if (!found) throw UnknownType(error_at(user.source, expression.position, problem), shown(written));
    chronicle::Logger::instance().warn(problem + "; " + shown(*found) + " is used");
    return *found;
}

DynamicTypeImpl TypeResolver::make_anonymous(const TypeExpression& expression, const Definition& user) {
    using Form = TypeExpression::Form;
    std::vector<std::uint32_t> sizes;
    for (const ConstantExpression& size : expression.sizes)
        sizes.push_back(static_cast<std::uint32_t>(integer(size, user, 1, largest_size)));
    const std::uint32_t bound =
        sizes.empty() ? core::xtypes::no_bound : std::min(sizes.front(), core::xtypes::no_bound);
    const auto argument = [&](std::size_t i) { return type_of(expression.arguments[i], user); };
    switch (expression.form) {
        case Form::PRIMITIVE:
            return core::xtypes::primitive_type(expression.primitive);
        case Form::STRING:
            return core::xtypes::string_type(bound);
        case Form::WSTRING:
            return core::xtypes::wstring_type(bound);
        case Form::SEQUENCE:
            return core::xtypes::sequence_type(argument(0), bound);
        case Form::MAP: {
            // In an order that is certain, so that of two errors always the same one is told.
            const DynamicTypeImpl key = argument(0);
            return core::xtypes::map_type(key, argument(1), bound);
        }
        case Form::ARRAY:
            return core::xtypes::array_type(argument(0), std::move(sizes));
        case Form::PLACEHOLDER:
            return core::xtypes::struct_type({.name = "",
                                              .members = {},
                                              .extensibility = Extensibility::FINAL,
                                              .placeholder_octet = true});
        case Form::NAMED:
            break;
    }
    return named_type(expression, user);
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const StructDefinition& body) {
    core::xtypes::StructSpec spec{.name = display_name(definition.name),
                                  .members = {},
                                  .extensibility = extensibility_of(definition, body.extensibility)};
    if (body.base) spec.base = type_of(*body.base, definition);
    for (const MemberDefinition& member : body.members) {
        const DynamicTypeImpl type = type_of(member.type, definition);
        spec.members.push_back({.name = member.name,
                                .type = type,
                                .id = id_of(member, definition),
                                .optional = member.optional,
                                .default_value = default_of(member, type, definition),
                                .unit = member.unit});
    }
    return core::xtypes::struct_type(std::move(spec));
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const UnionDefinition& body) {
    const DynamicTypeImpl discriminator = type_of(body.discriminator, definition);
    core::xtypes::UnionSpec spec{.name = display_name(definition.name),
                                 .discriminator = discriminator,
                                 .members = {},
                                 .extensibility = extensibility_of(definition, body.extensibility)};
    const DynamicTypeImpl label_type = discriminator.resolved();
    const Integer highest = label_type.kind() == TypeKind::UINT_64_TYPE ? Integer(UINT64_MAX) : INT64_MAX;
    for (const MemberDefinition& member : body.members) {
        std::vector<std::int64_t> labels;
        for (const ConstantExpression& label : member.labels)
            labels.push_back(
                static_cast<std::int64_t>(integer(label, definition, INT64_MIN, highest, &label_type)));
        spec.members.push_back({.name = member.name,
                                .type = type_of(member.type, definition),
                                .labels = std::move(labels),
                                .is_default = member.is_default,
                                .id = id_of(member, definition)});
    }
    return core::xtypes::union_type(std::move(spec));
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const EnumDefinition& body) {
    core::xtypes::EnumSpec spec{.name = display_name(definition.name), .enumerators = {}};
    if (body.bit_bound)
        spec.bit_bound = static_cast<std::uint32_t>(integer(*body.bit_bound, definition, 1, 32));
    // Each enumerator counts on from the one before it, whether that had a value of its own or not.
    Integer value = 0;
    for (const auto& enumerator : body.enumerators) {
        if (enumerator.value) value = integer(*enumerator.value, definition, INT32_MIN, UINT32_MAX);
        spec.enumerators.push_back({enumerator.name, static_cast<std::int64_t>(value)});
        if (enumerator.is_default) spec.default_value = static_cast<std::int64_t>(value);
        ++value;
    }
    return core::xtypes::enum_type(std::move(spec));
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const BitmaskDefinition& body) {
    const Integer bits = body.bit_bound ? integer(*body.bit_bound, definition, 1, 64) : 32;
    return core::xtypes::bitmask_type(display_name(definition.name), static_cast<std::uint32_t>(bits));
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const BitsetDefinition& body) {
    std::vector<core::xtypes::BitFieldSpec> fields;
    append_bits(definition, body, fields);
    return core::xtypes::bitset_type(display_name(definition.name), fields);
}

void TypeResolver::append_bits(const Definition& definition, const BitsetDefinition& body,
                               std::vector<core::xtypes::BitFieldSpec>& fields) {
    if (body.base) append_bits(*body.base, definition, fields);
    for (const auto& field : body.fields) {
        const auto width = static_cast<std::uint8_t>(integer(field.width, definition, 1, 64));
        fields.push_back({.name = field.name, .width = width});
        if (field.type) fields.back().type = type_of(*field.type, definition);
    }
}

void TypeResolver::append_bits(const TypeExpression& base, const Definition& user,
                               std::vector<core::xtypes::BitFieldSpec>& fields) {
    const Definition* named = find(base.names, user);
    const auto* alias = named ? std::get_if<AliasDefinition>(&named->body) : nullptr;
    const auto* bits = named ? std::get_if<BitsetDefinition>(&named->body) : nullptr;
    if (!alias && !bits) throw error_at(user.source, base.position, "the base is no bit set");
    const Level level(*this, named, user.source, base.position);
    if (alias)
        append_bits(alias->type, *named, fields);
    else
        append_bits(*named, *bits, fields);
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const AliasDefinition& body) {
    return core::xtypes::alias_type(display_name(definition.name), type_of(body.type, definition));
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const ConstantDefinition&) {
    throw error_at(definition.source, definition.position, shown(definition) + " is a constant, no type");
}

DynamicTypeImpl TypeResolver::make_type(const Definition& definition, const EnumeratorDefinition&) {
    throw error_at(definition.source, definition.position, shown(definition) + " is an enumerator, no type");
}

DynamicTypeImpl TypeResolver::make_type(const Definition&, const BrokenDefinition& body) {
    throw InputError(body.error);
}

std::optional<std::uint32_t> TypeResolver::id_of(const MemberDefinition& member, const Definition& user) {
    if (member.hashed_name) return name_hash(*member.hashed_name);
    if (!member.id) return std::nullopt;
    return static_cast<std::uint32_t>(integer(*member.id, user, 0, largest_member_id));
}

std::optional<DefaultValue> TypeResolver::default_of(const MemberDefinition& member,
                                                     const DynamicTypeImpl& type, const Definition& user) {
    if (!member.default_value) return std::nullopt;
    const DynamicTypeImpl resolved = type.resolved();
    try {
        return default_value(resolved.kind(), constant(*member.default_value, user, &resolved));
    } catch (const InputError&) {
        // ROS writes defaults that are no constants of the language, such as "(1, 2)" for a sequence. A
        // default stands for what a sample leaves out, so a strange one is no reason to lose the type.
        return std::nullopt;
    }
}

Constant TypeResolver::constant(const ConstantExpression& expression, const Definition& user,
                                const DynamicTypeImpl* type) {
    return evaluate(expression, user.source, [&](const Step& step) -> Constant {
        if (type && type->kind() == TypeKind::ENUMERATION_TYPE)
            if (const auto value = enumerator_value(*type, step.name)) return Integer(*value);
        if (type && type->kind() == TypeKind::BITMASK_TYPE)
            return named_constant(step, {"::" + scoped(type->name(), step.name), step.name}, user);
        return named_constant(step, {step.name}, user);
    });
}

Constant TypeResolver::named_constant(const Step& step, const std::vector<std::string>& names,
                                      const Definition& user) {
    const Definition* found = find(names, user);
    if (!found)
        throw error_at(user.source, step.position, "the constant " + quoted(step.name) + " is not defined");
    if (const auto* enumerator = std::get_if<EnumeratorDefinition>(&found->body)) {
        const TypeExpression enumeration{.names = {"::" + enumerator->enumeration},
                                         .position = step.position};
        return Integer(enumerator_value(named_type(enumeration, user), enumerator->name).value_or(0));
    }
    if (const auto* broken = std::get_if<BrokenDefinition>(&found->body)) throw InputError(broken->error);
    const auto* definition = std::get_if<ConstantDefinition>(&found->body);
    if (!definition) throw error_at(user.source, step.position, quoted(step.name) + " is no constant");
    const auto known = constants_.find(found);
    if (known != constants_.end()) return known->second;
    const Level level(*this, found, user.source, step.position);
    return constants_.emplace(found, constant(definition->value, *found)).first->second;
}

Integer TypeResolver::integer(const ConstantExpression& expression, const Definition& user, Integer lowest,
                              Integer highest, const DynamicTypeImpl* type) {
    const Constant value = constant(expression, user, type);
    const bool* truth = std::get_if<bool>(&value);
    const Integer* number = std::get_if<Integer>(&value);
    if (!truth && !number) throw error_at(user.source, expression.position(), "expected an integer");
    const Integer result = truth ? Integer(*truth) : *number;
    if (result < lowest || result > highest)
        throw error_at(user.source, expression.position(),
                       "expected a number from " + std::to_string(static_cast<std::int64_t>(lowest)) +
                           " to " + std::to_string(static_cast<std::uint64_t>(highest)));
    return result;
}

const Definition* TypeResolver::find(const std::vector<std::string>& names, const Definition& user) const {
    std::vector<std::string> absolute;
    for (const std::string& name : names) {
        if (name.starts_with("::")) {
            absolute.push_back(name.substr(2));
            continue;
        }
        // From the definition itself outwards, as a compiler of the language looks names up.
        for (std::string_view scope = user.name; !scope.empty(); scope = outer_scope(scope))
            absolute.push_back(scoped(scope, name));
        absolute.push_back(name);
    }
    return find_(absolute);
}

}  // namespace zun::schema
