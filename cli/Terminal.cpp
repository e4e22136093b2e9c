#include "cli/Terminal.hpp"

#include <cerrno>
#include <csignal>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace zun::cli {

namespace {

std::atomic<bool> requested = false;
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler sets it");

void request_end(int) {
    requested = true;
}

constexpr std::chrono::milliseconds between_lines{200};
constexpr double seconds_before_guess = 1;  // rates of shorter runs say little

}  // namespace

const std::atomic<bool>& end_requested() {
    struct sigaction action {};
    action.sa_handler = request_end;
    action.sa_flags = static_cast<int>(SA_RESETHAND) | SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    return requested;
}

void write_data(std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written < 0 && errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "cannot write 'standard output'");
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
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
