// TypeCatalog: the types of a recording's channels, from the texts that the recording carries or from
// outside.
//
// In: a type's name with its definition text. Out: the type. Equal texts are read once.

#ifndef ZUN_SCHEMA_TYPE_CATALOG_HPP
#define ZUN_SCHEMA_TYPE_CATALOG_HPP

#include <filesystem>
#include <memory>
#include <string>

#include "platform/error/InputError.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::schema {

/// Thrown when no definition of a type is at hand. what() names the type, and who needs it.
class UnknownType : public InputError {
public:
    /// `type_name`  the type that has no definition
    UnknownType(const std::string& source, std::uint64_t line, const std::string& problem,
                std::string type_name)
        : InputError(source, line, problem), type_name_(std::move(type_name)) {}
    const std::string& type_name() const { return type_name_; }

private:
    std::string type_name_;
};

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
    /// type's
    ///             name as the source and line (and column, for IDL), when the text is malformed
    core::xtypes::DynamicTypeImpl type_of(const std::string& type_name, const std::string& encoding,
                                          const std::string& text);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::schema

#endif
