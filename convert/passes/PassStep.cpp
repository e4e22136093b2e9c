#include "convert/passes/PassStep.hpp"

namespace zun::convert {

void PassStep::load() {
    if (!source_.loaded) source_.batch->load();
}

void PassStep::pick() {
    if (pass_.takes_all()) return;
    for (const input::Message& message : source_.batch->messages()) {
        const auto topic = pass_.topic_of(message.channel);
        picked_.push_back(topic && pass_.takes_next(*topic));
    }
}

}  // namespace zun::convert
