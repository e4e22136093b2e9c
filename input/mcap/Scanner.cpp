// scan: opens a recording by reading all of it, once, a piece at a time.
//
// Top-level records are followed by their lengths to the footer or to where the file breaks off; the records
// of each piece tell its channels, its time range and its messages.

#include <system_error>

#include "input/mcap/Contents.hpp"

namespace zun::input::mcap {

namespace {

/// Records outside of chunks are joined up to this size.
constexpr std::uint64_t run_bytes = 1 << 20;

class Scanner {
public:
    explicit Scanner(const File& file) : file_(file), contents_{ChannelTable(file.name())} {}

    Contents run();

    // called by walk_records()
    void message(std::size_t offset, const MessageRecord& message);
    void record(std::size_t offset, Opcode opcode, Bytes content);

private:
    /// Messages of a channel id since it got its present meaning.
    struct Tally {
        std::uint64_t count = 0;
        std::uint64_t first = std::numeric_limits<std::uint64_t>::max();  ///< log times, nanoseconds
        std::uint64_t last = 0;
        std::uint64_t begin = 0;         ///< offset of the piece with the first of them
        std::uint64_t latest_piece = 0;  ///< offset of the piece with the latest, 0 for none
    };
    /// A chunk whose message indexes, which follow it, tell what it should have held.
    struct DamagedChunk {
        std::uint64_t offset = 0;
        std::string damage;
        std::uint64_t found = 0;
        std::uint64_t indexed = 0;
    };

    bool step();
    void step_over(RecordHead head, std::uint64_t end);
    void stop_at_break(RecordHead head);
    void end_run();
    void survey(Piece piece);
    void add_schema(std::uint64_t position, Bytes content);
    void add_channel(ChannelTable::Place place, std::uint64_t position, Bytes content);
    void credit(std::uint32_t index, Tally& tally);
    void count_index(Bytes content);
    void report_damaged_chunk();
    void check_data_end(Bytes content);
    void check_file_end(std::uint64_t end);
    void fill_summary();
    void compare_statistics();
    void report(std::uint64_t position, std::string text, std::uint64_t messages_lost = 0) {
        contents_.problems.push_back(make_problem(file_.name(), position, std::move(text), messages_lost));
    }

    const File& file_;
    FileWindow window_{file_};
    Contents contents_;
    std::uint64_t at_ = magic.size();
    std::uint64_t run_begin_ = magic.size();  // of the records outside of chunks that end at at_
    std::vector<Tally> tallies_;              // by channel id
    Piece piece_;                             // being surveyed
    std::optional<DamagedChunk> damaged_;
    std::optional<StatisticsRecord> statistics_;
};

Contents Scanner::run() {
    try {
        while (step()) {
        }
    } catch (const std::system_error& error) {
        end_run();
        report(at_, "cannot be read on: " + error.code().message());
    }
    report_damaged_chunk();
    contents_.channels.complete();
    fill_summary();
    compare_statistics();
    return std::move(contents_);
}

/// Takes the record at `at_`; false when nothing follows it.
bool Scanner::step() {
    const Bytes bytes = window_.at(at_, head_bytes);
    if (bytes.size() < head_bytes) {
        end_run();
        report_damaged_chunk();
        report(file_.size(), bytes.empty() ? "file ends without a footer" : "file ends within a record");
        return false;
    }
    const RecordHead head = load_head(bytes);
    if (head.opcode == Opcode::NONE || head.length > file_.size() - at_ - head_bytes) {
        end_run();
        stop_at_break(head);
        return false;
    }
    step_over(head, at_ + head_bytes + head.length);
    return head.opcode != Opcode::FOOTER;
}

void Scanner::step_over(RecordHead head, std::uint64_t end) {
    const bool is_in_run =
        head.opcode == Opcode::SCHEMA || head.opcode == Opcode::CHANNEL || head.opcode == Opcode::MESSAGE;
    if (!is_in_run || end - run_begin_ > run_bytes) end_run();
    if (head.opcode != Opcode::MESSAGE_INDEX) report_damaged_chunk();

    const auto content = [&] { return window_.at(at_ + head_bytes, std::min(head.length, largest_bytes)); };
    if (head.opcode == Opcode::CHUNK) survey({.offset = at_, .bytes = end - at_, .is_chunk = true});
    if (head.opcode == Opcode::MESSAGE_INDEX && damaged_) count_index(content());
    if (head.opcode == Opcode::ATTACHMENT)
        contents_.channels.add_attachment(
            attachment_name(head.opcode, window_.at(at_ + head_bytes, std::min(head.length, run_bytes))));
    if (head.opcode == Opcode::STATISTICS) statistics_ = parse_statistics(content());
    if (head.opcode == Opcode::DATA_END) check_data_end(content());
    if (head.opcode == Opcode::FOOTER) check_file_end(end);
    at_ = end;
    if (!is_in_run) run_begin_ = end;
}

void Scanner::stop_at_break(RecordHead head) {
    report_damaged_chunk();
    if (head.opcode == Opcode::NONE) {
        report(at_, "zero bytes where a record is to begin; nothing is read from here on");
    } else if (head.opcode == Opcode::CHUNK) {
        survey({.offset = at_, .bytes = file_.size() - at_, .is_chunk = true});
    } else {
        report(at_, "record of " + std::to_string(head.length) + " bytes in a file that ends before");
    }
}

void Scanner::end_run() {
    if (run_begin_ < at_) survey({.offset = run_begin_, .bytes = at_ - run_begin_});
    run_begin_ = at_;
}

void Scanner::survey(Piece piece) {
    piece_ = std::move(piece);
    const Content content = read_content(file_, piece_);
    const WalkEnd end = walk_records(content, *this);
    piece_.content_bytes = content.storage.size();
    contents_.summary.add_compression(content.compression);
    piece_.is_reported = true;
    std::string damage = describe_damage(piece_, content, end);
    if (!damage.empty()) damaged_ = {piece_.offset, std::move(damage), piece_.message_count};
    if (piece_.message_count > 0) contents_.pieces.push_back(std::move(piece_));
}

void Scanner::message(std::size_t, const MessageRecord& message) {
    if (message.channel_id >= tallies_.size()) tallies_.resize(message.channel_id + std::size_t{1});
    Tally& tally = tallies_[message.channel_id];
    if (tally.count++ == 0) tally.begin = piece_.offset;
    tally.first = std::min(tally.first, message.log_time);
    tally.last = std::max(tally.last, message.log_time);
    if (tally.latest_piece != piece_.offset) piece_.channel_ids.push_back(message.channel_id);
    tally.latest_piece = piece_.offset;

    const bool is_first = piece_.message_count++ == 0;
    piece_.first = is_first ? message.log_time : std::min(piece_.first, message.log_time);
    piece_.last = std::max(piece_.last, message.log_time);
}

void Scanner::record(std::size_t offset, Opcode opcode, Bytes content) {
    const std::uint64_t position = piece_.offset + (piece_.is_chunk ? 0 : offset);
    if (opcode == Opcode::SCHEMA) add_schema(position, content);
    if (opcode == Opcode::CHANNEL) add_channel({piece_.offset, offset}, position, content);
}

void Scanner::add_schema(std::uint64_t position, Bytes content) {
    auto schema = parse_schema(content);
    if (!schema) return report(position, "schema record is too short for its fields");
    const std::string name = "schema " + std::to_string(schema->id);
    if (!contents_.channels.add_schema(std::move(*schema)))
        report(position, name + " is not what it was; channels defined from here on have the new one");
}

void Scanner::add_channel(ChannelTable::Place place, std::uint64_t position, Bytes content) {
    auto channel = parse_channel(content);
    if (!channel) return report(position, "channel record is too short for its fields");
    const std::uint16_t id = channel->id;
    if (contents_.channels.add_channel(std::move(*channel), place)) return;
    report(position, "channel " + std::to_string(id) + " is not what it was; it is another one from here on");
    const auto& meanings = contents_.channels.definitions().at(id);
    if (id < tallies_.size()) credit(std::prev(meanings.end(), 2)->index, tallies_[id]);
}

/// Counts the messages of an id, whose meaning ends here, for its channel.
void Scanner::credit(std::uint32_t index, Tally& tally) {
    Summary& summary = contents_.summary;
    summary.channels.resize(contents_.channels.channels().size());
    if (tally.count == 0) return;
    summary.channels[index].message_count += tally.count;
    const Time first = Time::from_nanoseconds(tally.first);
    const Time last = Time::from_nanoseconds(tally.last);
    summary.first = std::min(summary.first.value_or(first), first);
    summary.last = std::max(summary.last.value_or(last), last);
    tally = {.latest_piece = tally.latest_piece};
}

void Scanner::count_index(Bytes content) {
    Fields fields(content);
    fields.integer<std::uint16_t>();
    damaged_->indexed += fields.integer<std::uint32_t>() / 16;
}

void Scanner::report_damaged_chunk() {
    if (!damaged_) return;
    const std::uint64_t lost = damaged_->indexed - std::min(damaged_->indexed, damaged_->found);
    report(damaged_->offset, std::move(damaged_->damage), lost);
    damaged_.reset();
}

/// The checksum says nothing new where damage is known already.
void Scanner::check_data_end(Bytes content) {
    const auto crc = Fields(content).integer<std::uint32_t>();
    if (crc != 0 && contents_.problems.empty() && file_.crc(0, at_) != crc)
        report(at_, "checksum of the data section is wrong");
}

void Scanner::check_file_end(std::uint64_t end) {
    const Bytes tail = window_.at(end, magic.size());
    if (tail.size() < magic.size() || std::memcmp(tail.data(), magic.data(), magic.size()) != 0) {
        report(end, "file ends without the closing magic");
    } else if (end + magic.size() < file_.size()) {
        report(end + magic.size(), std::to_string(file_.size() - end - magic.size()) +
                                       " bytes behind the end of the recording are not read");
    }
}

void Scanner::fill_summary() {
    const auto& definitions = contents_.channels.definitions();
    contents_.summary.channels.resize(contents_.channels.channels().size());
    for (std::size_t id = 0; id < tallies_.size(); ++id) {
        const auto found = definitions.find(static_cast<std::uint16_t>(id));
        if (found != definitions.end()) {
            credit(found->second.back().index, tallies_[id]);
        } else if (tallies_[id].count > 0) {
            report(tallies_[id].begin, "messages on channel " + std::to_string(id) + ", which is not defined",
                   tallies_[id].count);
        }
    }
}

/// Messages that the statistics count, and that nothing else has told to be lost, are lost as well.
void Scanner::compare_statistics() {
    if (!statistics_) return;
    std::uint64_t known = 0;
    for (const ChannelSummary& channel : contents_.summary.channels)
        known += channel.message_count;
    for (const Problem& problem : contents_.problems)
        known += problem.messages_lost;
    if (statistics_->message_count != known)
        report(at_,
               "statistics count " + std::to_string(statistics_->message_count) + " messages, the file has " +
                   std::to_string(known),
               statistics_->message_count - std::min(statistics_->message_count, known));
}

}  // namespace

Contents scan(const File& file) {
    return Scanner(file).run();
}

}  // namespace zun::input::mcap
