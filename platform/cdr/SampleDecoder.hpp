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
#include "platform/cdr/Encoding.hpp"
#include "platform/cdr/Walk.hpp"

namespace zun::cdr {

class SampleDecoder {
public:
    /// Arguments and exceptions as SamplePrinter's constructor.
    SampleDecoder(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer);

    /// Tells `handler` what `payload` holds; the handler's interface is in Walk.hpp.
    /// Returns the number of bytes after the last member. Throws InputError.
    template <typename Handler>
    std::size_t decode(std::span<const std::byte> payload, Handler& handler) {
        const Encapsulation head = encapsulation_of(payload);
        return walk(program_for(head, payload), head, payload, handler).left;
    }

    /// How well a reading fits a sample.
    enum class Fit : std::uint8_t { EXACT, DEVIATES, FAILS };

    /// The best fit that a reading of the type has to `payload`.
    Fit fit(std::span<const std::byte> payload);

private:
    struct Outcome {
        std::size_t left;
        bool exact;
    };

    struct Candidate {
        Reading reading;
        std::unique_ptr<Program> program;  // compiled when first tried
        std::uint64_t exact_fits = 0;
    };
    using Candidates = std::vector<Candidate>;

    template <typename Handler>
    Outcome walk(const Program& program, const Encapsulation& head, std::span<const std::byte> payload,
                 Handler& handler) {
        const bool native = head.little_endian == (std::endian::native == std::endian::little);
        Reader reader(payload, encapsulation_size, head.padding, source_);
        const bool exact =
            native ? walk_as<false>(program, reader, handler) : walk_as<true>(program, reader, handler);
        return {reader.left(), exact};
    }

    template <bool Swapped, typename Handler>
    bool walk_as(const Program& program, Reader& reader, Handler& handler) {
        Walk<Handler, Swapped> walk(program, reader, parameters_, handler);
        walk.sample();
        return walk.exact();
    }

    Encapsulation encapsulation_of(std::span<const std::byte> payload) const;
    const Program& program_for(const Encapsulation& head, std::span<const std::byte> payload);
    Candidates make_candidates(const Encapsulation& head) const;
    static Candidate& promote(Candidates& candidates, std::size_t index);
    const Program& program_of(Candidate& candidate, const Encapsulation& head) const;
    Fit fit_of(Candidate& candidate, const Encapsulation& head, std::span<const std::byte> payload);

    core::xtypes::DynamicTypeImpl type_;
    std::string source_;
    Writer writer_;
    std::array<Candidates, 6> candidates_;  // by encoding and form of the outermost value
    ParameterTable parameters_;
};

}  // namespace zun::cdr

#endif
