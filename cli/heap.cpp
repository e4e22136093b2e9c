#include "cli/heap.hpp"

#include <cstdint>
#include <cstdlib>

#ifdef __GLIBC__
#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace zun::cli {

#ifdef __GLIBC__
void prepare_heap() {
    constexpr int heap_bytes = 96 << 20;      // address space, and memory only once it is used
    constexpr int largest_buffer = 32 << 20;  // the most that can be asked for; larger ones are mapped
    constexpr std::uintptr_t page = 2 << 20;
    auto* const begin = static_cast<char*>(::sbrk(0));
    mallopt(M_ARENA_MAX, 1);
    mallopt(M_MMAP_THRESHOLD, largest_buffer);
    mallopt(M_TRIM_THRESHOLD, heap_bytes);
    mallopt(M_TOP_PAD, heap_bytes);
    void* volatile extends_heap = std::malloc(largest_buffer / 2);
    std::free(extends_heap);
    char* const first_page = begin + (page - reinterpret_cast<std::uintptr_t>(begin) % page);
    ::madvise(first_page, heap_bytes, MADV_HUGEPAGE);  // where the system has none, small pages do
}
#else
void prepare_heap() {}
#endif

}  // namespace zun::cli
