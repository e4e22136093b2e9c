// LoadedPiece: the messages of a piece, in the order of delivery.

#ifndef ZUN_INPUT_MCAP_LOADED_PIECE_HPP
#define ZUN_INPUT_MCAP_LOADED_PIECE_HPP

#include <memory>
#include <mutex>

#include "input/mcap/Contents.hpp"

namespace zun::input::mcap {

/// An open file with its contents; its stream and its batches share it.
struct IndexedFile {
    explicit IndexedFile(const std::filesystem::path& path);

    File bytes;
    Contents contents;
};

/// What one pass delivers. Only read once made.
class Filter {
public:
    Filter(const ChannelTable& channels, const Selection& selection);

    /// The channel of a message at that place; `unwanted` where the selection excludes it, `undefined` where
    /// no channel has the id.
    std::uint32_t channel_of(std::uint16_t id, ChannelTable::Place place) const {
        const std::uint32_t route = id < routes_.size() ? routes_[id] : undefined;
        return route == ambiguous ? channel_at(id, place) : route;
    }
    bool wants(Time log_time) const {
        return (!start_ || log_time >= *start_) && (!end_ || log_time < *end_);
    }
    /// False when no message of the piece is wanted.
    bool wants(const Piece& piece) const;

    static constexpr std::uint32_t undefined = 0xFFFF'FFFF;
    static constexpr std::uint32_t unwanted = 0xFFFF'FFFE;

private:
    static constexpr std::uint32_t ambiguous = 0xFFFF'FFFD;  // the place decides

    bool wants_channel(std::uint32_t index) const { return selected_.empty() || selected_.at(index); }
    std::uint32_t channel_at(std::uint16_t id, ChannelTable::Place place) const;

    const ChannelTable& channels_;
    std::vector<bool> selected_;
    std::optional<Time> start_;
    std::optional<Time> end_;
    std::vector<std::uint32_t> routes_;  // by channel id
};

/// Read once, on the first thread that asks; batches that need the same piece share it.
class LoadedPiece {
public:
    LoadedPiece(std::shared_ptr<const IndexedFile> file, std::shared_ptr<const Filter> filter,
                const Piece& piece)
        : file_(std::move(file)), filter_(std::move(filter)), piece_(piece) {}

    /// Waits while another thread reads the same piece. What cannot be read is in problems() afterwards.
    void load();

    const Piece& piece() const { return piece_; }
    /// The messages with keys from `from` up to, not including, `until`. Those outside of the time range that
    /// the recording gives the piece count as if at its ends.
    std::span<const Message> between(const Key& from, const Key& until) const;
    /// What was lost in the piece; each of its batches has them, one reports them.
    std::span<const Problem> problems() const { return problems_; }

    // called by walk_records()
    void message(std::size_t offset, const MessageRecord& message);
    void record(std::size_t offset, Opcode opcode, Bytes content);

private:
    void read();
    void report_walk(const WalkEnd& end);
    void report(std::string text, std::uint64_t messages_lost = 0) {
        problems_.push_back(make_problem(file_->bytes.name(), piece_.offset, std::move(text), messages_lost));
    }
    void sort();

    std::shared_ptr<const IndexedFile> file_;
    std::shared_ptr<const Filter> filter_;
    const Piece& piece_;
    std::once_flag once_;
    Content content_;
    std::vector<Message> messages_;
    std::vector<Problem> problems_;
    std::uint64_t walked_ = 0;
    std::map<std::uint16_t, std::uint64_t> undefined_;  // messages by channel id
};

}  // namespace zun::input::mcap

#endif
