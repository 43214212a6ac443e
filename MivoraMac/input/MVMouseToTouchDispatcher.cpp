#include "MivoraMac/input/MVMouseToTouchDispatcher.h"

#include <utility>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVFingerTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::runAll;

std::shared_ptr<MVMouseToTouchDispatcher> MVMouseToTouchDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVMouseToTouchDispatcher>(window);
}

MVMouseToTouchDispatcher::MVMouseToTouchDispatcher(const std::shared_ptr<MVWindow>& window)
    : window_(window) {}

MVMouseToTouchDispatcher::~MVMouseToTouchDispatcher() {
    if (currentMouseTouch_) {
        currentMouseTouch_->mv_finish();
    }
}

void MVMouseToTouchDispatcher::systemTouchBeganWithEvent(const EventPointer& event) {
    const auto kept = shared_from_this();
    const std::shared_ptr<MVWindow> window = window_.lock();
    const std::shared_ptr<MVTouch> touch =
        makesFingerTouches_ ? MVFingerTouch::initWithSystemEventAndWindow(event, window)
                            : MVTouch::touchWithSystemEventAndWindow(event, window);
    if (const auto former = std::exchange(currentMouseTouch_, touch)) {
        former->mv_finish();
    }
    runAll([&] { MVBuildGestureRecognizerRelationshipsForTouch(touch); },
           [&] { MVEventLog::write("touch began", *touch); },
           [&] { MVDispatchSelectorToTouches({touch}, MVTouchPhase::Began); });
}

void MVMouseToTouchDispatcher::systemTouchMovedWithEvent(const EventPointer& event) {
    if (const std::shared_ptr<MVTouch> touch = currentMouseTouch_) {
        touch->updateWithSystemEventOnWindow(event, window_.lock());
        MVDispatchSelectorToTouches({touch}, MVTouchPhase::Moved);
    }
}

void MVMouseToTouchDispatcher::systemTouchEndedWithEvent(const EventPointer& event) {
    finishTouch(event, MVTouchPhase::Ended);
}

void MVMouseToTouchDispatcher::systemTouchCancelledWithEvent(const EventPointer& event) {
    finishTouch(event, MVTouchPhase::Cancelled);
}

void MVMouseToTouchDispatcher::finishTouch(const EventPointer& event, MVTouchPhase phase) {
    const std::shared_ptr<MVTouch> touch = std::exchange(currentMouseTouch_, nullptr);
    if (!touch) {
        return;
    }
    runAll([&] { touch->mv_endWithSystemEventOnWindow(event, window_.lock()); },
           [&] {
               MVEventLog::write(phase == MVTouchPhase::Ended ? "touch ended" : "touch cancelled",
                                 *touch);
           },
           [&] { MVDispatchSelectorToTouches({touch}, phase); }, [&] { MVFinishTouches({touch}); });
}
