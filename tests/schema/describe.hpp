// describe: a type as one line of text, with everything that it is made of.

#ifndef ZUN_TESTS_SCHEMA_DESCRIBE_HPP
#define ZUN_TESTS_SCHEMA_DESCRIBE_HPP

#include <iosfwd>
#include <string>

#include "platform/xtypes/DynamicType.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::test {

/// Structures: "final a::T { string<8>[<=3] tags, @2 int32 id = 5 }". A member id is shown where it does
/// not follow from the members before; a named type is shown in full wherever it is used.
std::string describe(const core::xtypes::DynamicTypeImpl& type);

/// The description of a type that `catalog` reads, or the text of the error: "InputError a::T:1:5: ...".
std::string read_type(schema::TypeCatalog& catalog, const std::string& type_name, const std::string& encoding,
                      const std::string& text);

/// A definition text, and what read_type() gives for it in a catalog without other definitions.
struct SchemaCase {
    const char* name;
    const char* type_name;
    const char* text;
    const char* result;
};
void PrintTo(const SchemaCase& c, std::ostream* out);

}  // namespace zun::test

#endif
