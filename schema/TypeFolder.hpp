// TypeFolder: a folder with definition files, as ROS packages install them or loose.
//
//     share/geometry_msgs/msg/Point.msg          geometry_msgs/msg/Point
//     my_msgs/srv/sub/Reset.srv                  my_msgs/srv/Reset and the types made from it
//     my_msgs/planning/msg/Gear.msg              planning/msg/Gear; where no other file is, my_msgs/msg/Gear
//     anywhere/types.idl                         what it defines

#ifndef ZUN_SCHEMA_TYPE_FOLDER_HPP
#define ZUN_SCHEMA_TYPE_FOLDER_HPP

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "schema/definition/DefinitionTable.hpp"

namespace zun::schema {

/// The text of a file. Throws InputError when it cannot be read.
std::string read_definition_file(const std::filesystem::path& file);

class TypeFolder {
public:
    /// Throws std::system_error when there is no such folder. It is searched at the first find().
    explicit TypeFolder(std::filesystem::path folder);

    /// Null where no file defines `name`. What it returns lives as long as the folder.
    const Definition* find(const std::string& name);

    /// Scoped names of the types that its files are about, and of all structures and unions of IDL files that
    /// no name by place leads to.
    std::vector<std::string> names();

private:
    void search();
    std::vector<std::string> names_by_place(const std::filesystem::path& file) const;
    const DefinitionTable& table_of(const std::filesystem::path& file, const std::string& type_name);

    std::filesystem::path folder_;
    bool searched_ = false;
    std::map<std::string, std::filesystem::path> files_;  // by the scoped names that a file's place gives
    std::vector<std::filesystem::path> idl_files_;        // those that stand beside no .msg of their name
    std::map<std::filesystem::path, DefinitionTable> tables_;
};

}  // namespace zun::schema

#endif
