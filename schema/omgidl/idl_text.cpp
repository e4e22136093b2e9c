#include "schema/omgidl/idl_text.hpp"

namespace zun::schema {

void read_idl_text(std::string_view, std::uint64_t first_line, DefinitionTable& table) {
    const Position position{first_line};
    table.add_broken("", position, error_at(table.source(), position, "IDL cannot be read yet"));
}

}  // namespace zun::schema
