// Time: a moment as recordings count it.

#ifndef ZUN_INPUT_TIME_HPP
#define ZUN_INPUT_TIME_HPP

#include <compare>
#include <cstdint>

namespace zun::input {

/// Nanoseconds since an epoch that the recording chose, 1970 UTC as a rule. Holds every signed and every
/// unsigned 64-bit count, since both occur.
struct Time {
    std::int64_t seconds = 0;
    std::uint32_t nanoseconds = 0;  ///< 0 to 999,999,999, also before the epoch

    static constexpr Time from_nanoseconds(std::uint64_t count) {
        return {static_cast<std::int64_t>(count / 1'000'000'000),
                static_cast<std::uint32_t>(count % 1'000'000'000)};
    }
    static constexpr Time from_nanoseconds(std::int64_t count) {
        const std::int64_t rest = count % 1'000'000'000;
        if (rest >= 0) return {count / 1'000'000'000, static_cast<std::uint32_t>(rest)};
        return {count / 1'000'000'000 - 1, static_cast<std::uint32_t>(rest + 1'000'000'000)};
    }
    friend constexpr auto operator<=>(const Time&, const Time&) = default;
};

}  // namespace zun::input

#endif
