#include "platform/cdr/SampleDecoder.hpp"

#include <algorithm>
#include <utility>

namespace zun::cdr {

namespace {

using core::xtypes::Extensibility;

/// Notices code points that do not exist, in excluded members too: they show that the reading is wrong.
struct Validator : NoHandler {
    template <bool Swapped, typename Place>
    void wide_string(const Place&, WideText text) {
        for (std::uint32_t i = 0; i < text.units;)
            well_formed &= next_character<Swapped>(text, i) != no_character;
    }

    bool well_formed = true;
};

std::size_t slot_of(const Encapsulation& head) {
    const std::size_t form = head.root == Extensibility::FINAL        ? 0
                             : head.root == Extensibility::APPENDABLE ? 1
                                                                      : 2;
    return form + (head.xcdr2 ? 3 : 0);
}

}  // namespace

SampleDecoder::SampleDecoder(const core::xtypes::DynamicTypeImpl& type, std::string source, Writer writer,
                             std::shared_ptr<const View> view)
    : type_(type), source_(std::move(source)), writer_(writer), view_(std::move(view)) {
    const Encapsulation plain;
    candidates_[slot_of(plain)] = make_candidates(plain);  // a type that nobody can decode is refused here
}

Encapsulation SampleDecoder::encapsulation_of(std::span<const std::byte> payload) const {
    Encapsulation head = read_encapsulation(payload, source_);
    // ROS 2 types are plain; some of its writers announced a parameter list all the same.
    if (writer_ == Writer::ROS2 && !head.xcdr2) head.root = Extensibility::FINAL;
    return head;
}

const Program& SampleDecoder::program_of(Candidate& candidate, const Encapsulation& head) const {
    if (!candidate.program)
        candidate.program = std::make_unique<Program>(
            type_,
            Layout{.xcdr2 = head.xcdr2, .root = head.root, .writer = writer_, .reading = candidate.reading},
            view_.get());
    return *candidate.program;
}

SampleDecoder::Candidates SampleDecoder::make_candidates(const Encapsulation& head) const {
    Candidate standard{standard_reading(head, writer_), nullptr};
    const Dependence dependence = program_of(standard, head).dependence();
    Candidates candidates;
    for (const Reading& reading : readings_of(head, writer_, dependence))
        candidates.push_back({reading, nullptr});
    candidates.front().program = std::move(standard.program);
    return candidates;
}

const Program& SampleDecoder::program_for(const Encapsulation& head, std::span<const std::byte> payload) {
    Candidates& candidates = candidates_[slot_of(head)];
    if (candidates.empty()) candidates = make_candidates(head);
    if (candidates.size() == 1) return program_of(candidates.front(), head);

    Candidate* deviating = nullptr;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        const Fit fit = fit_of(candidates[i], head, payload);
        if (fit == Fit::EXACT) return program_of(promote(candidates, i), head);
        if (fit == Fit::DEVIATES && deviating == nullptr) deviating = &candidates[i];
    }
    // What a proven reading cannot read is damage, and no ground for reading it in another way.
    Candidate& first = candidates.front();
    return program_of(deviating != nullptr && first.exact_fits == 0 ? *deviating : first, head);
}

SampleDecoder::Fit SampleDecoder::fit(std::span<const std::byte> payload) {
    try {
        const Encapsulation head = encapsulation_of(payload);
        Candidates& candidates = candidates_[slot_of(head)];
        if (candidates.empty()) candidates = make_candidates(head);
        Fit best = Fit::FAILS;
        for (Candidate& candidate : candidates)
            best = std::min(best, fit_of(candidate, head, payload));
        return best;
    } catch (const InputError&) {
        return Fit::FAILS;
    }
}

SampleDecoder::Candidate& SampleDecoder::promote(Candidates& candidates, std::size_t index) {
    ++candidates[index].exact_fits;
    if (index > 0 && candidates[index].exact_fits > candidates[index - 1].exact_fits) {
        std::swap(candidates[index], candidates[index - 1]);
        --index;
    }
    return candidates[index];
}

SampleDecoder::Fit SampleDecoder::fit_of(Candidate& candidate, const Encapsulation& head,
                                         std::span<const std::byte> payload) {
    Validator validator;
    try {
        Reader<true> reader(payload, encapsulation_size, head.padding, source_);
        const Findings findings = walk(program_of(candidate, head), head, reader, validator);
        if (findings.left_over > Findings::most_padding) return Fit::FAILS;
        reader.step_over(payload.size());
        const bool exact = !findings.unknown_members && !findings.absent_members &&
                           reader.padding_is_zero() && validator.well_formed;
        return exact ? Fit::EXACT : Fit::DEVIATES;
    } catch (const InputError&) {
        return Fit::FAILS;
    }
}

void SampleDecoder::fail_longer(std::span<const std::byte> payload, const Findings& findings) const {
    throw InputError(
        source_, payload.size() - findings.left_over,
        "expected the end of the sample, found " + std::to_string(findings.left_over) + " more bytes");
}

}  // namespace zun::cdr
