#include "convert/passes/PassStep.hpp"

namespace zun::convert {

void PassStep::load() {
    if (!source_.loaded) source_.batch->load();
}

void PassStep::pick() {
    for (const input::Message& message : source_.batch->messages()) {
        const auto topic = pass_.topic_of(message.channel);
        const bool taken = topic && pass_.takes_next(*topic, message.log_time);
        if (!pass_.takes_all()) picked_.push_back(taken);
        if (pass_.numbers_messages()) numbers_.push_back(taken ? pass_.next_number(*topic) : 0);
    }
}

}  // namespace zun::convert
