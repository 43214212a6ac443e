#include "MivoraMac/input/MVPlatformTouch.h"

#include <utility>

#include "MivoraMac/input/MVInteractionRayPrivate.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::Event;

namespace {

Mivora::Point2 locationOf(const Event* event) {
    if (event == nullptr) {
        return Mivora::Point2::kZero;
    }
    return {static_cast<float>(event->locationInWindow.x),
            static_cast<float>(event->locationInWindow.y)};
}

}  // namespace

std::shared_ptr<MVPlatformTouch> MVPlatformTouch::initWithSystemEventAndWindow(
    const std::shared_ptr<const Event>& event, const std::shared_ptr<MVWindow>& window) {
    auto touch = MVMake<MVPlatformTouch>(event);
    touch->mv_placeOnWindow(window, event);
    return touch;
}

MVPlatformTouch::MVPlatformTouch(std::shared_ptr<const Event> event)
    : MVTouch(std::move(event)),
      pointerPoint_(locationOf(mv_systemTouch().get())),
      previousPointerPoint_(pointerPoint_) {}

void MVPlatformTouch::mv_placeOnWindow(const std::shared_ptr<MVWindow>& window,
                                       const std::shared_ptr<const Event>& landing) {
    setRay(mv_unprojectSystemEventOnWindow(landing, window));
    if (window) {
        const std::shared_ptr<MVView> view = window->viewForInteraction(shared_from_this());
        setView(view);
        setTrackingView(view);
    }
    setRay(mv_unprojectSystemEventOnWindow(mv_systemTouch(), window));
    setPreviousRay(ray());
}

void MVPlatformTouch::updateWithSystemEventOnWindow(const std::shared_ptr<const Event>& event,
                                                    const std::shared_ptr<MVWindow>& window) {
    previousScreenPoint_ = screenPoint_;
    hasUpdated_ = true;
    // The event that the touch began with, not this one: only the ray follows the pointer.
    screenPoint_ = locationOf(mv_systemTouch().get());
    previousPointerPoint_ = pointerPoint_;
    pointerPoint_ = locationOf(event.get());
    setPreviousRay(ray());
    setRay(mv_unprojectSystemEventOnWindow(event, window));
}

void MVPlatformTouch::mv_endWithSystemEventOnWindow(const std::shared_ptr<const Event>& event,
                                                    const std::shared_ptr<MVWindow>& window) {
    const bool hasMoved = hasUpdated_;
    updateWithSystemEventOnWindow(event, window);
    if (!hasMoved) {
        previousScreenPoint_ = screenPoint_;
    }
}

Mivora::Point2 MVPlatformTouch::screenPoint() const {
    if (!hasUpdated_) {
        throw MVException("MVTouch not updated",
                          "Attempt to retrieve MVTouch.screenPoint prior to first update.");
    }
    return screenPoint_;
}

Mivora::Point2 MVPlatformTouch::previousScreenPoint() const {
    return hasUpdated_ ? previousScreenPoint_ : screenPoint();
}

Mivora::Ray3 MVPlatformTouch::mv_unprojectSystemEventOnWindow(
    const std::shared_ptr<const Event>& event, const std::shared_ptr<MVWindow>& window) {
    return MVInteractionRay::throughPoint(window.get(), locationOf(event.get()));
}
