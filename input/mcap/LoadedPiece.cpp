#include "input/mcap/LoadedPiece.hpp"

namespace zun::input::mcap {

Filter::Filter(const ChannelTable& channels, const Selection& selection)
    : channels_(channels), selected_(selection.channels), start_(selection.start), end_(selection.end) {
    const auto& definitions = channels.definitions();
    if (!definitions.empty()) routes_.resize(definitions.rbegin()->first + std::size_t{1}, undefined);
    for (const auto& [id, meanings] : definitions) {
        const std::uint32_t index = meanings.front().index;
        routes_[id] = meanings.size() > 1 ? ambiguous : wants_channel(index) ? index : unwanted;
    }
}

bool Filter::wants(const Piece& piece) const {
    if ((start_ && piece.last_key().log_time < *start_) || (end_ && piece.first_key().log_time >= *end_))
        return false;
    const auto is_wanted = [&](std::uint16_t id) { return id >= routes_.size() || routes_[id] != unwanted; };
    return std::any_of(piece.channel_ids.begin(), piece.channel_ids.end(), is_wanted);
}

std::uint32_t Filter::channel_at(std::uint16_t id, ChannelTable::Place place) const {
    const std::uint32_t index = channels_.index_at(id, place);
    return wants_channel(index) ? index : unwanted;
}

void LoadedPiece::load() {
    std::call_once(once_, [this] { read(); });
}

void LoadedPiece::read() {
    content_ = read_content(file_->bytes, piece_);
    messages_.reserve(std::min<std::uint64_t>(piece_.message_count, content_.records.size() / message_bytes));
    const WalkEnd end = walk_records(content_, *this);
    report_walk(end);
    sort();
}

void LoadedPiece::message(std::size_t offset, const MessageRecord& message) {
    ++walked_;
    const std::uint32_t channel = filter_->channel_of(message.channel_id, {piece_.offset, offset});
    if (channel == Filter::undefined) ++undefined_[message.channel_id];
    if (channel >= Filter::unwanted) return;
    const Time log_time = Time::from_nanoseconds(message.log_time);
    if (!filter_->wants(log_time)) return;
    messages_.push_back({channel, log_time, Time::from_nanoseconds(message.publish_time), message.data});
}

/// The channels of an indexed recording are those of its summary. The records within the chunks must agree.
void LoadedPiece::record(std::size_t, Opcode opcode, Bytes content) {
    if (opcode != Opcode::CHANNEL || piece_.is_reported) return;
    const auto channel = parse_channel(content);
    const auto& definitions = file_->contents.channels.definitions();
    if (!channel) return report("channel record is too short for its fields");
    const auto known = definitions.find(channel->id);
    if (known != definitions.end() && known->second.front().record == *channel) return;
    report("channel " + std::to_string(channel->id) +
           " of the chunk is not the one of the summary, which is used");
}

void LoadedPiece::report_walk(const WalkEnd& end) {
    const std::string damage = describe_damage(piece_, content_, end);
    const std::uint64_t lost = piece_.message_count - std::min(piece_.message_count, walked_);
    if (piece_.is_reported) {
        // The scan has counted what can be read, so that less than this is news.
        if (lost > 0) report(damage.empty() ? "fewer messages than when the file was opened" : damage, lost);
        return;
    }
    if (!damage.empty() || lost > 0)
        report(damage.empty() ? "chunk has fewer messages than its index" : damage, lost);
    for (const auto& [id, count] : undefined_)
        report("messages on channel " + std::to_string(id) + ", which is not defined", count);
}

void LoadedPiece::sort() {
    const auto earlier = [](const Message& a, const Message& b) { return a.log_time < b.log_time; };
    if (!std::is_sorted(messages_.begin(), messages_.end(), earlier))
        std::stable_sort(messages_.begin(), messages_.end(), earlier);
    if (messages_.empty() || piece_.is_reported) return;
    if (messages_.front().log_time < piece_.first_key().log_time ||
        messages_.back().log_time > piece_.last_key().log_time)
        report("chunk has messages outside of the time range in its index; their order can be wrong");
}

std::span<const Message> LoadedPiece::between(const Key& from, const Key& until) const {
    const auto is_before = [&](const Message& m, const Key& key) {
        return Key{m.log_time, piece_.offset} < key;
    };
    const auto begin = from <= piece_.first_key()
                           ? messages_.begin()
                           : std::lower_bound(messages_.begin(), messages_.end(), from, is_before);
    const auto end = until > piece_.last_key() ? messages_.end()
                                               : std::lower_bound(begin, messages_.end(), until, is_before);
    return {begin, end};
}

}  // namespace zun::input::mcap
