#include "convert/plan/limits_file.hpp"

#include <cerrno>
#include <fstream>
#include <system_error>

#include <yaml-cpp/yaml.h>

#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

const YAML::Node& expect_map(const YAML::Node& node) {
    if (!node.IsMap()) throw YAML::RepresentationException(node.Mark(), "expected a map");
    return node;
}

Lengths lengths_of(const YAML::Node& fields) {
    Lengths lengths;
    for (const auto& field : expect_map(fields))
        lengths[field.first.as<std::string>()] = field.second.as<std::uint32_t>();
    return lengths;
}

}  // namespace

void write_limits(std::ostream& out, const LimitsByTopic& limits) {
    YAML::Emitter yaml(out);
    yaml << YAML::BeginMap << YAML::Key << "limits" << YAML::Value << YAML::BeginMap;
    for (const auto& [topic, lengths] : limits) {
        if (lengths.empty()) continue;
        yaml << YAML::Key << topic << YAML::Value << YAML::BeginMap;
        for (const auto& [field, limit] : lengths)
            yaml << YAML::Key << field << YAML::Value << limit;
        yaml << YAML::EndMap;
    }
    yaml << YAML::EndMap << YAML::EndMap;
    out << '\n';
}

void read_limits(const std::filesystem::path& path, LimitsByTopic& limits) {
    std::ifstream file(path);
    if (!file.is_open())
        throw std::system_error(errno, std::generic_category(), "cannot read '" + path.string() + "'");
    try {
        const YAML::Node topics = YAML::Load(file)["limits"];
        if (!topics) throw InputError(path.string(), 1, "expected the key 'limits'");
        for (const auto& topic : expect_map(topics))
            merge(limits[topic.first.as<std::string>()], lengths_of(topic.second));
    } catch (const YAML::Exception& problem) {
        const auto line = static_cast<std::uint64_t>(problem.mark.line) + 1;
        throw InputError(path.string(), line, problem.msg);
    }
}

}  // namespace zun::convert
