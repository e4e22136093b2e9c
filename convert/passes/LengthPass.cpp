#include "convert/passes/LengthPass.hpp"

#include "platform/error/InputError.hpp"

namespace zun::convert {

class LengthPass::LengthStep : public PassStep {
public:
    LengthStep(LengthPass& all, SourceBatch source) : PassStep(all.pass_, std::move(source)), all_(all) {}

    void work() override {
        Meters meters(all_.topics_.size());
        for_each_picked([&](std::size_t topic, const input::Message& message, std::uint64_t) {
            if (!all_.measured_[topic]) return true;
            if (!meters[topic]) meters[topic] = all_.take(topic);
            try {
                meters[topic]->measure(message.data);
            } catch (const InputError&) {
                // The converting pass meets the message again and reports it.
            }
            return true;
        });
        for (std::size_t i = 0; i < meters.size(); ++i)
            if (meters[i]) all_.meters_[i].give(std::move(meters[i]));
    }

    void finish() override {
        all_.whole_ = all_.whole_ && batch()->problems().empty();
        pass().advance(batch()->messages().size());
        all_.batches_.keep(batch());
    }

private:
    LengthPass& all_;
};

std::unique_ptr<Step> LengthPass::step(SourceBatch batch) {
    return std::make_unique<LengthStep>(*this, std::move(batch));
}

std::unique_ptr<cdr::LengthMeter> make_meter(const Topic& topic) {
    const Accepted& accepted = *topic.accepted();
    return std::make_unique<cdr::LengthMeter>(accepted.type, topic.name, topic.writer, accepted.view);
}

std::unique_ptr<cdr::LengthMeter> LengthPass::take(std::size_t topic) {
    return meters_[topic].take([&] { return make_meter(topics_[topic]); });
}

void LengthPass::add_to(TopicLengths& lengths) {
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (!measured_[i]) continue;
        if (meters_[i].idle().empty()) meters_[i].give(take(i));
        const Limits named = topics_[i].accepted()->plain_limits();
        Lengths& of_topic = lengths[topics_[i].identity];
        for (const auto& meter : meters_[i].idle())
            merge(of_topic, named.lengths(meter->longest()));
    }
}

TopicSpreads LengthPass::spreads() const {
    TopicSpreads spreads;
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (!measured_[i]) continue;
        const Limits named = topics_[i].accepted()->plain_limits();
        TopicSpread& spread = spreads[topics_[i].identity];
        for (const auto& meter : meters_[i].idle()) {
            spread.messages += meter->samples();
            for (std::size_t field = 0; field < named.fields().size(); ++field)
                spread.fields[named.fields()[field].full_name].add(meter->spreads()[field]);
        }
    }
    return spreads;
}

}  // namespace zun::convert
