// time_text: moments as text, exact to the nanosecond in every form.

#ifndef ZUN_CONVERT_OUTPUT_TIME_TEXT_HPP
#define ZUN_CONVERT_OUTPUT_TIME_TEXT_HPP

#include <cstdint>
#include <string>

#include "input/Time.hpp"

namespace zun::convert {

enum class TimeFormat : std::uint8_t {
    NANOSECONDS,  ///< "1700000000123456789"
    SECONDS,      ///< "1700000000.123456789"
    RFC3339,      ///< "2023-11-14T22:13:20.123456789Z"
    ELAPSED,      ///< "12.000000000", seconds since an origin
};

struct TimeStyle {
    TimeStyle(TimeFormat form, input::Time from = {}) : format(form), origin(from) {}
    TimeFormat format;
    input::Time origin;  ///< of ELAPSED
};

/// What the user calls it: "rfc3339".
const char* name_of(TimeFormat format);

void append_time(std::string& text, input::Time time, const TimeStyle& style);

/// A moment as a user names it: from 1970, from a recording's first message or from its last.
struct TimeBound {
    enum class Origin : std::uint8_t { EPOCH, FIRST, LAST };
    Origin origin = Origin::EPOCH;
    input::Time offset;  ///< negative before the origin

    /// `first`, `last`  the recording's time span
    input::Time resolved(input::Time first, input::Time last) const;
};

/// Reads what append_time() writes for times since 1970, in each form, and more:
///
///     1700000000123456789        nanoseconds; 11 digits or fewer are refused, since seconds were meant
///     1700000000.05              seconds
///     2023-11-14T22:13:20+01:00  RFC 3339; without a zone UTC, without a time of day midnight
///     +10s, +10, -1.5m           from the first message, from the last; ns, us, ms, s, m, h; seconds without
///
/// Throws std::invalid_argument for anything else.
TimeBound parse_time_bound(const std::string& text);

/// Which messages of a topic are taken.
struct Thinning {
    std::uint64_t messages = 1;  ///< N: the 1st, the N+1st, the 2N+1st ...
    std::uint64_t interval_ns =
        0;  ///< unless 0, the first of each interval instead; the recording's first message begins one
};

/// Reads "10" as messages, "100ms" and "0.5s" as an interval: ns, us, ms, s, m, h. Throws
/// std::invalid_argument for anything else, and for 0.
Thinning parse_thinning(const std::string& text);

/// Whether it does not take a recording to see that a span ends before it starts.
bool is_before_start(const TimeBound& end, const TimeBound& start);

}  // namespace zun::convert

#endif
