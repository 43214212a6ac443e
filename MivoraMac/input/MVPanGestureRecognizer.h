#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/platform/threads/Clock.h"

/// Recognizes dragging: how far the touches have moved on the plane of the view that the recognizer
/// is attached to, and how fast.
///
/// It begins at the first move after which the touches have come ten points on the screen along one
/// axis, and reports movement from there on: what led to it is left out. Every further move is a
/// change; when the last touch ends, so does the gesture. A touch that ends that far away without
/// another move makes a gesture that ends without having begun.
///
/// The place on the screen of a platform touch is that of its press, and its first move counts from
/// the corner of the host view. A pan of the mouse therefore begins with the first move, except for
/// presses within ten points of the bottom left corner. A click that does not move is no pan.
///
/// Thread: main.
class MIVORA_EXPORT MVPanGestureRecognizer : public MVGestureRecognizer {
 public:
    /// How far touches have to come along an axis of the screen, in points.
    static constexpr float kThreshold = 10.0F;

    /// A recognizer without targets.
    static std::shared_ptr<MVPanGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVPanGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    /// How far the touches have moved since the gesture began, on average, as a vector of `view`.
    /// @param view  null makes it zero, unless the recognizer has no view either
    Mivora::Point3 translationInView(const std::shared_ptr<MVView>& view) const;

    /// How fast they moved over the last two moves, in units of `view` a second; it does not fade
    /// while they rest. Zero where those moves took no time.
    /// @param view  null makes it zero, unless the recognizer has no view either
    Mivora::Point3 velocityInView(const std::shared_ptr<MVView>& view) const;

    void touchesBegan(const MVTouchSet& touches) override;
    void touchesMoved(const MVTouchSet& touches) override;
    void touchesEnded(const MVTouchSet& touches) override;
    void touchesCancelled(const MVTouchSet& touches) override;
    void reset() override;

    /// @name Internal to the library
    /// @{

    /// Whether the touches have come ten points along an axis of the screen.
    bool mv_panGestureDidOccur() const;
    /// Whether the state is Began or Changed.
    bool mv_isPanning() const;
    /// As `velocityInView`, for the recognizer's own view.
    Mivora::Point3 mv_velocityInView() const;

    /// @}

 protected:
    friend struct ::MVMaker;
    MVPanGestureRecognizer();

 private:
    /// A translation and when it was reached, in ticks of the clock.
    struct Sample {
        Mivora::Point3 translation = Mivora::Point3::kZero;
        std::uint64_t timestamp = 0;
    };

    void startTimestamps();
    void accumulate(const MVTouchSet& touches);
    Mivora::Point3 converted(Mivora::Point3 vector, const std::shared_ptr<MVView>& view) const;

    MVTouchSet followed_;
    Mivora::Point2 screenTranslation_ = Mivora::Point2::kZero;
    Sample latest_;
    Sample last_;
    Sample lastLast_;
    Mivora::platform::Timebase machTimebaseInfo_;
};
