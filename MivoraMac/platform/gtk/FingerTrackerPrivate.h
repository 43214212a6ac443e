#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

/// Turns the sequences of fingers on a screen into events of a native view, one finger an event, as
/// the toolkit reports them.
///
/// Each operation returns the events to deliver, in order. Locations are in points from the view's
/// bottom left corner.
class FingerTracker {
 public:
    using Events = std::vector<Event>;

    bool isDown(std::uint64_t finger) const { return find(finger) != fingers_.end(); }
    bool isAnyDown() const { return !fingers_.empty(); }

    /// A finger lands. One that is down has been lost: it is cancelled first.
    Events land(std::uint64_t finger, Point location) {
        Events events = cancel(finger);
        fingers_.push_back({finger, location});
        events.push_back(event(Event::Type::TouchesBegan, {fingers_.back()}));
        return events;
    }

    /// A finger moves. One that is not down is not the view's.
    Events move(std::uint64_t finger, Point location) {
        const auto known = find(finger);
        if (known == fingers_.end()) {
            return {};
        }
        known->location = location;
        return {event(Event::Type::TouchesMoved, {*known})};
    }

    /// A finger is lifted.
    /// @param location  none if that is not known: where it was
    Events lift(std::uint64_t finger, std::optional<Point> location) {
        return take(finger, location, Event::Type::TouchesEnded);
    }

    /// A finger is taken away.
    Events cancel(std::uint64_t finger) {
        return take(finger, std::nullopt, Event::Type::TouchesCancelled);
    }

    /// All fingers are taken away, together.
    Events cancelAll() {
        const Fingers all = std::exchange(fingers_, {});
        return all.empty() ? Events() : Events{event(Event::Type::TouchesCancelled, all)};
    }

 private:
    using Fingers = std::vector<Event::Touch>;

    static Event event(Event::Type type, Fingers fingers) {
        Event made;
        made.type = type;
        made.locationInWindow = fingers.front().location;
        made.touches = std::move(fingers);
        return made;
    }

    Events take(std::uint64_t finger, std::optional<Point> location, Event::Type type) {
        const auto known = find(finger);
        if (known == fingers_.end()) {
            return {};
        }
        Event::Touch touch = *known;
        touch.location = location.value_or(touch.location);
        fingers_.erase(known);
        return {event(type, {touch})};
    }

    Fingers::iterator find(std::uint64_t finger) {
        return std::find_if(fingers_.begin(), fingers_.end(), [finger](const Event::Touch& known) {
            return known.identifier == finger;
        });
    }
    Fingers::const_iterator find(std::uint64_t finger) const {
        return std::find_if(fingers_.begin(), fingers_.end(), [finger](const Event::Touch& known) {
            return known.identifier == finger;
        });
    }

    Fingers fingers_;
};

}  // namespace Mivora::platform
