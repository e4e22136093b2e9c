// RecordingRun: the passes over one open recording.
//
//     topics()   what there is, and what becomes of it
//     measure()  a pass that reads lengths only
//     convert()  a pass that makes rows

#ifndef ZUN_CONVERT_PASSES_RECORDING_RUN_HPP
#define ZUN_CONVERT_PASSES_RECORDING_RUN_HPP

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/output/Output.hpp"
#include "convert/passes/BatchSource.hpp"
#include "convert/plan/Topic.hpp"
#include "convert/report/Report.hpp"

namespace zun::convert {

/// The longest lengths of each topic, by its identity.
using TopicLengths = std::map<std::string, Lengths>;

class RecordingRun {
public:
    /// Opens `recording` and finds its topics. `settings` and `watch` must outlive the run.
    RecordingRun(const Recording& recording, schema::TypeCatalog& catalog, const Settings& settings,
                 const Watch& watch);

    const input::MessageStream& stream() const { return *stream_; }
    std::vector<Topic>& topics() { return topics_; }

    /// Adds the longest lengths of all topics to `lengths`; the pass is left out when no topic needs it.
    void measure(TopicLengths& lengths);

    /// Writes the header and the rows of every topic that has a file, and adds to `report`.
    ///
    /// `limits`  by topic
    /// `report`  its topics are those of the run
    void convert(const std::vector<Limits>& limits, const TopicLengths& lengths, Output& output,
                 RecordingReport& report);

private:
    input::Selection selection() const;

    const Settings& settings_;
    const Watch& watch_;
    std::unique_ptr<input::MessageStream> stream_;
    std::vector<Topic> topics_;
    BatchSource batches_;
};

}  // namespace zun::convert

#endif
