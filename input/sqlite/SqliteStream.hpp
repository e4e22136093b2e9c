// SqliteStream: the rows of one .db3 file as messages, payloads as stored.
//
// Works on every version of the tables: what a version does not have (message definitions, quality of
// service) is absent in the channels. Rows come in the order of (timestamp, id), as the index on timestamps
// delivers them. Without that index, or when the database is damaged, a temporary table takes its place,
// which holds the keys of all the rows that can be read:
//
//     messages --(timestamp_idx)--------------> rows         a sound database
//     messages --> row_order --(its key)------> rows         no index, or damage

#ifndef ZUN_INPUT_SQLITE_SQLITE_STREAM_HPP
#define ZUN_INPUT_SQLITE_SQLITE_STREAM_HPP

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "input/MessageStream.hpp"
#include "input/sqlite/Database.hpp"

namespace zun::input::rosbag2 {

class RowBatch;

class SqliteStream final : public MessageStream {
public:
    /// Reads topics, definitions, and the keys of all messages.
    /// Throws InputError for a file that is not a recording of rosbag2.
    explicit SqliteStream(const std::filesystem::path& file);
    SqliteStream(const SqliteStream&) = delete;
    SqliteStream& operator=(const SqliteStream&) = delete;
    ~SqliteStream() override;

    const std::vector<Channel>& channels() const override { return channels_; }
    const Summary& summary() const override { return summary_; }
    std::span<const Problem> problems() const override { return problems_; }
    std::vector<Extent> extents(const Selection& selection) override;
    void start(const Selection& selection) override;
    std::unique_ptr<Batch> next_batch() override;

private:
    struct RowKey {
        std::int64_t timestamp;
        std::int64_t id;
    };

    void read_topics();
    void read_definitions();
    bool has_time_index();
    void survey();
    void count_messages();
    void order_rows(std::vector<Problem>& problems);
    void query_rows();
    bool next_row();
    void add_row(RowBatch& batch);

    std::string source_;
    DatabaseFiles files_;
    Database database_;
    std::vector<Channel> channels_;
    std::unordered_map<std::int64_t, std::uint32_t> channel_of_topic_;  // by topics.id
    Summary summary_;
    std::vector<Problem> problems_;
    std::vector<Problem> reading_problems_;  // found after opening; each pass delivers them
    bool ordered_ = false;                   // row_order is filled

    std::optional<std::string> selected_topics_;  // "1,3" for IN (...), all when unset
    std::int64_t first_timestamp_ = 0;
    std::int64_t last_timestamp_ = 0;
    std::unique_ptr<Statement> rows_;     // null before start() and after the last row
    std::optional<RowKey> delivered_;     // the last row of this pass
    std::size_t problems_delivered_ = 0;  // of reading_problems_, in this pass
    bool has_ended_ = false;              // this pass, with a look whether the files have changed
};

}  // namespace zun::input::rosbag2

#endif
