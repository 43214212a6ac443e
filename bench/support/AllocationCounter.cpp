#include "bench/support/AllocationCounter.h"

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <new>

namespace Mivora::bench {

namespace {

constinit std::atomic<int> livingCounters{0};
constinit std::atomic<std::uint64_t> allocationCount{0};
constinit std::atomic<std::uint64_t> byteCount{0};

void count(std::size_t size) {
    if (livingCounters.load(std::memory_order_relaxed) > 0) {
        allocationCount.fetch_add(1, std::memory_order_relaxed);
        byteCount.fetch_add(size, std::memory_order_relaxed);
    }
}

void* allocated(std::size_t size) noexcept {
    count(size);
    return std::malloc(size > 0 ? size : 1);
}

void* allocated(std::size_t size, std::align_val_t alignment) noexcept {
    count(size);
    // aligned_alloc takes multiples of the alignment only.
    const std::size_t step = static_cast<std::size_t>(alignment);
    const std::size_t rounded = ((size > 0 ? size : 1) + step - 1) / step * step;
    return std::aligned_alloc(step, rounded);
}

void* orThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

}  // namespace

AllocationCounter::AllocationCounter() {
    livingCounters.fetch_add(1);
    restart();
}

AllocationCounter::~AllocationCounter() {
    livingCounters.fetch_sub(1);
}

std::uint64_t AllocationCounter::allocations() const {
    return allocationCount.load() - allocationsAtStart_;
}

std::uint64_t AllocationCounter::bytes() const {
    return byteCount.load() - bytesAtStart_;
}

void AllocationCounter::restart() {
    allocationsAtStart_ = allocationCount.load();
    bytesAtStart_ = byteCount.load();
}

}  // namespace Mivora::bench

using Mivora::bench::allocated;
using Mivora::bench::orThrow;

void* operator new(std::size_t size) {
    return orThrow(allocated(size));
}
void* operator new[](std::size_t size) {
    return orThrow(allocated(size));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocated(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocated(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocated(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocated(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocated(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return allocated(size, alignment);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
    std::free(memory);
}
