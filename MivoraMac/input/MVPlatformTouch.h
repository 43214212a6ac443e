#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVTouch.h"

struct MVMaker;

/// The touch that the host's primary button makes: from a press, through its drags, to its release.
///
/// Its ray follows the pointer; its `screenPoint` stays where the touch began.
///
/// Thread: main.
class MIVORA_EXPORT MVPlatformTouch : public MVTouch {
 public:
    /// A touch at the event's location, over the view that is hit there, which also tracks it.
    ///
    /// @param event   the press; kept as long as the touch. Null stands for the bottom left corner
    /// @param window  whose views are hit; null yields rays of zero and no view
    static std::shared_ptr<MVPlatformTouch> initWithSystemEventAndWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

    /// Lets the ray follow the event. `previousRay` and `previousScreenPoint` take over what `ray`
    /// and `screenPoint` were.
    void updateWithSystemEventOnWindow(const std::shared_ptr<const Mivora::platform::Event>& event,
                                       const std::shared_ptr<MVWindow>& window) override;

    /// As an update; but of a touch that has not been updated before, `previousScreenPoint` is its
    /// `screenPoint`: a press and its release are no way.
    void mv_endWithSystemEventOnWindow(const std::shared_ptr<const Mivora::platform::Event>& event,
                                       const std::shared_ptr<MVWindow>& window) override;

    /// Where the touch began: the location of the event that it was made from.
    /// @throws MVException "MVTouch not updated" before the first update
    Mivora::Point2 screenPoint() const override;
    /// The `screenPoint` before the latest update; zero after the first one, unless that is the end
    /// of the touch.
    /// @throws MVException "MVTouch not updated" before the first update
    Mivora::Point2 previousScreenPoint() const override;

    Mivora::Point2 mv_pointerPoint() const override { return pointerPoint_; }

    /// 1: a button is down or not.
    float touchForce() const override { return 1.0F; }
    /// 1, as `touchForce`; `touchForceSupported` stays false, for nothing is measured.
    float maximumPossibleTouchForce() const override { return 1.0F; }

    /// The ray from the eye through the event's location.
    /// @param window  null yields `Ray3::kZero`
    static Mivora::Ray3 mv_unprojectSystemEventOnWindow(
        const std::shared_ptr<const Mivora::platform::Event>& event,
        const std::shared_ptr<MVWindow>& window);

 protected:
    friend struct MVMaker;
    /// A touch with rays of zero, over no view.
    explicit MVPlatformTouch(std::shared_ptr<const Mivora::platform::Event> event);

    /// Puts the touch at the place of its event, over the view that is hit at another or the same.
    void mv_placeOnWindow(const std::shared_ptr<MVWindow>& window,
                          const std::shared_ptr<const Mivora::platform::Event>& landing);

    /// The pointer's place one update earlier.
    Mivora::Point2 mv_previousPointerPoint() const { return previousPointerPoint_; }

 private:
    Mivora::Point2 screenPoint_ = Mivora::Point2::kZero;
    Mivora::Point2 previousScreenPoint_ = Mivora::Point2::kZero;
    Mivora::Point2 pointerPoint_ = Mivora::Point2::kZero;
    Mivora::Point2 previousPointerPoint_ = Mivora::Point2::kZero;
    bool hasUpdated_ = false;
};
