// MergedStream: the files of a split recording as one stream.
//
// A file is opened once to learn its channels and its span of time, and again when its turn comes, so that a
// recording of a thousand files needs no more than a few at a time. The time axis is cut where files begin
// and end; within an interval of it the files are always the same:
//
//     file 0   |=========|                           interval 1: file 0           its batches as they are
//     file 1         |===========|                   interval 2: files 0 and 1    merged message by message
//     file 2                        |=====|          interval 3: file 1, ...

#ifndef ZUN_INPUT_BAG_MERGED_STREAM_HPP
#define ZUN_INPUT_BAG_MERGED_STREAM_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "input/MessageStream.hpp"
#include "input/bag/BagFolder.hpp"

namespace zun::input::rosbag2 {

class ProblemFilter;

class MergedStream final : public MessageStream {
public:
    struct Part {
        std::filesystem::path file;
        bool keep_open = true;  ///< between its turns
    };

    /// A part that is refused becomes a problem.
    /// Throws what the first part threw when all are refused.
    MergedStream(const std::vector<Part>& parts, OpenFile open_file);
    MergedStream(const MergedStream&) = delete;
    MergedStream& operator=(const MergedStream&) = delete;
    ~MergedStream() override;

    /// Adds to what opening has found.
    void add_problem(Problem problem);
    void add_compression(const std::string& name) { summary_.add_compression(name); }

    const std::vector<Channel>& channels() const override { return channels_; }
    const Summary& summary() const override { return summary_; }
    std::span<const Problem> problems() const override { return problems_; }
    bool holds_disk_space() const override;
    std::vector<Extent> extents(const Selection& selection) override;
    void start(const Selection& selection) override;
    std::unique_ptr<Batch> next_batch() override;

private:
    struct Source;
    struct Interval;
    struct Cursor;
    class RelabelledBatch;
    class CollectedBatch;

    void add_source(const Part& part);
    void add_channels(Source& source);
    void add_summary(Source& source);
    void cut_time();
    Selection selection_of(const Source& source) const;
    void enter_interval(const Interval& interval);
    void enter_source(const Interval& interval, std::size_t index);
    std::unique_ptr<Batch> pass_on();
    std::unique_ptr<Batch> merge();
    bool refill(Cursor& cursor, CollectedBatch& collected);
    std::unique_ptr<Batch> read(Cursor& cursor);
    void leave(const Cursor& cursor);

    OpenFile open_file_;
    std::vector<Source> sources_;
    std::vector<Interval> intervals_;
    std::vector<Channel> channels_;
    Summary summary_;
    std::vector<Problem> problems_;

    Selection selection_;
    std::size_t next_interval_ = 0;
    std::vector<Cursor> cursors_;            // of the current interval, in the order of their sources
    std::vector<Problem> pending_;           // for the next batch
    std::shared_ptr<ProblemFilter> filter_;  // outlives a pass with the batches that it delivered
};

}  // namespace zun::input::rosbag2

#endif
