#include "schema/rosmsg/message_text.hpp"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>

#include "platform/text/interface_suffixes.hpp"
#include "schema/definition/TypeName.hpp"
#include "schema/definition/quoted.hpp"
#include "schema/rosmsg/comment_unit.hpp"
#include "schema/rosmsg/trimmed.hpp"

namespace zun::schema {

namespace {

using core::xtypes::Extensibility;
using core::xtypes::TypeKind;
using Form = TypeExpression::Form;

const std::map<std::string_view, TypeKind> primitives = {
    {"bool", TypeKind::BOOLEAN_TYPE},    {"byte", TypeKind::OCTET_TYPE},
    {"char", TypeKind::UINT_8_TYPE},     {"int8", TypeKind::INT_8_TYPE},
    {"uint8", TypeKind::UINT_8_TYPE},    {"int16", TypeKind::INT_16_TYPE},
    {"uint16", TypeKind::UINT_16_TYPE},  {"int32", TypeKind::INT_32_TYPE},
    {"uint32", TypeKind::UINT_32_TYPE},  {"int64", TypeKind::INT_64_TYPE},
    {"uint64", TypeKind::UINT_64_TYPE},  {"float32", TypeKind::FLOAT_32_TYPE},
    {"float64", TypeKind::FLOAT_64_TYPE}};

bool is_identifier(std::string_view text) {
    const auto is_letter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    return !text.empty() && !is_digit(text.front()) &&
           std::all_of(text.begin(), text.end(), [&](char c) { return is_letter(c) || is_digit(c); });
}

bool is_type_name(std::string_view text) {
    const auto parts = name_parts(text);
    const auto slashes = static_cast<std::size_t>(std::count(text.begin(), text.end(), '/'));
    return slashes + 1 == parts.size() && std::all_of(parts.begin(), parts.end(), is_identifier);
}

/// The lines of one message; every error names the line.
class MessageReader {
public:
    MessageReader(std::string name, const Section& section, const std::string& source)
        : definition_{std::move(name), {section.first_line}, {}}, source_(source), rest_(section.body) {}

    Definition read() {
        StructDefinition body{.members = {}, .extensibility = Extensibility::FINAL};
        for (position_ = definition_.position; !rest_.empty(); ++position_.line) {
            const std::string_view line = take_line(rest_);
            const std::size_t comment = std::min(line.find('#'), line.size());
            auto member = field(trimmed(line.substr(0, comment)));
            if (!member) continue;
            if (comment < line.size()) member->unit = unit_in_comment(line.substr(comment + 1));
            body.members.push_back(std::move(*member));
        }
        if (body.members.empty()) body.members.push_back(placeholder());
        definition_.body = std::move(body);
        return std::move(definition_);
    }

private:
    /// Nothing for an empty line and for a constant.
    std::optional<MemberDefinition> field(std::string_view line) const {
        if (line.empty()) return std::nullopt;
        const std::size_t type_end = std::min(line.find_first_of(" \t"), line.size());
        const std::string_view type = line.substr(0, type_end), rest = trimmed(line.substr(type_end));
        const std::size_t equals = rest.find('=');
        if (equals != std::string_view::npos && is_identifier(trimmed(rest.substr(0, equals))))
            return std::nullopt;
        const std::string_view name = rest.substr(0, rest.find_first_of(" \t"));
        if (!is_identifier(name)) throw expected("a type and a name", line);
        return MemberDefinition{std::string(name), type_of(type), position_};
    }

    TypeExpression type_of(std::string_view written) const {
        const std::size_t bracket = std::min(written.find('['), written.size());
        TypeExpression base = base_type(written.substr(0, bracket));
        if (bracket == written.size()) return base;
        std::string_view size = written.substr(bracket + 1);
        if (!size.ends_with(']')) throw expected("an array or sequence", written);
        size.remove_suffix(1);
        TypeExpression type{.form = Form::SEQUENCE, .arguments = {std::move(base)}, .position = position_};
        if (size.empty()) return type;
        if (size.starts_with("<="))
            size.remove_prefix(2);
        else
            type.form = Form::ARRAY;
        type.sizes.push_back(number(size, written));
        return type;
    }

    TypeExpression base_type(std::string_view written) const {
        TypeExpression type{.position = position_};
        const auto primitive = primitives.find(written);
        if (primitive != primitives.end()) {
            type.form = Form::PRIMITIVE;
            type.primitive = primitive->second;
            return type;
        }
        const std::size_t bound = std::min(written.find("<="), written.size());
        const std::string_view name = written.substr(0, bound);
        if (name == "string" || name == "wstring") {
            type.form = name == "string" ? Form::STRING : Form::WSTRING;
            if (bound < written.size()) type.sizes.push_back(number(written.substr(bound + 2), written));
            return type;
        }
        if (!is_type_name(written)) throw expected("a type", written);
        type.names = names_of(written);
        type.in_any_scope = true;
        return type;
    }

    /// Bare names belong to the package of the message, where they are messages even in a service.
    std::vector<std::string> names_of(std::string_view written) const {
        if (written == "time") return {"::builtin_interfaces::msg::Time"};
        if (written == "duration") return {"::builtin_interfaces::msg::Duration"};
        if (written.find('/') != std::string_view::npos) return {"::" + ros_name(written)};
        const auto parts = name_parts(definition_.name);
        const std::string own =
            parts.size() < 2 ? std::string(written) : scoped(scoped(parts.front(), "msg"), written);
        if (written == "Header") return {"::" + own, "::std_msgs::msg::Header"};
        return {"::" + own};
    }

    ConstantExpression number(std::string_view digits, std::string_view written) const {
        std::uint64_t value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size())
            throw expected("a number as the size", written);
        return ConstantExpression::of(Integer(value), position_);
    }

    /// The byte that a message without fields has on the wire.
    MemberDefinition placeholder() const {
        return {"structure_needs_at_least_one_member",
                {.form = Form::PLACEHOLDER, .position = position_},
                definition_.position};
    }

    InputError expected(const std::string& what, std::string_view found) const {
        return error_at(source_, position_, "expected " + what + ", found " + quoted(found));
    }

    Definition definition_;
    const std::string& source_;
    std::string_view rest_;
    Position position_;
};

void read_message(const std::string& name, const Section& section, DefinitionTable& table) {
    try {
        table.add(MessageReader(name, section, table.source()).read());
    } catch (const InputError& error) {
        table.add_broken(name, {section.first_line}, error);
    }
}

using Suffixes = std::span<const std::string_view>;

constexpr std::string_view service_parts[] = {"_Request", "_Response"};
constexpr std::string_view action_parts[] = {"_Goal", "_Result", "_Feedback"};

void read_parts(const std::string& name, const std::vector<Section>& parts, Suffixes suffixes,
                DefinitionTable& table) {
    for (std::size_t i = 0; i < parts.size(); ++i)
        read_message(name + std::string(suffixes[i]), parts[i], table);
}

/// What the lines "---" divide the body into.
std::vector<Section> parts_of(const Section& section) {
    std::vector<Section> parts{section};
    std::string_view rest = section.body;
    const char* begin = rest.data();
    for (std::uint64_t line = section.first_line; !rest.empty(); ++line) {
        const char* const line_begin = rest.data();
        if (take_line(rest) != "---") continue;
        parts.back().body = {begin, static_cast<std::size_t>(line_begin - begin)};
        begin = rest.data();
        parts.push_back({section.keyword, section.name, rest, line + 1});
    }
    return parts;
}

/// The service or action from which a type called `name` is made.
std::string_view interface_name(std::string_view name) {
    for (const std::string_view suffix : interface_suffixes)
        if (name.ends_with(suffix)) return name.substr(0, name.size() - suffix.size());
    return name;
}

struct DerivedType {
    std::string_view suffix;
    std::string_view text;  ///< "%" stands for the service's or action's name
};

constexpr DerivedType service_types[] = {
    {"_Event", "service_msgs/msg/ServiceEventInfo info\n%_Request[<=1] request\n%_Response[<=1] response"}};

constexpr DerivedType action_types[] = {
    {"_SendGoal_Request", "unique_identifier_msgs/UUID goal_id\n%_Goal goal"},
    {"_SendGoal_Response", "bool accepted\nbuiltin_interfaces/Time stamp"},
    {"_GetResult_Request", "unique_identifier_msgs/UUID goal_id"},
    {"_GetResult_Response", "int8 status\n%_Result result"},
    {"_FeedbackMessage", "unique_identifier_msgs/UUID goal_id\n%_Feedback feedback"}};

void add_derived(const std::string& name, std::span<const DerivedType> types, DefinitionTable& table) {
    for (const DerivedType& type : types) {
        std::string text;
        for (const char c : type.text)
            text += c == '%' ? display_name(name) : std::string(1, c);
        read_message(name + std::string(type.suffix), Section{.body = text}, table);
    }
}

/// The names X of ROS for which `table` has X with each of `suffixes`.
std::vector<std::string> names_with(Suffixes suffixes, const DefinitionTable& table) {
    std::vector<std::string> names;
    for (const std::string& name : table.names()) {
        if (!is_ros_name(name) || !name.ends_with(suffixes.front())) continue;
        const std::string stem = name.substr(0, name.size() - suffixes.front().size());
        if (std::all_of(suffixes.begin(), suffixes.end(),
                        [&](std::string_view suffix) { return table.find(stem + std::string(suffix)); }))
            names.push_back(stem);
    }
    return names;
}

}  // namespace

void read_message_text(const Section& section, DefinitionTable& table) {
    const std::vector<Section> parts = parts_of(section);
    if (parts.size() == 1) {
        read_message(ros_name(section.name), section, table);
    } else if (parts.size() == std::size(service_parts)) {
        read_parts(ros_name(interface_name(section.name), "srv"), parts, service_parts, table);
    } else if (parts.size() == std::size(action_parts)) {
        read_parts(ros_name(interface_name(section.name), "action"), parts, action_parts, table);
    } else {
        const Position position{parts[3].first_line - 1};
        table.add_broken(ros_name(section.name), position,
                         error_at(table.source(), position, "expected at most two lines '---'"));
    }
}

void add_derived_types(DefinitionTable& table) {
    for (const std::string& name : names_with(action_parts, table))
        add_derived(name, action_types, table);
    for (const std::string& name : names_with(service_parts, table))
        add_derived(name, service_types, table);
}

}  // namespace zun::schema
