#include "schema/TypeFolder.hpp"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "schema/definition/TypeName.hpp"
#include "schema/schema_text.hpp"

namespace zun::schema {

namespace fs = std::filesystem;

namespace {

bool is_definition_file(const fs::path& extension) {
    return extension == ".msg" || extension == ".srv" || extension == ".action" || extension == ".idl";
}

/// Only the IDL of ROS has names such as pkg::msg::T, and numbers called char.
DefinitionTable read_idl(const std::string& source, const std::string& text) {
    DefinitionTable table = read_schema(source, "", "omgidl", text);
    const auto names = table.names();
    const bool is_ros = std::any_of(names.begin(), names.end(), is_ros_name);
    return is_ros ? read_schema(source, "", "ros2idl", text) : table;
}

}  // namespace

std::string read_definition_file(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) throw InputError(file.string(), 1, "the file cannot be read");
    return text;
}

TypeFolder::TypeFolder(fs::path folder) : folder_(std::move(folder)) {
    if (!fs::is_directory(folder_))
        throw std::system_error(std::make_error_code(std::errc::not_a_directory), folder_.string());
    folder_ = fs::canonical(folder_);
}

const Definition* TypeFolder::find(const std::string& name) {
    if (!std::exchange(searched_, true)) search();
    // X_SendGoal_Event is defined where X is.
    for (std::string stem = name; !stem.empty(); stem.resize(std::min(stem.rfind('_'), stem.size()))) {
        const auto file = files_.find(stem);
        const Definition* found = file == files_.end() ? nullptr : table_of(file->second, stem).find(name);
        if (found) return found;
        if (last_name(stem).find('_') == std::string_view::npos) break;
    }
    for (const fs::path& file : idl_files_)
        if (const Definition* found = table_of(file, "").find(name)) return found;
    return nullptr;
}

std::vector<std::string> TypeFolder::names() {
    if (!std::exchange(searched_, true)) search();
    std::vector<std::string> names;
    for (const auto& [name, file] : files_)
        names.push_back(name);
    for (const fs::path& file : idl_files_) {
        const DefinitionTable& table = table_of(file, "");
        for (const std::string& name : table.names())
            if (table.find(name)->body.index() < 2) names.push_back(name);  // a structure or a union
    }
    return names;
}

/// The scoped names that what `file` defines can have, likeliest first: the package is the folder around the
/// one called msg, srv or action, or any folder around that. None for IDL outside of such folders.
std::vector<std::string> TypeFolder::names_by_place(const fs::path& file) const {
    const auto is_kind = [](const fs::path& name) {
        return name == "msg" || name == "srv" || name == "action";
    };
    fs::path kind_folder = file.parent_path();
    while (kind_folder.has_relative_path() && !is_kind(kind_folder.filename()))
        kind_folder = kind_folder.parent_path();
    const bool in_kind = kind_folder.has_relative_path();
    if (!in_kind && file.extension() == ".idl") return {};
    fs::path package = in_kind ? kind_folder.parent_path() : file.parent_path();
    const std::string kind = in_kind ? kind_folder.filename().string() : file.extension().string().substr(1);
    std::vector<std::string> names;
    do
        names.push_back(scoped(scoped(package.filename().string(), kind), file.stem().string()));
    while (package != folder_ && (package = package.parent_path()).has_relative_path() && in_kind);
    return names;
}

void TypeFolder::search() {
    std::vector<fs::path> found;
    // A subfolder that cannot be read costs what it defines, and nothing else.
    constexpr auto options = fs::directory_options::skip_permission_denied;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder_, options, error), end; entry != end;
         entry.increment(error))
        if (is_definition_file(entry->path().extension()) && entry->is_regular_file(error))
            found.push_back(entry->path());
    // Where a package holds one type as .msg and as .idl, the first in this order serves.
    std::sort(found.begin(), found.end(), [](const fs::path& a, const fs::path& b) {
        return std::pair(a.extension() == ".idl", a) < std::pair(b.extension() == ".idl", b);
    });
    std::size_t most = 1;
    for (std::size_t i = 0; i < most; ++i)
        for (const fs::path& file : found) {
            const std::vector<std::string> names = names_by_place(file);
            most = std::max(most, names.size());
            const bool is_new = i >= names.size() || files_.try_emplace(names[i], file).second;
            if (i == 0 && is_new && file.extension() == ".idl") idl_files_.push_back(file);
        }
}

const DefinitionTable& TypeFolder::table_of(const fs::path& file, const std::string& type_name) {
    const auto known = tables_.find(file);
    if (known != tables_.end()) return known->second;
    DefinitionTable table = file.extension() == ".idl" ? read_idl(file.string(), read_definition_file(file))
                                                       : read_schema(file.string(), display_name(type_name),
                                                                     "ros2msg", read_definition_file(file));
    // Whoever needs what the file is about gets its error.
    if (table.failure() && !table.find(type_name)) table.add_broken(type_name, {}, *table.failure());
    return tables_.emplace(file, std::move(table)).first->second;
}

}  // namespace zun::schema
