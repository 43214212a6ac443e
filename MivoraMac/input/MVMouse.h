#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/platform/windows/Modifiers.h"

class MVView;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// What a mouse record is about.
enum MVMouseButton : std::int32_t {
    MVMouseButtonLeft = 1,    ///< a press of the primary button
    MVMouseButtonRight = 2,   ///< a press of the secondary button
    MVMouseButtonHover = 3,   ///< a pointer that moves with no button held
    MVMouseButtonMiddle = 4,  ///< a press of the middle button
};

/// One press of a button until its release, or one hover from entering the host view until leaving
/// it. The same record is sent to the hooks of the view throughout.
///
/// Thread: main.
class MIVORA_EXPORT MVMouse : public MVInteraction {
 public:
    /// A record with rays of zero, over no view, without button and clicks.
    static std::shared_ptr<MVMouse> init();
    /// As `init`.
    /// @param event  not looked at; may be null
    static std::shared_ptr<MVMouse> initWithEvent(
        const std::shared_ptr<const Mivora::platform::Event>& event);

    ~MVMouse() override;
    MVMouse(const MVMouse&) = delete;
    MVMouse& operator=(const MVMouse&) = delete;

    /// The pointer's ray at the latest update, in world space.
    Mivora::Ray3 ray() const { return ray_; }
    void setRay(const Mivora::Ray3& ray) { ray_ = ray; }

    /// The ray one update earlier.
    Mivora::Ray3 previousRay() const { return previousRay_; }
    void setPreviousRay(const Mivora::Ray3& ray) { previousRay_ = ray; }

    /// The view that the record is sent to, or null: the one that was pressed, or the one that is
    /// hovered over. Held weakly.
    std::shared_ptr<MVView> view() const override { return view_.lock(); }
    void setView(const std::shared_ptr<MVView>& view) { view_ = view; }

    /// How many presses in quick succession this is: 2 for the second one of a double click. 0 for
    /// a hover.
    std::int32_t clickCount() const { return clickCount_; }
    void setClickCount(std::int32_t clickCount) { clickCount_ = clickCount; }

    /// One of `MVMouseButton`; 0 for a new record.
    std::int32_t button() const { return button_; }
    void setButton(std::int32_t button) { button_ = button; }

    /// The modifier keys that were held at the latest event; none where there was no event.
    Mivora::platform::Modifiers modifiers() const { return modifiers_; }
    void setModifiers(Mivora::platform::Modifiers modifiers) { modifiers_ = modifiers; }

    /// Where the pointer is in the view; see `MVInteraction`.
    Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const override;
    /// Where it was one update earlier.
    Mivora::Point3 previousLocationInView(const std::shared_ptr<MVView>& view) const;

    bool mv_isHover() const override { return button_ == MVMouseButtonHover; }

 protected:
    friend struct MVMaker;
    MVMouse();

 private:
    Mivora::Ray3 ray_ = Mivora::Ray3::kZero;
    Mivora::Ray3 previousRay_ = Mivora::Ray3::kZero;
    std::weak_ptr<MVView> view_;
    std::int32_t clickCount_ = 0;
    std::int32_t button_ = 0;
    Mivora::platform::Modifiers modifiers_;
};
