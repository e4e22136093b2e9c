#include "platform/fnmatch/MOSSString_fnmatch.hpp"

#include <fnmatch.h>

int MOSSString_fnmatch(const char* pattern, const char* string, int flags) {
    return ::fnmatch(pattern, string, flags);
}
