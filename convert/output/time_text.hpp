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
};

/// Which of a message's two times stand before its row.
enum class Clock : std::uint8_t { RECEPTION, SOURCE, BOTH };

/// What the user calls them: "rfc3339", "reception".
const char* name_of(TimeFormat format);
const char* name_of(Clock clock);

void append_time(std::string& text, input::Time time, TimeFormat format);

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

/// Whether it does not take a recording to see that a span ends before it starts.
bool is_before_start(const TimeBound& end, const TimeBound& start);

}  // namespace zun::convert

#endif
