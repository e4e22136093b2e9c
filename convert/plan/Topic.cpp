#include "convert/plan/Topic.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "convert/plan/file_names.hpp"
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
cdr::Writer writer_of(const Channel& channel, cdr::Writer given) {
    const bool ros = channel.schema_encoding == "ros2msg" || channel.schema_encoding == "ros2idl" ||
                     (channel.schema_text.empty() && channel.type_name.find('/') != std::string::npos);
    if (ros || given != cdr::Writer::UNKNOWN) return ros ? cdr::Writer::ROS2 : given;
    // Fast DDS's recorder notes these of every channel.
    const bool fast_dds = channel.metadata.contains("partitions") || channel.metadata.contains("ros2-types");
    return fast_dds ? cdr::Writer::FAST_DDS : cdr::Writer::UNKNOWN;
}

/// Sets the type, or the reason why there is none.
void find_type(Topic& topic, const Channel& channel, schema::TypeCatalog& catalog) {
    if (channel.message_encoding != "cdr") {
        topic.refusal = "its messages are encoded as '" + channel.message_encoding + "', not as CDR";
        return;
    }
    if (channel.type_name.empty()) {
        topic.refusal = "the recording does not name its type";
        return;
    }
    try {
        const auto type = catalog.type_of(channel.type_name, channel.schema_encoding, channel.schema_text);
        const printing::SamplePrinter decodable(type, topic.name, topic.writer);  // throws when it is not
        topic.type = type;
        topic.column_type = type;
    } catch (const schema::UnknownType& problem) {
        topic.refusal = problem.what();
        topic.refusal +=
            "; --types PATH names a folder or a recording that defines '" + problem.type_name() + "'";
    } catch (const InputError& problem) {
        topic.refusal = std::string("its schema cannot be read: ") + problem.what();
    } catch (const std::invalid_argument& problem) {
        topic.refusal = problem.what();
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

std::vector<Topic> topics_of(const input::MessageStream& stream, schema::TypeCatalog& catalog,
                             const TopicFilter& filter, cdr::Writer writer) {
    std::vector<Topic> topics;
    std::map<std::string, std::size_t> known;  // by identity
    const auto& counts = stream.summary().channels;
    for (std::uint32_t i = 0; i < stream.channels().size(); ++i) {
        const Channel& channel = stream.channels()[i];
        if (!filter.accepts(channel.topic)) continue;
        const std::string identity = identity_of(channel);
        const auto [place, is_new] = known.try_emplace(identity, topics.size());
        if (is_new) {
            topics.push_back({channel.topic, channel.type_name, identity});
            topics.back().writer = writer_of(channel, writer);
            find_type(topics.back(), channel, catalog);
        }
        Topic& topic = topics[place->second];
        topic.channels.push_back(i);
        topic.message_count += i < counts.size() ? counts[i].message_count : 0;
    }
    name_files(topics);
    return topics;
}

}  // namespace zun::convert
