#include "convert/plan/limits_file.hpp"

#include <algorithm>
#include <charconv>
#include <system_error>

#include <yaml-cpp/yaml.h>

#include "convert/plan/text_of_file.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

/// From 1, also where a text has no place of its own.
std::uint64_t line_of(const YAML::Mark& mark) {
    return static_cast<std::uint64_t>(std::max(mark.line, 0)) + 1;
}

/// A part of the file, which says where it lies when it is not as it should be.
struct Part {
    const std::string& file;
    YAML::Node node;

    [[noreturn]] void refuse(const std::string& expected) const {
        throw InputError(file, line_of(node.Mark()), "expected " + expected);
    }

    YAML::Node map(const std::string& expected) const {
        if (!node.IsMap()) refuse(expected);
        return node;
    }

    std::string scalar(const std::string& expected) const {
        if (!node.IsScalar()) refuse(expected);
        return node.Scalar();
    }
};

std::uint32_t limit_of(const Part& limit, const std::string& field) {
    const std::string expected = "a number of elements (0 to 4294967295) for '" + field + '\'';
    const std::string text = limit.scalar(expected);
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        limit.refuse(expected + ", found '" + text + '\'');
    return number;
}

Lengths lengths_of(const Part& fields, const std::string& topic) {
    Lengths lengths;
    for (const auto& field : fields.map("the sequences of '" + topic + "', a line 'NAME: N' for each")) {
        const std::string name = Part{fields.file, field.first}.scalar("the name of a sequence");
        lengths[name] = limit_of({fields.file, field.second}, name);
    }
    return lengths;
}

LimitsByTopic limits_of(const Part& file) {
    LimitsByTopic limits;
    const YAML::Node topics = file.map("the key 'limits'")["limits"];
    if (!topics) file.refuse("the key 'limits'");
    for (const auto& topic : Part{file.file, topics}.map("topics below 'limits'")) {
        const std::string name = Part{file.file, topic.first}.scalar("the name of a topic");
        merge(limits[name], lengths_of({file.file, topic.second}, name));
    }
    return limits;
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
    const std::string name = path.string();
    // Read first: the parser does not give back its buffer when reading throws.
    const std::string text = text_of_file(path);
    try {
        for (const auto& [topic, lengths] : limits_of({name, YAML::Load(text)}))
            merge(limits[topic], lengths);
    } catch (const YAML::Exception& fault) {
        throw InputError(name, line_of(fault.mark), "expected YAML as 'dds2csv fit' writes it");
    }
}

}  // namespace zun::convert
