// StandardTypes: the common interfaces of ROS, compiled in from interfaces.txt.
//
// An interface whose fields changed between releases has several layouts, the newest first. Texts are read
// when a type is first asked for.

#ifndef ZUN_SCHEMA_STANDARD_STANDARD_TYPES_HPP
#define ZUN_SCHEMA_STANDARD_STANDARD_TYPES_HPP

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "schema/definition/DefinitionTable.hpp"
#include "schema/rosmsg/sections.hpp"

namespace zun::schema {

class StandardTypes {
public:
    /// The number of layouts of the type with the scoped name `name`; 0 where it is none of these.
    std::size_t layout_count(const std::string& name);

    /// One of its layouts, which lives as long as this; null where there is none.
    const Definition* find(const std::string& name, std::size_t layout);

    /// Scoped names of messages, services and actions.
    std::vector<std::string> names();

    /// The text of the interface that `name` is, or is made from; null where there is none.
    const Section* section(const std::string& name, std::size_t layout);

private:
    struct Layout {
        Section section;
        std::optional<DefinitionTable> table = {};  // once it was asked for
    };
    using Layouts = std::vector<Layout>;

    std::map<std::string, Layouts>& interfaces();
    /// The layouts of the interface that `name` is, or is made from.
    Layouts* layouts_of(const std::string& name);

    std::map<std::string, Layouts> interfaces_;  // by scoped name; filled when first needed
};

}  // namespace zun::schema

#endif
