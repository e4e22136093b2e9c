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

std::string read_file(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) throw InputError(file.string(), 1, "the file cannot be read");
    return text;
}

bool is_definition_file(const fs::path& extension) {
    return extension == ".msg" || extension == ".srv" || extension == ".action" || extension == ".idl";
}

/// The scoped name of what `file` defines; empty where no folder around it is called msg, srv or action.
std::string name_by_place(const fs::path& file) {
    const fs::path folder = file.parent_path();
    for (fs::path kind = folder; kind.has_relative_path(); kind = kind.parent_path()) {
        const std::string name = kind.filename();
        if (name == "msg" || name == "srv" || name == "action")
            return scoped(scoped(kind.parent_path().filename().string(), name), file.stem().string());
    }
    if (file.extension() == ".idl") return "";
    const std::string kind = file.extension().string().substr(1);
    return scoped(scoped(folder.filename().string(), kind), file.stem().string());
}

}  // namespace

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
    for (const fs::path& file : loose_idl_)
        if (const Definition* found = table_of(file, "").find(name)) return found;
    return nullptr;
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
    for (const fs::path& file : found) {
        const std::string name = name_by_place(file);
        if (name.empty())
            loose_idl_.push_back(file);
        else
            files_.try_emplace(name, file);
    }
}

const DefinitionTable& TypeFolder::table_of(const fs::path& file, const std::string& type_name) {
    const auto known = tables_.find(file);
    if (known != tables_.end()) return known->second;
    const bool is_idl = file.extension() == ".idl";
    const std::string encoding = !is_idl ? "ros2msg" : name_by_place(file).empty() ? "omgidl" : "ros2idl";
    DefinitionTable table = read_schema(file.string(), display_name(type_name), encoding, read_file(file));
    return tables_.emplace(file, std::move(table)).first->second;
}

}  // namespace zun::schema
