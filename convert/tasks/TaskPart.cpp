#include "convert/tasks/TaskPart.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <system_error>
#include <tuple>

#include "convert/output/Output.hpp"
#include "convert/plan/text_of_file.hpp"
#include "convert/tasks/json.hpp"

namespace zun::convert {

namespace fs = std::filesystem;

namespace {

constexpr const char* mark_file = "task.json";
constexpr std::size_t reasons_kept = 3;

Json json_of(const input::Problem& problem) {
    return {{"source", problem.source},
            {"position", problem.position},
            {"text", problem.text},
            {"messages_lost", problem.messages_lost},
            {"hint", problem.hint}};
}

input::Problem problem_of(const Json& json) {
    return {json.at("source"), json.at("position"), json.at("text"), json.at("messages_lost"),
            json.at("hint")};
}

Json json_of(const TopicReport& topic) {
    Json cuts = Json::array();
    for (const CutField& cut : topic.cuts)
        cuts.push_back({cut.longest, cut.rows});
    return {{"rows", topic.rows},
            {"bytes", topic.bytes},
            {"unreadable", topic.unreadable},
            {"reasons", topic.reasons},
            {"left_over", topic.left_over},
            {"unknown_members", topic.unknown_members},
            {"absent_members", topic.absent_members},
            {"invalid_text", topic.invalid_text},
            {"cuts", cuts}};
}

TopicReport topic_of(const Json& json) {
    TopicReport topic;
    topic.rows = json.at("rows");
    topic.bytes = json.at("bytes");
    topic.unreadable = json.at("unreadable");
    topic.reasons = json.at("reasons").get<std::vector<std::string>>();
    topic.left_over = json.at("left_over");
    topic.unknown_members = json.at("unknown_members");
    topic.absent_members = json.at("absent_members");
    topic.invalid_text = json.at("invalid_text");
    for (const Json& cut : json.at("cuts"))
        topic.cuts.push_back({.field = "", .longest = cut.at(0), .rows = cut.at(1)});
    return topic;
}

Json json_of(const TaskPart& part) {
    Json topics = Json::array();
    for (const TopicReport& topic : part.topics)
        topics.push_back(json_of(topic));
    Json problems = Json::array();
    for (const input::Problem& problem : part.problems)
        problems.push_back(json_of(problem));
    Json json = {{"lengths", part.lengths}, {"met", part.met.messages}, {"met_all", part.met.all},
                 {"headers", part.headers}, {"topics", topics},         {"problems", problems}};
    if (part.met.cut) json["cut"] = json_of(*part.met.cut);
    return json;
}

TaskPart part_of(const Json& json, const fs::path& folder) {
    TaskPart part{.folder = folder, .headers = json.at("headers"), .lengths = json.at("lengths")};
    part.met = {json.at("met"), json.at("met_all")};
    for (const Json& topic : json.at("topics"))
        part.topics.push_back(topic_of(topic));
    for (const Json& problem : json.at("problems"))
        part.problems.push_back(problem_of(problem));
    if (json.contains("cut")) part.met.cut = problem_of(json["cut"]);
    return part;
}

/// Why a file of the part is not as the task left it; empty when all are.
std::string flaw_of(const TaskPart& part) {
    for (std::size_t i = 0; i < part.topics.size(); ++i) {
        const fs::path file = part.folder / rows_file(i);
        std::error_code error;
        const std::uint64_t bytes = part.topics[i].bytes == 0 ? 0 : fs::file_size(file, error);
        if (error || bytes != part.topics[i].bytes)
            return "'" + file.string() + "' is not as the task left it";
    }
    return "";
}

/// Throws std::runtime_error, whose text goes on from "task 3".
TaskPart read_part(const fs::path& folder, const Plan& plan, std::size_t number) {
    if (!fs::exists(folder / mark_file)) throw std::runtime_error("is not finished");
    const std::string text = text_of_file(folder / mark_file);
    Json json;
    try {
        json = Json::parse(text);
        if (json.at("version") != plan.version)
            throw std::runtime_error("was done by version " + json.at("version").get<std::string>());
        if (json.at("plan") != plan.id || json.at("task") != number)
            throw std::runtime_error("was done for another plan");
        TaskPart part = part_of(json, folder);
        const std::string flaw = flaw_of(part);
        if (flaw.empty()) return part;
        throw std::runtime_error("is not whole: " + flaw);
    } catch (const Json::exception&) {
        throw std::runtime_error("is not whole: '" + (folder / mark_file).string() +
                                 "' is no mark of a task");
    }
}

void add_topic(const TopicReport& more, TopicReport& report) {
    report.rows += more.rows;
    report.longest_file_rows += more.rows;
    report.bytes += more.bytes;
    report.unreadable += more.unreadable;
    report.left_over += more.left_over;
    report.unknown_members += more.unknown_members;
    report.absent_members += more.absent_members;
    report.invalid_text += more.invalid_text;
    for (std::size_t i = 0; i < more.reasons.size() && report.reasons.size() < reasons_kept; ++i)
        report.reasons.push_back(more.reasons[i]);
    for (std::size_t i = 0; i < std::min(more.cuts.size(), report.cuts.size()); ++i) {
        report.cuts[i].longest = std::max(report.cuts[i].longest, more.cuts[i].longest);
        report.cuts[i].rows += more.cuts[i].rows;
    }
}

/// Damage that several parts have met; each tells all that it met of it.
class SharedProblems {
public:
    void add(const std::vector<input::Problem>& met, std::vector<input::Problem>& to) {
        std::map<Key, std::size_t> here;
        for (const input::Problem& problem : met) {
            const Key key{problem.source, problem.position, problem.text};
            std::size_t& told = told_[key];
            if (++here[key] <= told) continue;
            ++told;
            to.push_back(problem);
        }
    }

private:
    using Key = std::tuple<std::string, std::uint64_t, std::string>;
    std::map<Key, std::size_t> told_;
};

}  // namespace

fs::path part_folder(const fs::path& output, std::size_t number) {
    return output / "parts" / std::to_string(number);
}

std::string rows_file(std::size_t topic) {
    return std::to_string(topic) + ".rows";
}

bool is_done(const fs::path& output, const Plan& plan, std::size_t number, const std::string& lengths) {
    const fs::path folder = part_folder(output, number);
    try {
        if (read_part(folder, plan, number).lengths == lengths) return true;
    } catch (const std::runtime_error&) {
        // It is made anew, whatever there is.
    }
    fs::remove(folder / mark_file);
    return false;
}

void write_part(const TaskPart& part, const Plan& plan, std::size_t number) {
    Json json = {{"version", plan.version}, {"plan", plan.id}, {"task", number}};
    json.update(json_of(part));
    OutputFiles output(part.folder, {mark_file}, {}, true);
    output.write(0, line_of(json));
    output.finish();
}

std::vector<TaskPart> read_parts(const fs::path& output, const Plan& plan) {
    std::vector<TaskPart> parts;
    for (std::size_t number = 1; number <= plan.tasks.size(); ++number) {
        const std::string name =
            "task " + std::to_string(number) + " of " + std::to_string(plan.tasks.size());
        try {
            parts.push_back(read_part(part_folder(output, number), plan, number));
        } catch (const std::runtime_error& problem) {
            throw std::runtime_error(name + ' ' + problem.what());
        }
        if (parts.back().lengths != parts.front().lengths)
            throw std::runtime_error(name + " follows other lengths than the first");
    }
    return parts;
}

std::size_t add_parts(const std::vector<TaskPart>& parts, RecordingReport& report,
                      std::vector<input::Problem>& problems, Met& met) {
    SharedProblems shared;
    met.messages.assign(report.topics.size(), 0);
    std::size_t count = 0;
    while (count < parts.size() && !met.cut) {
        const TaskPart& part = parts[count++];
        for (std::size_t i = 0; i < report.topics.size(); ++i) {
            add_topic(part.topics.at(i), report.topics[i]);
            met.messages[i] += part.met.messages.at(i);
        }
        shared.add(part.problems, problems);
        met.all += part.met.all;
        met.cut = part.met.cut;
    }
    return count;
}

}  // namespace zun::convert
