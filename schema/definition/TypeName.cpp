#include "schema/definition/TypeName.hpp"

#include <algorithm>

namespace zun::schema {

namespace {

bool is_kind(std::string_view part) {
    return part == "msg" || part == "srv" || part == "action";
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
    auto parts = name_parts(name);
    if (parts.size() < 2) return std::string(name);
    // The bus adds a scope and an underline: pkg::msg::dds_::T_.
    if (parts[parts.size() - 2] == "dds_" && parts.back().ends_with('_')) parts.back().remove_suffix(1);
    const auto written = std::find_if(parts.begin() + 1, parts.end() - 1, is_kind);
    if (written != parts.end() - 1) kind = *written;
    return scoped(scoped(parts.front(), kind), parts.back());
}

std::vector<std::string> candidate_names(const std::string& name) {
    std::string literal;
    for (const std::string_view part : name_parts(name))
        literal = scoped(literal, part);
    std::vector<std::string> names{literal};
    if (ros_name(literal) != literal) names.push_back(ros_name(literal));
    return names;
}

bool is_ros_name(std::string_view scoped_name) {
    auto parts = name_parts(scoped_name);
    if (parts.size() == 4 && parts[2] == "dds_") parts.erase(parts.begin() + 2);
    return parts.size() == 3 && is_kind(parts[1]);
}

std::string display_name(std::string_view scoped_name) {
    if (!is_ros_name(scoped_name)) return std::string(scoped_name);
    std::string shown;
    const std::string name = ros_name(scoped_name);
    for (const std::string_view part : name_parts(name))
        shown += (shown.empty() ? "" : "/") + std::string(part);
    return shown;
}

}  // namespace zun::schema
