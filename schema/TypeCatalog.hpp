// TypeCatalog: the types of a recording's channels, from the texts that the recording carries or from
// outside.
//
// In: a type's name with its definition text. Out: the type. Equal texts are read once. What a recording does
// not define is looked for in folders and in other recordings, then among the standard types.

#ifndef ZUN_SCHEMA_TYPE_CATALOG_HPP
#define ZUN_SCHEMA_TYPE_CATALOG_HPP

#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/xtypes/DynamicType.hpp"
#include "schema/definition/UnknownType.hpp"

namespace zun::schema {

/// A type, as far as it can be known without its samples.
struct KnownType {
    std::vector<core::xtypes::DynamicTypeImpl> layouts = {};  ///< that it had, the newest first; at least one
    bool uncertain = false;  ///< a hash or the samples have to tell which of them, or that none is right
    bool recorded = false;   ///< the recording defines it; what it is made of may come from elsewhere
    std::set<std::string> built_in = {};  ///< types that are defined by the standard types alone
    std::string hint = {};                ///< what was assumed; empty for nothing
};

/// A part of a type's definition, as it is written.
struct DefinitionText {
    std::string keyword;  ///< of its grammar: "MSG", "SRV", "ACTION", "IDL"
    std::string name;     ///< of the type that it is about: "sensor_msgs/msg/Imu"
    std::string text;
};

/// As recordings carry definitions: the first text is about the type, the others bear headers.
std::string whole_text(const std::vector<DefinitionText>& texts);

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

    /// Leaves types that are defined nowhere else undefined.
    void leave_out_standard_types();

    /// The type called `type_name`; lives as long as the catalog.
    ///
    /// `encoding`  "ros2msg", "ros2idl", "omgidl"; "" or "unknown" with an empty text: defined elsewhere
    /// Throws      UnknownType when it, or a type that it needs, is defined nowhere; InputError, with the
    ///             type's name as the source and line (and column, for IDL), when the text is malformed;
    ///             where the fault lies in a file, its path is the source
    const KnownType& find(const std::string& type_name, const std::string& encoding, const std::string& text);

    /// The newest layout of the type that find() gives.
    core::xtypes::DynamicTypeImpl type_of(const std::string& type_name, const std::string& encoding,
                                          const std::string& text) {
        return find(type_name, encoding, text).layouts.front();
    }

    /// What defines the type that find() gives, and all types that it needs; its own text first.
    std::vector<DefinitionText> texts_of(const std::string& type_name, const std::string& encoding,
                                         const std::string& text);

    /// Names of the types that are defined outside of recordings, sorted.
    std::vector<std::string> names();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::schema

#endif
