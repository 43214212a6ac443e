#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "MivoraMac/platform/windows/Event.h"

namespace Mivora::tests {

/// What kinds of events there are, as words: "down(2) moved". Scrolling has its deltas and phases:
/// "scroll(0,-3,changed)", "momentum(0,2,began)", "wheel(0,1)"; touches have their fingers:
/// "touches-moved[7 10,20]".
inline std::string text(const std::vector<platform::Event>& events) {
    using platform::Event;
    const auto phaseName = [](Event::Phase phase) {
        switch (phase) {
            case Event::PhaseBegan:
                return "began";
            case Event::PhaseChanged:
                return "changed";
            case Event::PhaseEnded:
                return "ended";
            case Event::PhaseCancelled:
                return "cancelled";
            default:
                return "none";
        }
    };
    const auto name = [](Event::Type type) {
        switch (type) {
            case Event::Type::MouseDown:
                return "down";
            case Event::Type::MouseDragged:
                return "dragged";
            case Event::Type::MouseUp:
                return "up";
            case Event::Type::RightMouseDown:
                return "right-down";
            case Event::Type::RightMouseDragged:
                return "right-dragged";
            case Event::Type::RightMouseUp:
                return "right-up";
            case Event::Type::MiddleMouseDown:
                return "middle-down";
            case Event::Type::MiddleMouseDragged:
                return "middle-dragged";
            case Event::Type::MiddleMouseUp:
                return "middle-up";
            case Event::Type::MouseEntered:
                return "entered";
            case Event::Type::MouseMoved:
                return "moved";
            case Event::Type::MouseExited:
                return "exited";
            case Event::Type::ScrollWheel:
                return "scroll";
            case Event::Type::TouchesBegan:
                return "touches-began";
            case Event::Type::TouchesMoved:
                return "touches-moved";
            case Event::Type::TouchesEnded:
                return "touches-ended";
            case Event::Type::TouchesCancelled:
                return "touches-cancelled";
            case Event::Type::KeyDown:
                return "key-down";
            case Event::Type::KeyUp:
                return "key-up";
        }
        return "unknown";
    };
    std::ostringstream words;
    for (const Event& event : events) {
        words << (words.tellp() > 0 ? " " : "");
        if (event.type != Event::Type::ScrollWheel) {
            words << name(event.type);
            for (const Event::Touch& touch : event.touches) {
                words << "[" << touch.identifier << " " << touch.location.x << ","
                      << touch.location.y << "]";
            }
            if (event.clickCount != 0) {
                words << "(" << event.clickCount << ")";
            }
            continue;
        }
        const bool isMomentum = event.momentumPhase != Event::PhaseNone;
        words << (isMomentum                        ? "momentum"
                  : event.hasPreciseScrollingDeltas ? "scroll"
                                                    : "wheel")
              << "(" << event.scrollingDeltaX << "," << event.scrollingDeltaY;
        if (event.hasPreciseScrollingDeltas) {
            words << "," << phaseName(isMomentum ? event.momentumPhase : event.phase);
        }
        words << ")";
    }
    return words.str();
}

}  // namespace Mivora::tests
