// RecordingRun: the passes over one open recording.
//
//     topics()   what there is, and what becomes of it
//     measure()  a pass that reads lengths only
//     convert()  a pass that makes rows

#ifndef ZUN_CONVERT_PASSES_RECORDING_RUN_HPP
#define ZUN_CONVERT_PASSES_RECORDING_RUN_HPP

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/output/Output.hpp"
#include "convert/passes/BatchSource.hpp"
#include "convert/passes/PassStep.hpp"
#include "convert/plan/Topic.hpp"
#include "convert/plan/file_names.hpp"
#include "convert/plan/outliers.hpp"
#include "convert/report/Report.hpp"
#include "convert/tasks/TaskPart.hpp"

namespace zun::convert {

/// The longest lengths of each topic, by its identity.
using TopicLengths = std::map<std::string, Lengths>;

/// What a pass over lengths found out besides them.
struct Measured {
    bool whole = true;                  ///< all messages could be read
    std::uint64_t messages_wanted = 0;  ///< as RecordingReport has them; 0 when there was no such pass
    std::uint64_t messages_met = 0;
    TopicSpreads spreads = {};
};

class RowPass;

class RecordingRun {
public:
    /// Opens `recording` and finds its topics. `settings` must outlive the run.
    ///
    /// `kept_bytes`  of batches that the run may keep from the first pass for the second
    /// `stretch`     of what the settings ask for, that passes read
    RecordingRun(const Recording& recording, Types& types, const Settings& settings, Watch watch,
                 std::size_t kept_bytes, const input::Stretch& stretch = {});

    const input::MessageStream& stream() const { return *stream_; }
    std::vector<Topic>& topics() { return topics_; }
    const std::vector<Topic>& topics() const { return topics_; }
    /// Folders for blobs, by the numbers that topics have for them.
    const std::vector<std::string>& blob_folders() const { return blob_folders_; }
    /// Those without a field that is wanted, which are not among topics().
    const std::vector<std::string>& unwanted_topics() const { return unwanted_topics_; }
    /// Those that exist and are not made anew; their topics are not among topics().
    const std::vector<std::string>& kept_files() const { return kept_files_; }
    /// Of all topics, those not among topics() too.
    const ChoiceOutcomes& outcomes() const { return outcomes_; }
    const CompanionNames& companion_names() const { return companion_names_; }

    /// Adds the longest lengths of topics to `lengths`; there is no pass when none needs it.
    ///
    /// `wanted`  says which topics to measure
    Measured measure(TopicLengths& lengths, const std::function<bool(const Topic&)>& wanted);

    /// Writes the header and the rows of every topic that has a file, and adds to `report`.
    ///
    /// `limits`   by topic
    /// `lengths`  the longest there are, of the topics where they are known for sure
    /// `report`   its topics are those of the run
    /// `parts`    that have the rows, which are made where it is null. Throws std::runtime_error where one
    ///            has other columns
    void convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                 RecordingReport& report, const std::vector<TaskPart>* parts = nullptr);

    /// Writes the rows of the stretch, without headers. The part's place and lengths are left to the caller.
    TaskPart make_part(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                       RecordingReport report);

    /// Where in time the bytes are that a pass reads.
    std::vector<input::Extent> extents() { return stream_->extents(selection({})); }

private:
    input::Selection selection(const input::Stretch& stretch) const;
    Pass make_pass(std::string activity) const;
    Met make_rows(RowPass& converting);
    void count_missing(RecordingReport& report, const Met& met, std::uint64_t lost) const;

    const Settings& settings_;
    Watch watch_;
    std::unique_ptr<input::MessageStream> stream_;
    std::vector<Topic> topics_;
    ChoiceOutcomes outcomes_;
    std::vector<std::string> unwanted_topics_;
    std::vector<std::string> kept_files_;
    std::vector<std::string> blob_folders_;
    CompanionNames companion_names_;
    BatchSource batches_;
};

}  // namespace zun::convert

#endif
