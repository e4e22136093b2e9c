#include "input/sqlite/SqliteStream.hpp"

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "input/bytes/Decompressor.hpp"
#include "input/bytes/first_bytes.hpp"
#include "input/sqlite/RowBatch.hpp"
#include "input/sqlite/open_sqlite.hpp"
#include "platform/error/InputError.hpp"
#include "platform/text/interface_suffixes.hpp"

namespace zun::input::rosbag2 {

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t lowest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t highest = std::numeric_limits<std::int64_t>::max();

/// What one message takes besides its data, and how many bytes are looked at as one.
constexpr std::uint64_t row_bytes = 32;
constexpr std::uint64_t extent_bytes = std::uint64_t{1} << 16U;

/// The file, once it is known to be a database.
const fs::path& checked(const fs::path& file) {
    const std::vector<std::byte> first_bytes = read_first_bytes(file);
    if (!is_sqlite(first_bytes)) {
        throw InputError(file.string(), 0,
                         std::string("expected a SQLite database, found ") +
                             (first_bytes.empty() ? "an empty file" : "other content"));
    }
    return file;
}

InputError not_a_recording(const std::string& source, const DatabaseError& error) {
    return {source, 0, std::string("expected the tables of a rosbag2 recording, found: ") + error.what()};
}

/// Bytes that a payload takes once it is inflated, where it is a zstd frame.
std::size_t inflated_size(std::span<const std::byte> payload) {
    constexpr std::uint64_t largest = std::uint64_t{1} << 30U;  // a value in SQLite is not larger
    return is_zstd(payload) ? std::min(zstd_content_size(payload, payload.size()), largest) : payload.size();
}

/// Only for times within the 64-bit range.
std::int64_t nanoseconds(Time time) {
    constexpr std::int64_t second = 1'000'000'000;
    if (time.seconds >= 0) return time.seconds * second + time.nanoseconds;
    return (time.seconds + 1) * second - (second - time.nanoseconds);
}

/// The types under which the definition of a topic's type may be stored: its own, then that of the service or
/// action whose event or message it is.
std::vector<std::string> definition_names(const std::string& type) {
    std::vector<std::string> names = {type};
    for (const std::string_view suffix : interface_suffixes)
        if (type.ends_with(suffix)) names.push_back(type.substr(0, type.size() - suffix.size()));
    return names;
}

/// `end`  the row after the last lost one, `highest` when none follows
Problem unreadable_rows(const std::string& source, std::int64_t first, std::int64_t end,
                        const DatabaseError& error) {
    const auto position = static_cast<std::uint64_t>(first);
    const std::string from = "rows from " + std::to_string(first);
    if (end == highest) return {source, position, from + " on cannot be read: " + error.what()};
    return {source, position, from + " to " + std::to_string(end - 1) + " cannot be read: " + error.what(),
            static_cast<std::uint64_t>(end) - position};
}

/// Fills the temporary table row_order.
class RowOrder {
public:
    explicit RowOrder(Database& database) : database_(database), insert_(created(database), insert_sql) {}

    void add(std::int64_t timestamp, std::int64_t id, std::int64_t topic) {
        keys_.push_back({timestamp, id, topic});
        if (keys_.size() == 4096) flush();
    }
    // SQLite commits no transaction in which damage was met, so no row is read within one.
    void flush() {
        database_.execute("BEGIN");
        for (const auto& [timestamp, id, topic] : keys_) {
            insert_.start({timestamp, id, topic});
            insert_.step();
        }
        database_.execute("COMMIT");
        keys_.clear();
    }

private:
    static constexpr const char* insert_sql = "INSERT INTO temp.row_order VALUES (?1, ?2, ?3)";

    static Database& created(Database& database) {
        database.execute(
            "CREATE TEMP TABLE row_order (timestamp, id, topic_id, PRIMARY KEY (timestamp, id)) "
            "WITHOUT ROWID");
        return database;
    }

    Database& database_;
    Statement insert_;
    std::vector<std::array<std::int64_t, 3>> keys_;
};

/// Adds the rows from `next_id` on, which follows. Returns the damage that ends it, none at the end of the
/// rows.
std::optional<DatabaseError> add_rows(Statement& rows, std::int64_t& next_id, RowOrder& order) {
    try {
        for (rows.start({next_id}); next_id != highest && rows.step();) {
            const std::int64_t id = rows.integer(0);
            if (id < next_id) return DatabaseError("rows out of order", true);
            order.add(rows.integer(1), id, rows.integer(2));
            next_id = id == highest ? highest : id + 1;
        }
        return std::nullopt;
    } catch (const DatabaseError& error) {
        if (!error.damage()) throw;
        return error;
    }
}

/// The first row from `id` on, `highest` when there is none; unset when it cannot be read.
std::optional<std::int64_t> read_row(Statement& rows, std::int64_t id) {
    try {
        rows.start({id});
        const std::int64_t found = rows.step() ? rows.integer(0) : highest;
        if (found >= id) return found;
    } catch (const DatabaseError& error) {
        if (!error.damage()) throw;
    }
    return std::nullopt;
}

/// The first row after `bad` that can be read, `highest` for none. Strides double until one steps over the
/// damaged pages, then halve back to where they end.
std::int64_t next_readable(Statement& rows, std::int64_t bad) {
    constexpr std::int64_t longest_stride = std::int64_t{1} << 40U;
    std::int64_t high = 1;
    std::optional<std::int64_t> found;
    while (high < longest_stride && bad < highest - high) {
        found = read_row(rows, bad + high);
        if (found) break;
        high *= 2;
    }
    if (!found) return highest;
    for (std::int64_t low = high / 2; high - low > 1;) {
        const std::int64_t middle = low + (high - low) / 2;
        const auto nearer = read_row(rows, bad + middle);
        (nearer ? high : low) = middle;
        if (nearer) found = nearer;
    }
    return *found;
}

}  // namespace

SqliteStream::SqliteStream(const fs::path& file) try
    : source_(file.string()), files_(checked(file)), database_(files_) {
    if (files_.has_hot_journal())
        problems_.push_back({source_, 0,
                             "the journal beside it has changes that were not committed; "
                             "the messages are those from before"});
    read_topics();
    read_definitions();
    survey();
} catch (const DatabaseError& error) {
    throw not_a_recording(file.string(), error);
}

SqliteStream::~SqliteStream() = default;

// Columns go by name: their order differs between files, and most of them between versions.
void SqliteStream::read_topics() {
    for (const char* const table : {"topics", "messages"})
        if (!database_.has_table(table)) throw DatabaseError(std::string("no such table: ") + table, false);
    Statement topics(database_, "SELECT id, name, type, * FROM topics ORDER BY id");
    const auto column = [&](std::string_view name) -> std::optional<int> {
        for (int i = 3; i < topics.column_count(); ++i)
            if (topics.column_name(i) == name) return i;
        return std::nullopt;
    };
    const std::optional<int> encoding = column("serialization_format");
    const std::optional<int> hash = column("type_description_hash");
    while (topics.step()) {
        if (channel_of_topic_.contains(topics.integer(0)))
            throw DatabaseError("topics has the id " + topics.text(0) + " twice", false);
        Channel channel{.topic = topics.text(1),
                        .type_name = topics.text(2),
                        .message_encoding = encoding ? topics.text(*encoding) : "cdr",
                        .schema_encoding = "",
                        .schema_text = "",
                        .type_hash = hash ? topics.text(*hash) : "",
                        .source = source_};
        channel_of_topic_[topics.integer(0)] = static_cast<std::uint32_t>(channels_.size());
        channels_.push_back(std::move(channel));
    }
}

void SqliteStream::read_definitions() {
    if (!database_.has_table("message_definitions")) return;
    std::map<std::string, std::pair<std::string, SharedText>> definitions;  // encoding, text by type
    try {
        Statement rows(database_,
                       "SELECT topic_type, encoding, encoded_message_definition "
                       "FROM message_definitions ORDER BY id");
        while (rows.step())
            definitions.try_emplace(rows.text(0), rows.text(1), rows.text(2));
    } catch (const DatabaseError& error) {
        problems_.push_back({source_, 0, std::string("message definitions cannot be read: ") + error.what()});
    }
    for (Channel& channel : channels_) {
        for (const std::string& name : definition_names(channel.type_name)) {
            const auto found = definitions.find(name);
            if (found == definitions.end()) continue;
            std::tie(channel.schema_encoding, channel.schema_text) = found->second;
            break;
        }
    }
}

void SqliteStream::survey() {
    try {
        count_messages();
    } catch (const DatabaseError& error) {
        if (!error.damage()) throw;
        order_rows(problems_);
        count_messages();
    }
    if (!ordered_ && !has_time_index()) order_rows(problems_);
}

bool SqliteStream::has_time_index() {
    Statement index(database_,
                    "SELECT 1 FROM pragma_index_list('messages') AS l JOIN pragma_index_info(l.name) AS c "
                    "WHERE c.seqno = 0 AND c.name = 'timestamp' AND l.partial = 0");
    return index.step();
}

void SqliteStream::count_messages() {
    struct Orphans {
        std::int64_t first_row;
        std::uint64_t count = 0;
    };
    std::map<std::int64_t, Orphans> orphans;  // by a topic_id that topics does not have
    summary_ = {.channels = std::vector<ChannelSummary>(channels_.size()),
                .first = {},
                .last = {},
                .file_bytes = files_.size()};
    Statement rows(database_, std::string("SELECT topic_id, timestamp, id FROM ") +
                                  (ordered_ ? "temp.row_order" : "messages"));
    while (rows.step()) {
        const auto channel = channel_of_topic_.find(rows.integer(0));
        if (channel == channel_of_topic_.end()) {
            ++orphans.try_emplace(rows.integer(0), Orphans{rows.integer(2)}).first->second.count;
            continue;
        }
        ++summary_.channels[channel->second].message_count;
        const Time time = Time::from_nanoseconds(rows.integer(1));
        if (!summary_.first || time < *summary_.first) summary_.first = time;
        if (!summary_.last || time > *summary_.last) summary_.last = time;
    }
    for (const auto& [topic, lost] : orphans)
        problems_.push_back({source_, static_cast<std::uint64_t>(lost.first_row),
                             std::to_string(lost.count) + " messages of topic number " +
                                 std::to_string(topic) + ", which the table topics does not list",
                             lost.count});
}

/// Reads each row whole, so that those in row_order are known to be good.
void SqliteStream::order_rows(std::vector<Problem>& problems) {
    database_.grant_work();
    const std::string sql =
        "SELECT id, timestamp, topic_id, data FROM messages NOT INDEXED WHERE id >= ?1 ORDER BY id";
    Statement rows(database_, sql);
    Statement probe(database_, sql + " LIMIT 1");
    RowOrder order(database_);
    std::int64_t next_id = lowest;
    while (const std::optional<DatabaseError> damage = add_rows(rows, next_id, order)) {
        const std::int64_t lost_from = next_id == lowest ? 1 : next_id;
        next_id = next_readable(probe, lost_from);
        problems.push_back(unreadable_rows(source_, lost_from, next_id, *damage));
        if (next_id == highest) break;
    }
    order.flush();
    ordered_ = true;
}

/// Sizes come from the headers of the rows: SQLite leaves the data themselves where they are.
std::vector<Extent> SqliteStream::extents(const Selection& selection) {
    start(selection);
    std::vector<Extent> extents;
    Statement sizes(database_,
                    "SELECT timestamp, length(data) FROM messages WHERE timestamp BETWEEN ?1 AND ?2" +
                        (selected_topics_ ? " AND topic_id IN (" + *selected_topics_ + ")" : ""));
    try {
        for (sizes.start({first_timestamp_, last_timestamp_}); sizes.step();) {
            const Time time = Time::from_nanoseconds(sizes.integer(0));
            if (extents.empty() || extents.back().bytes >= extent_bytes) extents.push_back({time, time});
            Extent& extent = extents.back();
            extent.first = std::min(extent.first, time);
            extent.last = std::max(extent.last, time);
            extent.bytes += static_cast<std::uint64_t>(sizes.integer(1)) + row_bytes;
        }
    } catch (const DatabaseError& error) {
        if (!error.damage()) throw;  // the rows up to here are enough of a guess
    }
    return extents;
}

void SqliteStream::start(const Selection& selection) {
    database_.grant_work();
    selected_topics_.reset();
    const std::vector<bool>& chosen = selection.channels;
    if (std::find(chosen.begin(), chosen.end(), false) != chosen.end()) {
        std::string topics;
        for (const auto& [topic, channel] : channel_of_topic_) {
            if (!chosen[channel]) continue;
            if (!topics.empty()) topics += ",";
            topics += std::to_string(topic);
        }
        selected_topics_ = topics;
    }
    const Time range_begin = Time::from_nanoseconds(lowest);
    const Time range_end = Time::from_nanoseconds(highest);
    const auto& [from, until] = selection.stretch;
    const std::optional<Time> start = std::max(selection.start, from);  // unset is less than all
    std::optional<Time> end = selection.end;
    if (until) end = std::min(end.value_or(*until), *until);
    const bool nothing = (start && *start > range_end) || (end && *end <= range_begin);
    first_timestamp_ = start && *start > range_begin && !nothing ? nanoseconds(*start) : lowest;
    last_timestamp_ = end && *end <= range_end && !nothing ? nanoseconds(*end) - 1 : highest;
    delivered_.reset();
    problems_delivered_ = 0;
    has_ended_ = false;
    rows_.reset();
    if (!nothing) query_rows();
}

/// From the row after the one delivered last.
void SqliteStream::query_rows() {
    const std::string key = ordered_ ? "o" : "m";
    std::string sql = "SELECT " + key + ".id, " + key + ".topic_id, " + key + ".timestamp, m.data FROM ";
    sql += ordered_ ? "temp.row_order AS o CROSS JOIN messages AS m ON m.id = o.id" : "messages AS m";
    sql += " WHERE " + key + ".timestamp BETWEEN ?1 AND ?2";
    if (selected_topics_) sql += " AND " + key + ".topic_id IN (" + *selected_topics_ + ")";
    if (delivered_) sql += " AND (" + key + ".timestamp, " + key + ".id) > (?3, ?4)";
    sql += " ORDER BY " + key + ".timestamp, " + key + ".id";
    rows_ = std::make_unique<Statement>(database_, sql);
    if (delivered_) {
        rows_->start({first_timestamp_, last_timestamp_, delivered_->timestamp, delivered_->id});
    } else {
        rows_->start({first_timestamp_, last_timestamp_});
    }
}

bool SqliteStream::next_row() {
    try {
        return rows_->step();
    } catch (const DatabaseError& error) {
        if (ordered_ || !error.damage())
            throw InputError(source_, 0, std::string("cannot be read on: ") + error.what());
    }
    rows_.reset();
    order_rows(reading_problems_);
    query_rows();
    return next_row();
}

std::unique_ptr<Batch> SqliteStream::next_batch() {
    auto batch = std::make_unique<RowBatch>();
    while (rows_ && !batch->full()) {
        if (next_row()) {
            add_row(*batch);
        } else {
            rows_.reset();
        }
    }
    while (problems_delivered_ < reading_problems_.size())
        batch->add(reading_problems_[problems_delivered_++]);
    if (!rows_ && !std::exchange(has_ended_, true) && files_.have_changed())
        batch->add({source_, 0,
                    "the database or a journal beside it has changed since it was opened; "
                    "messages may be missing"});
    if (batch->empty()) return nullptr;
    return batch;
}

void SqliteStream::add_row(RowBatch& batch) {
    delivered_ = {.timestamp = rows_->integer(2), .id = rows_->integer(0)};
    const auto channel = channel_of_topic_.find(rows_->integer(1));
    if (channel == channel_of_topic_.end()) return;
    const std::span<const std::byte> payload = rows_->blob(3);
    batch.add(channel->second, Time::from_nanoseconds(delivered_->timestamp), payload,
              inflated_size(payload));
}

}  // namespace zun::input::rosbag2
