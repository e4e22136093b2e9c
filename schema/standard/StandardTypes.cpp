#include "schema/standard/StandardTypes.hpp"

#include "schema/definition/TypeName.hpp"
#include "schema/rosmsg/message_text.hpp"
#include "schema/standard/interfaces.hpp"

namespace zun::schema {

namespace {

std::string name_of(const Section& section) {
    const bool is_service = section.keyword == "SRV";
    return ros_name(section.name, is_service ? "srv" : section.keyword == "ACTION" ? "action" : "msg");
}

DefinitionTable table_of(const Section& section) {
    DefinitionTable table("built in");
    read_message_text(section, table);
    add_derived_types(table);
    return table;
}

}  // namespace

std::map<std::string, StandardTypes::Layouts>& StandardTypes::interfaces() {
    if (interfaces_.empty())
        for (const Section& section : sections_of(standard_interfaces))
            interfaces_[name_of(section)].push_back({section});
    return interfaces_;
}

StandardTypes::Layouts* StandardTypes::layouts_of(const std::string& name) {
    std::string stem = name;
    while (true) {
        const auto found = interfaces().find(stem);
        if (found != interfaces().end()) return &found->second;
        const std::size_t underline = stem.rfind('_');
        if (underline == std::string::npos || last_name(stem).find('_') == std::string_view::npos)
            return nullptr;
        stem.resize(underline);
    }
}

const Definition* StandardTypes::find(const std::string& name, std::size_t layout) {
    Layouts* const layouts = layouts_of(name);
    if (!layouts || layout >= layouts->size()) return nullptr;
    auto& [section, table] = (*layouts)[layout];
    if (!table) table = table_of(section);
    return table->find(name);
}

std::size_t StandardTypes::layout_count(const std::string& name) {
    return find(name, 0) ? layouts_of(name)->size() : 0;
}

std::vector<std::string> StandardTypes::names() {
    std::vector<std::string> names;
    for (const auto& [name, layouts] : interfaces())
        names.push_back(name);
    return names;
}

const Section* StandardTypes::section(const std::string& name, std::size_t layout) {
    const Layouts* const layouts = layouts_of(name);
    return layouts && layout < layouts->size() ? &(*layouts)[layout].section : nullptr;
}

}  // namespace zun::schema
