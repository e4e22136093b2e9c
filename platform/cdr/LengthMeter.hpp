// LengthMeter: how long every sequence of a type is over many samples.
//
// Walks samples as the engine does, but skips values by their size and makes no text. The sequences, its
// fields, are numbered in the order of declaration, all elements of the collections around one taken
// together:
//
//     grid, array of sequence     0
//     markers, sequence           1
//     `- points, sequence         2

#ifndef ZUN_PLATFORM_CDR_LENGTH_METER_HPP
#define ZUN_PLATFORM_CDR_LENGTH_METER_HPP

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/cdr/LengthSpread.hpp"
#include "platform/cdr/View.hpp"
#include "platform/cdr/Writer.hpp"
#include "platform/xtypes/DynamicType.hpp"

namespace zun::cdr {

class LengthMeter {
public:
    /// As SamplePrinter's constructor. Sequences whose elements the view does not show as such are no fields.
    LengthMeter(const core::xtypes::DynamicTypeImpl& type, std::string source,
                Writer writer = Writer::UNKNOWN, const std::shared_ptr<const View>& view = nullptr);
    ~LengthMeter();
    LengthMeter(const LengthMeter&) = delete;
    LengthMeter& operator=(const LengthMeter&) = delete;

    /// Takes one sample's lengths into account, which count only when it is whole.
    /// Throws InputError as the engine does, for a sample that is not whole.
    void measure(std::span<const std::byte> payload);

    /// Samples that counted.
    std::uint64_t samples() const;
    /// Their lengths, by field.
    const std::vector<LengthSpread>& spreads() const;
    /// Elements of the longest sequence of each field; 0 while no sample had any.
    std::vector<std::uint32_t> longest() const;

    /// Called with the number of a field, the length of one sequence of it, and the indices of
    /// the elements around that sequence, from the outermost inwards.
    using Visitor = std::function<void(std::uint32_t field, std::uint32_t length,
                                       const std::vector<std::uint32_t>& indices)>;
    /// Visits every sequence of one sample, and measures nothing. Throws as measure() does.
    void visit(std::span<const std::byte> payload, const Visitor& visitor);

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace zun::cdr

#endif
