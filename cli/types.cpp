#include <filesystem>
#include <set>
#include <stdexcept>
#include <unistd.h>

#include <CLI/CLI.hpp>

#include "cli/Request.hpp"
#include "cli/Terminal.hpp"
#include "cli/commands.hpp"
#include "cli/find_recordings.hpp"
#include "convert/plan/nearest.hpp"
#include "platform/error/InputError.hpp"
#include "platform/text/visible.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::cli {

namespace {

using input::Channel;

struct TypesRequest : Request {
    std::vector<std::string> arguments = {};  ///< recordings, and behind them a type or a topic
};

bool is_recording(const std::string& argument) {
    return argument == "-" || std::filesystem::exists(argument);
}

/// Of all recordings.
std::vector<Channel> channels_of(const std::vector<convert::Recording>& recordings) {
    std::vector<Channel> channels;
    for (const convert::Recording& recording : recordings) {
        const auto stream = recording.open();
        channels.insert(channels.end(), stream->channels().begin(), stream->channels().end());
    }
    return channels;
}

std::string lines(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names)
        text += name + '\n';
    return text;
}

/// The definitions of the types of the channels that have the topic or type `name`, one after another.
std::string recorded_definitions(const std::string& name, const std::vector<Channel>& channels,
                                 schema::TypeCatalog& catalog) {
    std::set<std::string> texts;
    for (const Channel& channel : channels)
        if (channel.topic == name || channel.type_name == name)
            texts.insert(schema::whole_text(
                catalog.texts_of(channel.type_name, channel.schema_encoding, channel.schema_text)));
    std::string text;
    for (const std::string& one : texts)
        text += one;
    return text;
}

using Texts = std::vector<schema::DefinitionText>;

/// What defines a type that is known without recordings; nothing where it is not.
Texts known_texts(const std::string& name, schema::TypeCatalog& catalog) {
    try {
        return catalog.texts_of(name, "", "");
    } catch (const schema::UnknownType& problem) {
        if (problem.type_name() != name) throw;
        return {};
    }
}

/// The definition of a type, service or action that is known without recordings; empty where none is.
std::string known_definition(const std::string& name, schema::TypeCatalog& catalog) {
    Texts texts = known_texts(name, catalog);
    if (!texts.empty()) return schema::whole_text(texts);
    std::set<std::string> told;
    for (const char* const part : {"_Request", "_Response", "_Goal", "_Result", "_Feedback"})
        for (schema::DefinitionText& text : known_texts(name + part, catalog))
            if (told.insert(text.text).second) texts.push_back(std::move(text));
    return schema::whole_text(texts);
}

std::string definitions(const std::string& name, const std::vector<Channel>& channels,
                        schema::TypeCatalog& catalog) {
    std::string text = recorded_definitions(name, channels, catalog);
    if (text.empty()) text = known_definition(name, catalog);
    if (!text.empty()) return text;
    std::vector<std::string> names = catalog.names();
    for (const Channel& channel : channels)
        names.insert(names.begin(), {channel.topic, channel.type_name});
    throw std::runtime_error('\'' + name + "' is neither a known type nor a topic" +
                             convert::nearest_note(name, names));
}

/// Data for programs as it is; on a terminal, nothing that it obeys.
void write_text(const std::string& text) {
    write_data(::isatty(STDOUT_FILENO) == 1 ? visible_lines(text) : text);
}

int show_types(TypesRequest& request) {
    std::string name;
    if (!request.arguments.empty() && !is_recording(request.arguments.back())) {
        name = request.arguments.back();
        request.arguments.pop_back();
    }
    std::vector<convert::Recording> recordings;
    if (!request.arguments.empty())
        recordings = find_recordings(request.arguments, std::nullopt, request.links);
    const auto conversion = make_conversion(request, recordings, {{}, &end_requested()});
    const std::vector<Channel> channels = channels_of(recordings);
    if (!name.empty()) {
        write_text(definitions(name, channels, conversion->catalog()));
        return ALL_DONE;
    }
    std::set<std::string> names;
    for (const Channel& channel : channels)
        if (!channel.type_name.empty()) names.insert(channel.type_name);
    if (recordings.empty())
        for (const std::string& known : conversion->catalog().names())
            names.insert(known);
    write_text(lines(names));
    return ALL_DONE;
}

}  // namespace

void add_types(CLI::App& app, Action& action) {
    CLI::App& command = *app.add_subcommand("types", "Lists the types that are known, or shows a definition");
    const auto request = std::make_shared<TypesRequest>();
    command.footer(
        "Example: dds2csv types\n"
        "         dds2csv types sensor_msgs/msg/Imu\n"
        "         dds2csv types drive.mcap /imu\n\n"
        "Without recordings it is about the types that are built in, and those that --types and "
        "AMENT_PREFIX_PATH add. A definition is followed by those of the types in it.");
    command
        .add_option("RECORDING", request->arguments,
                    "whose types are listed, one or several, and behind them the type or topic to show")
        ->type_name("TOPIC")
        ->expected(0, CLI::detail::expected_max_vector_size);
    add_type_sources(command, *request);
    command.callback([request, &action] { action = [request] { return show_types(*request); }; });
}

}  // namespace zun::cli
