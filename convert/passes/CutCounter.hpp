// CutCounter: what of a topic's sequences gets no columns, counted message by message.
//
// A sequence is cut where it has columns itself, and fewer than it has elements. The elements of an element
// that has no columns are not counted: it is the sequence around them that is cut.

#ifndef ZUN_CONVERT_PASSES_CUT_COUNTER_HPP
#define ZUN_CONVERT_PASSES_CUT_COUNTER_HPP

#include <cstdint>
#include <span>
#include <vector>

#include "convert/plan/Limits.hpp"
#include "convert/report/Report.hpp"
#include "platform/cdr/LengthMeter.hpp"

namespace zun::convert {

/// What can be cut: each field by its own limit and by each rule for single elements.
class CutSlots {
public:
    explicit CutSlots(const Limits& limits);

    /// One a slot, uncounted. Those of a field: its own limit, then its rules.
    const std::vector<CutField>& fields() const { return cuts_; }

private:
    friend class CutCounter;
    const Limits& limits_;
    std::vector<std::size_t> first_slots_;  // by field: of its own limit; those of its rules follow
    std::vector<CutField> cuts_;
};

/// Whether a topic with these limits can have cuts, where the longest lengths are known or null.
bool may_be_cut(const Limits& limits, const Lengths* lengths);

class CutCounter {
public:
    explicit CutCounter(const CutSlots& slots) : slots_(slots), counts_(slots.fields().size()) {}

    /// Counts what one message has. Throws InputError when it is no sample.
    void count(cdr::LengthMeter& meter, std::span<const std::byte> data);

    /// `cuts`  as slots.fields()
    void add_to(std::vector<CutField>& cuts) const;

private:
    struct Count {
        std::uint32_t longest = 0;
        std::uint64_t rows = 0;
        std::uint64_t last_message = 0;  // that was counted in rows
    };
    void count(std::size_t field, std::uint32_t length, const Limits::Place& place);

    const CutSlots& slots_;
    std::vector<Count> counts_;
    std::uint64_t message_ = 0;
};

}  // namespace zun::convert

#endif
