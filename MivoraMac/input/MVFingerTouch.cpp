#include "MivoraMac/input/MVFingerTouch.h"

#include <utility>

#include "MivoraMac/platform/base/MVMake.h"

using Mivora::platform::Event;

std::shared_ptr<MVFingerTouch> MVFingerTouch::initWithSystemEventAndWindow(
    const std::shared_ptr<const Event>& event, const std::shared_ptr<MVWindow>& window) {
    return initWithSystemEventAndWindowLanding(event, window, event);
}

std::shared_ptr<MVFingerTouch> MVFingerTouch::initWithSystemEventAndWindowLanding(
    const std::shared_ptr<const Event>& event, const std::shared_ptr<MVWindow>& window,
    const std::shared_ptr<const Event>& landing) {
    auto touch = MVMake<MVFingerTouch>(event);
    touch->isOnTouchpad_ = landing != event;
    touch->mv_placeOnWindow(window, landing);
    return touch;
}

MVFingerTouch::MVFingerTouch(std::shared_ptr<const Event> event)
    : MVPlatformTouch(std::move(event)) {}

void MVFingerTouch::mv_endWithSystemEventOnWindow(const std::shared_ptr<const Event>& event,
                                                  const std::shared_ptr<MVWindow>& window) {
    updateWithSystemEventOnWindow(event, window);
}
