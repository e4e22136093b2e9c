#include "convert/plan/Topic.hpp"

#include <algorithm>
#include <map>
#include <stdexcept>

#include "convert/plan/file_names.hpp"
#include "convert/plan/layouts.hpp"
#include "platform/cdr/SampleDecoder.hpp"
#include "platform/fnmatch/MOSSString_fnmatch.hpp"
#include "schema/type_hash.hpp"

namespace zun::convert {

using input::Channel;

namespace {

bool matches_any(const std::vector<std::string>& patterns, const std::string& topic) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return MOSSString_fnmatch(pattern.c_str(), topic.c_str(), 0) == 0;
    });
}

/// Channels of one topic belong together when their types are the same, however they are written; those
/// without a type, when all that is known of it is.
std::string identity_of(const Topic& topic, const Channel& channel, Types& types) {
    std::string identity;
    const auto add = [&](const std::string& part) { identity += std::to_string(part.size()) + ':' + part; };
    add(topic.name);
    add(topic.type_name);
    if (const Accepted* const accepted = topic.accepted()) {
        add("type " + std::to_string(types.identities.of(accepted->type)));
        add(topic.writer == cdr::Writer::ROS2 ? "ROS 2" : "");
    } else {
        const auto known = types.refused_texts.try_emplace(channel.schema_text, types.refused_texts.size());
        for (const std::string& part : {channel.message_encoding, channel.schema_encoding,
                                        "text " + std::to_string(known.first->second)})
            add(part);
    }
    return identity;
}

/// Only ROS 2 has these schema encodings; and without any, type names of its form.
cdr::Writer writer_of(const Channel& channel, cdr::Writer given) {
    const bool ros = channel.schema_encoding == "ros2msg" || channel.schema_encoding == "ros2idl" ||
                     (channel.schema_text.str().empty() && channel.type_name.find('/') != std::string::npos);
    if (ros || given != cdr::Writer::UNKNOWN) return ros ? cdr::Writer::ROS2 : given;
    return channel.recorder == input::Recorder::FAST_DDS ? cdr::Writer::FAST_DDS : cdr::Writer::UNKNOWN;
}

/// What helps where `problem` is that a type has no definition.
Sentence missing_type(const std::string& problem) {
    return Sentence(problem + "; ") + Advice{Advice::Setting::TYPES} +
           " names a folder or a recording that defines it";
}

/// Takes the layout whose hash the recording gives, true where there is one; where there is none, a hint
/// tells.
bool take_by_hash(Accepted& accepted, const schema::KnownType& known, const Channel& channel) {
    if ((known.recorded && !known.uncertain) || !schema::is_type_hash(channel.type_hash)) return false;
    const auto has_hash = [&](const auto& layout) { return schema::type_hash(layout) == channel.type_hash; };
    const auto found = std::find_if(known.layouts.begin(), known.layouts.end(), has_hash);
    if (found != known.layouts.end()) {
        accepted.type = *found;
        return true;
    }
    if (schema::type_hash(known.layouts.front()))
        accepted.hints.push_back(
            {"type-hash",
             Sentence("no known layout of " + channel.type_name + " has the hash that the recording gives, " +
                      channel.type_hash + ", so that columns may bear the wrong names; ") +
                 Advice{Advice::Setting::TYPES} +
                 " names a folder or a recording with the right definition"});
    return false;
}

/// Finds the type, or the reason why there is none. Returns what is known of the type where only the messages
/// can confirm it.
const schema::KnownType* find_type(Topic& topic, const Channel& channel, schema::TypeCatalog& catalog) {
    const auto refuse = [&](const char* code, Sentence text) {
        topic.plan = Refused{{code, std::move(text)}};
        return nullptr;
    };
    if (channel.message_encoding != "cdr")
        return refuse("encoding",
                      "its messages are encoded as '" + channel.message_encoding + "', not as CDR");
    if (channel.type_name.empty()) return refuse("unnamed-type", "the recording does not name its type");
    try {
        const schema::KnownType& known =
            catalog.find(channel.type_name, channel.schema_encoding, channel.schema_text);
        for (const auto& layout : known.layouts)  // throws when one is not decodable
            const cdr::SampleDecoder decodable(layout, topic.name, topic.writer);
        Accepted accepted{.type = known.layouts.front(), .built_in = known.built_in};
        if (!known.hint.empty()) accepted.hints.push_back({"type-name", known.hint});
        const bool is_sure = take_by_hash(accepted, known, channel) || !known.uncertain;
        topic.plan = std::move(accepted);
        return is_sure ? nullptr : &known;
    } catch (const schema::UnknownType& problem) {
        // The text is the same whoever needs the type, so that a report names it once.
        return refuse("missing-type",
                      missing_type("the type '" + problem.type_name() + "' has no definition"));
    } catch (const InputError& problem) {
        return refuse("schema", std::string("its schema cannot be read: ") + problem.what());
    } catch (const std::invalid_argument& problem) {
        return refuse("unsupported-type", problem.what());
    }
}

/// Lets the messages decide where `uncertain`, by topic, is not null.
void confirm_types(std::vector<Topic>& topics, const std::vector<const schema::KnownType*>& uncertain,
                   input::MessageStream& stream, Types& types) {
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
            topic.accepted()->type = *questions[i].answer;
            topic.identity = identity_of(topic, stream.channels()[topic.channels.front()], types);
        } else {
            topic.plan = Refused{{"no-layout", missing_type("the recording does not define its type, and its "
                                                            "messages fit no known layout of " +
                                                            topic.type_name)}};
        }
    }
}

constexpr std::uint64_t most_sequences = 1U << 20U;
constexpr std::uint64_t most_sequences_blamed = 1U << 14U;

/// Excludes what is not chosen; refuses the topic where nothing is left.
void choose_fields(Topic& topic, const FieldChoice& choice) {
    Accepted& accepted = *topic.accepted();
    FieldsLeft left = fields_left(accepted.type, topic.name, choice);
    topic.fields = std::move(left.outcomes);
    if (left.nothing) {
        topic.plan = Refused{{"no-field", "it has no field that is wanted"}, true};
        return;
    }
    for (const std::string& name : left.left_out)
        accepted.request.named[name] = cdr::View::Shape::EXCLUDED;
    accepted.unwanted.insert(left.left_out.begin(), left.left_out.end());
}

/// Adds the sequences that rules for the topic name; what is excluded cannot be exploded.
void explode(const std::string& topic, Accepted& accepted, const std::vector<FieldRule>& rules) {
    const auto left =
        rules.empty() ? nullptr
                      : view_of(accepted.type, {.named = accepted.request.named, .blobs = Blobs::COLUMNS});
    std::vector<std::string> fields;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        if (!rules[i].is_for(topic)) continue;
        std::vector<std::string> more = fields;
        more.insert(more.end(), rules[i].fields.begin(), rules[i].fields.end());
        const Explosion explosion = explosion_of(accepted.type, left, more);
        const bool follows = explosion.problem.empty();
        const bool tells = !follows && (!rules[i].topic.empty() || !explosion.unknown);
        accepted.exploded[i] = {follows, tells ? topic + ": " + explosion.problem : ""};
        if (!follows) continue;
        fields = std::move(more);
        for (const std::string& field : explosion.fields)
            accepted.request.named[field] = cdr::View::Shape::ROWS;
    }
}

/// Decides what has columns, and refuses a topic that does not fit even while all sequences are empty.
void choose_columns(Topic& topic, const TopicChoice& choice) {
    Accepted& accepted = *topic.accepted();
    const PartCounts::Counts all = PartCounts(accepted.root()).of(accepted.root());
    if (all.sequences > most_sequences) {
        topic.plan =
            Refused{{"too-wide", "its type has more than " + std::to_string(most_sequences) + " sequences"}};
        return;
    }
    const bool by_name = !choice.fields.takes_all() || choice.view.blobs == Blobs::FILES;
    if (by_name && all.parts > most_named_parts) {
        topic.plan = Refused{{"too-wide", "its type has more than " + std::to_string(most_named_parts) +
                                              " fields, which is too many to tell apart by their names"}};
        return;
    }
    accepted.request = choice.view;
    if (!choice.fields.takes_all()) choose_fields(topic, choice.fields);
    if (topic.accepted() == nullptr) return;
    explode(topic.name, accepted, choice.explode);
    accepted.view = view_of(accepted.type, accepted.request);
    if (!choice.clock_field.empty()) accepted.clock = clock_view_of(accepted.type, choice.clock_field);
    const Part root = accepted.root();
    const PartCounts::Counts counts = PartCounts(root).of(root);
    if (counts.columns <= choice.most_columns) return;
    Limits::Blame blame;
    if (counts.sequences <= most_sequences_blamed) {
        Limits limits(accepted.type, accepted.view);
        Lengths empty;
        for (const Limits::Field& field : limits.fields())
            empty[field.full_name] = 0;
        limits.set(empty, Limits::Origin::MEASURED);
        blame = limits.blame();
    }
    topic.plan = too_wide(blame, counts.columns, choice.most_columns);
}

void name_files(std::vector<Topic>& topics) {
    std::vector<FileSubject> subjects;
    std::vector<Topic*> named;
    for (Topic& topic : topics) {
        Accepted* const accepted = topic.accepted();
        if (accepted == nullptr) continue;
        accepted->other_type = std::any_of(named.begin(), named.end(),
                                           [&](const Topic* earlier) { return earlier->name == topic.name; });
        named.push_back(&topic);
        subjects.push_back({topic.name, accepted->other_type ? topic.type_name : ""});
    }
    const std::vector<std::string> names = file_names(subjects);
    for (std::size_t i = 0; i < named.size(); ++i)
        named[i]->accepted()->file = names[i] + ".csv";
}

}  // namespace

void ChoiceOutcomes::add(const Topic& topic) {
    const Accepted* const accepted = topic.accepted();
    if (accepted != nullptr)
        add({.any_accepted = true,
             .any_clock = accepted->clock != nullptr,
             .exploded = accepted->exploded,
             .fields = topic.fields});
    else
        add({.any_unwanted = std::get<Refused>(topic.plan).unwanted, .fields = topic.fields});
}

void ChoiceOutcomes::add(const ChoiceOutcomes& more) {
    any_accepted = any_accepted || more.any_accepted;
    any_unwanted = any_unwanted || more.any_unwanted;
    any_clock = any_clock || more.any_clock;
    for (const auto& [rule, outcome] : more.exploded)
        exploded[rule].add(outcome);
    for (const auto& [expression, outcome] : more.fields)
        fields[expression].add(outcome);
}

Refused too_wide(const Limits::Blame& blame, std::uint64_t columns, std::uint64_t most) {
    using enum Advice::Setting;
    const std::string needed = std::to_string(columns);
    Sentence text = Sentence("it needs " + needed + " columns, ") + Advice{MOST_COLUMNS} + " allows " +
                    std::to_string(most);
    if (!blame.full_name.empty())
        text += "; '" + blame.full_name + "' has " + std::to_string(blame.elements) + " elements";
    if (blame.limited) text += Sentence(", ") + Advice{LIMIT, blame.full_name + "=N"} + " keeps N of them";
    if (blame.blob) text += Sentence(", ") + Advice{SKIP_BLOBS} + " leaves them out";
    text += Sentence("; ") + Advice{MOST_COLUMNS, needed} + " lets the topic through";
    return {{"too-wide", std::move(text)}};
}

std::vector<std::string> name_blob_folders(std::vector<Topic>& topics) {
    std::vector<FileSubject> subjects;
    for (Topic& topic : topics) {
        Accepted* const accepted = topic.accepted();
        if (accepted == nullptr || accepted->view == nullptr) continue;
        for (std::string field : accepted->view->files) {
            for (std::size_t at = field.find("[*]"); at != std::string::npos; at = field.find("[*]"))
                field.erase(at, 3);
            accepted->blob_folders.push_back({subjects.size(), ""});
            subjects.push_back({topic.name + '.' + field});
        }
    }
    std::vector<std::string> names = file_names(subjects);
    for (Topic& topic : topics)
        if (Accepted* const accepted = topic.accepted())
            for (BlobFolder& folder : accepted->blob_folders)
                folder.name = names[folder.number];
    return names;
}

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

std::vector<Topic> topics_of(input::MessageStream& stream, Types& types, const TopicChoice& choice) {
    std::vector<Topic> topics;
    std::vector<const schema::KnownType*> uncertain;  // by topic
    std::map<std::string, std::size_t> known;         // by identity
    const auto& counts = stream.summary().channels;
    for (std::uint32_t i = 0; i < stream.channels().size(); ++i) {
        const Channel& channel = stream.channels()[i];
        if (!choice.filter.accepts(channel.topic)) continue;
        Topic found{channel.topic, channel.type_name};
        found.writer = writer_of(channel, choice.writer);
        const schema::KnownType* const to_confirm = find_type(found, channel, types.catalog);
        found.identity = identity_of(found, channel, types);
        const auto [place, is_new] = known.try_emplace(found.identity, topics.size());
        if (is_new) {
            topics.push_back(std::move(found));
            uncertain.push_back(to_confirm);
        }
        Topic& topic = topics[place->second];
        topic.channels.push_back(i);
        topic.message_count += i < counts.size() ? counts[i].message_count : 0;
    }
    confirm_types(topics, uncertain, stream, types);
    name_files(topics);
    for (Topic& topic : topics)
        if (topic.accepted() != nullptr) choose_columns(topic, choice);
    return topics;
}

}  // namespace zun::convert
