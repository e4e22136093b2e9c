#include "convert/output/files.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <random>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace zun::convert {

void throw_errno(const char* action, const std::string& name) {
    throw std::system_error(errno, std::generic_category(), std::string(action) + " '" + name + "'");
}

void write_all(int descriptor, std::string_view text, const std::string& name) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        // A signal, or a pipe that takes less than all, only means to go on.
        if (written < 0 && errno != EINTR) throw_errno("cannot write", name);
        if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
}

void copy_file(const std::filesystem::path& from, int descriptor, const std::string& name) {
    const int source = ::open(from.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0) throw_errno("cannot read", from.string());
    const std::unique_ptr<const int, void (*)(const int*)> owner(&source,
                                                                 [](const int* file) { ::close(*file); });
    constexpr std::size_t most_bytes = std::size_t{1} << 30U;
    ssize_t copied = 1;
    while (copied > 0)
        copied = ::copy_file_range(source, nullptr, descriptor, nullptr, most_bytes, 0);
    if (copied == 0) return;
    // Between these files it cannot: the rest goes through memory.
    std::vector<char> block(std::size_t{1} << 20U);
    while ((copied = ::read(source, block.data(), block.size())) != 0) {
        if (copied < 0 && errno != EINTR) throw_errno("cannot read", from.string());
        if (copied > 0) write_all(descriptor, {block.data(), static_cast<std::size_t>(copied)}, name);
    }
}

std::filesystem::path part_name(const std::filesystem::path& path) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::random_device random;
    std::string mark = ".";
    for (auto bits = random(); mark.size() <= 8; bits >>= 4)
        mark += digits[bits & 15];
    return path.string() + mark + ".part";
}

void rename_new(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return;
    if (errno != EINVAL && errno != ENOSYS) throw_errno("cannot make", to.string());
    // The file system cannot do both at once.
    if (::link(from.c_str(), to.c_str()) != 0) throw_errno("cannot make", to.string());
    ::unlink(from.c_str());
}

}  // namespace zun::convert
