#include "schema/definition/DefinitionTable.hpp"

#include <utility>

#include "schema/definition/TypeName.hpp"

namespace zun::schema {

void DefinitionTable::add(Definition definition) {
    definition.source = source_;
    std::string name = definition.name;
    // Recordings repeat definitions; the first is the one that the text before it could refer to.
    definitions_.try_emplace(std::move(name), std::move(definition));
}

void DefinitionTable::add_broken(const std::string& name, const Position& position, const InputError& error) {
    if (!failure_) failure_ = error;
    if (!name.empty()) add({name, position, BrokenDefinition{error}});
}

const Definition* DefinitionTable::find(const std::string& name) const {
    if (name.starts_with("*::")) return find_in_any_scope(last_name(name));
    const auto found = definitions_.find(name);
    return found == definitions_.end() ? nullptr : &found->second;
}

std::vector<std::string> DefinitionTable::names() const {
    std::vector<std::string> names;
    for (const auto& [name, definition] : definitions_)
        names.push_back(name);
    return names;
}

const Definition* DefinitionTable::find_in_any_scope(std::string_view name) const {
    const Definition* found = nullptr;
    for (const auto& [scoped_name, definition] : definitions_) {
        if (last_name(scoped_name) != name) continue;
        // Two could mean different things, so neither is taken.
        if (found) return nullptr;
        found = &definition;
    }
    return found;
}

}  // namespace zun::schema
