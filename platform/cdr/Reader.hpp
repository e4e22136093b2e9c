// Reader: a position in a sample that never leaves it.
//
//     payload  | header | ........ value with its own end ........ |      |
//              0        4          position             end of the value  end of the payload
//
// Positions are offsets in the payload, header included.

#ifndef ZUN_PLATFORM_CDR_READER_HPP
#define ZUN_PLATFORM_CDR_READER_HPP

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "platform/cdr/Scalar.hpp"
#include "platform/error/InputError.hpp"

namespace zun::cdr {

/// Never reads outside the payload: take() and narrow() check, every other move only sets the position.
///
/// `ChecksPadding`  whether bytes that are stepped over are looked at, which tells readings of a sample apart
template <bool ChecksPadding>
class Reader {
public:
    /// `body_begin`  alignment counts from here
    /// `padding`     announced bytes after the body
    /// `source`      names the payload in errors; must outlive the reader, as must the payload
    Reader(std::span<const std::byte> payload, std::size_t body_begin, std::size_t padding,
           const std::string& source)
        : data_(payload.data()),
          position_(body_begin),
          end_(payload.size()),
          origin_(body_begin),
          body_end_(std::max(payload.size() - padding, body_begin)),
          source_(source) {}

    std::uint64_t position() const { return position_; }
    std::uint64_t end() const { return end_; }
    std::uint64_t origin() const { return origin_; }                     ///< alignment counts from here
    void set_position(std::uint64_t position) { position_ = position; }  ///< at most end()
    void set_end(std::uint64_t end) { end_ = end; }                      ///< within the payload
    void set_origin(std::uint64_t origin) { origin_ = origin; }

    /// Whether `size` bytes more lie within the value that is being read.
    bool fits(std::uint64_t size) const { return position_ <= end_ && size <= end_ - position_; }

    /// The same, and whether nothing is left, where the padding that the header announces does not count.
    bool body_fits(std::uint64_t size) const { return fits(size) && position_ + size <= body_end_; }
    bool at_end() const { return position_ >= std::min(end_, body_end_); }

    /// Bytes of the payload from here on.
    std::size_t left() const { return end_ - std::min(position_, end_); }

    /// Moves on to a multiple of `alignment`, a power of 2, from the origin.
    void align(std::uint64_t alignment) {
        step_over(origin_ + ((position_ - origin_ + alignment - 1) & ~(alignment - 1)));
    }

    /// Moves on to `position`, over padding.
    void step_over(std::uint64_t position) {
        if constexpr (ChecksPadding) padding_is_zero_ &= is_zero(position_, std::min(position, end_));
        position_ = position;
    }

    /// False once a byte of padding was another than zero.
    bool padding_is_zero() const { return padding_is_zero_; }

    /// The next `size` bytes. Throws InputError, with `what` for its text, when they are not all there.
    const std::byte* take(std::uint64_t size, const char* what) {
        if (!fits(size)) fail_short(size, what);
        const std::byte* const taken = data_ + position_;
        position_ += size;
        return taken;
    }

    /// The next aligned number of 4 bytes; errors as those of take().
    template <bool Swapped>
    std::uint32_t take_u32(const char* what) {
        align(4);
        return load<Swapped, std::uint32_t>(take(4, what));
    }

    /// Ends the input `size` bytes from here, for a value that says its size; returns the end before, for
    /// set_end(). Throws InputError, as take() does.
    std::uint64_t narrow(std::uint64_t size, const char* what) {
        if (!fits(size)) fail_short(size, what);
        const std::uint64_t outer = end_;
        end_ = position_ + size;
        return outer;
    }

    /// Throws InputError with `position`, an offset in the payload.
    [[noreturn]] void fail(std::uint64_t position, const std::string& problem) const {
        throw InputError(source_, position, problem);
    }

private:
    bool is_zero(std::uint64_t begin, std::uint64_t end) const {
        return begin >= end ||
               std::all_of(data_ + begin, data_ + end, [](std::byte byte) { return byte == std::byte{0}; });
    }

    [[noreturn]] [[gnu::noinline]] [[gnu::cold]] void fail_short(std::uint64_t size, const char* what) const {
        const std::string bytes = size == 1 ? "1 byte" : std::to_string(size) + " bytes";
        fail(std::min(position_, end_),
             "expected " + bytes + " for " + what + ", found " + std::to_string(left()));
    }

    const std::byte* data_;
    std::uint64_t position_;
    std::uint64_t end_;
    std::uint64_t origin_;
    std::uint64_t body_end_;
    bool padding_is_zero_ = true;
    const std::string& source_;
};

}  // namespace zun::cdr

#endif
