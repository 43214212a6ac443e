#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::platform {

/// Turns what a pointer does over a widget into the events of a native view.
///
/// While a button is held, moves are drags wherever they lead, and the view is left only after the
/// last release. Each operation returns the events to deliver, in order. Locations are in points
/// from the view's bottom left corner.
class PointerTracker {
 public:
    enum class Button { Primary, Secondary, Middle };
    static constexpr std::array kButtons = {Button::Primary, Button::Secondary, Button::Middle};
    using Events = std::vector<Event>;

    /// Where the pointer was last.
    Point location() const { return location_; }

    bool isHeld(Button button) const { return held(button).clickCount > 0; }
    bool isAnyHeld() const {
        return std::any_of(kButtons.begin(), kButtons.end(),
                           [this](Button button) { return isHeld(button); });
    }

    /// The pointer comes onto the widget or what is embedded in it.
    Events enter(Point location) {
        location_ = location;
        left_ = false;
        return isAnyHeld() || std::exchange(inside_, true)
                   ? Events()
                   : Events{event(Event::Type::MouseEntered)};
    }

    /// The pointer moves, or is dragged while a button is held.
    Events move(Point location) {
        location_ = location;
        if (!isAnyHeld()) {
            return {event(std::exchange(inside_, true) ? Event::Type::MouseMoved
                                                       : Event::Type::MouseEntered)};
        }
        Events events;
        for (const Button button : kButtons) {
            if (isHeld(button)) {
                events.push_back(event(kTypes[index(button)].dragged));
            }
        }
        return events;
    }

    /// The pointer goes off the widget.
    Events leave() {
        if (isAnyHeld()) {
            left_ = true;
            return {};
        }
        return exit();
    }

    /// A button is pressed. That of a held one is left out.
    /// @param clickCount  at least 1
    Events press(Button button, Point location, std::int32_t clickCount) {
        if (isHeld(button)) {
            return {};
        }
        location_ = location;
        held(button).clickCount = clickCount;
        return {event(kTypes[index(button)].down, clickCount)};
    }

    /// A button is let go. That of a free one is left out.
    Events release(Button button, Point location) {
        if (!isHeld(button)) {
            return {};
        }
        location_ = location;
        Events events = {up(button)};
        if (!isAnyHeld() && std::exchange(left_, false)) {
            append(events, exit());
        }
        return events;
    }

    /// The pointer is taken away, whatever it was doing: it leaves, so that nothing takes the
    /// releases for the end of clicks, and then lets go of the buttons.
    Events cancel() {
        inside_ = inside_ || isAnyHeld();  // a finger presses without having entered
        Events events = exit();
        for (const Button button : kButtons) {
            if (isHeld(button)) {
                events.push_back(up(button));
            }
        }
        left_ = false;
        return events;
    }

 private:
    struct Held {
        std::int32_t clickCount = 0;  // 0 while the button is free
    };
    struct Types {
        Event::Type down;
        Event::Type dragged;
        Event::Type up;
    };
    static constexpr std::array kTypes = {
        Types{Event::Type::MouseDown, Event::Type::MouseDragged, Event::Type::MouseUp},
        Types{Event::Type::RightMouseDown, Event::Type::RightMouseDragged,
              Event::Type::RightMouseUp},
        Types{Event::Type::MiddleMouseDown, Event::Type::MiddleMouseDragged,
              Event::Type::MiddleMouseUp}};

    static std::size_t index(Button button) { return static_cast<std::size_t>(button); }
    Held& held(Button button) { return held_[index(button)]; }
    const Held& held(Button button) const { return held_[index(button)]; }

    Event event(Event::Type type, std::int32_t clickCount = 0) const {
        Event made;
        made.type = type;
        made.locationInWindow = location_;
        made.clickCount = clickCount;
        return made;
    }

    Event up(Button button) {
        return event(kTypes[index(button)].up, std::exchange(held(button).clickCount, 0));
    }

    Events exit() {
        return std::exchange(inside_, false) ? Events{event(Event::Type::MouseExited)} : Events();
    }

    static void append(Events& events, const Events& more) {
        events.insert(events.end(), more.begin(), more.end());
    }

    Point location_;
    bool inside_ = false;
    bool left_ = false;  // went off the widget while a button was held
    std::array<Held, kButtons.size()> held_;
};

}  // namespace Mivora::platform
