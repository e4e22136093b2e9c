// Report: what a conversion did, topic by topic, and what it lost.

#ifndef ZUN_CONVERT_REPORT_REPORT_HPP
#define ZUN_CONVERT_REPORT_REPORT_HPP

#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "convert/plan/Reason.hpp"
#include "input/MessageStream.hpp"

namespace zun::convert {

/// A field whose elements did not all get into the file.
struct CutField {
    std::string field;          ///< "markers[*].points"
    std::uint32_t columns = 0;  ///< elements that have columns
    std::uint32_t longest = 0;  ///< elements of the longest sequence seen
    std::uint64_t rows = 0;     ///< rows with more elements than columns
    std::string rule = {};      ///< that asked for it, as the user wrote it; empty where none did
    Sentence remedy = {};       ///< what would keep all of it
};

struct TopicReport {
    std::string topic;
    std::string type_name;
    std::string file = {};                        ///< empty when the topic has none
    std::vector<std::string> further_files = {};  ///< of its rows, where one file may not have them all
    std::string sidecar = {};                     ///< the file that describes it; empty where none does
    std::optional<Reason> refusal = {};           ///< why it has none
    std::uint64_t messages = 0;                   ///< as the recording counts them
    std::uint64_t rows = 0;
    std::uint64_t longest_file_rows = 0;    ///< rows of the file that has most of them
    std::uint64_t columns = 0;              ///< without the timestamps
    std::uint64_t bytes = 0;                ///< of the files
    std::uint64_t unreadable = 0;           ///< messages that are no samples of the type
    std::vector<std::string> reasons = {};  ///< of the first few of them
    std::uint64_t left_over = 0;            ///< rows whose message goes on after the sample
    std::uint64_t unknown_members = 0;      ///< rows whose message has members that the type does not have
    std::uint64_t absent_members = 0;       ///< rows whose message lacks members of the type
    std::uint64_t invalid_text = 0;         ///< rows with text that is not UTF-8, or holds a zero
    std::vector<CutField> cuts = {};
    std::vector<Reason> hints = {};
};

struct RecordingReport {
    std::string name;
    std::string folder = {};
    std::string first = {};              ///< time of its first message, in RFC 3339; empty without messages
    std::string last = {};               ///< of its last
    std::optional<Reason> failure = {};  ///< why it was not converted
    bool finished = false;               ///< its files are complete
    std::vector<TopicReport> topics = {};
    std::set<std::string> built_in = {};  ///< types that nothing but the tool itself defines
    std::uint64_t messages_wanted = 0;    ///< on topics that have files, as the recording counts them
    std::uint64_t messages_met = 0;       ///< of those, the ones in the time span
    std::uint64_t problem_count = 0;
    std::uint64_t messages_lost = 0;            ///< by problems, as far as they can tell
    std::uint64_t messages_missing = 0;         ///< that the recording counts and that were not found
    std::vector<input::Problem> problems = {};  ///< the first few
    std::vector<Reason> losses = {};            ///< besides what the above tells
    std::vector<Reason> hints = {};
};

struct Report {
    std::string version = {};                                                    ///< of the tool
    std::vector<std::pair<std::string, std::vector<std::string>>> options = {};  ///< as the user gave them
    std::vector<RecordingReport> recordings = {};
    std::vector<Reason> losses = {};  ///< what was asked for and is in no recording
    std::vector<Reason> notes = {};   ///< options that had no effect
    bool dry_run = false;

    bool lost_anything() const;  ///< skipped, cut or damaged anything that was asked for
    bool cut_anything() const;
    bool finished_any() const;
};

enum class Detail : std::uint8_t { LOSSES, TABLE };

/// With its place; damage that ended the recording names that itself.
std::string text_of(const input::Problem& problem);
/// What was lost of a recording, complete.
std::vector<Reason> losses_of(const RecordingReport& recording);
/// What else is worth knowing; with `for_readers`, which programs cannot open the files as well.
std::vector<Reason> hints_of(const RecordingReport& recording, bool for_readers);

/// For people: the table of topics, what was lost, and hints; or what was lost alone. Whatever names hold,
/// it is printable text.
///
/// `name_width`  characters that the table shows of a topic's name
void print_report(std::ostream& out, const Report& report, Detail detail,
                  const Spelling& spelling = setting_and_value,
                  std::size_t name_width = std::numeric_limits<std::size_t>::max());
/// The whole of it for machines, as JSON.
void print_report_json(std::ostream& out, const Report& report, const Spelling& spelling = setting_and_value);

}  // namespace zun::convert

#endif
