#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/input/MVInteraction.h"
#include "MivoraMac/platform/threads/Clock.h"
#include "MivoraMac/platform/windows/Modifiers.h"

class MVView;
struct MVMaker;

namespace Mivora::platform {
struct Event;
}

/// One episode of scrolling: the click of a wheel, fingers on a touchpad from their touch to their
/// lift, or the momentum after them, which is an episode of its own. The same record is sent to the
/// hooks of the view throughout.
///
/// What comes to a view:
/// - a click of a wheel: `scrollBegan` with the way, `scrollEnded` with none;
/// - fingers, and momentum: `scrollBegan`, any number of `scrollMoved`, and `scrollEnded` or
///   `scrollCancelled`, each with the way since the one before;
/// - a press of a button: `scrollCancelled` with no way, after a `scrollBegan` with none if nothing
///   was scrolling.
///
/// Thread: main.
class MIVORA_EXPORT MVScroll : public MVInteraction {
 public:
    /// A record with a ray of zero, over no view, that has not moved yet.
    static std::shared_ptr<MVScroll> init();
    /// As `init`.
    /// @param event  not looked at; may be null
    static std::shared_ptr<MVScroll> initWithEvent(
        const std::shared_ptr<const Mivora::platform::Event>& event);

    ~MVScroll() override;
    MVScroll(const MVScroll&) = delete;
    MVScroll& operator=(const MVScroll&) = delete;

    /// The pointer's ray at the latest update, in world space.
    Mivora::Ray3 ray() const { return ray_; }
    void setRay(const Mivora::Ray3& ray) { ray_ = ray; }

    /// The view that the episode began over, or null. Held weakly.
    std::shared_ptr<MVView> view() const override { return view_.lock(); }
    void setView(const std::shared_ptr<MVView>& view) { view_ = view; }

    /// How far the latest event scrolls, in points; positive moves content to the right and down.
    Mivora::Point2 translation() const { return translation_; }
    /// Takes over the next event's translation, and the time of this call as that of the event.
    /// Also for an equal value.
    void setTranslation(Mivora::Point2 translation);

    /// The modifier keys that were held at the latest event; none where there was no event, as in
    /// what a press sends to stop content that goes on moving by itself.
    Mivora::platform::Modifiers modifiers() const { return modifiers_; }
    void setModifiers(Mivora::platform::Modifiers modifiers) { modifiers_ = modifiers; }

    /// How fast the content is scrolled, in points per second: the translation before the latest
    /// one, over the time between the two events before the latest one.
    ///
    /// Lagging one event behind, it is not disturbed by the last event of an episode, which often
    /// has no translation. Times below a millisecond count as a 120th of a second. Those of events
    /// that have not been are 0 on the platform's clock.
    Mivora::Point2 velocity() const;

    /// Where the pointer is in the view; see `MVInteraction`.
    Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const override;

 protected:
    friend struct MVMaker;
    MVScroll();

 private:
    Mivora::Ray3 ray_ = Mivora::Ray3::kZero;
    std::weak_ptr<MVView> view_;
    Mivora::Point2 lastTranslation_ = Mivora::Point2::kZero;
    std::uint64_t translationTimestamp_ = 0;  ///< In ticks, as the two below.
    std::uint64_t lastTranslationTimestamp_ = 0;
    std::uint64_t lastLastTranslationTimestamp_ = 0;
    Mivora::platform::Timebase timebase_;
    Mivora::Point2 translation_ = Mivora::Point2::kZero;
    Mivora::platform::Modifiers modifiers_;
};
