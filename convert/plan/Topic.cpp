#include "convert/plan/Topic.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "convert/plan/file_names.hpp"
#include "convert/plan/layouts.hpp"
#include "platform/fnmatch/MOSSString_fnmatch.hpp"
#include "platform/printing/SamplePrinter.hpp"

namespace zun::convert {

using input::Channel;

namespace {

bool matches_any(const std::vector<std::string>& patterns, const std::string& topic) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return MOSSString_fnmatch(pattern.c_str(), topic.c_str(), 0) == 0;
    });
}

std::string identity_of(const Channel& channel) {
    std::string identity;
    for (const std::string* part : {&channel.topic, &channel.message_encoding, &channel.type_name,
                                    &channel.schema_encoding, &channel.schema_text})
        identity += std::to_string(part->size()) + ':' + *part;
    return identity;
}

/// Only ROS 2 has these schema encodings; and without any, type names of its form.
cdr::Writer writer_of(const Channel& channel) {
    const bool ros = channel.schema_encoding == "ros2msg" || channel.schema_encoding == "ros2idl" ||
                     (channel.schema_text.empty() && channel.type_name.find('/') != std::string::npos);
    return ros ? cdr::Writer::ROS2 : cdr::Writer::UNKNOWN;
}

void set_type(Topic& topic, const core::xtypes::DynamicTypeImpl& type) {
    topic.type = type;
    topic.column_type = type;
}

/// Sets the type, or the reason why there is none. Returns what is known of the type where the messages have
/// to confirm it.
const schema::KnownType* find_type(Topic& topic, const Channel& channel, schema::TypeCatalog& catalog) {
    if (channel.message_encoding != "cdr") {
        topic.refusal = "its messages are encoded as '" + channel.message_encoding + "', not as CDR";
        return nullptr;
    }
    if (channel.type_name.empty()) {
        topic.refusal = "the recording does not name its type";
        return nullptr;
    }
    try {
        const schema::KnownType& known =
            catalog.find(channel.type_name, channel.schema_encoding, channel.schema_text);
        for (const auto& layout : known.layouts)  // throws when one is not decodable
            const printing::SamplePrinter decodable(layout, topic.name, topic.writer);
        if (!known.hint.empty()) topic.hints.push_back(known.hint);
        topic.built_in = known.built_in;
        set_type(topic, known.layouts.front());
        if (known.uncertain) return &known;
    } catch (const schema::UnknownType& problem) {
        topic.refusal = problem.what();
        topic.refusal +=
            "; --types PATH names a folder or a recording that defines '" + problem.type_name() + "'";
    } catch (const InputError& problem) {
        topic.refusal = std::string("its schema cannot be read: ") + problem.what();
    } catch (const std::invalid_argument& problem) {
        topic.refusal = problem.what();
    }
    return nullptr;
}

/// Lets the messages decide where `uncertain`, by topic, is not null.
void confirm_types(std::vector<Topic>& topics, const std::vector<const schema::KnownType*>& uncertain,
                   input::MessageStream& stream) {
    std::vector<LayoutQuestion> questions;
    std::vector<Topic*> asking;
    for (std::size_t i = 0; i < topics.size(); ++i) {
        if (!uncertain[i]) continue;
        questions.push_back({topics[i].channels, uncertain[i]});
        asking.push_back(&topics[i]);
    }
    find_layouts(stream, questions);
    for (std::size_t i = 0; i < questions.size(); ++i) {
        Topic& topic = *asking[i];
        if (questions[i].answer) {
            set_type(topic, *questions[i].answer);
            continue;
        }
        topic.type.reset();
        topic.column_type.reset();
        topic.built_in.clear();
        topic.refusal = "the recording does not define its type, and its messages fit no known layout of " +
                        topic.type_name + "; --types PATH names a folder or a recording that defines it";
    }
}

void name_files(std::vector<Topic>& topics) {
    std::vector<FileSubject> subjects;
    std::vector<Topic*> named;
    for (Topic& topic : topics) {
        if (!topic.type) continue;
        topic.other_type = std::any_of(named.begin(), named.end(),
                                       [&](const Topic* earlier) { return earlier->name == topic.name; });
        named.push_back(&topic);
        subjects.push_back({topic.name, topic.other_type ? topic.type_name : ""});
    }
    const std::vector<std::string> names = file_names(subjects);
    for (std::size_t i = 0; i < named.size(); ++i)
        named[i]->file = names[i] + ".csv";
}

}  // namespace

bool TopicFilter::accepts(const std::string& topic) const {
    return (wanted.empty() || matches_any(wanted, topic)) && !matches_any(unwanted, topic);
}

std::string exact_pattern(const std::string& topic) {
    std::string pattern;
    for (const char c : topic)
        pattern +=
            std::string("*?[\\").find(c) == std::string::npos ? std::string(1, c) : std::string{'\\', c};
    return pattern;
}

void leave_out_blobs(Topic& topic) {
    topic.left_out = blobs_of(*topic.type);
    if (topic.left_out) topic.column_type = remaining_type(*topic.type, *topic.left_out);
}

std::vector<Topic> topics_of(input::MessageStream& stream, schema::TypeCatalog& catalog,
                             const TopicFilter& filter) {
    std::vector<Topic> topics;
    std::vector<const schema::KnownType*> uncertain;  // by topic
    std::map<std::string, std::size_t> known;         // by identity
    const auto& counts = stream.summary().channels;
    for (std::uint32_t i = 0; i < stream.channels().size(); ++i) {
        const Channel& channel = stream.channels()[i];
        if (!filter.accepts(channel.topic)) continue;
        const std::string identity = identity_of(channel);
        const auto [place, is_new] = known.try_emplace(identity, topics.size());
        if (is_new) {
            topics.push_back({channel.topic, channel.type_name, identity});
            topics.back().writer = writer_of(channel);
            uncertain.push_back(find_type(topics.back(), channel, catalog));
        }
        Topic& topic = topics[place->second];
        topic.channels.push_back(i);
        topic.message_count += i < counts.size() ? counts[i].message_count : 0;
    }
    confirm_types(topics, uncertain, stream);
    name_files(topics);
    return topics;
}

}  // namespace zun::convert
