#pragma once

#include <chrono>

namespace Mivora::bench {

/// Measures time on the monotonic clock, from its creation or its last restart.
///
/// Thread: that of the owner.
class Stopwatch {
 public:
    /// Seconds since creation or the last restart.
    double seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    }

    /// Milliseconds since creation or the last restart.
    double milliseconds() const { return seconds() * 1e3; }

    /// Nanoseconds since creation or the last restart.
    double nanoseconds() const { return seconds() * 1e9; }

    /// Starts again from zero.
    void restart() { start_ = std::chrono::steady_clock::now(); }

 private:
    std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace Mivora::bench
