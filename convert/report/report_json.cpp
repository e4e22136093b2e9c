#include <nlohmann/json.hpp>

#include "convert/report/Report.hpp"

namespace zun::convert {

using nlohmann::ordered_json;

// The library finds these by their argument's namespace, which no unnamed one is.

static void to_json(ordered_json& json, const Reason& reason) {
    json = {{"code", reason.code}, {"text", reason.text}};
    if (!reason.details.empty()) json["details"] = reason.details;
}

static void to_json(ordered_json& json, const CutField& cut) {
    json = {{"field", cut.field},
            {"columns", cut.columns},
            {"longest", cut.longest},
            {"rows", cut.rows},
            {"option", cut.option}};
    if (!cut.rule.empty()) json["asked_by"] = cut.rule;
}

static void to_json(ordered_json& json, const TopicReport& topic) {
    json = {{"topic", topic.topic}, {"type", topic.type_name}};
    if (!topic.file.empty()) json["file"] = topic.file;
    if (topic.refusal) json["refusal"] = *topic.refusal;
    json["messages"] = topic.messages;
    json["rows"] = topic.rows;
    json["columns"] = topic.columns;
    json["bytes"] = topic.bytes;
    json["unreadable"] = topic.unreadable;
    json["reasons"] = topic.reasons;
    json["left_over"] = topic.left_over;
    json["unknown_members"] = topic.unknown_members;
    json["absent_members"] = topic.absent_members;
    json["invalid_text"] = topic.invalid_text;
    json["cuts"] = topic.cuts;
}

static void to_json(ordered_json& json, const RecordingReport& recording) {
    json = {{"recording", recording.name}, {"folder", recording.folder}, {"finished", recording.finished}};
    if (recording.failure) json["failure"] = *recording.failure;
    if (!recording.first.empty()) json["span"] = {{"first", recording.first}, {"last", recording.last}};
    json["topics"] = recording.topics;
    json["built_in"] = recording.built_in;
    json["problem_count"] = recording.problem_count;
    json["messages_lost"] = recording.messages_lost;
    json["messages_missing"] = recording.messages_missing;
    json["problems"] = ordered_json::array();
    for (const input::Problem& problem : recording.problems)
        json["problems"].push_back({{"source", problem.source},
                                    {"position", problem.position},
                                    {"text", problem.text},
                                    {"messages_lost", problem.messages_lost}});
    json["losses"] = losses_of(recording);
    json["hints"] = hints_of(recording, true);
}

void print_report_json(std::ostream& out, const Report& report) {
    ordered_json json = {{"lost_anything", report.lost_anything()}, {"version", report.version}};
    json["options"] = ordered_json::object();
    for (const auto& [name, values] : report.options)
        json["options"][name] = values;
    json["dry_run"] = report.dry_run;
    json["recordings"] = report.recordings;
    json["losses"] = report.losses;
    json["hints"] = report.notes;
    out << json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) << '\n';
}

}  // namespace zun::convert
