// ChannelTable: the channels of an MCAP file, by the ids that its messages bear.

#ifndef ZUN_INPUT_MCAP_CHANNEL_TABLE_HPP
#define ZUN_INPUT_MCAP_CHANNEL_TABLE_HPP

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input/MessageStream.hpp"
#include "input/mcap/Records.hpp"

namespace zun::input::mcap {

/// The channels by their ids. A damaged or badly merged recording can give an id a new meaning on its way;
/// from that place on it is another channel.
class ChannelTable {
public:
    /// Where a record stands: its piece, and its offset in the content of the piece.
    struct Place {
        std::uint64_t piece = 0;
        std::uint64_t offset = 0;

        friend constexpr auto operator<=>(const Place&, const Place&) = default;
    };
    struct Definition {
        Place place;
        std::uint32_t index = 0;
        ChannelRecord record;
    };
    using Definitions = std::map<std::uint16_t, std::vector<Definition>>;

    explicit ChannelTable(std::string source) : source_(std::move(source)) {}

    /// False when the id had another schema until now; channels that follow have the new one.
    bool add_schema(SchemaRecord schema);
    /// False when the id was another channel until now.
    bool add_channel(ChannelRecord record, Place place);
    /// An attachment can tell what recorded the channels.
    void add_attachment(std::string_view name);
    /// Gives their schemas to the channels that were defined before them, and to all what the attachments
    /// told.
    void complete();

    bool has_schema(std::uint16_t id) const { return schemas_.count(id) > 0; }
    const std::vector<Channel>& channels() const { return channels_; }
    const Definitions& definitions() const { return definitions_; }
    /// The channel that `id`, which is defined, means at `place`.
    std::uint32_t index_at(std::uint16_t id, Place place) const;

private:
    void set_schema(std::uint16_t schema_id, Channel& channel) const;

    std::string source_;
    std::map<std::uint16_t, SchemaRecord> schemas_;
    Definitions definitions_;
    std::vector<Channel> channels_;
    bool has_type_attachment_ = false;
};

}  // namespace zun::input::mcap

#endif
