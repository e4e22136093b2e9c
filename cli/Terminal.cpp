#include "cli/Terminal.hpp"

#include <csignal>
#include <iostream>
#include <unistd.h>

#include "convert/output/Output.hpp"

namespace zun::cli {

namespace {

std::atomic<bool> requested = false;
volatile std::sig_atomic_t requested_by = 0;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void request_end(int signal) {
    requested_by = signal;
    requested = true;
}

/// A signal that the parent had ignored, as nohup does, stays ignored.
void handle(int signal) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN) return;
    action = {};
    action.sa_handler = request_end;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

constexpr std::chrono::milliseconds between_lines{200};
constexpr double seconds_before_guess = 1;  // rates of shorter runs say little

}  // namespace

const std::atomic<bool>& end_requested() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        handle(signal);
    return requested;
}

void end_as_requested() {
    if (!requested) return;
    std::signal(requested_by, SIG_DFL);
    std::raise(requested_by);
}

void write_data(std::string_view text) {
    convert::OutputStream(STDOUT_FILENO, "standard output").write(0, text);
}

ProgressLine::ProgressLine(When when)
    : shows_(when == When::ALWAYS || (when == When::ON_TERMINALS && ::isatty(STDERR_FILENO) == 1)) {}

ProgressLine::~ProgressLine() {
    if (shown_) std::cerr << "\r\x1b[K" << std::flush;
}

void ProgressLine::show(const std::string& activity, std::uint64_t messages, std::uint64_t total) {
    const Clock::time_point now = Clock::now();
    if (activity != activity_) {
        activity_ = activity;
        began_ = now;
    }
    if (!shows_ || now - last_shown_ < between_lines) return;
    last_shown_ = now;
    shown_ = true;
    const double seconds = std::chrono::duration<double>(now - began_).count();
    std::cerr << '\r' << progress_text(activity, messages, total, seconds) << "\x1b[K" << std::flush;
}

std::string progress_text(const std::string& activity, std::uint64_t messages, std::uint64_t total,
                          double seconds) {
    const bool known = total > 0 && messages <= total;
    std::string text = activity;
    if (known) text += ' ' + std::to_string(messages * 100 / total) + " %";
    text += ", " + std::to_string(messages) + " messages";
    if (seconds < seconds_before_guess || messages == 0) return text;
    const double rate = static_cast<double>(messages) / seconds;
    text += ", " + std::to_string(static_cast<std::uint64_t>(rate)) + "/s";
    if (known)
        text += ", " +
                std::to_string(static_cast<std::uint64_t>(static_cast<double>(total - messages) / rate)) +
                " s left";
    return text;
}

}  // namespace zun::cli
