#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVPlatformTouch.h"

/// The touch of a finger, from its landing until it is lifted.
///
/// Unlike that of a mouse's touch, its `screenPoint` follows the finger, from the first moment on:
/// a pan begins when the finger has come ten points, for fingers tremble. A program may have its
/// mouse make such touches, too; see `MVMouseToTouchDispatcher::setMakesFingerTouches`.
///
/// Thread: main.
class MIVORA_EXPORT MVFingerTouch : public MVPlatformTouch {
 public:
    /// A touch at the event's location, over the view that is hit there, which also tracks it.
    ///
    /// @param event   what began; kept as long as the touch. Null stands for the bottom left corner
    /// @param window  whose views are hit; null yields rays of zero and no view
    static std::shared_ptr<MVFingerTouch> initWithSystemEventAndWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

    /// As above, but over the view that is hit where another event is, as for the two fingers that
    /// stand for a gesture on a touchpad: both belong to the view under the pointer.
    static std::shared_ptr<MVFingerTouch> initWithSystemEventAndWindowLanding(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window,
        const std::shared_ptr<const Mivora::platform::Event>& landing);

    /// Whether it is one of the two that stand for a gesture on a touchpad, made with a landing of
    /// their own, rather than a finger on a screen or a mouse.
    bool isOnTouchpad() const { return isOnTouchpad_; }

    /// As any other update.
    void mv_endWithSystemEventOnWindow(const std::shared_ptr<const Mivora::platform::Event>& event,
                                       const std::shared_ptr<MVWindow>& window) override;

    /// Where the finger is: the location of the latest event.
    Mivora::Point2 screenPoint() const override { return mv_pointerPoint(); }
    /// Where it was one update earlier; before the first one, where it is.
    Mivora::Point2 previousScreenPoint() const override { return mv_previousPointerPoint(); }

 protected:
    friend struct MVMaker;
    /// A touch with rays of zero, over no view.
    explicit MVFingerTouch(std::shared_ptr<const Mivora::platform::Event> event);

 private:
    bool isOnTouchpad_ = false;
};
