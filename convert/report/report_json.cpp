#include <array>
#include <charconv>
#include <string_view>

#include "convert/report/Report.hpp"

namespace zun::convert {

namespace {

/// Writes one JSON value; commas and quotes are its business.
class JsonWriter {
public:
    explicit JsonWriter(std::ostream& out) : out_(out) {}

    template <typename Write>
    void object(const Write& write) {
        nested('{', '}', write);
    }
    template <typename Write>
    void list(const Write& write) {
        nested('[', ']', write);
    }
    JsonWriter& key(std::string_view name) {
        separate();
        string(name);
        out_ << ':';
        fresh_ = true;
        return *this;
    }
    void value(const std::string& text) {
        separate();
        string(text);
    }
    void value(std::uint64_t number) {
        separate();
        out_ << number;
    }
    void value(bool flag) {
        separate();
        out_ << (flag ? "true" : "false");
    }
    template <typename Item, typename Write>
    void list_of(const std::vector<Item>& items, const Write& write) {
        list([&] {
            for (const Item& item : items)
                write(item);
        });
    }

private:
    template <typename Write>
    void nested(char begin, char end, const Write& write) {
        separate();
        out_ << begin;
        fresh_ = true;
        write();
        out_ << end;
        fresh_ = false;
    }

    void separate() {
        if (!fresh_) out_ << ',';
        fresh_ = false;
    }

    void string(std::string_view text) {
        out_ << '"';
        for (const char c : text) {
            if (c == '"' || c == '\\')
                out_ << '\\' << c;
            else if (static_cast<unsigned char>(c) < 0x20)
                out_ << "\\u00" << (c < 0x10 ? '0' : '1') << "0123456789abcdef"[c & 15];
            else
                out_ << c;
        }
        out_ << '"';
    }

    std::ostream& out_;
    bool fresh_ = true;  // no comma before the next item
};

void write_cut(JsonWriter& json, const CutField& cut) {
    json.object([&] {
        json.key("field").value(cut.field);
        json.key("columns").value(std::uint64_t{cut.columns});
        json.key("longest").value(std::uint64_t{cut.longest});
        json.key("rows").value(cut.rows);
        json.key("option").value(cut.option);
        if (!cut.rule.empty()) json.key("asked_by").value(cut.rule);
    });
}

void write_topic(JsonWriter& json, const TopicReport& topic) {
    const auto text = [&](const std::string& line) { json.value(line); };
    json.object([&] {
        json.key("topic").value(topic.topic);
        json.key("type").value(topic.type_name);
        if (!topic.file.empty()) json.key("file").value(topic.file);
        if (!topic.refusal.empty()) json.key("refusal").value(topic.refusal);
        json.key("messages").value(topic.messages);
        json.key("rows").value(topic.rows);
        json.key("columns").value(topic.columns);
        json.key("bytes").value(topic.bytes);
        json.key("unreadable").value(topic.unreadable);
        json.key("reasons").list_of(topic.reasons, text);
        json.key("left_over").value(topic.left_over);
        json.key("unknown_members").value(topic.unknown_members);
        json.key("absent_members").value(topic.absent_members);
        json.key("invalid_text").value(topic.invalid_text);
        json.key("cuts").list_of(topic.cuts, [&](const CutField& cut) { write_cut(json, cut); });
        json.key("hints").list_of(topic.hints, text);
    });
}

void write_problem(JsonWriter& json, const input::Problem& problem) {
    json.object([&] {
        json.key("source").value(problem.source);
        json.key("position").value(problem.position);
        json.key("text").value(problem.text);
        json.key("messages_lost").value(problem.messages_lost);
    });
}

void write_recording(JsonWriter& json, const RecordingReport& recording) {
    json.object([&] {
        json.key("recording").value(recording.name);
        json.key("folder").value(recording.folder);
        json.key("finished").value(recording.finished);
        if (!recording.failure.empty()) json.key("failure").value(recording.failure);
        json.key("topics").list_of(recording.topics,
                                   [&](const TopicReport& topic) { write_topic(json, topic); });
        json.key("problem_count").value(recording.problem_count);
        json.key("messages_lost").value(recording.messages_lost);
        json.key("messages_missing").value(recording.messages_missing);
        const auto problem = [&](const input::Problem& found) { write_problem(json, found); };
        json.key("problems").list_of(recording.problems, problem);
        json.key("hints").list_of(recording.hints, problem);
    });
}

}  // namespace

void print_report_json(std::ostream& out, const Report& report) {
    JsonWriter json(out);
    json.object([&] {
        json.key("lost_anything").value(report.lost_anything());
        json.key("dry_run").value(report.dry_run);
        json.key("recordings").list_of(report.recordings, [&](const RecordingReport& recording) {
            write_recording(json, recording);
        });
        json.key("losses").list_of(report.losses, [&](const std::string& loss) { json.value(loss); });
        json.key("hints").list_of(report.notes, [&](const std::string& note) { json.value(note); });
    });
    out << '\n';
}

}  // namespace zun::convert
