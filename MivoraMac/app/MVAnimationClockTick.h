#pragma once

#include "MivoraMac/Export.h"

/// What an `MVAnimationClock` drives: an object that animates.
class MIVORA_EXPORT MVAnimationClockTick {
 public:
    virtual ~MVAnimationClockTick() = default;

    /// Called once for every tick of a clock with which the object is registered. It may start and
    /// stop ticks of the clock, its own included. Thread: main.
    /// @param step  the time that passes with this tick, in seconds
    /// @param sync  a time stamp of the display's refresh, in seconds; 0 where there is none
    virtual void tickVideoSync(double step, double sync) = 0;
};
