#include "schema/omgidl/idl_text.hpp"

#include "schema/omgidl/Parser.hpp"

namespace zun::schema {

void read_idl_text(std::string_view text, std::uint64_t first_line, core::xtypes::TypeKind char_kind,
                   DefinitionTable& table) {
    Parser(text, first_line, char_kind, table).read();
}

}  // namespace zun::schema
