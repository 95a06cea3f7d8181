#include "platform/LargeMemory.h"

#include <cstdint>
#include <sys/mman.h>
#include <unistd.h>

namespace platform {

void AdviseLargeBuffer(void* begin, std::size_t size) {
#ifdef MADV_HUGEPAGE
    // Large pages cover whole aligned 2 MiB stretches only.
    constexpr std::uintptr_t kLargePage = 2u << 20;
    const auto start = reinterpret_cast<std::uintptr_t>(begin);
    const std::uintptr_t first = (start + kLargePage - 1) & ~(kLargePage - 1);
    const std::uintptr_t last = (start + size) & ~(kLargePage - 1);
    if (last > first)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#else
    (void)begin;
    (void)size;
#endif
}

void ReleaseDoneBytes(void* begin, std::size_t size) {
    const auto page = std::uintptr_t(::sysconf(_SC_PAGESIZE));
    const auto start = reinterpret_cast<std::uintptr_t>(begin);
    const std::uintptr_t first = (start + page - 1) & ~(page - 1);
    const std::uintptr_t last = (start + size) & ~(page - 1);
    if (last > first)
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_DONTNEED);
}

} // namespace platform
