// Logger: the process logger.
//
// Messages go to one sink, which a program sets; without one they are dropped. Whoever composes a message at
// some cost asks enabled() first.

#ifndef ZUN_PLATFORM_LOGGER_LOGGER_HPP
#define ZUN_PLATFORM_LOGGER_LOGGER_HPP

#include <atomic>
#include <functional>
#include <mutex>
#include <string>

namespace zun::chronicle {

class Logger {
public:
    enum class Level { LOCAL, WARN, NONE };  ///< in ascending order of weight
    using Sink = std::function<void(Level, const std::string&)>;

    static Logger& instance() {
        static Logger logger;
        return logger;
    }

    void local(const std::string& message) { write(Level::LOCAL, message); }
    void warn(const std::string& message) { write(Level::WARN, message); }

    /// Whether a message of `level` reaches anyone.
    static bool enabled(Level level) { return level >= threshold.load(std::memory_order_relaxed); }

    /// Sends messages of `least` and above to `sink`, called on one thread at a time; Level::NONE sends
    /// none.
    void listen(Level least, Sink sink);

private:
    Logger() = default;
    void write(Level level, const std::string& message);

    static inline std::atomic<Level> threshold = Level::NONE;  // asked on hot paths: no instance needed
    std::mutex mutex_;                                         // guards the sink
    Sink sink_;
};

}  // namespace zun::chronicle

#endif
