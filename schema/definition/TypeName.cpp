#include "schema/definition/TypeName.hpp"

#include <algorithm>

namespace zun::schema {

namespace {

bool is_kind(std::string_view part) {
    return part == "msg" || part == "srv" || part == "action";
}

/// Without what the bus adds to the names of ROS types: the scope "dds_" and a final "_".
std::string without_bus_suffix(const std::string& name) {
    const std::string marker = "::dds_::";
    const std::size_t at = name.find(marker);
    if (at == std::string::npos || !name.ends_with('_')) return name;
    return name.substr(0, at) + "::" + name.substr(at + marker.size(), name.size() - at - marker.size() - 1);
}

}  // namespace

std::string scoped(std::string_view outer, std::string_view name) {
    return outer.empty() ? std::string(name) : std::string(outer) + "::" + std::string(name);
}

std::string_view outer_scope(std::string_view scoped_name) {
    const std::size_t at = scoped_name.rfind("::");
    return at == std::string_view::npos ? std::string_view() : scoped_name.substr(0, at);
}

std::string_view last_name(std::string_view scoped_name) {
    const std::size_t at = scoped_name.rfind("::");
    return at == std::string_view::npos ? scoped_name : scoped_name.substr(at + 2);
}

std::vector<std::string_view> name_parts(std::string_view name) {
    std::vector<std::string_view> parts;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find_first_of(":/"), name.size());
        if (end > 0) parts.push_back(name.substr(0, end));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return parts;
}

std::string ros_name(std::string_view name, std::string_view kind) {
    const auto parts = name_parts(name);
    if (parts.size() < 2) return std::string(name);
    const auto written = std::find_if(parts.begin() + 1, parts.end() - 1, is_kind);
    if (written != parts.end() - 1) kind = *written;
    return scoped(scoped(parts.front(), kind), parts.back());
}

std::vector<std::string> candidate_names(const std::string& name) {
    std::string literal;
    for (const std::string_view part : name_parts(name))
        literal = scoped(literal, part);
    std::vector<std::string> names{literal};
    for (const std::string& other : {without_bus_suffix(literal), ros_name(without_bus_suffix(literal))})
        if (std::find(names.begin(), names.end(), other) == names.end()) names.push_back(other);
    return names;
}

bool is_ros_name(std::string_view scoped_name) {
    auto parts = name_parts(scoped_name);
    if (parts.size() == 4 && parts[2] == "dds_") parts.erase(parts.begin() + 2);
    return parts.size() == 3 && is_kind(parts[1]);
}

std::string display_name(std::string_view scoped_name) {
    const std::string name(scoped_name);
    if (!is_ros_name(name)) return name;
    std::string shown;
    for (const std::string_view part : name_parts(name))
        shown += (shown.empty() ? "" : "/") + std::string(part);
    return shown;
}

}  // namespace zun::schema
