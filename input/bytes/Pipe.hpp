// Pipe: bytes that come once, from front to back.

#ifndef ZUN_INPUT_BYTES_PIPE_HPP
#define ZUN_INPUT_BYTES_PIPE_HPP

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>

namespace zun::input {

class Pipe {
public:
    /// Whether "-" (standard input) or a named pipe.
    static bool is_pipe(const std::filesystem::path& path);

    /// Throws std::system_error with the name, InputError when standard input is a terminal or another
    /// device.
    explicit Pipe(const std::filesystem::path& path);
    ~Pipe();
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    /// "standard input", or the path.
    const std::string& name() const { return name_; }

    /// Waits for bytes and puts those that have come at the beginning of `into`. Returns their number, 0 at
    /// the end. Throws InputError when nobody opens a named pipe for writing within 5 seconds;
    /// std::system_error with the name, EINTR for a signal while it waits included.
    std::size_t read(std::span<std::byte> into);

private:
    bool wait();
    [[noreturn]] void fail() const;

    std::string name_;
    int descriptor_;
    bool has_writer_;
};

}  // namespace zun::input

#endif
