#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVTwoTouchGestureRecognizer.h"

/// Recognizes two touches that come closer or move apart: by how much the distance between them has
/// grown. See `MVTwoTouchGestureRecognizer` for when it begins, changes and ends.
///
/// Thread: main.
class MIVORA_EXPORT MVPinchGestureRecognizer : public MVTwoTouchGestureRecognizer {
 public:
    /// A recognizer without targets.
    static std::shared_ptr<MVPinchGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVPinchGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    /// The product of all changes of distance, each as a ratio; 1 at first. Distances are measured
    /// in the recognizer's view, along all three axes. Infinite or NaN once both touches were in
    /// one place.
    float scale() const { return scale_; }
    void setScale(float scale) { scale_ = scale; }

 protected:
    friend struct ::MVMaker;
    MVPinchGestureRecognizer();

    bool mv_touchesDidMove(const Move& move) override;

 private:
    float scale_ = 1.0F;
};
