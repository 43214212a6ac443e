#include "bench/support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "bench/support/DoNotOptimize.h"

using Mivora::bench::AllocationCounter;
using Mivora::bench::doNotOptimize;

namespace {

void allocate(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const auto memory = std::make_unique<std::uint64_t>(i);
        doNotOptimize(memory.get());
    }
}

}  // namespace

TEST(AllocationCounterTest, countsAllocationsAndTheirBytes) {
    const AllocationCounter counter;
    allocate(10);
    EXPECT_EQ(counter.allocations(), 10U);
    EXPECT_EQ(counter.bytes(), 10U * sizeof(std::uint64_t));
}

TEST(AllocationCounterTest, startsFromZeroAgainAfterARestart) {
    AllocationCounter counter;
    allocate(3);
    counter.restart();
    allocate(2);
    EXPECT_EQ(counter.allocations(), 2U);
}

TEST(AllocationCounterTest, countsWhatAnotherThreadAllocates) {
    std::uint64_t alone = 0;
    {
        const AllocationCounter counter;
        std::thread([] {}).join();
        alone = counter.allocations();
    }
    const AllocationCounter counter;
    std::thread([] { allocate(100); }).join();
    EXPECT_EQ(counter.allocations() - alone, 100U);
}

TEST(AllocationCounterTest, countsWhatTheLibraryAllocates) {
    // Moved in, so that the only text built from here on is the one the library puts together.
    std::string name(100, 'n');
    std::string reason(100, 'r');
    const AllocationCounter counter;
    const MVException exception(std::move(name), std::move(reason));
    EXPECT_GE(counter.allocations(), 1U);
    doNotOptimize(exception);
}

TEST(AllocationCounterTest, countsOveralignedAllocationsAndKeepsTheirAlignment) {
    struct alignas(256) Aligned {
        char byte;
    };
    const AllocationCounter counter;
    const auto memory = std::make_unique<Aligned>();
    doNotOptimize(memory.get());
    EXPECT_EQ(counter.allocations(), 1U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(memory.get()) % 256, 0U);
}

TEST(AllocationCounterTest, countersThatOverlapEachCountFromTheirOwnStart) {
    const AllocationCounter outer;
    allocate(4);
    {
        const AllocationCounter inner;
        allocate(5);
        EXPECT_EQ(inner.allocations(), 5U);
    }
    allocate(6);
    EXPECT_EQ(outer.allocations(), 15U);
}
