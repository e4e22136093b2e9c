// Terminal: what a running command shows, and what it is told while it runs.

#ifndef ZUN_CLI_TERMINAL_HPP
#define ZUN_CLI_TERMINAL_HPP

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

namespace zun::cli {

/// True once the process was asked to end (SIGINT, SIGTERM, SIGHUP); a second request ends it at once.
const std::atomic<bool>& end_requested();

/// Ends the process by the signal that asked for it, so that a shell stops its loop too; returns where none
/// did.
void end_as_requested();

/// Writes all of `text` to standard output. Throws std::system_error; std::errc::broken_pipe when nobody
/// reads.
void write_data(std::string_view text);

/// One line on stderr that shows how far an activity is; gone when the object goes.
class ProgressLine {
public:
    enum class When : std::uint8_t { ON_TERMINALS, ALWAYS, NEVER };

    explicit ProgressLine(When when);
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    /// Shows it a few times a second at most. `total` may be wrong, or 0 when it is not known.
    void show(const std::string& activity, std::uint64_t messages, std::uint64_t total);

private:
    using Clock = std::chrono::steady_clock;

    bool shows_;
    bool shown_ = false;
    std::string activity_;
    Clock::time_point began_;  // of the activity
    Clock::time_point last_shown_;
};

/// "converting 45 %, 123456 messages, 81234/s, 12 s left".
std::string progress_text(const std::string& activity, std::uint64_t messages, std::uint64_t total,
                          double seconds);

}  // namespace zun::cli

#endif
