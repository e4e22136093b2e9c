#include "input/mcap/ChannelTable.hpp"

#include <algorithm>
#include <iterator>

namespace zun::input::mcap {

namespace {

/// The recorder of Fast DDS keeps the partitions of a topic, and whether its types have the names of ROS,
/// with the channel; it collects the types themselves in an attachment.
bool is_fast_dds(const ChannelRecord& channel) {
    return channel.metadata.count("ros2-types") > 0 || channel.metadata.count("partitions") > 0;
}

}  // namespace

bool ChannelTable::add_schema(SchemaRecord schema) {
    if (schema.id == 0) return true;
    const auto [known, is_new] = schemas_.try_emplace(schema.id, schema);
    if (is_new || known->second == schema) return true;
    known->second = std::move(schema);
    return false;
}

bool ChannelTable::add_channel(ChannelRecord record, Place place) {
    std::vector<Definition>& known = definitions_[record.id];
    if (!known.empty() && known.back().record == record) return true;
    const auto index = static_cast<std::uint32_t>(channels_.size());
    Channel& channel = channels_.emplace_back();
    channel.topic = record.topic;
    channel.message_encoding = record.message_encoding;
    if (is_fast_dds(record)) channel.recorder = Recorder::FAST_DDS;
    const auto hash = record.metadata.find("topic_type_hash");
    if (hash != record.metadata.end()) channel.type_hash = hash->second;
    channel.source = source_;
    set_schema(record.schema_id, channel);
    known.push_back({place, index, std::move(record)});
    return known.size() == 1;
}

void ChannelTable::add_attachment(std::string_view name) {
    has_type_attachment_ |= name == "dynamic_types";
}

void ChannelTable::complete() {
    if (has_type_attachment_)
        for (Channel& channel : channels_)
            channel.recorder = Recorder::FAST_DDS;
    for (const auto& [id, definitions] : definitions_)
        for (const Definition& definition : definitions)
            if (Channel& channel = channels_[definition.index];
                channel.type_name.empty() && channel.schema_encoding.empty())
                set_schema(definition.record.schema_id, channel);
}

void ChannelTable::set_schema(std::uint16_t schema_id, Channel& channel) const {
    const auto found = schemas_.find(schema_id);
    if (found == schemas_.end()) return;
    channel.type_name = found->second.name;
    channel.schema_encoding = found->second.encoding;
    channel.schema_text = found->second.text;
}

std::uint32_t ChannelTable::index_at(std::uint16_t id, Place place) const {
    const std::vector<Definition>& known = definitions_.at(id);
    const auto next = std::upper_bound(known.begin(), known.end(), place,
                                       [](const Place& p, const Definition& d) { return p < d.place; });
    return next == known.begin() ? known.front().index : std::prev(next)->index;
}

}  // namespace zun::input::mcap
