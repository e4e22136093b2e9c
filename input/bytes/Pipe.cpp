#include "input/bytes/Pipe.hpp"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include "platform/error/InputError.hpp"

namespace zun::input {

namespace fs = std::filesystem;

namespace {

constexpr int milliseconds_without_writer = 5000;

bool is_standard_input(const fs::path& path) {
    return path == "-";
}

bool is_device(int descriptor) {
    struct stat status {};
    return ::fstat(descriptor, &status) == 0 && (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode));
}

}  // namespace

bool Pipe::is_pipe(const fs::path& path) {
    std::error_code unreadable;
    return is_standard_input(path) || fs::is_fifo(path, unreadable);
}

// Opening a named pipe without O_NONBLOCK would wait for its writer for ever.
Pipe::Pipe(const fs::path& path)
    : name_(is_standard_input(path) ? "standard input" : path.string()),
      descriptor_(is_standard_input(path) ? ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                          : ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)),
      has_writer_(is_standard_input(path)) {
    if (descriptor_ < 0) fail();
    if (is_device(descriptor_)) {
        ::close(descriptor_);
        throw InputError(name_, 0, "expected a recording from a pipe or a file, found a terminal or device");
    }
}

Pipe::~Pipe() {
    ::close(descriptor_);
}

std::size_t Pipe::read(std::span<std::byte> into) {
    while (true) {
        const bool is_ready = wait();
        const ssize_t got = ::read(descriptor_, into.data(), into.size());
        if (got > 0 || (got == 0 && has_writer_)) return static_cast<std::size_t>(got);
        if (got < 0 && errno != EAGAIN) fail();
        if (got == 0 && !is_ready) throw InputError(name_, 0, "nobody writes to this pipe");
        has_writer_ = true;
    }
}

/// False when nothing has come in time.
bool Pipe::wait() {
    pollfd events{descriptor_, POLLIN, 0};
    const int count = ::poll(&events, 1, has_writer_ ? -1 : milliseconds_without_writer);
    if (count < 0) fail();
    has_writer_ = has_writer_ || count > 0;
    return count > 0;
}

void Pipe::fail() const {
    throw std::system_error(errno, std::generic_category(), "cannot read '" + name_ + "'");
}

}  // namespace zun::input
