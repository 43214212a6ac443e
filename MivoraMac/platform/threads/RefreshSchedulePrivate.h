#pragma once

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>

namespace Mivora::platform {

/// The moments at which something periodic is due: whole multiples of a period after a start.
///
/// Each moment is computed from the start, so neither the rounding of a period that is no whole
/// number of nanoseconds nor late wake-ups add up.
class RefreshSchedule {
 public:
    using Time = std::chrono::steady_clock::time_point;

    /// Some thirty years: the next moment lies within the clock's range.
    static constexpr double kLongestPeriodSeconds = 1e9;

    /// @param periodSeconds  above zero; longer than the longest counts as that
    RefreshSchedule(Time start, double periodSeconds)
        : start_(start), period_(std::min(periodSeconds, kLongestPeriodSeconds) * 1e9) {}

    /// The next moment that is still to come, given the current time. Moments that have passed
    /// unnoticed are left out; none is given twice.
    Time advance(Time now) {
        const double elapsed = static_cast<double>((now - start_).count()) / period_;
        const auto next = static_cast<std::int64_t>(std::floor(elapsed)) + 1;
        index_ = next > index_ ? next : index_ + 1;
        return start_ + std::chrono::nanoseconds(static_cast<std::int64_t>(
                            std::ceil(static_cast<double>(index_) * period_)));
    }

 private:
    static_assert(std::chrono::steady_clock::period::den == std::nano::den);

    Time start_;
    double period_;  // nanoseconds
    std::int64_t index_ = 0;
};

}  // namespace Mivora::platform
