// Parser: IDL text to definitions, by recursive descent; one operation for each rule of the grammar.
//
// Each rule begins at token_, the next one to take, and ends behind the last token that is its own. What does
// not fit throws InputError; definition() catches it, notes a broken definition, and goes on behind the next
// ";" at its level, or before the "}" of the module around it. So one mistake costs one definition.

#ifndef ZUN_SCHEMA_OMGIDL_PARSER_HPP
#define ZUN_SCHEMA_OMGIDL_PARSER_HPP

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "schema/definition/DefinitionTable.hpp"
#include "schema/omgidl/Lexer.hpp"

namespace zun::schema {

class Parser {
public:
    /// `text` and `table` must outlive the parser.
    Parser(std::string_view text, std::uint64_t first_line, core::xtypes::TypeKind char_kind,
           DefinitionTable& table);

    /// Adds what the text defines to the table; a malformed definition becomes a broken one.
    void read();

private:
    class Level;

    /// Such as "@id(3)"; the value is read only of those that change a type.
    struct Annotation {
        std::string name;
        Position position;
        std::optional<ConstantExpression> value = {};
        std::string text = {};  ///< the first string in it, where it does not change a type
    };
    using Annotations = std::vector<Annotation>;

    void definitions();
    void definition();
    void module();
    void type_definition_or_other();
    void constant();
    void type_alias();
    [[noreturn]] void refuse_unsupported();
    /// Passes over the rest of a definition that began when `braces` were open.
    void recover(unsigned braces);

    /// Structure, union, enumeration, bit mask or bit set from its keyword to before the ";". Returns the
    /// name.
    std::string constructed_type(const Annotations& annotations);
    void structure(const std::string& name, const Position& position, const Annotations& annotations);
    void union_type(const std::string& name, const Position& position, const Annotations& annotations);
    void enumeration(const std::string& name, const Position& position, const Annotations& annotations);
    void bitmask(const std::string& name, const Position& position, const Annotations& annotations);
    void bitset(const std::string& name, const Position& position);
    void bit_fields(BitsetDefinition& body);
    std::optional<TypeExpression> base();

    /// `hashed_ids`  member ids are hashes of names, not counted
    void members(std::vector<MemberDefinition>& members, bool hashed_ids);
    MemberDefinition member(const Annotations& annotations, const TypeExpression& type, bool hashed_ids);
    /// One or more of "case 1:" and "default:".
    std::vector<ConstantExpression> labels(bool& is_default);

    TypeExpression type();
    TypeExpression text_type(TypeExpression::Form form, const Position& position);
    TypeExpression collection_type(TypeExpression::Form form, const Position& position);
    TypeExpression named_type(Position position);
    std::optional<core::xtypes::TypeKind> primitive();
    /// Behind one "long": it can be the first of "long long" and of "long double".
    core::xtypes::TypeKind long_kind(bool is_unsigned);
    /// `element`, or an array of it where "[" follows.
    TypeExpression with_dimensions(TypeExpression element);
    // "<" and ">" around what sequence, map and string are made of; a ">>" can close two.
    void open_template();
    void close_template();

    Annotations take_annotations();
    Annotation take_annotation();
    std::string take_annotation_name();
    std::optional<ConstantExpression> annotation_value();
    std::string skip_parentheses();
    /// Whether "@name", "@name(TRUE)" or "@name(value=TRUE)" is among them.
    bool flag(const Annotations& annotations, std::string_view name) const;
    core::xtypes::Extensibility extensibility(const Annotations& annotations) const;
    bool hashed_ids(const Annotations& annotations) const;

    ConstantExpression expression();
    // Steps are appended in the order in which they are computed: operands, then their operator.
    void operation(int lowest_precedence, ConstantExpression& result);
    void operand(ConstantExpression& result);
    void literal(ConstantExpression& result);

    // is() looks at token_, accept() takes it when it fits, expect() and take_name() throw when it does not.
    bool is(std::string_view symbol) const;
    bool is_keyword(std::string_view word) const;
    bool accept(std::string_view symbol);
    bool accept_keyword(std::string_view word);
    void expect(std::string_view symbol);
    std::string take_name(const char* what);
    std::string take_scoped_name();
    void advance();
    InputError expected(const std::string& what) const;

    void add(const std::string& name, const Position& position, decltype(Definition::body) body);

    Lexer lexer_;
    Token token_;  // the next one to take
    core::xtypes::TypeKind char_kind_;
    DefinitionTable& table_;
    std::string scope_ = {};    // of the innermost module or structure
    std::string defined_ = {};  // name of the definition being read, once it is known
    unsigned braces_ = 0;       // open before token_
    unsigned depth_ = 0;        // of nested rules
    bool in_template_ = false;  // where ">>" closes two templates
};

}  // namespace zun::schema

#endif
