#include "input/bytes/File.hpp"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

#include <libdeflate.h>

namespace zun::input {

namespace {

constexpr std::size_t block_bytes = 1 << 20;

[[noreturn]] void fail(int code, const std::string& name) {
    throw std::system_error(code, std::generic_category(), "cannot read '" + name + "'");
}

std::int64_t changed_at(const struct stat& status) {
    return status.st_mtim.tv_sec * std::int64_t{1'000'000'000} + status.st_mtim.tv_nsec;
}

}  // namespace

// O_NONBLOCK is for pipes and devices, which would wait for the other side before they can be refused.
File::File(const std::filesystem::path& path)
    : name_(path.string()), descriptor_(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {
    if (descriptor_ < 0) fail(errno, name_);
    struct stat status {};
    const int code = ::fstat(descriptor_, &status) != 0 ? errno
                     : S_ISDIR(status.st_mode)          ? EISDIR
                     : !S_ISREG(status.st_mode)         ? ESPIPE
                                                        : 0;
    if (code != 0) {
        ::close(descriptor_);
        fail(code, name_);
    }
    size_ = static_cast<std::uint64_t>(status.st_size);
    changed_at_ = changed_at(status);
}

File::~File() {
    ::close(descriptor_);
}

bool File::has_changed() const {
    struct stat status {};
    return ::fstat(descriptor_, &status) != 0 || static_cast<std::uint64_t>(status.st_size) != size_ ||
           changed_at(status) != changed_at_;
}

std::size_t File::read(std::uint64_t offset, std::span<std::byte> into) const {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t got =
            ::pread(descriptor_, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
        if (got == 0) break;
        if (got < 0 && errno != EINTR) fail(errno, name_);
        if (got > 0) done += static_cast<std::size_t>(got);
    }
    return done;
}

std::uint32_t File::crc(std::uint64_t begin, std::uint64_t end) const {
    Buffer block(std::min<std::uint64_t>(block_bytes, end - begin));
    std::uint32_t crc = 0;
    while (begin < end) {
        const std::size_t got =
            read(begin, std::span(block).first(std::min<std::uint64_t>(block.size(), end - begin)));
        if (got == 0) break;
        crc = crc32_of(Bytes(block).first(got), crc);
        begin += got;
    }
    return crc;
}

std::uint32_t crc32_of(Bytes bytes, std::uint32_t crc) {
    return ::libdeflate_crc32(crc, bytes.data(), bytes.size());
}

Bytes FileWindow::at(std::uint64_t offset, std::size_t size) {
    if (offset < begin_ || offset + size > begin_ + bytes_.size()) {
        const std::uint64_t rest = offset < file_.size() ? file_.size() - offset : 0;
        bytes_.resize(std::min<std::uint64_t>(std::max(size, block_bytes), rest));
        bytes_.resize(file_.read(offset, bytes_));
        begin_ = offset;
    }
    const Bytes from = Bytes(bytes_).subspan(offset - begin_);
    return from.first(std::min(size, from.size()));
}

}  // namespace zun::input
