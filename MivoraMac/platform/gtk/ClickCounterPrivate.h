#pragma once

#include <cmath>
#include <cstdint>
#include <utility>

#include "MivoraMac/platform/base/Rect.h"

namespace Mivora::platform {

/// Counts presses in quick succession: 2 for a double click, and on from there.
///
/// A press belongs to the series of the one before if it is of the same button, soon enough after
/// it, and not too far from the first of the series in either direction.
class ClickCounter {
 public:
    /// What the desktop calls quick and near.
    struct Limits {
        std::uint32_t milliseconds = 400;
        double distance = 5;  ///< points
    };

    /// Takes a press.
    /// @param button        any number that stands for the button
    /// @param milliseconds  when, by a clock that may run over
    /// @return how many presses the series has with this one; at least 1
    std::int32_t press(unsigned button, Point location, std::uint32_t milliseconds,
                       const Limits& limits) {
        const std::uint32_t passed = milliseconds - std::exchange(time_, milliseconds);
        const bool isNear = std::abs(location.x - first_.x) <= limits.distance &&
                            std::abs(location.y - first_.y) <= limits.distance;
        if (count_ > 0 && button == button_ && passed <= limits.milliseconds && isNear) {
            return ++count_;
        }
        button_ = button;
        first_ = location;
        return count_ = 1;
    }

 private:
    unsigned button_ = 0;
    Point first_;
    std::uint32_t time_ = 0;
    std::int32_t count_ = 0;
};

}  // namespace Mivora::platform
