// DefinitionTable: the definitions of one text, by scoped name.

#ifndef ZUN_SCHEMA_DEFINITION_DEFINITION_TABLE_HPP
#define ZUN_SCHEMA_DEFINITION_DEFINITION_TABLE_HPP

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/definition/Definition.hpp"

namespace zun::schema {

class DefinitionTable {
public:
    /// `source`  what errors in the text name: a type, or a file
    explicit DefinitionTable(std::string source) : source_(std::move(source)) {}

    const std::string& source() const { return source_; }

    /// Of two definitions with one name the first stays.
    void add(Definition definition);

    /// Notes what could not be read. `name` is empty where the text does not even say a name.
    void add_broken(const std::string& name, const Position& position, const InputError& error);

    /// Null where there is none. The name "*::T" finds the only definition of a T in any scope.
    const Definition* find(const std::string& name) const;

    std::vector<std::string> names() const;

    /// The first error of the text.
    const std::optional<InputError>& failure() const { return failure_; }

private:
    const Definition* find_in_any_scope(std::string_view name) const;

    std::string source_;
    std::map<std::string, Definition> definitions_;
    std::optional<InputError> failure_;
};

}  // namespace zun::schema

#endif
