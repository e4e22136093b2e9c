// LengthSpread: how the lengths of one field are spread over many samples, in little memory.
//
// Of each sample counts the longest sequence of the field. Samples are counted by powers of two:
//
//     lengths 3 3 2 900 3     two or three: 4 samples, longest 3     512 to 1023: 1 sample, longest 900

#ifndef ZUN_PLATFORM_CDR_LENGTH_SPREAD_HPP
#define ZUN_PLATFORM_CDR_LENGTH_SPREAD_HPP

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zun::cdr {

class LengthSpread {
public:
    /// The samples whose longest length is from 2^i up and below 2^(i+1).
    struct Class {
        std::uint64_t samples = 0;
        std::uint32_t longest = 0;
    };

    /// By i, up to that of the longest; nothing for samples without elements.
    const std::vector<Class>& classes() const { return classes_; }
    std::uint32_t longest() const { return classes_.empty() ? 0 : classes_.back().longest; }

    /// Samples of one class.
    void add(std::size_t index, const Class& more) {
        if (index >= classes_.size()) classes_.resize(index + 1);
        classes_[index].samples += more.samples;
        classes_[index].longest = std::max(classes_[index].longest, more.longest);
    }
    /// A sample of at least one element.
    void add(std::uint32_t length) { add(static_cast<std::size_t>(std::bit_width(length)) - 1, {1, length}); }
    void add(const LengthSpread& more) {
        for (std::size_t i = 0; i < more.classes_.size(); ++i)
            add(i, more.classes_[i]);
    }

private:
    std::vector<Class> classes_;
};

}  // namespace zun::cdr

#endif
