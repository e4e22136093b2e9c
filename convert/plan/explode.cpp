#include "convert/plan/explode.hpp"

#include <algorithm>
#include <optional>
#include <set>

#include "convert/plan/Limits.hpp"
#include "convert/plan/nearest.hpp"

namespace zun::convert {

using core::xtypes::DynamicTypeImpl;
using core::xtypes::TypeKind;

namespace {

constexpr const char* any_index_text = "[*]";

/// The names in front of each "[*]" in `full_name`: of the collections around it, the outermost first.
std::vector<std::string> collections_around(const std::string& full_name) {
    std::vector<std::string> names;
    for (std::size_t at = full_name.find(any_index_text); at != std::string::npos;
         at = full_name.find(any_index_text, at + 1))
        names.push_back(full_name.substr(0, at));
    return names;
}

/// Why `field` cannot be exploded; empty where it can.
std::string problem_with(const std::string& field, const std::vector<std::string>& sequences) {
    const auto is_sequence = [&](const std::string& name) {
        return std::find(sequences.begin(), sequences.end(), name) != sequences.end();
    };
    if (!is_sequence(field)) return '\'' + field + "' is no sequence" + nearest_note(field, sequences);
    for (const std::string& around : collections_around(field)) {
        if (!is_sequence(around)) return '\'' + field + "' lies in an array, '" + around + '\'';
        if (around.ends_with(']')) return '\'' + around + "' is an element of another sequence";
    }
    if (field.ends_with(']')) return '\'' + field + "' is an element of another sequence";
    return {};
}

}  // namespace

Explosion explosion_of(const DynamicTypeImpl& type, const std::shared_ptr<const cdr::View>& view,
                       const std::vector<std::string>& fields) {
    Explosion explosion;
    if (type.resolved().kind() != TypeKind::STRUCTURE_TYPE) {
        explosion.problem = "the type '" + type.name() + "' is no structure";
        return explosion;
    }
    std::vector<std::string> sequences;
    const Limits limits(type, view);
    for (const Limits::Field& field : limits.fields())
        sequences.push_back(field.full_name);
    std::set<std::string> exploded;
    for (const std::string& field : fields) {
        explosion.problem = problem_with(field, sequences);
        explosion.unknown = explosion.problem.ends_with("is no sequence");
        if (!explosion.problem.empty()) return explosion;
        const std::vector<std::string> around = collections_around(field);
        exploded.insert(around.begin(), around.end());
    }
    std::optional<std::string> innermost;
    for (const std::string& field : fields) {
        if (exploded.count(field) > 0) continue;  // another lies in it
        const auto depth = [](const std::string& name) { return collections_around(name).size(); };
        if (innermost && depth(*innermost) != depth(field))
            explosion.problem = '\'' + *innermost + "' and '" + field + "' are nested to different depths";
        if (depth(field) >= most_row_levels) explosion.problem = '\'' + field + "' is nested too deep";
        innermost = field;
    }
    exploded.insert(fields.begin(), fields.end());
    explosion.fields.assign(exploded.begin(), exploded.end());  // a name is behind those it begins with
    return explosion;
}

void ExplodeOutcome::add(const ExplodeOutcome& more) {
    followed = followed || more.followed;
    if (problem.empty()) problem = more.problem;
}

char index_letter(std::uint32_t level) {
    return static_cast<char>('i' + level);
}

std::string index_column(std::uint32_t level) {
    return std::string("[") + index_letter(level) + ']';
}

}  // namespace zun::convert
