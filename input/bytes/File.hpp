// File: opened for reading at any place, from any thread.

#ifndef ZUN_INPUT_BYTES_FILE_HPP
#define ZUN_INPUT_BYTES_FILE_HPP

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace zun::input {

/// Leaves new elements as they are: a buffer that is about to be filled is not set to zero first.
template <typename T>
struct UninitialisedAllocator : std::allocator<T> {
    template <typename Element>
    void construct(Element* place) noexcept {
        ::new (static_cast<void*>(place)) Element;
    }
};

using Bytes = std::span<const std::byte>;
using Buffer = std::vector<std::byte, UninitialisedAllocator<std::byte>>;

/// Owns a descriptor. Its position is never used, so threads do not disturb each other.
class File {
public:
    /// Throws std::system_error with the path, ESPIPE for a pipe or a device.
    explicit File(const std::filesystem::path& path);
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    const std::string& name() const { return name_; }  ///< the path as given, for errors
    std::uint64_t size() const { return size_; }       ///< bytes, when it was opened
    /// Whether its size or time of change is another than when it was opened.
    bool has_changed() const;

    /// Fills `into` from `offset` on and returns the bytes read, fewer only at the end of the file.
    /// Throws std::system_error with the path.
    std::size_t read(std::uint64_t offset, std::span<std::byte> into) const;

    /// CRC-32 of the bytes from `begin` up to, not including, `end`. Throws std::system_error with the path.
    std::uint32_t crc(std::uint64_t begin, std::uint64_t end) const;

private:
    std::string name_;
    int descriptor_;
    std::uint64_t size_ = 0;
    std::int64_t changed_at_ = 0;  // nanoseconds since 1970
};

/// CRC-32 as in zlib, continued from `crc`.
std::uint32_t crc32_of(Bytes bytes, std::uint32_t crc = 0);

/// Looks at a file from its beginning to its end, a block at a time: for many small records, without a system
/// call for each. For one thread.
class FileWindow {
public:
    explicit FileWindow(const File& file) : file_(file) {}
    /// `size` bytes at `offset`, fewer at the end of the file; good until the next call.
    Bytes at(std::uint64_t offset, std::size_t size);

private:
    const File& file_;
    std::uint64_t begin_ = 0;
    Buffer bytes_;
};

}  // namespace zun::input

#endif
