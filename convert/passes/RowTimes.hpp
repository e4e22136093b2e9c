// RowTimes: the times in front of a message's rows.

#ifndef ZUN_CONVERT_PASSES_ROW_TIMES_HPP
#define ZUN_CONVERT_PASSES_ROW_TIMES_HPP

#include <optional>
#include <string>

#include "convert/Settings.hpp"
#include "convert/plan/Topic.hpp"
#include "input/MessageStream.hpp"
#include "platform/cdr/StampReader.hpp"

namespace zun::convert {

/// The moment that a stamp means.
input::Time time_of(cdr::Stamp stamp);

/// For one thread at a time.
class RowTimes {
public:
    /// All must outlive this.
    RowTimes(const Topic& topic, const Settings& settings, const TimeStyle& style);

    /// Appends the time of `message` by the clock that is asked for, or both; the text of an empty cell where
    /// the message does not tell. Throws InputError when it takes the message, and that is no sample.
    void append(std::string& text, const input::Message& message);

private:
    const Settings& settings_;
    const TimeStyle& style_;
    std::optional<cdr::StampReader> stamps_;  // where a field is the clock
};

}  // namespace zun::convert

#endif
