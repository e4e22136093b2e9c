#include "schema/omgidl/Parser.hpp"

#include <algorithm>
#include <map>

#include "schema/definition/NestingLevel.hpp"
#include "schema/definition/TypeName.hpp"
#include "schema/definition/quoted.hpp"

namespace zun::schema {

namespace {

using core::xtypes::Extensibility;
using core::xtypes::TypeKind;
using Form = TypeExpression::Form;
using Operation = Step::Operation;

const std::map<std::string_view, TypeKind> one_word_primitives = {
    {"boolean", TypeKind::BOOLEAN_TYPE}, {"octet", TypeKind::OCTET_TYPE},
    {"wchar", TypeKind::CHAR_16_TYPE},   {"short", TypeKind::INT_16_TYPE},
    {"float", TypeKind::FLOAT_32_TYPE},  {"double", TypeKind::FLOAT_64_TYPE},
    {"int8", TypeKind::INT_8_TYPE},      {"uint8", TypeKind::UINT_8_TYPE},
    {"int16", TypeKind::INT_16_TYPE},    {"uint16", TypeKind::UINT_16_TYPE},
    {"int32", TypeKind::INT_32_TYPE},    {"uint32", TypeKind::UINT_32_TYPE},
    {"int64", TypeKind::INT_64_TYPE},    {"uint64", TypeKind::UINT_64_TYPE}};

/// Those that change a type; of all others only the end is looked for.
constexpr std::string_view meaningful_annotations[] = {
    "final",    "appendable", "mutable",   "extensibility", "autoid",          "id",      "hashid",
    "optional", "default",    "bit_bound", "value",         "default_literal", "position"};

constexpr std::string_view constructed[] = {"struct", "union", "enum", "bitmask", "bitset"};

constexpr std::string_view unsupported[] = {"interface", "valuetype", "native",   "exception", "component",
                                            "home",      "eventtype", "porttype", "connector"};

constexpr std::string_view unsupported_types[] = {"any", "fixed", "Object", "ValueBase"};

struct BinaryOperator {
    std::string_view symbol;
    int precedence;
    Operation operation;
};
constexpr BinaryOperator binary_operators[] = {
    {"|", 1, Operation::OR},          {"^", 2, Operation::XOR},          {"&", 3, Operation::AND},
    {"<<", 4, Operation::SHIFT_LEFT}, {">>", 4, Operation::SHIFT_RIGHT}, {"+", 5, Operation::ADD},
    {"-", 5, Operation::SUBTRACT},    {"*", 6, Operation::MULTIPLY},     {"/", 6, Operation::DIVIDE},
    {"%", 6, Operation::MODULO}};

template <typename Words>
bool contains(const Words& words, std::string_view word) {
    return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

template <typename Annotations>
auto find_annotation(const Annotations& annotations, std::string_view name) {
    const auto found = std::find_if(annotations.begin(), annotations.end(),
                                    [&](const auto& annotation) { return annotation.name == name; });
    return found == annotations.end() ? nullptr : &*found;
}

template <typename Annotations>
std::optional<ConstantExpression> value_of(const Annotations& annotations, std::string_view name) {
    const auto* found = find_annotation(annotations, name);
    return found ? found->value : std::nullopt;
}

/// The identifier that an annotation's value is, such as HASH.
template <typename Annotation>
std::string word_of(const Annotation& annotation) {
    return annotation.value ? annotation.value->steps.front().name : "";
}

ConstantExpression combined(ConstantExpression left, Operation operation, const ConstantExpression& right) {
    left.steps.insert(left.steps.end(), right.steps.begin(), right.steps.end());
    left.steps.push_back({.operation = operation, .position = right.position()});
    return left;
}

}  // namespace

/// One rule within another.
class Parser::Level {
public:
    explicit Level(Parser& parser) : nesting_(parser.depth_) {
        if (nesting_.is_too_deep())
            throw error_at(parser.table_.source(), parser.token_.position, "more than 100 levels are nested");
    }

private:
    NestingLevel nesting_;
};

Parser::Parser(std::string_view text, std::uint64_t first_line, TypeKind char_kind, DefinitionTable& table)
    : lexer_(text, first_line), token_(lexer_.next()), char_kind_(char_kind), table_(table) {}

void Parser::read() {
    while (token_.kind != Token::Kind::END) {
        definitions();
        if (!is("}")) continue;
        table_.add_broken("", token_.position, expected("a definition"));
        advance();
    }
}

// ---- definitions

/// Up to the end of the module or of the text.
void Parser::definitions() {
    while (token_.kind != Token::Kind::END && !is("}"))
        definition();
}

void Parser::definition() {
    const unsigned braces = braces_;
    const Position position = token_.position;
    const std::string scope = scope_;
    defined_.clear();
    try {
        type_definition_or_other();
    } catch (const InputError& error) {
        table_.add_broken(defined_, position, error);
        scope_ = scope;
        in_template_ = false;
        recover(braces);
    }
}

void Parser::type_definition_or_other() {
    if (accept(";")) return;
    const Annotations written = take_annotations();
    if (is_keyword("module")) return module();
    if (is_keyword("const")) {
        constant();
    } else if (is_keyword("typedef")) {
        type_alias();
    } else if (!token_.escaped && contains(constructed, token_.text)) {
        constructed_type(written);
    } else {
        refuse_unsupported();
    }
    expect(";");
}

void Parser::module() {
    const Level level(*this);
    advance();
    const std::string outer = scope_;
    scope_ = scoped(outer, take_name("the module's name"));
    expect("{");
    definitions();
    scope_ = outer;
    expect("}");
    accept(";");
}

void Parser::constant() {
    advance();
    type();
    const Position position = token_.position;
    const std::string constant_name = take_name("the constant's name");
    defined_ = scoped(scope_, constant_name);
    expect("=");
    add(constant_name, position, ConstantDefinition{expression()});
}

void Parser::type_alias() {
    advance();
    const TypeExpression aliased = type();
    do {
        const Position position = token_.position;
        const std::string alias = take_name("the type's name");
        defined_ = scoped(scope_, alias);
        add(alias, position, AliasDefinition{with_dimensions(aliased)});
    } while (accept(","));
}

void Parser::refuse_unsupported() {
    while (is_keyword("abstract") || is_keyword("local") || is_keyword("custom"))
        advance();
    if (!contains(unsupported, token_.text)) throw expected("a definition");
    const Position position = token_.position;
    const std::string keyword = token_.text;
    advance();
    defined_ = scoped(scope_, take_name("a name"));
    throw error_at(table_.source(), position,
                   "a definition of kind '" + keyword + "' has no values to convert");
}

/// Passes over what is left of a malformed definition that began where `braces` were open.
void Parser::recover(unsigned braces) {
    while (token_.kind != Token::Kind::END) {
        if (braces_ <= braces && is("}")) return;
        if (braces_ <= braces && accept(";")) return;
        advance();
    }
}

// ---- constructed types

std::string Parser::constructed_type(const Annotations& annotations) {
    const Level level(*this);
    const std::string keyword = token_.text;
    advance();
    const Position position = token_.position;
    std::string type_name = take_name("the type's name");
    if (defined_.empty()) defined_ = scoped(scope_, type_name);
    if (is(";")) return type_name;  // a forward declaration
    if (keyword == "struct")
        structure(type_name, position, annotations);
    else if (keyword == "union")
        union_type(type_name, position, annotations);
    else if (keyword == "enum")
        enumeration(type_name, position, annotations);
    else if (keyword == "bitmask")
        bitmask(type_name, position, annotations);
    else
        bitset(type_name, position);
    return type_name;
}

void Parser::structure(const std::string& name, const Position& position, const Annotations& annotations) {
    StructDefinition body{.members = {}, .base = base(), .extensibility = extensibility(annotations)};
    expect("{");
    const std::string outer = std::exchange(scope_, scoped(scope_, name));
    while (!is("}"))
        members(body.members, hashed_ids(annotations));
    scope_ = outer;
    expect("}");
    add(name, position, std::move(body));
}

void Parser::union_type(const std::string& name, const Position& position, const Annotations& annotations) {
    if (!accept_keyword("switch")) throw expected("'switch'");
    const std::string outer = std::exchange(scope_, scoped(scope_, name));
    expect("(");
    UnionDefinition body{.discriminator = type(), .extensibility = extensibility(annotations)};
    expect(")");
    expect("{");
    while (!is("}")) {
        bool is_default = false;
        std::vector<ConstantExpression> values = labels(is_default);
        const std::size_t first = body.members.size();
        members(body.members, hashed_ids(annotations));
        if (body.members.size() != first + 1)
            throw error_at(table_.source(), position, "a case of a union has one member");
        body.members.back().labels = std::move(values);
        body.members.back().is_default = is_default;
    }
    scope_ = outer;
    expect("}");
    add(name, position, std::move(body));
}

/// The labels before one member of a union; at least one.
std::vector<ConstantExpression> Parser::labels(bool& is_default) {
    std::vector<ConstantExpression> values;
    do {
        if (accept_keyword("default"))
            is_default = true;
        else if (accept_keyword("case"))
            values.push_back(expression());
        else
            throw expected("'case' or 'default'");
        expect(":");
    } while (is_keyword("case") || is_keyword("default"));
    return values;
}

void Parser::enumeration(const std::string& name, const Position& position, const Annotations& annotations) {
    EnumDefinition body{.enumerators = {}, .bit_bound = value_of(annotations, "bit_bound")};
    expect("{");
    do {
        if (is("}")) break;
        const Annotations written = take_annotations();
        const Position place = token_.position;
        const std::string enumerator = take_name("an enumerator");
        body.enumerators.push_back({.name = enumerator,
                                    .value = value_of(written, "value"),
                                    .is_default = find_annotation(written, "default_literal") != nullptr});
        const EnumeratorDefinition meaning{scoped(scope_, name), enumerator};
        add(enumerator, place, meaning);
        add(scoped(name, enumerator), place, meaning);
    } while (accept(","));
    expect("}");
    add(name, position, std::move(body));
}

void Parser::bitmask(const std::string& name, const Position& position, const Annotations& annotations) {
    expect("{");
    ConstantExpression first = ConstantExpression::of(Integer(0), position);
    Integer after = 0;  // of the flag, from the last one with a position
    do {
        if (is("}")) break;
        const Annotations written = take_annotations();
        const Position place = token_.position;
        const std::string flag = take_name("a flag");
        if (const auto given = value_of(written, "position")) {
            first = *given;
            after = 0;
        }
        const auto bit = combined(first, Operation::ADD, ConstantExpression::of(after++, place));
        const ConstantDefinition value{
            combined(ConstantExpression::of(Integer(1), place), Operation::SHIFT_LEFT, bit)};
        add(flag, place, value);
        add(scoped(name, flag), place, value);
    } while (accept(","));
    expect("}");
    add(name, position, BitmaskDefinition{value_of(annotations, "bit_bound")});
}

void Parser::bitset(const std::string& name, const Position& position) {
    BitsetDefinition body{.fields = {}, .base = base()};
    expect("{");
    while (!is("}"))
        bit_fields(body);
    expect("}");
    add(name, position, std::move(body));
}

/// bitfield<width> name;   bitfield<width, type> name;   bitfield<width>;
void Parser::bit_fields(BitsetDefinition& body) {
    take_annotations();
    if (!accept_keyword("bitfield")) throw expected("'bitfield'");
    open_template();
    BitsetDefinition::Field field{.name = "", .width = expression()};
    if (accept(",")) field.type = type();
    close_template();
    if (is(";")) body.fields.push_back(field);
    while (!is(";")) {
        field.name = take_name("the bit field's name");
        body.fields.push_back(field);
        accept(",");
    }
    expect(";");
}

std::optional<TypeExpression> Parser::base() {
    if (!accept(":")) return std::nullopt;
    return named_type(token_.position);
}

/// One line of members: a type and its declarators.
void Parser::members(std::vector<MemberDefinition>& members, bool hashed_ids) {
    const Annotations written = take_annotations();
    const TypeExpression member_type = type();
    do
        members.push_back(member(written, member_type, hashed_ids));
    while (accept(","));
    expect(";");
}

MemberDefinition Parser::member(const Annotations& annotations, const TypeExpression& type, bool hashed_ids) {
    MemberDefinition member{.name = "", .type = {}, .position = token_.position};
    member.name = take_name("the member's name");
    member.type = with_dimensions(type);
    member.optional = flag(annotations, "optional");
    member.default_value = value_of(annotations, "default");
    member.id = value_of(annotations, "id");
    if (const Annotation* const unit = find_annotation(annotations, "unit")) member.unit = unit->text;
    const Annotation* hashed = find_annotation(annotations, "hashid");
    if (hashed || (hashed_ids && !member.id)) member.hashed_name = member.name;
    if (!hashed || !hashed->value) return member;
    const std::string* text = std::get_if<std::string>(&hashed->value->steps.front().value);
    if (text && !text->empty()) member.hashed_name = *text;
    return member;
}

// ---- types

TypeExpression Parser::type() {
    const Level level(*this);
    const Annotations written = take_annotations();
    const Position position = token_.position;
    if (token_.escaped) return named_type(position);
    if (contains(constructed, token_.text)) {
        const std::string name = constructed_type(written);
        return {.names = {"::" + scoped(scope_, name)}, .position = position};
    }
    if (accept_keyword("string")) return text_type(Form::STRING, position);
    if (accept_keyword("wstring")) return text_type(Form::WSTRING, position);
    if (accept_keyword("sequence")) return collection_type(Form::SEQUENCE, position);
    if (accept_keyword("map")) return collection_type(Form::MAP, position);
    if (const auto kind = primitive())
        return {.form = Form::PRIMITIVE, .primitive = *kind, .position = position};
    if (contains(unsupported_types, token_.text))
        throw error_at(table_.source(), position, "values of type '" + token_.text + "' cannot be converted");
    return named_type(position);
}

TypeExpression Parser::text_type(Form form, const Position& position) {
    TypeExpression type{.form = form, .position = position};
    if (!is("<")) return type;
    open_template();
    type.sizes.push_back(expression());
    close_template();
    return type;
}

/// sequence<T>  sequence<T, N>  map<K, V>  map<K, V, N>
TypeExpression Parser::collection_type(Form form, const Position& position) {
    TypeExpression collection{.form = form, .position = position};
    open_template();
    collection.arguments.push_back(type());
    if (form == Form::MAP) {
        expect(",");
        collection.arguments.push_back(type());
    }
    in_template_ = true;  // a template among the arguments has ended it
    if (accept(",")) collection.sizes.push_back(expression());
    close_template();
    return collection;
}

TypeExpression Parser::named_type(Position position) {
    return {.names = {take_scoped_name()}, .position = position};
}

std::optional<TypeKind> Parser::primitive() {
    if (accept_keyword("long")) return long_kind(false);
    if (accept_keyword("char")) return char_kind_;
    if (accept_keyword("unsigned")) {
        if (accept_keyword("short")) return TypeKind::UINT_16_TYPE;
        if (accept_keyword("long")) return long_kind(true);
        throw expected("'short' or 'long'");
    }
    const auto found = one_word_primitives.find(token_.text);
    if (token_.kind != Token::Kind::WORD || found == one_word_primitives.end()) return std::nullopt;
    advance();
    return found->second;
}

/// After the first "long".
TypeKind Parser::long_kind(bool is_unsigned) {
    if (accept_keyword("long")) return is_unsigned ? TypeKind::UINT_64_TYPE : TypeKind::INT_64_TYPE;
    if (!is_unsigned && accept_keyword("double")) return TypeKind::FLOAT_128_TYPE;
    return is_unsigned ? TypeKind::UINT_32_TYPE : TypeKind::INT_32_TYPE;
}

TypeExpression Parser::with_dimensions(TypeExpression element) {
    if (!is("[")) return element;
    TypeExpression array{.form = Form::ARRAY, .position = token_.position};
    array.arguments.push_back(std::move(element));
    while (accept("[")) {
        array.sizes.push_back(expression());
        expect("]");
    }
    return array;
}

void Parser::open_template() {
    expect("<");
    in_template_ = true;
}

void Parser::close_template() {
    in_template_ = false;
    if (token_.kind != Token::Kind::SYMBOL || token_.text != ">>") return expect(">");
    token_.text = ">";
    ++token_.position.column;
}

// ---- annotations

Parser::Annotations Parser::take_annotations() {
    Annotations found;
    while (is("@"))
        found.push_back(take_annotation());
    return found;
}

Parser::Annotation Parser::take_annotation() {
    expect("@");
    Annotation annotation{.name = "", .position = token_.position};
    annotation.name = take_annotation_name();
    if (!is("(")) return annotation;
    if (contains(meaningful_annotations, annotation.name))
        annotation.value = annotation_value();
    else
        annotation.text = skip_parentheses();
    return annotation;
}

/// A scope after a blank is the next name's: "@key ::ns::T x".
std::string Parser::take_annotation_name() {
    std::string text = accept("::") ? "::" : "";
    while (true) {
        const Position begin = token_.position;
        const std::size_t end = begin.column + token_.text.size() + (token_.escaped ? 1 : 0);
        text += take_name("a name");
        if (!is("::") || token_.position.line != begin.line || token_.position.column != end) return text;
        advance();
        text += "::";
    }
}

/// (5)  (value = 5)  (): the first parameter's value.
std::optional<ConstantExpression> Parser::annotation_value() {
    const bool in_template = std::exchange(in_template_, false);
    expect("(");
    std::optional<ConstantExpression> value;
    while (!is(")")) {
        ConstantExpression parameter = expression();
        if (accept("=")) parameter = expression();
        if (!value) value = std::move(parameter);
        if (!accept(",")) break;
    }
    expect(")");
    in_template_ = in_template;
    return value;
}

/// The first string in them; empty where there is none.
std::string Parser::skip_parentheses() {
    std::string text;
    unsigned open = 0;
    do {
        if (token_.kind == Token::Kind::END) throw expected("')'");
        if (is("(")) ++open;
        if (is(")")) --open;
        if (token_.kind == Token::Kind::STRING && text.empty()) text = std::get<std::string>(token_.value);
        advance();
    } while (open > 0);
    return text;
}

bool Parser::flag(const Annotations& annotations, std::string_view name) const {
    const Annotation* found = find_annotation(annotations, name);
    if (!found || !found->value) return found != nullptr;
    const bool* value = std::get_if<bool>(&found->value->steps.front().value);
    return !value || *value;
}

Extensibility Parser::extensibility(const Annotations& annotations) const {
    if (find_annotation(annotations, "final")) return Extensibility::FINAL;
    if (find_annotation(annotations, "appendable")) return Extensibility::APPENDABLE;
    if (find_annotation(annotations, "mutable")) return Extensibility::MUTABLE;
    const Annotation* written = find_annotation(annotations, "extensibility");
    if (!written) return Extensibility::UNSPECIFIED;
    const std::string kind = word_of(*written);
    if (kind == "FINAL") return Extensibility::FINAL;
    if (kind == "APPENDABLE") return Extensibility::APPENDABLE;
    if (kind == "MUTABLE") return Extensibility::MUTABLE;
    throw error_at(table_.source(), written->position, "expected FINAL, APPENDABLE or MUTABLE");
}

bool Parser::hashed_ids(const Annotations& annotations) const {
    const Annotation* written = find_annotation(annotations, "autoid");
    return written && word_of(*written) != "SEQUENTIAL";
}

// ---- constant expressions

ConstantExpression Parser::expression() {
    ConstantExpression result;
    operation(1, result);
    return result;
}

/// Operators of `lowest_precedence` and above, which bind from left to right.
void Parser::operation(int lowest_precedence, ConstantExpression& result) {
    operand(result);
    while (token_.kind == Token::Kind::SYMBOL) {
        const auto* found = std::find_if(std::begin(binary_operators), std::end(binary_operators),
                                         [&](const BinaryOperator& op) { return op.symbol == token_.text; });
        if (found == std::end(binary_operators) || found->precedence < lowest_precedence) return;
        if (in_template_ && found->symbol == ">>") return;
        const Position position = token_.position;
        advance();
        operation(found->precedence + 1, result);
        result.steps.push_back({.operation = found->operation, .position = position});
    }
}

void Parser::operand(ConstantExpression& result) {
    const Level level(*this);
    const Position position = token_.position;
    if (accept("(")) {
        const bool in_template = std::exchange(in_template_, false);
        operation(1, result);
        expect(")");
        in_template_ = in_template;
    } else if (is("-") || is("~")) {
        const Operation prefix = is("-") ? Operation::NEGATE : Operation::COMPLEMENT;
        advance();
        operand(result);
        result.steps.push_back({.operation = prefix, .position = position});
    } else if (accept("+")) {
        operand(result);
    } else {
        literal(result);
    }
}

void Parser::literal(ConstantExpression& result) {
    const Position position = token_.position;
    Step step{.operation = Operation::VALUE, .position = position};
    if (token_.kind == Token::Kind::STRING) {
        std::string text;
        for (; token_.kind == Token::Kind::STRING; advance())
            text += std::get<std::string>(token_.value);
        step.value = std::move(text);
    } else if (token_.kind == Token::Kind::NUMBER || token_.kind == Token::Kind::CHARACTER) {
        step.value = token_.value;
        advance();
    } else if (is_keyword("TRUE") || is_keyword("true")) {
        step.value = true;
        advance();
    } else if (is_keyword("FALSE") || is_keyword("false")) {
        step.value = false;
        advance();
    } else if (token_.kind == Token::Kind::WORD || is("::")) {
        step.operation = Operation::NAME;
        step.name = take_scoped_name();
    } else {
        throw expected("a constant");
    }
    result.steps.push_back(std::move(step));
}

// ---- tokens

bool Parser::is(std::string_view symbol) const {
    return token_.kind == Token::Kind::SYMBOL && token_.text == symbol;
}

bool Parser::is_keyword(std::string_view word) const {
    return token_.kind == Token::Kind::WORD && !token_.escaped && token_.text == word;
}

bool Parser::accept(std::string_view symbol) {
    if (!is(symbol)) return false;
    advance();
    return true;
}

bool Parser::accept_keyword(std::string_view word) {
    if (!is_keyword(word)) return false;
    advance();
    return true;
}

void Parser::expect(std::string_view symbol) {
    if (!accept(symbol)) throw expected("'" + std::string(symbol) + "'");
}

std::string Parser::take_name(const char* what) {
    if (token_.kind != Token::Kind::WORD) throw expected(what);
    std::string text = token_.text;
    advance();
    return text;
}

std::string Parser::take_scoped_name() {
    std::string text = accept("::") ? "::" : "";
    text += take_name("a name");
    while (accept("::"))
        text += "::" + take_name("a name");
    return text;
}

void Parser::advance() {
    if (is("{")) ++braces_;
    if (is("}") && braces_ > 0) --braces_;
    token_ = lexer_.next();
}

InputError Parser::expected(const std::string& what) const {
    const std::string found = token_.kind == Token::Kind::BROKEN ? token_.text
                              : token_.kind == Token::Kind::END
                                  ? "expected " + what + ", found the end of the text"
                                  : "expected " + what + ", found " + quoted(token_.text);
    return error_at(table_.source(), token_.position, found);
}

void Parser::add(const std::string& name, const Position& position, decltype(Definition::body) body) {
    table_.add({scoped(scope_, name), position, std::move(body)});
}

}  // namespace zun::schema
