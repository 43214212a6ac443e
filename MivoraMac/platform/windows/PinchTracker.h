#pragma once

#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

/// Turns a gesture of two fingers on a touchpad into the touches of two fingers on a screen: they
/// land to the left and the right of the pointer, both on the view that is under it, and move as
/// the gesture says.
///
/// Each operation returns the events to deliver, in order. Locations are in points from the view's
/// bottom left corner. Thread: any one.
class PinchTracker {
 public:
    /// What to deliver, in order.
    using Events = std::vector<Event>;

    /// How far each finger is from the middle at first, in points.
    static constexpr double kRadius = 100;
    /// What the two are told by; no finger on a screen has these numbers.
    static constexpr std::uint64_t kFirst = std::numeric_limits<std::uint64_t>::max() - 1;
    static constexpr std::uint64_t kSecond = kFirst + 1;

    /// Whether a gesture is under way.
    bool isActive() const { return isActive_; }

    /// The gesture begins at the pointer. One under way is cancelled.
    Events begin(Point pointer) {
        Events events = cancel();
        isActive_ = true;
        middle_ = pointer;
        scale_ = 1;
        angle_ = 0;
        Event event = made(Event::Type::TouchesBegan);
        for (Event::Touch& touch : event.touches) {
            touch.landing = pointer;
        }
        events.push_back(event);
        return events;
    }

    /// The fingers move.
    /// @param scale  their distance, as a multiple of that at the begin. What is not above zero or
    ///               not finite is left out
    /// @param turn   how far they have turned since the last time, clockwise, in radians
    /// @param step   how far their middle has moved since then, in points, y up
    Events update(double scale, double turn, Point step) {
        if (!isActive_) {
            return {};
        }
        scale_ = std::isfinite(scale) && scale > 0 ? scale : scale_;
        angle_ += std::isfinite(turn) ? turn : 0;
        middle_.x += std::isfinite(step.x) ? step.x : 0;
        middle_.y += std::isfinite(step.y) ? step.y : 0;
        return {made(Event::Type::TouchesMoved)};
    }

    /// The fingers are lifted. Without a gesture under way there is nothing to end.
    Events end() { return finish(Event::Type::TouchesEnded); }

    /// The gesture is taken away.
    Events cancel() { return finish(Event::Type::TouchesCancelled); }

 private:
    Events finish(Event::Type type) {
        return std::exchange(isActive_, false) ? Events{made(type)} : Events();
    }

    Event made(Event::Type type) const {
        const Point arm = {kRadius * scale_ * std::cos(angle_),
                           -kRadius * scale_ * std::sin(angle_)};  // y is up
        Event event;
        event.type = type;
        event.touches = {{kFirst, {middle_.x - arm.x, middle_.y - arm.y}},
                         {kSecond, {middle_.x + arm.x, middle_.y + arm.y}}};
        event.locationInWindow = event.touches.front().location;
        return event;
    }

    bool isActive_ = false;
    Point middle_;
    double scale_ = 1;
    double angle_ = 0;
};

}  // namespace Mivora::platform
