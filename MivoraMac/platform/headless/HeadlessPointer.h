#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/platform/windows/PinchTracker.h"

namespace Mivora::platform {

class OpenGLView;

/// A pointer that a program moves: every call delivers to a view the events that a desktop would.
///
/// Like a desktop's, the pointer enters and leaves as it crosses the edges of the view's bounds,
/// and a press holds it: while a button is held, moves are drags wherever they lead, and the view
/// is left only after the last release. What handles an event may destroy the pointer; the call
/// that delivered it still delivers what follows.
///
/// Thread: main.
class MIVORA_EXPORT HeadlessPointer {
 public:
    /// A pointer that is outside the view.
    /// @param view  held weakly; without it nothing happens
    explicit HeadlessPointer(const std::shared_ptr<OpenGLView>& view);
    HeadlessPointer(const HeadlessPointer&) = delete;
    HeadlessPointer& operator=(const HeadlessPointer&) = delete;

    /// Where the pointer is, in points from the view's bottom left corner.
    Point location() const { return state_->location; }

    /// Enters, moves, drags or leaves.
    void moveTo(double x, double y);

    /// Leaves the view, which a desktop may say even while a button is held.
    void leave();

    /// The primary button. A press is the `clickCount`-th in quick succession; its release, too.
    /// A press of a held button and a release of a free one are left out.
    void press(std::int32_t clickCount = 1);
    void release();

    /// The secondary button.
    void pressRight(std::int32_t clickCount = 1);
    void releaseRight();

    /// The middle button.
    void pressMiddle(std::int32_t clickCount = 1);
    void releaseMiddle();

    /// The modifier keys that are held from now on; none at first. Delivers nothing by itself.
    void setModifiers(Modifiers modifiers) { state_->modifiers = modifiers; }

    /// A wheel, in lines: no phases, no precise deltas.
    void scrollLines(double deltaX, double deltaY);

    /// Fingers on a touchpad, or the momentum after them, in points.
    void scroll(double deltaX, double deltaY, Event::Phase phase,
                Event::Phase momentumPhase = Event::PhaseNone);

    /// Two fingers land on a touchpad to pinch, turn and move: to the view they are two fingers
    /// around the pointer; see `PinchTracker`.
    void beginPinch();
    /// They move.
    /// @param scale   the distance of the fingers, as a multiple of that at the begin
    /// @param turn    how far they turn from the last call on, clockwise, in radians
    /// @param deltaX  how far their middle moves from the last call on, in points
    /// @param deltaY  as `deltaX`, up
    void pinch(double scale, double turn = 0, double deltaX = 0, double deltaY = 0);
    /// They are lifted.
    void endPinch();
    /// They are taken away.
    void cancelPinch();

 private:
    struct Button {
        bool held = false;
        std::int32_t clickCount = 0;
    };

    /// Outlives the pointer while an event is being delivered.
    struct State {
        std::weak_ptr<OpenGLView> view;
        Point location;
        Modifiers modifiers;
        bool inside = false;
        Button left;
        Button right;
        Button middle;
        PinchTracker pinch;

        void deliver(Event event) const;
        void deliver(Event::Type type, std::int32_t clickCount = 0) const;
        void deliver(const PinchTracker::Events& events) const;
        void setInside(bool nowInside);
        bool isAnyHeld() const;
        bool isOverView() const;
    };

    std::shared_ptr<State> state_;
};

}  // namespace Mivora::platform
