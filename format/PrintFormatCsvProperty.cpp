#include "format/PrintFormatCsvProperty.hpp"

#include "platform/fnmatch/MOSSString_fnmatch.hpp"
#include "platform/logger/Logger.hpp"

namespace zun::tamber::utils {

using chronicle::Logger;

std::uint32_t PrintFormatCsvProperty::seq_limit_for_field(const std::string& full_name) const {
    Logger& logger = Logger::instance();
    for (const auto& [expression, limit] : unbounded_seq_limits_) {
        if (MOSSString_fnmatch(expression.c_str(), full_name.c_str(), 0) != 0) continue;
        if (Logger::enabled(Logger::Level::LOCAL))
            logger.local("Field (full name) '" + full_name + "': positive match against expression: '" +
                         expression + "', sequence limit applied: " + std::to_string(limit));
        return limit;
    }
    if (Logger::enabled(Logger::Level::WARN))
        logger.warn("Unbounded sequence field (full name) '" + full_name +
                    "': no match against any sequence limit expression, using default sequence limit (1000)");
    return 1000;
}

}  // namespace zun::tamber::utils
