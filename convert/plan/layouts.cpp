#include "convert/plan/layouts.hpp"

#include <algorithm>
#include <memory>
#include <system_error>

#include "platform/cdr/SampleDecoder.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

namespace {

using Fit = cdr::SampleDecoder::Fit;

/// A layout that every message so far has.
struct Candidate {
    explicit Candidate(const core::xtypes::DynamicTypeImpl& layout)
        : type(layout), decoder(std::make_unique<cdr::SampleDecoder>(layout, "", cdr::Writer::ROS2)) {}

    core::xtypes::DynamicTypeImpl type;
    std::unique_ptr<cdr::SampleDecoder> decoder;
    std::uint64_t deviations = 0;
};
using Candidates = std::vector<Candidate>;

void try_message(Candidates& candidates, std::span<const std::byte> payload) {
    std::erase_if(candidates, [&](Candidate& candidate) {
        const Fit fit = candidate.decoder->fit(payload);
        candidate.deviations += fit == Fit::DEVIATES ? 1 : 0;
        return fit == Fit::FAILS;
    });
}

void try_messages(input::MessageStream& stream, const std::vector<Candidates*>& by_channel) {
    try {
        while (const auto batch = stream.next_batch()) {
            batch->load();
            for (const input::Message& message : batch->messages())
                if (by_channel[message.channel]) try_message(*by_channel[message.channel], message.data);
        }
    } catch (const InputError&) {  // met again, and reported, by the passes that follow
    } catch (const std::system_error&) {
    }
}

}  // namespace

void find_layouts(input::MessageStream& stream, std::vector<LayoutQuestion>& questions) {
    if (questions.empty()) return;
    std::vector<Candidates> candidates(questions.size());
    std::vector<Candidates*> by_channel(stream.channels().size());
    input::Selection selection;
    selection.channels.resize(by_channel.size());
    for (std::size_t i = 0; i < questions.size(); ++i) {
        candidates[i] = Candidates(questions[i].type->layouts.begin(), questions[i].type->layouts.end());
        for (const std::uint32_t channel : questions[i].channels) {
            by_channel[channel] = &candidates[i];
            selection.channels[channel] = true;
        }
    }
    stream.start(selection);
    try_messages(stream, by_channel);
    for (std::size_t i = 0; i < questions.size(); ++i) {
        const auto best = std::min_element(
            candidates[i].begin(), candidates[i].end(),
            [](const Candidate& a, const Candidate& b) { return a.deviations < b.deviations; });
        if (best != candidates[i].end()) questions[i].answer = best->type;
    }
}

}  // namespace zun::convert
