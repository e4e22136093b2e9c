// LengthMeter: the longest length of every unbounded sequence of a type over many samples.
//
// Walks samples as the engine does, but skips values by their size and makes no text.

#ifndef ZUN_PLATFORM_CDR_LENGTH_METER_HPP
#define ZUN_PLATFORM_CDR_LENGTH_METER_HPP

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/cdr/Encoding.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

class LengthMeter {
public:
    /// One unbounded sequence field, all elements of the collections around it taken together.
    struct Field {
        std::string full_name;  ///< "markers[*].points"; the indices of all dimensions are "[*]"
        std::uint32_t longest;  ///< elements; 0 while no sample had any
    };

    /// As SamplePrinter's constructor.
    LengthMeter(const core::xtypes::DynamicTypeImpl& type, std::string source,
                Writer writer = Writer::UNKNOWN);
    ~LengthMeter();
    LengthMeter(const LengthMeter&) = delete;
    LengthMeter& operator=(const LengthMeter&) = delete;

    /// Takes one sample's lengths into account. A sample that is not whole counts up to its damage, and
    /// throws InputError as the engine does.
    void measure(std::span<const std::byte> payload);

    /// In the order of declaration.
    const std::vector<Field>& fields() const;

    /// Sets every longest length to 0.
    void reset();

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::cdr

#endif
