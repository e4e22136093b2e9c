#include "convert/tasks/Measurement.hpp"

#include <set>
#include <stdexcept>

#include "convert/plan/text_of_file.hpp"
#include "convert/tasks/json.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

Json json_of(const TopicSpread& spread) {
    Json fields = Json::object();
    for (const auto& [name, field] : spread.fields) {
        Json& classes = fields[name] = Json::array();
        for (const auto& [samples, longest] : field.classes())
            classes.push_back({samples, longest});
    }
    return {{"messages", spread.messages}, {"fields", fields}};
}

TopicSpread spread_of(const Json& json) {
    TopicSpread spread{.messages = json.at("messages")};
    for (const auto& [name, classes] : json.at("fields").items()) {
        cdr::LengthSpread& field = spread.fields[name];
        for (std::size_t i = 0; i < classes.size(); ++i)
            field.add(i, {classes[i].at(0), classes[i].at(1)});
    }
    return spread;
}

Json json_of(const Measurement& measured) {
    Json groups = Json::object();
    for (const auto& [group, lengths] : measured.lengths)
        groups[std::to_string(group)]["lengths"] = lengths;
    for (const auto& [group, spread] : measured.spreads)
        groups[std::to_string(group)]["spread"] = json_of(spread);
    return {{"whole", measured.whole}, {"groups", groups}};
}

Measurement measurement_of(const Json& json) {
    Measurement measured{.whole = json.at("whole")};
    for (const auto& [name, group] : json.at("groups").items()) {
        const std::size_t number = std::stoul(name);
        measured.lengths[number] = group.at("lengths").get<Lengths>();
        if (group.contains("spread")) measured.spreads[number] = spread_of(group["spread"]);
    }
    return measured;
}

void add(Measurement& all, const Measurement& more) {
    all.whole = all.whole && more.whole;
    for (const auto& [group, lengths] : more.lengths)
        merge(all.lengths[group], lengths);
    for (const auto& [group, spread] : more.spreads)
        all.spreads[group].add(spread);
}

/// Adds the task of `file` to `found`, by its number.
void add_file(const std::filesystem::path& file, const Plan& plan,
              std::map<std::size_t, Measurement>& found) {
    const std::string text = text_of_file(file);
    try {
        const Json json = Json::parse(text);
        if (json.at("plan") == plan.id) {
            found.insert_or_assign(json.at("task").get<std::size_t>(), measurement_of(json));
            return;
        }
    } catch (const std::exception&) {
        throw InputError(file.string(), 1, "expected what 'dds2csv fit --plan' writes for a whole task");
    }
    throw InputError(file.string(), 1, "expected the lengths of this plan, found those of another");
}

}  // namespace

void write_measurement(std::ostream& out, const Measurement& measured, const Plan& plan, std::size_t number) {
    Json json = {{"plan", plan.id}, {"task", number}};
    json.update(json_of(measured));
    out << line_of(json);
}

Measurement read_measurements(const std::vector<std::filesystem::path>& files, const Plan& plan) {
    std::map<std::size_t, Measurement> found;
    for (const std::filesystem::path& file : files)
        add_file(file, plan, found);
    Measurement all;
    for (std::size_t number = 1; number <= plan.tasks.size(); ++number) {
        const auto task = found.find(number);
        if (task == found.end())
            throw std::runtime_error("the lengths of task " + std::to_string(number) + " of " +
                                     std::to_string(plan.tasks.size()) + " are missing");
        add(all, task->second);
    }
    return all;
}

std::string text_of(const Measurement& measured) {
    return line_of(json_of(measured));
}

Measurement measurement_of(const std::string& text) {
    return measurement_of(Json::parse(text));
}

}  // namespace zun::convert
