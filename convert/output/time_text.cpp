#include "convert/output/time_text.hpp"

#include <array>
#include <charconv>
#include <chrono>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace zun::convert {

using input::Time;

namespace {

constexpr std::uint32_t nanoseconds_per_second = 1'000'000'000;
constexpr int fraction_digits = 9;
constexpr std::uint64_t most_seconds = 100'000'000'000;  // of a count since 1970: the year 5138

void append_number(std::string& text, std::uint64_t number, std::size_t digits = 1) {
    std::array<char, 20> buffer{};
    const char* const end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    const auto size = static_cast<std::size_t>(end - buffer.data());
    if (size < digits) text.append(digits - size, '0');
    text.append(buffer.data(), size);
}

/// The distance from zero; negative times are written as a sign and this.
Time magnitude(Time time) {
    if (time.seconds >= 0) return time;
    if (time.nanoseconds == 0) return {-time.seconds, 0};
    return {-(time.seconds + 1), nanoseconds_per_second - time.nanoseconds};
}

void append_count(std::string& text, Time time, bool point) {
    if (time.seconds < 0) text += '-';
    const Time distance = magnitude(time);
    const auto seconds = static_cast<std::uint64_t>(distance.seconds);
    if (!point) return append_number(text, seconds * nanoseconds_per_second + distance.nanoseconds);
    append_number(text, seconds);
    text += '.';
    append_number(text, distance.nanoseconds, fraction_digits);
}

void append_rfc3339(std::string& text, Time time) {
    using namespace std::chrono;
    const sys_seconds moment{seconds{time.seconds}};
    const auto day = floor<days>(moment);
    const year_month_day date{day};
    const hh_mm_ss clock{moment - day};
    append_number(text, static_cast<std::uint64_t>(static_cast<int>(date.year())), 4);
    text += '-';
    append_number(text, static_cast<unsigned>(date.month()), 2);
    text += '-';
    append_number(text, static_cast<unsigned>(date.day()), 2);
    text += 'T';
    append_number(text, static_cast<std::uint64_t>(clock.hours().count()), 2);
    text += ':';
    append_number(text, static_cast<std::uint64_t>(clock.minutes().count()), 2);
    text += ':';
    append_number(text, static_cast<std::uint64_t>(clock.seconds().count()), 2);
    text += '.';
    append_number(text, time.nanoseconds, fraction_digits);
    text += 'Z';
}

/// Takes parts off the front of a text; every part that is not there is the caller's refusal.
class Scanner {
public:
    explicit Scanner(std::string_view rest) : rest_(rest) {}

    bool done() const { return rest_.empty(); }
    std::string_view rest() const { return rest_; }

    bool take(char wanted) {
        if (rest_.empty() || rest_.front() != wanted) return false;
        rest_.remove_prefix(1);
        return true;
    }

    /// A number of `least` to `most` digits.
    std::optional<std::uint64_t> number(std::size_t least, std::size_t most) {
        const std::size_t size = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
        if (size < least || size > most) return std::nullopt;
        std::uint64_t value = 0;
        if (std::from_chars(rest_.data(), rest_.data() + size, value).ec != std::errc{}) return std::nullopt;
        rest_.remove_prefix(size);
        return value;
    }

    /// The digits after a point as billionths; 0 where there is no point.
    std::optional<std::uint32_t> fraction() {
        if (!take('.')) return 0;
        const std::size_t before = rest_.size();
        const auto digits = number(1, fraction_digits);
        if (!digits) return std::nullopt;
        std::uint64_t value = *digits;
        for (std::size_t i = before - rest_.size(); i < fraction_digits; ++i)
            value *= 10;
        return static_cast<std::uint32_t>(value);
    }

private:
    std::string_view rest_;
};

Time negated(Time time) {
    if (time.nanoseconds == 0) return {-time.seconds, 0};
    return {-time.seconds - 1, nanoseconds_per_second - time.nanoseconds};
}

Time sum(Time a, Time b) {
    const std::uint32_t nanoseconds = a.nanoseconds + b.nanoseconds;  // below 2^31
    return {a.seconds + b.seconds + (nanoseconds >= nanoseconds_per_second ? 1 : 0),
            nanoseconds % nanoseconds_per_second};
}

struct Unit {
    std::string_view name;
    std::uint64_t nanoseconds;
};
constexpr Unit time_units[] = {{"ns", 1},
                               {"us", 1'000},
                               {"ms", 1'000'000},
                               {"s", 1'000'000'000},
                               {"m", 60'000'000'000},
                               {"h", 3'600'000'000'000}};

/// Parts below a nanosecond are dropped.
std::uint64_t fraction_of(Unit unit, std::uint64_t billionths) {
    if (unit.nanoseconds < nanoseconds_per_second)
        return billionths * unit.nanoseconds / nanoseconds_per_second;
    return billionths * (unit.nanoseconds / nanoseconds_per_second);
}

/// Nanoseconds; at most UINT64_MAX / 2 and an hour.
///
/// `plain`  the unit of a number without one; empty where it needs one
std::optional<std::uint64_t> parse_distance(Scanner scan, std::string_view plain) {
    const auto whole = scan.number(1, 18);
    const auto billionths = scan.fraction();
    if (!whole || !billionths) return std::nullopt;
    const std::string_view name = scan.done() ? plain : scan.rest();
    for (const Unit unit : time_units) {
        if (unit.name != name) continue;
        if (*whole > UINT64_MAX / 2 / unit.nanoseconds) return std::nullopt;
        return *whole * unit.nanoseconds + fraction_of(unit, *billionths);
    }
    return std::nullopt;
}

/// Nanoseconds; with a point, seconds.
std::optional<Time> parse_count(Scanner scan) {
    const auto count = scan.number(1, 20);
    if (!count) return std::nullopt;
    if (scan.done()) return Time::from_nanoseconds(*count);
    const auto billionths = scan.fraction();
    if (!billionths || !scan.done() || *count > most_seconds) return std::nullopt;
    return Time{static_cast<std::int64_t>(*count), *billionths};
}

/// "Z", "+01:00" or "-01:00" as seconds to take away; UTC where there is none.
std::optional<std::int64_t> parse_zone(Scanner scan) {
    if (scan.done()) return 0;
    if (scan.take('Z') || scan.take('z')) return scan.done() ? std::optional<std::int64_t>(0) : std::nullopt;
    const bool east = scan.take('+');
    if (!east && !scan.take('-')) return std::nullopt;
    const auto hours = scan.number(2, 2);
    if (!hours || !scan.take(':')) return std::nullopt;
    const auto minutes = scan.number(2, 2);
    if (!minutes || !scan.done() || *hours > 23 || *minutes > 59) return std::nullopt;
    const auto seconds = static_cast<std::int64_t>(*hours * 3600 + *minutes * 60);
    return east ? seconds : -seconds;
}

/// Three numbers of the given digits with `separator` between them.
std::optional<std::array<unsigned, 3>> parse_triple(Scanner& scan, std::size_t first_digits, char separator) {
    std::array<unsigned, 3> triple{};
    for (std::size_t i = 0; i < triple.size(); ++i) {
        if (i > 0 && !scan.take(separator)) return std::nullopt;
        const std::size_t digits = i == 0 ? first_digits : 2;
        const auto number = scan.number(digits, digits);
        if (!number) return std::nullopt;
        triple[i] = static_cast<unsigned>(*number);
    }
    return triple;
}

struct TimeOfDay {
    std::int64_t seconds = 0;  // since midnight UTC; below 0 or beyond a day by the zone
    std::uint32_t nanoseconds = 0;
};

/// What follows a date: nothing, or "T22:13:20.5+01:00", where the zone may be missing.
std::optional<TimeOfDay> parse_time_of_day(Scanner scan) {
    if (scan.done()) return TimeOfDay{};
    if (!(scan.take('T') || scan.take('t') || scan.take(' '))) return std::nullopt;
    const auto clock = parse_triple(scan, 2, ':');
    const auto fraction = scan.fraction();
    const auto zone = parse_zone(scan);
    if (!clock || !fraction || !zone) return std::nullopt;
    const auto [hours, minutes, seconds] = *clock;
    if (hours > 23 || minutes > 59 || seconds > 59) return std::nullopt;
    return TimeOfDay{std::int64_t{hours} * 3600 + std::int64_t{minutes} * 60 + seconds - *zone, *fraction};
}

std::optional<Time> parse_rfc3339(Scanner scan) {
    const auto date = parse_triple(scan, 4, '-');
    if (!date) return std::nullopt;
    const auto [year, month, day] = *date;
    const std::chrono::year_month_day calendar{std::chrono::year{static_cast<int>(year)},
                                               std::chrono::month{month}, std::chrono::day{day}};
    const auto time = parse_time_of_day(scan);
    if (!calendar.ok() || !time) return std::nullopt;
    const std::int64_t days = std::chrono::sys_days{calendar}.time_since_epoch().count();
    return Time{days * 86400 + time->seconds, time->nanoseconds};
}

/// Nobody means the first minutes of 1970.
void refuse_seconds(const std::string& text) {
    if (text.find_first_not_of("0123456789") != std::string::npos || text.empty() || text.size() > 11) return;
    if (text.find_first_not_of('0') == std::string::npos) return;
    throw std::invalid_argument("'" + text +
                                "' is a time in nanoseconds, and very small; for seconds write " + text +
                                "000000000 or " + text + ".0");
}

}  // namespace

const char* name_of(TimeFormat format) {
    switch (format) {
        case TimeFormat::NANOSECONDS:
            return "nanoseconds";
        case TimeFormat::SECONDS:
            return "seconds";
        case TimeFormat::RFC3339:
            return "rfc3339";
        case TimeFormat::ELAPSED:
            return "elapsed";
    }
    return "";
}

void append_time(std::string& text, Time time, const TimeStyle& style) {
    switch (style.format) {
        case TimeFormat::NANOSECONDS:
            return append_count(text, time, false);
        case TimeFormat::SECONDS:
            return append_count(text, time, true);
        case TimeFormat::RFC3339:
            return append_rfc3339(text, time);
        case TimeFormat::ELAPSED:
            return append_count(text, sum(time, negated(style.origin)), true);
    }
}

Time TimeBound::resolved(Time first, Time last) const {
    if (origin == Origin::EPOCH) return offset;
    return sum(origin == Origin::FIRST ? first : last, offset);
}

TimeBound parse_time_bound(const std::string& text) {
    using Origin = TimeBound::Origin;
    refuse_seconds(text);
    Scanner scan{text};
    if (scan.take('+')) {
        if (const auto distance = parse_distance(scan, "s"))
            return {Origin::FIRST, Time::from_nanoseconds(*distance)};
    } else if (scan.take('-')) {
        if (const auto distance = parse_distance(scan, "s"))
            return {Origin::LAST, negated(Time::from_nanoseconds(*distance))};
    } else if (const auto moment =
                   text.find('-') == std::string::npos ? parse_count(scan) : parse_rfc3339(scan)) {
        return {Origin::EPOCH, *moment};
    }
    throw std::invalid_argument(
        "cannot read '" + text +
        "' as a time; expected nanoseconds since 1970, seconds with a point (1717156800.0), "
        "2024-05-31T12:00:00Z, 2024-05-31, +10s (from the first message) or -30s (from the "
        "last)");
}

Thinning parse_thinning(const std::string& text) {
    Scanner scan{text};
    if (const auto interval = parse_distance(scan, ""); interval && *interval > 0)
        return {.interval_ns = *interval};
    if (const auto messages = scan.number(1, 20); messages && *messages > 0 && scan.done())
        return {.messages = *messages};
    throw std::invalid_argument("'" + text +
                                "' is neither a number of messages from 1 on nor an interval, such as 100ms");
}

bool is_before_start(const TimeBound& end, const TimeBound& start) {
    return end.origin == start.origin && end.offset < start.offset;
}

}  // namespace zun::convert
