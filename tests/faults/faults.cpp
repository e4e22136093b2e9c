// faults: a library to preload, which lets the n-th call of some functions go wrong. Calls count from main()
// on.
//
//     FAULT_IN      memory, read, write, open, name, sync, thread: a group of functions; any: all of them
//     FAULT_AT      the call, from 1; with FAULT_LASTS=1 all after it too
//     FAULT_KIND    an errno; -1: half of the bytes are transferred; 1000 + N: signal N comes, then the call
//     is made FAULT_COUNT   a file that gets the number of calls

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const char* faulty_group = nullptr;
long fault_at = 0, kind = 0;
bool lasts = false;
std::atomic<long> calls = 0;

using Main = int (*)(int, char**, char**);
Main real_main = nullptr;

long number(const char* variable) {
    const char* const text = std::getenv(variable);
    return text == nullptr ? 0 : std::atol(text);
}

void write_count() {
    faulty_group = nullptr;
    if (const char* const file = std::getenv("FAULT_COUNT")) {
        const int descriptor = ::creat(file, 0600);
        ::dprintf(descriptor, "%ld", calls.load());
    }
}

int main_with_faults(int count, char** arguments, char** environment) {
    fault_at = number("FAULT_AT");
    kind = number("FAULT_KIND");
    lasts = number("FAULT_LASTS") != 0;
    std::atexit(write_count);
    faulty_group = std::getenv("FAULT_IN");
    return real_main(count, arguments, environment);
}

/// The kind of fault that strikes this call; 0 for none.
long strike(const char* group) {
    if (faulty_group == nullptr) return 0;
    if (std::strcmp(faulty_group, group) != 0 && std::strcmp(faulty_group, "any") != 0) return 0;
    const long call = ++calls;
    if (call != fault_at && !(lasts && call > fault_at)) return 0;
    if (kind > 1000) return ::raise(static_cast<int>(kind - 1000));
    if (kind > 0) errno = static_cast<int>(kind);
    return kind;
}

/// What calls return that fail.
struct Failure {
    operator int() const { return -1; }
};

template <typename Function>
Function next(Function, const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// NOLINTBEGIN(bugprone-macro-parentheses): parameter lists are none of its business
#define NEXT(name) next(&::name, #name)
#define FAULTY(group, result, name, parameters, arguments) \
    extern "C" result name parameters {                    \
        if (strike(group) > 0) return Failure();           \
        return NEXT(name) arguments;                       \
    }
#define FAULTY_TRANSFER(group, name, buffer, parameters, arguments)                        \
    extern "C" ssize_t name(int file, buffer bytes, std::size_t size parameters) {         \
        const long fault = strike(group);                                                  \
        if (fault > 0) return -1;                                                          \
        return NEXT(name)(file, bytes, fault < 0 && size > 1 ? size / 2 : size arguments); \
    }
#define FAULTY_MEMORY(name, parameters, ...)                               \
    extern "C" void* __libc_##name parameters;                             \
    extern "C" void* name parameters {                                     \
        return strike("memory") > 0 ? nullptr : __libc_##name __VA_ARGS__; \
    }
#define COMMA ,
// NOLINTEND(bugprone-macro-parentheses)

FAULTY_MEMORY(malloc, (std::size_t size), (size))
FAULTY_MEMORY(calloc, (std::size_t count, std::size_t size), (count, size))
FAULTY_MEMORY(realloc, (void* old, std::size_t size), (old, size))
FAULTY_MEMORY(memalign, (std::size_t alignment, std::size_t size), (alignment, size))
FAULTY_TRANSFER("read", read, void*, , )
FAULTY_TRANSFER("read", pread, void*, COMMA off_t at, COMMA at)
FAULTY_TRANSFER("read", pread64, void*, COMMA off_t at, COMMA at)
FAULTY_TRANSFER("write", write, const void*, , )
FAULTY_TRANSFER("write", pwrite, const void*, COMMA off_t at, COMMA at)
FAULTY_TRANSFER("write", pwrite64, const void*, COMMA off_t at, COMMA at)
FAULTY("open", int, open, (const char* path, int flags, ...), (path, flags, 0666))
FAULTY("open", int, open64, (const char* path, int flags, ...), (path, flags, 0666))
FAULTY("open", int, openat, (int at, const char* path, int flags, ...), (at, path, flags, 0666))
FAULTY("name", int, mkdir, (const char* path, mode_t mode), (path, mode))
FAULTY("name", int, rename, (const char* from, const char* to), (from, to))
FAULTY("name", int, renameat2, (int a, const char* from, int b, const char* to, unsigned flags),
       (a, from, b, to, flags))
FAULTY("sync", int, fsync, (int file), (file))
FAULTY("sync", int, close, (int file), (file))

extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*run)(void*),
                              void* argument) {
    if (strike("thread") > 0) return errno;
    return NEXT(pthread_create)(thread, attributes, run, argument);
}

// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming): the C library's
extern "C" int __libc_start_main(Main tool, int count, char** arguments, void (*begin)(), void (*end)(),
                                 void (*unload)(), void* stack) {
    real_main = tool;
    return next(&__libc_start_main, "__libc_start_main")(main_with_faults, count, arguments, begin, end,
                                                         unload, stack);
}
