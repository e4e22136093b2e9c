#include "platform/logger/Logger.hpp"

#include <utility>

namespace zun::chronicle {

void Logger::listen(Level least, Sink sink) {
    const std::lock_guard lock(mutex_);
    sink_ = std::move(sink);
    threshold.store(sink_ ? least : Level::NONE, std::memory_order_relaxed);
}

void Logger::write(Level level, const std::string& message) {
    if (!enabled(level)) return;
    const std::lock_guard lock(mutex_);
    if (sink_) sink_(level, message);
}

}  // namespace zun::chronicle
