#include "convert/passes/LengthPass.hpp"

#include "convert/plan/type_walk.hpp"
#include "platform/error/InputError.hpp"

namespace zun::convert {

class LengthPass::LengthStep : public PassStep {
public:
    LengthStep(LengthPass& all, SourceBatch source) : PassStep(all.pass_, std::move(source)), all_(all) {}

    void work() override {
        Meters meters(all_.topics_.size());
        for_each_picked([&](std::size_t topic, const input::Message& message) {
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
        pass().advance(batch()->messages().size());
        all_.batches_.keep(batch());
    }

private:
    LengthPass& all_;
};

std::unique_ptr<Step> LengthPass::step(SourceBatch batch) {
    return std::make_unique<LengthStep>(*this, std::move(batch));
}

std::unique_ptr<cdr::LengthMeter> LengthPass::take(std::size_t topic) {
    const Topic& made_for = topics_[topic];
    return meters_[topic].take(
        [&] { return std::make_unique<cdr::LengthMeter>(*made_for.type, made_for.name, made_for.writer); });
}

void LengthPass::add_to(TopicLengths& lengths) const {
    for (std::size_t i = 0; i < topics_.size(); ++i) {
        if (!topics_[i].type) continue;
        Lengths& of_topic = lengths[topics_[i].identity];
        for_each_unbounded(*topics_[i].type, "",
                           [&](const std::string& field, const auto&) { of_topic.try_emplace(field, 0); });
        for (const auto& meter : meters_[i].idle())
            for (const auto& field : meter->fields())
                merge(of_topic, {{field.full_name, field.longest}});
    }
}

}  // namespace zun::convert
