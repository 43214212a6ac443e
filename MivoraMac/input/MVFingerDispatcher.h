#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVOrderedSet.h"
#include "MivoraMac/input/MVTouchPhase.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVWindow;

namespace Mivora::platform {
struct Event;
}

/// Makes a touch of every finger, from its landing until it is lifted, and delivers the phases to
/// gesture recognizers and views; see `MVDispatchSelectorToTouches`.
///
/// The touches of one event are delivered together if they are bound to the same recognizers, else
/// one group after the other. A recognizer is given all the touches of a delivery: so it follows no
/// finger of which it would not hear the end, and fingers on two views are two gestures.
///
/// Fingers are told apart by the identifiers of the event's touches. A finger that begins while
/// there is one of its identifier cancels that first; moves, ends and cancellations of fingers that
/// did not begin do nothing. A touch stays with the view that it landed on, wherever the finger
/// goes. Ending touches are dropped before their phase is delivered, so that whoever receives it
/// may do anything, to this dispatcher, too, and are finished after that; see `MVFinishTouches`.
///
/// Thread: main.
class MIVORA_EXPORT MVFingerDispatcher : public std::enable_shared_from_this<MVFingerDispatcher> {
 public:
    /// What the host reported, with the fingers it is about. Null does nothing.
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;

    /// @param window  whose views receive the touches; held weakly. Null hits nothing
    static std::shared_ptr<MVFingerDispatcher> initWithWindow(
        const std::shared_ptr<MVWindow>& window);

    /// Drops the touches without a word.
    ~MVFingerDispatcher();
    MVFingerDispatcher(const MVFingerDispatcher&) = delete;
    MVFingerDispatcher& operator=(const MVFingerDispatcher&) = delete;

    /// Makes touches and delivers that they began.
    void systemTouchesBeganWithEvent(const EventPointer& event);
    /// Updates the touches and delivers the phase.
    void systemTouchesMovedWithEvent(const EventPointer& event);
    void systemTouchesEndedWithEvent(const EventPointer& event);
    void systemTouchesCancelledWithEvent(const EventPointer& event);

    /// Cancels every touch where it is, as when the window closes.
    void cancelAllTouches();

    /// Whether a finger is down.
    bool hasTouches() const { return !fingers_.empty(); }

    /// The touches of the fingers that are down, in the order in which they landed.
    MVTouchSet mv_touches() const;

 private:
    friend struct ::MVMaker;

    /// A touch with the identifier of its finger.
    struct Finger {
        std::uint64_t identifier;
        std::shared_ptr<MVTouch> touch;
    };

    explicit MVFingerDispatcher(const std::shared_ptr<MVWindow>& window);

    std::shared_ptr<MVTouch> take(std::uint64_t identifier);
    void finish(const MVTouchSet& touches, MVTouchPhase phase);
    void finishTouches(const EventPointer& event, MVTouchPhase phase);

    std::weak_ptr<MVWindow> window_;
    std::vector<Finger> fingers_;
};
