#pragma once

#include <cstdint>

namespace Mivora::bench {

/// Counts the calls of `operator new` while it lives, those of the library and of all threads
/// included. The benchmark programs replace the global operators for this; while no counter lives
/// that costs one load a call.
///
/// Thread: any. Counters may overlap; each counts from its own start.
class AllocationCounter {
 public:
    AllocationCounter();
    ~AllocationCounter();
    AllocationCounter(const AllocationCounter&) = delete;
    AllocationCounter& operator=(const AllocationCounter&) = delete;

    /// Allocations since creation or the last restart.
    std::uint64_t allocations() const;

    /// Bytes asked for since creation or the last restart, whether or not they were freed.
    std::uint64_t bytes() const;

    /// Starts again from zero.
    void restart();

 private:
    std::uint64_t allocationsAtStart_ = 0;
    std::uint64_t bytesAtStart_ = 0;
};

}  // namespace Mivora::bench
