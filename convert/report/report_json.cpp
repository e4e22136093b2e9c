#include <nlohmann/json.hpp>

#include "convert/report/Report.hpp"

namespace zun::convert {

namespace {

using Json = nlohmann::ordered_json;

/// Makes JSON of the parts of a report.
struct JsonOf {
    const Spelling& spelling;

    Json operator()(const Reason& reason) const {
        Json json = {{"code", reason.code}, {"text", reason.text.spelled(spelling)}};
        if (!reason.details.empty()) json["details"] = reason.details;
        return json;
    }

    Json operator()(const CutField& cut) const {
        Json json = {{"field", cut.field},
                     {"columns", cut.columns},
                     {"longest", cut.longest},
                     {"rows", cut.rows},
                     {"option", cut.remedy.spelled(spelling)}};
        if (!cut.rule.empty()) json["asked_by"] = cut.rule;
        return json;
    }

    Json operator()(const input::Problem& problem) const {
        return {{"source", problem.source},
                {"position", problem.position},
                {"text", problem.text},
                {"messages_lost", problem.messages_lost}};
    }

    Json operator()(const TopicReport& topic) const {
        Json json = {{"topic", topic.topic}, {"type", topic.type_name}};
        if (!topic.file.empty()) json["file"] = topic.file;
        if (!topic.further_files.empty()) json["further_files"] = topic.further_files;
        if (!topic.sidecar.empty()) json["sidecar"] = topic.sidecar;
        if (topic.refusal) json["refusal"] = (*this)(*topic.refusal);
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
        json["cuts"] = list(topic.cuts);
        return json;
    }

    Json operator()(const RecordingReport& recording) const {
        Json json = {
            {"recording", recording.name}, {"folder", recording.folder}, {"finished", recording.finished}};
        if (recording.failure) json["failure"] = (*this)(*recording.failure);
        if (!recording.first.empty()) json["span"] = {{"first", recording.first}, {"last", recording.last}};
        json["topics"] = list(recording.topics);
        json["built_in"] = recording.built_in;
        json["problem_count"] = recording.problem_count;
        json["messages_lost"] = recording.messages_lost;
        json["messages_missing"] = recording.messages_missing;
        json["problems"] = list(recording.problems);
        json["losses"] = list(losses_of(recording));
        json["hints"] = list(hints_of(recording, true));
        return json;
    }

    template <typename Part>
    Json list(const std::vector<Part>& parts) const {
        Json json = Json::array();
        for (const Part& part : parts)
            json.push_back((*this)(part));
        return json;
    }
};

}  // namespace

void print_report_json(std::ostream& out, const Report& report, const Spelling& spelling) {
    const JsonOf json_of{spelling};
    Json json = {{"lost_anything", report.lost_anything()}, {"version", report.version}};
    json["options"] = Json::object();
    for (const auto& [name, values] : report.options)
        json["options"][name] = values;
    json["dry_run"] = report.dry_run;
    json["recordings"] = json_of.list(report.recordings);
    json["losses"] = json_of.list(report.losses);
    json["hints"] = json_of.list(report.notes);
    out << json.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace zun::convert
