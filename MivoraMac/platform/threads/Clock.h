#pragma once

#include <cstdint>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// How many nanoseconds a tick lasts, as a fraction.
struct Timebase {
    std::uint32_t numer;  ///< nanoseconds in `denom` ticks
    std::uint32_t denom;  ///< above zero
};

/// The monotonic clock, in ticks. On Linux a tick is a nanosecond.
///
/// Thread: any.
class MIVORA_EXPORT Clock {
 public:
    /// Ticks since some fixed point in the past; never goes back.
    static std::uint64_t ticks();

    /// How long a tick lasts: 1/1 on Linux.
    static Timebase timebase();

    /// The length of a span of ticks, in seconds.
    static double secondsFromTicks(std::uint64_t ticks);

    /// Replaces clock and timebase, for tests that play with time; null restores the real clock
    /// and the timebase 1/1. Not while other threads read the clock.
    static void setSource(std::uint64_t (*ticks)(), Timebase timebase);
};

}  // namespace Mivora::platform
