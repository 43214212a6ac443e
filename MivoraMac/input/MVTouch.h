#pragma once

#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/input/MVOrderedSet.h"

class MVView;
class MVWindow;

namespace Mivora::platform {
struct Event;
}

/// One contact of the pointer with the scene, for as long as it lasts: the ray that the pointer
/// casts, the view that it was first over, the view that tracks it and the recognizers that follow
/// it. Views and recognizers ask it for its place in a view.
///
/// This is the base; `MVPlatformTouch` is the one that the host's events make, of the mouse, and
/// `MVFingerTouch` that of fingers. A program with another source of touches derives from it and
/// overrides `updateWithSystemEventOnWindow`, `screenPoint` and `previousScreenPoint`.
///
/// Thread: main.
class MIVORA_EXPORT MVTouch : public MVInteraction, public std::enable_shared_from_this<MVTouch> {
 public:
    /// A new platform touch; see `MVPlatformTouch::initWithSystemEventAndWindow`.
    static std::shared_ptr<MVTouch> touchWithSystemEventAndWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

    ~MVTouch() override;
    MVTouch(const MVTouch&) = delete;
    MVTouch& operator=(const MVTouch&) = delete;

    /// Takes the pointer's new place over. The views stay.
    /// @throws MVException (internal inconsistency) unless overridden
    virtual void updateWithSystemEventOnWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

    /// The last update of a touch, at its end or cancellation. As any other one here.
    virtual void mv_endWithSystemEventOnWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

    /// The ray at the latest update, in world space.
    Mivora::Ray3 ray() const { return ray_; }
    void setRay(const Mivora::Ray3& ray) { ray_ = ray; }

    /// The ray one update earlier.
    Mivora::Ray3 previousRay() const { return previousRay_; }
    void setPreviousRay(const Mivora::Ray3& ray) { previousRay_ = ray; }

    /// The view the touch began over, or null. Held weakly.
    std::shared_ptr<MVView> view() const override { return view_.lock(); }
    void setView(const std::shared_ptr<MVView>& view) { view_ = view; }

    /// The view that receives the touch's phases: at first `view`; null once a recognizer has taken
    /// the touch. Held weakly.
    std::shared_ptr<MVView> trackingView() const { return trackingView_.lock(); }
    void setTrackingView(const std::shared_ptr<MVView>& view) { trackingView_ = view; }

    /// The recognizers that follow the touch; the dispatch of touches says which. The touch keeps
    /// them until it is over.
    MVGestureRecognizerSet gestureRecognizers() const;
    void mv_addGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer);
    void mv_removeGestureRecognizer(const std::shared_ptr<MVGestureRecognizer>& recognizer);

    /// The touch is over: it no longer keeps the recognizers that are bound to it, or will be. One
    /// of them may go on keeping the touch.
    void mv_finish();
    /// Whether it is over.
    bool mv_isFinished() const { return isFinished_; }

    /// Where the touch is in the view; see `MVInteraction`.
    Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const override;
    /// Where it was one update earlier.
    Mivora::Point3 previousLocationInView(const std::shared_ptr<MVView>& view) const;

    /// The pointer's place in points, with the origin at the bottom left of the host view.
    /// @throws MVException (internal inconsistency) unless overridden
    virtual Mivora::Point2 screenPoint() const;
    /// The place one update earlier.
    /// @throws MVException (internal inconsistency) unless overridden
    virtual Mivora::Point2 previousScreenPoint() const;

    /// Where the pointer or the finger really is, in the space of `screenPoint`.
    virtual Mivora::Point2 mv_pointerPoint() const { return screenPoint(); }

    /// How hard the device is pressed, from 0 to `maximumPossibleTouchForce`; 0 where it is
    /// unknown.
    virtual float touchForce() const { return 0.0F; }
    /// The hardest press that is measured; 0 where that is unknown.
    virtual float maximumPossibleTouchForce() const { return 0.0F; }
    /// Whether the force is measured.
    virtual bool touchForceSupported() const { return false; }

    /// The event that the touch was made from; may be null.
    const std::shared_ptr<const Mivora::platform::Event>& mv_systemTouch() const {
        return systemEvent_;
    }

 protected:
    /// A touch with rays of zero, over no view.
    explicit MVTouch(std::shared_ptr<const Mivora::platform::Event> event);

 private:
    std::shared_ptr<const Mivora::platform::Event> systemEvent_;
    Mivora::Ray3 ray_ = Mivora::Ray3::kZero;
    Mivora::Ray3 previousRay_ = Mivora::Ray3::kZero;
    std::weak_ptr<MVView> view_;
    std::weak_ptr<MVView> trackingView_;
    bool isFinished_ = false;
    MVGestureRecognizerSet gestureRecognizers_;
    std::vector<std::weak_ptr<MVGestureRecognizer>> formerGestureRecognizers_;  // once it is over
};
