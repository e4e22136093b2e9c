// Settings: what the user asks of a conversion.

#ifndef ZUN_CONVERT_SETTINGS_HPP
#define ZUN_CONVERT_SETTINGS_HPP

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "convert/output/Clock.hpp"
#include "convert/output/time_text.hpp"
#include "convert/plan/Limits.hpp"
#include "convert/plan/Topic.hpp"
#include "convert/plan/column_names.hpp"
#include "convert/plan/limits_file.hpp"
#include "input/MessageStream.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/printing/ValueText.hpp"

namespace zun::convert {

struct Settings {
    TopicFilter topics = {};
    std::optional<TimeBound> start = {};
    std::optional<TimeBound> end = {};
    Thinning every = {};  ///< of the messages of each topic

    ColumnNames column_names = ColumnNames::DOTS;
    std::string empty_text = "nil";  ///< no comma, double quote or line break in it
    bool enum_as_string = true;
    bool byte_order_mark = false;  ///< of UTF-8, before each header
    bool plain_lengths = false;    ///< of sequences; else right-aligned in 15 characters
    Clock clock = Clock::RECEPTION;
    std::string clock_field = {};  ///< full name of a stamp, or of what has a member "stamp"
    TimeFormat time_format = TimeFormat::NANOSECONDS;

    bool fit = true;                           ///< limits from the data
    std::optional<LimitsByTopic> limits = {};  ///< by topic, instead of measuring
    std::vector<LimitRule> rules = {};
    std::uint64_t most_columns = 16'384;
    std::optional<std::uint64_t> most_rows = {};  ///< in a file; the others go into further files
    Blobs blobs = Blobs::AUTO;                    ///< FILES: not for standard output
    bool text_arrays = false;                     ///< arrays and sequences of characters are one text
    bool joined_stamps = false;                   ///< structures of seconds and nanoseconds are one time
    FieldChoice fields = {};
    std::vector<FieldRule> explode = {};
    printing::TextStyle text_style = {};
    cdr::Writer writer = cdr::Writer::UNKNOWN;  ///< of messages that do not show theirs

    unsigned jobs = 1;
    bool overwrite = false;  ///< files that exist are replaced
    bool skip_existing =
        false;            ///< files that exist are kept, and their topics not read; not for standard output
    bool strict = false;  ///< the first damage is an error
    bool dry_run = false;
    bool to_stdout = false;  ///< one topic, no files
    bool sidecars = false;   ///< beside each topic's file, one that says what is in it
};

/// One input of a conversion.
struct Recording {
    std::string name;              ///< as the user gave it
    std::filesystem::path folder;  ///< of its files
    std::function<std::unique_ptr<input::MessageStream>()> open;
};

/// Whoever looks on while a conversion runs.
struct Watch {
    /// Called on one thread at a time; `total` is what the recording says of itself.
    std::function<void(const std::string& activity, std::uint64_t messages, std::uint64_t total)> progress =
        {};
    const std::atomic<bool>* stop = nullptr;  ///< ends the conversion once it is true
};

/// Thrown when the watch said stop. Unfinished files are gone.
struct Interrupted : std::exception {
    const char* what() const noexcept override { return "interrupted"; }
};

}  // namespace zun::convert

#endif
