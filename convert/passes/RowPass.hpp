// RowPass: the pass that makes rows.

#ifndef ZUN_CONVERT_PASSES_ROW_PASS_HPP
#define ZUN_CONVERT_PASSES_ROW_PASS_HPP

#include <deque>
#include <functional>
#include <optional>
#include <span>

#include "convert/output/Output.hpp"
#include "convert/passes/CutCounter.hpp"
#include "convert/passes/PassStep.hpp"
#include "convert/passes/Pool.hpp"
#include "convert/passes/RowWriter.hpp"
#include "convert/plan/Limits.hpp"
#include "convert/plan/file_names.hpp"
#include "convert/report/Report.hpp"
#include "platform/cdr/LengthMeter.hpp"

namespace zun::convert {

/// One topic, for all threads.
class TopicRows {
public:
    /// All must outlive this.
    ///
    /// `lengths`  the longest of each field, where they are known
    TopicRows(const Topic& topic, const Settings& settings, const TimeStyle& times, const Limits& limits,
              const Lengths* lengths, Output& output);

    /// For one thread at a time: takes what it needs, and gives it back.
    class Rows;

    std::string header();
    std::vector<CutField> cuts() const;  ///< what may be cut, uncounted

private:
    std::unique_ptr<RowWriter> take_converter();
    std::unique_ptr<cdr::LengthMeter> take_meter();

    const Topic& topic_;
    const Settings& settings_;
    const TimeStyle& times_;
    Output& output_;  // of blobs
    Columns columns_;
    std::optional<CutSlots> cut_slots_;  // none when nothing can be cut
    Pool<RowWriter> converters_;
    Pool<cdr::LengthMeter> meters_;
};

/// Counts `problem` in `report`; where damage is an error, throws it as InputError instead.
void add_problem(RecordingReport& report, const input::Problem& problem, bool strict);

class RowPass {
public:
    /// What becomes of damage that is met; called in order.
    using Tell = std::function<void(const input::Problem&)>;

    /// All must outlive this.
    ///
    /// `limits`  by topic
    /// `report`  its topics are `topics`
    RowPass(const std::vector<Topic>& topics, const Settings& settings, const TimeStyle& times,
            const std::vector<Limits>& limits, const std::map<std::string, Lengths>& lengths,
            const CompanionNames& names, Output& output, RecordingReport& report, Tell tell);

    /// Writes the header of every topic that has a file.
    void write_headers();
    /// By topic; empty where it has no file.
    std::vector<std::string> headers();
    std::unique_ptr<Step> step(Pass& pass, SourceBatch batch);

private:
    class RowStep;

    /// A topic with its files.
    struct Work {
        std::optional<TopicRows> rows = {};  // none where there is no file
        std::uint64_t file_number = 1;
        std::uint64_t file_rows = 0;  // in the last file
    };

    void write(std::size_t topic, std::string_view text);
    void write_header(std::size_t topic);
    void write_rows(std::size_t topic, std::string_view text, std::span<const std::size_t> ends);
    void begin_file(std::size_t topic);

    const Settings& settings_;
    const CompanionNames& names_;
    Output& output_;
    RecordingReport& report_;
    Tell tell_;
    std::deque<Work> work_;  // by topic
};

}  // namespace zun::convert

#endif
