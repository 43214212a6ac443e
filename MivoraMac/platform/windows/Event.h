#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/Rect.h"
#include "MivoraMac/platform/windows/Modifiers.h"

namespace Mivora::platform {

/// Something that the pointer or fingers did over a native view, or the keyboard within it, as the
/// host reports it. Hosts make events, share them, and change them no more.
struct Event {
    /// What happened.
    enum class Type {
        MouseDown,     ///< the primary button is pressed
        MouseDragged,  ///< the pointer moves while the primary button is held
        MouseUp,
        RightMouseDown,  ///< the secondary button is pressed
        RightMouseDragged,
        RightMouseUp,
        MiddleMouseDown,  ///< the middle button is pressed
        MiddleMouseDragged,
        MiddleMouseUp,
        MouseEntered,  ///< the pointer comes into the view
        MouseMoved,    ///< the pointer moves over the view with no button held
        MouseExited,   ///< the pointer leaves the view
        ScrollWheel,   ///< a wheel turns, fingers scroll, or momentum goes on after them
        TouchesBegan,  ///< fingers land on a screen
        TouchesMoved,
        TouchesEnded,      ///< fingers are lifted
        TouchesCancelled,  ///< the system has taken fingers over
        KeyDown,           ///< a key is pressed, or repeats while it is held
        KeyUp,             ///< a key is let go, or the keyboard has gone elsewhere meanwhile
    };

    /// A part of a gesture of scrolling. The values are bits, so that hosts can pass on what they
    /// get; combinations and unknown values mean nothing to the library.
    enum Phase : std::uint32_t {
        PhaseNone = 0,
        PhaseBegan = 1,
        PhaseStationary = 2,
        PhaseChanged = 4,
        PhaseEnded = 8,
        PhaseCancelled = 16,
    };

    /// A finger on a screen, or one that stands for what fingers do on a touchpad.
    struct Touch {
        /// Tells the finger from others from its landing until it is lifted or cancelled.
        std::uint64_t identifier = 0;
        /// Where it is, in points as `locationInWindow`.
        Point location;
        /// Where the view that it lands on is looked for, if that is not where it is. Only as it
        /// begins.
        std::optional<Point> landing = std::nullopt;
    };

    /// What happened; the fields below say more about it.
    Type type = Type::MouseMoved;

    /// Where the pointer is, in points from the bottom left corner of the view that the event is
    /// delivered to; x to the right, y up. May lie outside while a button is held. Of touches,
    /// where the first is.
    Point locationInWindow;

    /// The fingers that did so together; none but for touches. Fingers that rest are not among
    /// them.
    std::vector<Touch> touches;

    /// The modifier keys that are held meanwhile; of a modifier key itself, those that were held
    /// before. A change of them makes no event of the pointer.
    Modifiers modifiers;

    /// How many presses in quick succession this press or release is part of: 2 for a double
    /// click. 0 for events of other types.
    std::int32_t clickCount = 0;

    /// How far to scroll: in points if the deltas are precise, else in lines. Positive moves
    /// content to the right and down.
    double scrollingDeltaX = 0;
    double scrollingDeltaY = 0;
    /// Whether the deltas are precise: those of a touchpad are, those of a wheel are not.
    bool hasPreciseScrollingDeltas = false;

    /// Of fingers on a touchpad. None for a wheel and for momentum.
    Phase phase = PhaseNone;
    /// Of the momentum after the fingers have left. None for a wheel and for fingers.
    Phase momentumPhase = PhaseNone;

    /// What is on the key, under the modifiers at hand; see `KeySymbol`. 0 for other events.
    std::uint32_t key = 0;
    /// Which key of the keyboard it is, by a number of the host's: what is on a key may differ
    /// between its press and its release. 0 where the host cannot tell.
    std::uint32_t keyCode = 0;
    /// What a press writes, as UTF-8: after dead keys and composed characters what results. Empty
    /// for a key that writes nothing, for control characters, with Control or Alt, and for
    /// releases.
    std::string text;
    /// Whether a press is that of a key that has been held for a while.
    bool isRepeat = false;
};

}  // namespace Mivora::platform
