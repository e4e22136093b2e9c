// Conversion: recordings in, CSV files out.
//
//     open, find topics, measure lengths      for every recording
//     choose limits, count columns            for every topic of a recording
//     write headers and rows                  for every recording; its files appear together at its end

#ifndef ZUN_CONVERT_CONVERSION_HPP
#define ZUN_CONVERT_CONVERSION_HPP

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "convert/Settings.hpp"
#include "convert/passes/RecordingRun.hpp"
#include "convert/report/Report.hpp"
#include "convert/tasks/Measurement.hpp"
#include "convert/tasks/Plan.hpp"
#include "convert/tasks/TaskPart.hpp"
#include "schema/TypeCatalog.hpp"

namespace zun::convert {

class Conversion {
public:
    Conversion(Settings settings, std::vector<Recording> recordings, Watch watch)
        : settings_(std::move(settings)),
          watch_(std::move(watch)),
          recordings_(std::move(recordings)),
          rule_outcomes_(settings_.rules.size()) {}
    Conversion(const Conversion&) = delete;
    Conversion& operator=(const Conversion&) = delete;

    // Types that a recording does not define itself; sources that were added first win.
    void add_types(const std::filesystem::path& folder) { types_.catalog.add_folder(folder); }
    void add_types(const input::MessageStream& recording);
    /// Refuses types that only the tool itself defines.
    void leave_out_standard_types() { types_.catalog.leave_out_standard_types(); }
    schema::TypeCatalog& catalog() { return types_.catalog; }

    /// Converts all recordings; fills `report` while it goes, so that it tells what was finished when this
    /// throws.
    ///
    /// A recording that cannot be opened or has no wanted topic costs that recording.
    /// Throws  Refusal when a file exists already, before anything is written; std::system_error when one
    ///         cannot be written; InputError for damage where settings are strict; Interrupted
    void run(Report& report);

    /// The longest lengths of all recordings by topic name, for a limits file. Failures go into `report`.
    LimitsByTopic measure(Report& report);

    /// The limits that run() would give a topic, the columns of all recordings together. Throws
    /// std::runtime_error when there is no such topic, Refusal when it is refused; InputError and
    /// std::system_error when a recording cannot be opened.
    Limits plan(const std::string& topic);

    /// Recording `index` with its topics, of which nothing is measured yet; null, with the reason in
    /// `report`, when it cannot be opened or has no wanted topic.
    std::unique_ptr<RecordingRun> open(std::size_t index, RecordingReport& report,
                                       const input::Stretch& stretch = {});

    /// Bytes of a task, by those of all recordings.
    using PartSize = std::function<double(std::uint64_t)>;
    /// Adds the groups of topics to the recordings of `plan`, which are those of the conversion, and the
    /// tasks, at least one for each recording that can be opened. Failures go into `report`.
    void plan_tasks(Plan& plan, const PartSize& part_size, Report& report);
    /// Measures what task `number` (from 1) of `plan` reads. Throws std::runtime_error when its recording
    /// cannot be opened or is another than it was.
    Measurement measure_task(const Plan& plan, std::size_t number);
    /// Makes the rows of a task, in files of `folder`, which are there once this returns. Throws likewise.
    TaskPart make_part(const Plan& plan, std::size_t number, const std::filesystem::path& folder);
    /// Lets run() take lengths from `measured` instead of measuring, where there are any, and rows from
    /// `parts`, which are those of all tasks of `plan`.
    void take(const Plan& plan, const Measurement& measured, std::vector<TaskPart> parts);
    /// What was asked for and is in no recording that was opened, and which rules had no effect.
    void add_notes(Report& report) const;

private:
    Watch watch_of(std::size_t index) const;
    void add_names(const input::MessageStream& stream);
    std::string nearest_topics(const std::string& name) const;
    std::string problem_with(const Advice& expression, const FieldRule& rule) const;
    std::vector<Reason> unused_expressions() const;
    void add_unused(Advice::Setting setting, const FieldRule& rule, std::vector<Reason>& unused) const;
    void check_choices() const;
    void prepare(Report& report);
    void measure(std::size_t index, RecordingRun& run);
    std::unique_ptr<RecordingRun> open_task(const Plan& plan, std::size_t number, RecordingReport& report);
    std::vector<Limits> limits_of(RecordingRun& run, RecordingReport& report);
    void convert(std::size_t index, RecordingReport& report);
    std::vector<std::string> files_of(const std::vector<Topic>& topics) const;
    std::unique_ptr<Output> make_output(std::size_t index, const RecordingRun& run) const;
    void write_sidecars(RecordingRun& run, const std::vector<Limits>& limits, Output& output,
                        RecordingReport& report);
    void remove_leftovers(std::size_t index, const RecordingRun& run, RecordingReport& report) const;
    Limits wanted_limits(const Topic& topic);
    Limits limits_of(Topic& topic, TopicReport& report);

    const Settings settings_;
    Watch watch_;
    std::vector<Recording> recordings_;
    Types types_;
    std::set<std::string> topic_names_;  // of all recordings that were opened
    TopicLengths lengths_;
    TopicSpreads spreads_;
    bool lengths_are_sure_ = true;            // no message was missed when they were measured
    std::vector<RuleOutcome> rule_outcomes_;  // by rule
    ChoiceOutcomes outcomes_;                 // of all topics that were met
    /// What tasks have done.
    struct Done {
        std::vector<std::vector<std::size_t>> groups;  // by recording and topic
        Measurement measured;
        std::vector<std::vector<TaskPart>> parts;  // by recording
    };
    std::optional<Done> done_;
    /// By recording, with the batches that they have kept; null where it is opened again.
    std::vector<std::unique_ptr<RecordingRun>> kept_runs_;
};

}  // namespace zun::convert

#endif
