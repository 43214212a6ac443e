#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVTwoTouchGestureRecognizer.h"

/// Recognizes two touches that turn about each other: by how much the direction from the first to
/// the second has turned. See `MVTwoTouchGestureRecognizer` for when it begins, changes and ends.
///
/// Thread: main.
class MIVORA_EXPORT MVRotationGestureRecognizer : public MVTwoTouchGestureRecognizer {
 public:
    /// A recognizer without targets.
    static std::shared_ptr<MVRotationGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVRotationGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    /// The sum of all turns in the plane of the recognizer's view, in radians from 0 to a full
    /// turn, from x towards y; 0 at first. It is kept with more digits than this.
    float rotation() const { return static_cast<float>(rotation_); }
    /// @param rotation  any value; the next turn brings the sum into range, and makes an infinite
    ///                  one NaN
    void setRotation(float rotation);

 protected:
    friend struct ::MVMaker;
    MVRotationGestureRecognizer();

    bool mv_touchesDidMove(const Move& move) override;

 private:
    double rotation_ = 0.0;
};
