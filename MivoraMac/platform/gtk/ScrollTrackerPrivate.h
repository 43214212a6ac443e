#pragma once

#include <cstddef>
#include <deque>
#include <utility>
#include <vector>

#include "MivoraMac/platform/gtk/ScrollMomentumPrivate.h"
#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

/// Turns the scrolling of wheels and touchpads into events of a native view, with their phases.
///
/// Fingers make one sequence of began, changed and ended; if they were moving when they left,
/// momentum makes another, which `tick` drives. A wheel makes single events without a phase.
///
/// Deltas come in as the desktop counts them, positive moving the view down and right over its
/// content, and go out as the opposite. Each operation returns the events to deliver, in order.
/// Locations are in points from the view's bottom left corner, times in seconds: those of fingers
/// by the clock of the device, those of `tick` by that of the screen.
class ScrollTracker {
 public:
    using Events = std::vector<Event>;

    /// A wheel turns.
    /// @param lines  clicks of the wheel
    Events wheel(Point location, Point lines) {
        Events events = interrupt(location);
        end(events, location, Event::PhaseCancelled);
        Event event = scrolled(location, lines);
        event.hasPreciseScrollingDeltas = false;
        events.push_back(event);
        return events;
    }

    /// Something scrolls by points that says neither when it begins nor when it ends.
    Events slide(Point location, Point points) {
        Events events = interrupt(location);
        events.push_back(scrolled(location, points));
        return events;
    }

    /// Fingers scroll.
    Events fingers(Point location, Point points, double deviceTime) {
        Events events = interrupt(location);
        Event event = scrolled(location, points);
        event.phase = std::exchange(fingersDown_, true) ? Event::PhaseChanged : Event::PhaseBegan;
        events.push_back(event);
        remember(points, deviceTime);
        return events;
    }

    /// The fingers leave. Without a sequence under way there is nothing to end.
    Events stop(Point location, double deviceTime) {
        Events events;
        if (fingersDown_) {
            const Point velocity = releaseVelocity(deviceTime);
            end(events, location, Event::PhaseEnded);
            if (momentum_.begin(velocity, 0)) {
                momentumBegan_ = false;
                momentumLocation_ = location;
            }
        }
        return events;
    }

    /// Whether `tick` has something to do.
    bool isMoving() const { return momentum_.isMoving(); }

    /// Lets the momentum go on. The first call moves on by a frame, as the fingers did.
    Events tick(double time) {
        if (!momentum_.isMoving()) {
            return {};
        }
        if (!momentumBegan_) {
            momentum_.setStart(time - kFrame);
        }
        const Point gone = momentum_.advance(time);
        Event event = scrolled(momentumLocation_, gone);
        event.momentumPhase =
            std::exchange(momentumBegan_, true) ? Event::PhaseChanged : Event::PhaseBegan;
        Events events = {event};
        if (!momentum_.isMoving()) {
            events.push_back(momentumEnd(Event::PhaseEnded));
        }
        return events;
    }

    /// A press, or another scroll, stops the momentum.
    Events interrupt(Point location) {
        if (!momentum_.isMoving()) {
            return {};
        }
        momentum_.stop();
        if (!momentumBegan_) {
            return {};
        }
        momentumLocation_ = location;
        return {momentumEnd(Event::PhaseCancelled)};
    }

    /// The pointer is taken away: what is under way is cancelled.
    Events cancel(Point location) {
        Events events = interrupt(location);
        end(events, location, Event::PhaseCancelled);
        return events;
    }

 private:
    struct Sample {
        Point points;
        double time;
    };

    /// The speed of release is that over this time before it, in seconds.
    static constexpr double kVelocityWindow = 0.1;
    static constexpr double kFrame = 1.0 / 60.0;
    /// Fingers that rested for longer before they left, in seconds, leave no momentum.
    static constexpr double kRest = 0.08;

    static Event scrolled(Point location, Point delta) {
        Event event;
        event.type = Event::Type::ScrollWheel;
        event.locationInWindow = location;
        event.scrollingDeltaX = 0 - delta.x;  // never a negative zero
        event.scrollingDeltaY = 0 - delta.y;
        event.hasPreciseScrollingDeltas = true;
        return event;
    }

    Event momentumEnd(Event::Phase phase) const {
        Event event = scrolled(momentumLocation_, {});
        event.momentumPhase = phase;
        return event;
    }

    void end(Events& events, Point location, Event::Phase phase) {
        samples_.clear();
        if (std::exchange(fingersDown_, false)) {
            Event event = scrolled(location, {});
            event.phase = phase;
            events.push_back(event);
        }
    }

    void remember(Point points, double time) {
        samples_.push_back({points, time});
        while (samples_.front().time < time - kVelocityWindow) {
            samples_.pop_front();
        }
    }

    Point releaseVelocity(double time) const {
        if (samples_.size() < 2 || time - samples_.back().time > kRest) {
            return {};
        }
        // The first sample says how far the fingers came before the time that is looked at.
        Point way;
        for (std::size_t i = 1; i < samples_.size(); ++i) {
            way.x += samples_[i].points.x;
            way.y += samples_[i].points.y;
        }
        const double passed = samples_.back().time - samples_.front().time;
        return passed > 0 ? Point{way.x / passed, way.y / passed} : Point{};
    }

    bool fingersDown_ = false;
    std::deque<Sample> samples_;
    ScrollMomentum momentum_;
    bool momentumBegan_ = false;
    Point momentumLocation_;
};

}  // namespace Mivora::platform
