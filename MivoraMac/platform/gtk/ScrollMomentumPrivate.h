#pragma once

#include <algorithm>
#include <cmath>

#include "MivoraMac/platform/base/Rect.h"

namespace Mivora::platform {

/// The motion that goes on after fingers have left a touchpad: it slows down exponentially, so that
/// in equal times it loses equal parts of its speed.
///
/// Times are in seconds, by any one clock.
class ScrollMomentum {
 public:
    /// The time in which the speed falls to 1/e. The way still to go is the speed times this.
    static constexpr double kTimeConstant = 0.325;
    /// Below these speeds, in points per second, it does not begin, and ends.
    static constexpr double kSlowestStart = 60;
    static constexpr double kSlowest = 12;
    /// Nothing is scrolled faster, in points per second.
    static constexpr double kFastest = 8000;

    /// Begins with a velocity in points per second, in the place of any motion under way.
    /// @return false when it is too slow to go on, or not finite
    bool begin(Point velocity, double time) {
        const double speed = std::hypot(velocity.x, velocity.y);
        isMoving_ = std::isfinite(speed) && speed >= kSlowestStart;
        if (isMoving_) {
            const double cut = std::min(1.0, kFastest / speed);
            velocity_ = {velocity.x * cut, velocity.y * cut};
            time_ = time;
        }
        return isMoving_;
    }

    bool isMoving() const { return isMoving_; }

    /// How far it has gone since the last call; times that run backward count as no time. Once it
    /// is too slow, it ends.
    Point advance(double time) {
        if (!isMoving_) {
            return {};
        }
        const double passed = std::max(0.0, time - time_);
        time_ = std::max(time_, time);
        const double kept = std::exp(-passed / kTimeConstant);
        const double way = kTimeConstant * (1 - kept);
        const Point gone = {velocity_.x * way, velocity_.y * way};
        velocity_ = {velocity_.x * kept, velocity_.y * kept};
        isMoving_ = std::hypot(velocity_.x, velocity_.y) >= kSlowest;
        return gone;
    }

    /// Lets the motion under way have begun at another time.
    void setStart(double time) { time_ = time; }

    void stop() { isMoving_ = false; }

 private:
    bool isMoving_ = false;
    Point velocity_;  // at time_
    double time_ = 0;
};

}  // namespace Mivora::platform
