// TypeCatalog: the types of a recording's channels, from the texts that the recording carries or from
// outside.
//
// In: a type's name with its definition text. Out: the type. Equal texts are read once.

#ifndef ZUN_SCHEMA_TYPE_CATALOG_HPP
#define ZUN_SCHEMA_TYPE_CATALOG_HPP

#include <filesystem>
#include <memory>
#include <string>

#include "platform/xtypes/DynamicType.hpp"
#include "schema/definition/UnknownType.hpp"

namespace zun::schema {

class TypeCatalog {
public:
    TypeCatalog();
    ~TypeCatalog();
    TypeCatalog(const TypeCatalog&) = delete;
    TypeCatalog& operator=(const TypeCatalog&) = delete;

    /// Adds a folder that is searched, with its subfolders, for .msg, .srv, .action and .idl files when a
    /// recording carries no definition. Folders added first win; a recording's own text wins over all.
    /// Throws std::system_error when there is no such folder.
    void add_folder(const std::filesystem::path& folder);

    /// Adds a definition that another recording carries, for the same purpose.
    void add_definition(const std::string& type_name, const std::string& encoding, const std::string& text);

    /// The type called `type_name`.
    ///
    /// `encoding`  "ros2msg", "ros2idl", "omgidl"; "" or "unknown" with an empty text: defined elsewhere
    /// Throws      UnknownType when it, or a type that it needs, is defined nowhere; InputError, with the
    ///             type's name as the source and line (and column, for IDL), when the text is malformed;
    ///             where the fault lies in a file, its path is the source
    core::xtypes::DynamicTypeImpl type_of(const std::string& type_name, const std::string& encoding,
                                          const std::string& text);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::schema

#endif
