#include "cli/options.hpp"

namespace zun::cli {

std::string option_of(const convert::Advice& advice) {
    using enum convert::Advice::Setting;
    const std::string quoted = '\'' + advice.value + '\'';
    switch (advice.setting) {
        case TOPICS:
            return advice.value.empty() ? "-t" : "--topics " + quoted;
        case TYPES:
            return "--types PATH";
        case LIMIT:
            return "--limit " + quoted;
        case LIMITS_FILE:
            return "--limits";
        case MOST_COLUMNS:
            return advice.value.empty() ? "--max-columns" : "--max-columns " + advice.value;
        case KEEP_BLOBS:
            return "--blobs columns";
        case SKIP_BLOBS:
            return "--blobs skip";
        case BLOB_FILES:
            return "--blobs files";
        case INVALID_TEXT:
            return "--invalid-text";
        case OVERWRITE:
            return "--overwrite";
        case CLOCK:
            return "--clock " + quoted;
        case EXPLODE:
            return "--explode " + quoted;
        case FIELDS:
            return advice.value.empty() ? "--fields" : "--fields " + quoted;
        case EXCLUDE_FIELDS:
            return "--exclude-fields " + quoted;
    }
    return {};
}

}  // namespace zun::cli
