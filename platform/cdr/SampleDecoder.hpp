// SampleDecoder: walks samples of one type, each by the program that its header calls for.
//
// Where a type has a construct that implementations write in different ways, every sample is first walked
// without a handler, by one reading after the other, until one fits it to the last byte. A reading that has
// fitted more samples than another is tried before it.

#ifndef ZUN_PLATFORM_CDR_SAMPLE_DECODER_HPP
#define ZUN_PLATFORM_CDR_SAMPLE_DECODER_HPP

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/cdr/Encapsulation.hpp"
#include "platform/cdr/Walk.hpp"
#include "platform/cdr/Writer.hpp"

namespace zun::cdr {

/// For one thread at a time: what fitted earlier samples is remembered, and moves.
class SampleDecoder {
public:
    /// Arguments and exceptions as SamplePrinter's constructor.
    SampleDecoder(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
                  std::shared_ptr<const View> view = nullptr);

    /// Tells `handler` what `payload` holds; the handler's interface is in Walk.hpp. Throws InputError.
    template <typename Handler>
    Findings decode(std::span<const std::byte> payload, Handler& handler) {
        const Encapsulation head = encapsulation_of(payload);
        Reader<false> reader(payload, encapsulation_size, head.padding, source_);
        const Findings findings = walk(program_for(head, payload), head, reader, handler);
        if (findings.left_over > Findings::most_padding && writer_ == Writer::ROS2)
            fail_longer(payload, findings);
        return findings;
    }

    /// How well a reading fits a sample.
    enum class Fit : std::uint8_t {
        EXACT,     ///< all members are there and no others, padding is zero, values are ones that a writer
                   ///< writes
        DEVIATES,  ///< it can be read, but one of these is not so
        FAILS,     ///< it cannot be read, or more than padding follows it
    };

    /// The best fit that a reading of the type has to `payload`.
    Fit fit(std::span<const std::byte> payload);

private:
    struct Candidate {
        Reading reading;
        std::unique_ptr<Program> program;  // compiled when first tried
        std::uint64_t exact_fits = 0;
    };
    using Candidates = std::vector<Candidate>;

    template <typename Handler, bool ChecksPadding>
    Findings walk(const Program& program, const Encapsulation& head, Reader<ChecksPadding>& reader,
                  Handler& handler) {
        const bool native = head.little_endian == (std::endian::native == std::endian::little);
        if (native)
            return Walk<Handler, false, ChecksPadding>(program, reader, parameters_, handler).sample();
        return Walk<Handler, true, ChecksPadding>(program, reader, parameters_, handler).sample();
    }

    /// ROS 2 types do not evolve: what goes on after its last member is a sample of another type.
    [[noreturn]] void fail_longer(std::span<const std::byte> payload, const Findings& findings) const;

    Encapsulation encapsulation_of(std::span<const std::byte> payload) const;
    const Program& program_for(const Encapsulation& head, std::span<const std::byte> payload);
    Candidates make_candidates(const Encapsulation& head) const;
    static Candidate& promote(Candidates& candidates, std::size_t index);
    const Program& program_of(Candidate& candidate, const Encapsulation& head) const;
    Fit fit_of(Candidate& candidate, const Encapsulation& head, std::span<const std::byte> payload);

    core::xtypes::DynamicTypeImpl type_;
    std::string source_;
    Writer writer_;
    std::shared_ptr<const View> view_;
    std::array<Candidates, 6> candidates_;  // by encoding and form of the outermost value
    ParameterTable parameters_;
};

}  // namespace zun::cdr

#endif
