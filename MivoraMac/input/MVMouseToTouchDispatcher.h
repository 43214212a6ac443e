#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVTouchPhase.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVTouch;
class MVWindow;

namespace Mivora::platform {
struct Event;
}

/// Makes a touch of the primary button, from press to release, and delivers its phases to gesture
/// recognizers and views; see `MVDispatchSelectorToTouches`.
///
/// There is at most one touch. Moves, ends and cancellations without one do nothing; a begin while
/// there is one drops that without a word: the recognizers bound to it keep it. An ending touch is
/// dropped before its phase is delivered, so that whoever receives it may do anything, to this
/// dispatcher, too, and is finished after that; see `MVFinishTouches`.
///
/// Events may be null: the touch is then at the bottom left corner of the host view.
///
/// Thread: main.
class MIVORA_EXPORT MVMouseToTouchDispatcher
    : public std::enable_shared_from_this<MVMouseToTouchDispatcher> {
 public:
    /// What the host reported; may be null.
    using EventPointer = std::shared_ptr<const Mivora::platform::Event>;

    /// @param window  whose views receive the touches; held weakly. Null hits nothing
    static std::shared_ptr<MVMouseToTouchDispatcher> initWithWindow(
        const std::shared_ptr<MVWindow>& window);

    ~MVMouseToTouchDispatcher();
    MVMouseToTouchDispatcher(const MVMouseToTouchDispatcher&) = delete;
    MVMouseToTouchDispatcher& operator=(const MVMouseToTouchDispatcher&) = delete;

    /// Makes a touch and delivers that it began.
    void systemTouchBeganWithEvent(const EventPointer& event);
    /// Updates the touch and delivers the phase.
    void systemTouchMovedWithEvent(const EventPointer& event);
    void systemTouchEndedWithEvent(const EventPointer& event);
    void systemTouchCancelledWithEvent(const EventPointer& event);

    /// Whether the touches are of the kind of fingers, whose place on the screen follows the
    /// pointer
    /// (`MVFingerTouch`): a pan of the mouse then begins after ten points, as one of a finger, and
    /// a click during which the pointer trembles stays a click. False at first: the place is that
    /// of the press (`MVPlatformTouch`), and every move begins a pan.
    bool makesFingerTouches() const { return makesFingerTouches_; }
    /// Takes effect with the next press.
    void setMakesFingerTouches(bool makesFingerTouches) {
        makesFingerTouches_ = makesFingerTouches;
    }

    /// The touch of the press in progress, or null.
    const std::shared_ptr<MVTouch>& mv_currentMouseTouch() const { return currentMouseTouch_; }

 private:
    friend struct ::MVMaker;

    explicit MVMouseToTouchDispatcher(const std::shared_ptr<MVWindow>& window);

    void finishTouch(const EventPointer& event, MVTouchPhase phase);

    std::weak_ptr<MVWindow> window_;
    std::shared_ptr<MVTouch> currentMouseTouch_;
    bool makesFingerTouches_ = false;
};
