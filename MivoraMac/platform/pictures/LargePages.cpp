#include "MivoraMac/platform/pictures/LargePagesPrivate.h"

#include <sys/mman.h>

#include <cstdint>

namespace Mivora::platform {

void preferLargePages(void* memory, std::size_t size) {
    constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (begin + kLargePage - 1) / kLargePage * kLargePage;
    const std::uintptr_t end = (begin + size) / kLargePage * kLargePage;
    if (first < end) {
        ::madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
    }
}

}  // namespace Mivora::platform
