#include "MivoraMac/input/MVTouch.h"

#include <string>
#include <utility>

#include "MivoraMac/input/MVPlatformTouch.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/views/MVView.h"

namespace {

[[noreturn]] void throwNotOverridden(const char* operation) {
    throw MVException(MVException::kInternalInconsistency,
                      std::string("Method must be overridden: ") + operation);
}

}  // namespace

std::shared_ptr<MVTouch> MVTouch::touchWithSystemEventAndWindow(
    const std::shared_ptr<const Mivora::platform::Event>& event,
    const std::shared_ptr<MVWindow>& window) {
    return MVPlatformTouch::initWithSystemEventAndWindow(event, window);
}

MVTouch::MVTouch(std::shared_ptr<const Mivora::platform::Event> event)
    : systemEvent_(std::move(event)) {}

MVTouch::~MVTouch() = default;

void MVTouch::updateWithSystemEventOnWindow(
    const std::shared_ptr<const Mivora::platform::Event>& /*event*/,
    const std::shared_ptr<MVWindow>& /*window*/) {
    throwNotOverridden("updateWithSystemEventOnWindow");
}

void MVTouch::mv_endWithSystemEventOnWindow(
    const std::shared_ptr<const Mivora::platform::Event>& event,
    const std::shared_ptr<MVWindow>& window) {
    updateWithSystemEventOnWindow(event, window);
}

Mivora::Point3 MVTouch::locationInView(const std::shared_ptr<MVView>& view) const {
    return view ? view->mv_locationOfRay(ray_) : Mivora::Point3::kNull;
}

Mivora::Point3 MVTouch::previousLocationInView(const std::shared_ptr<MVView>& view) const {
    return view ? view->mv_locationOfRay(previousRay_) : Mivora::Point3::kNull;
}

Mivora::Point2 MVTouch::screenPoint() const {
    throwNotOverridden("screenPoint");
}

Mivora::Point2 MVTouch::previousScreenPoint() const {
    throwNotOverridden("previousScreenPoint");
}

MVGestureRecognizerSet MVTouch::gestureRecognizers() const {
    MVGestureRecognizerSet recognizers = gestureRecognizers_;
    for (const std::weak_ptr<MVGestureRecognizer>& former : formerGestureRecognizers_) {
        recognizers.insert(former.lock());
    }
    return recognizers;
}

void MVTouch::mv_addGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
    if (isFinished_) {
        formerGestureRecognizers_.push_back(recognizer);
    } else {
        gestureRecognizers_.insert(recognizer);
    }
}

void MVTouch::mv_removeGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
    gestureRecognizers_.erase(recognizer);
    std::erase_if(formerGestureRecognizers_,
                  [&](const auto& former) { return former.lock() == recognizer; });
}

void MVTouch::mv_finish() {
    isFinished_ = true;
    formerGestureRecognizers_.insert(formerGestureRecognizers_.end(), gestureRecognizers_.begin(),
                                     gestureRecognizers_.end());
    gestureRecognizers_.clear();
}
