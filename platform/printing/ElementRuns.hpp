// ElementRuns: what a print format can do for many elements of a collection at once.

#ifndef ZUN_PLATFORM_PRINTING_ELEMENT_RUNS_HPP
#define ZUN_PLATFORM_PRINTING_ELEMENT_RUNS_HPP

#include <cstdint>

namespace zun::printing {

/// Implemented by a format that wants no calls for elements of one value each that it would only put a
/// separator before.
class ElementRuns {
public:
    /// In the place of the calls for the first of `count` elements of the collection that has begun: returns
    /// how many the engine is to write by itself, each with the separator before it. For those behind them it
    /// makes the calls.
    virtual std::uint32_t take_plain_elements(std::uint32_t count) = 0;

    static constexpr char separator = ',';

protected:
    ~ElementRuns() = default;
};

}  // namespace zun::printing

#endif
