// MOSSString_fnmatch: shell wildcards against a text.

#ifndef ZUN_PLATFORM_FNMATCH_MOSSSTRING_FNMATCH_HPP
#define ZUN_PLATFORM_FNMATCH_MOSSSTRING_FNMATCH_HPP

/// 0 when the whole of `string` matches the whole of `pattern`, as POSIX fnmatch says with the same flags.
/// With flags 0, "*" and "?" match dots and slashes too.
int MOSSString_fnmatch(const char* pattern, const char* string, int flags);

#endif
