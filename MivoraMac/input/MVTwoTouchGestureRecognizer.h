#pragma once

#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/input/MVGestureRecognizer.h"

/// What recognizers of two fingers have in common: which two touches they follow, and what becomes
/// of the gesture. A subclass says what a move of the two comes to.
///
/// The first two touches to arrive are followed, others are ignored while there are two. The
/// gesture begins when the second one arrives, changes with every move that changes its value, and
/// ends, or is cancelled, when both have left. A single touch that ends makes a gesture that ends
/// without having begun; one that is cancelled makes it fail.
///
/// The value goes on from one gesture to the next, unless it is set back.
///
/// Thread: main.
class MIVORA_EXPORT MVTwoTouchGestureRecognizer : public MVGestureRecognizer {
 public:
    ~MVTwoTouchGestureRecognizer() override;

    void touchesBegan(const MVTouchSet& touches) override;
    void touchesMoved(const MVTouchSet& touches) override;
    void touchesEnded(const MVTouchSet& touches) override;
    void touchesCancelled(const MVTouchSet& touches) override;
    /// Forgets the touches, and nothing else.
    void reset() override;

 protected:
    /// Where the two touches are in the recognizer's view, and where they were before a move.
    struct Move {
        Mivora::Point3 first;           ///< the touch that arrived first
        Mivora::Point3 second;          ///< the other one
        Mivora::Point3 previousFirst;   ///< `first` if only the other one has moved
        Mivora::Point3 previousSecond;  ///< `second` if only the other one has moved
    };

    MVTwoTouchGestureRecognizer();

    /// Takes a move into the recognizer's value.
    /// @return whether the value has changed
    virtual bool mv_touchesDidMove(const Move& move) = 0;

 private:
    void forget(const MVTouchSet& touches);

    std::vector<std::shared_ptr<MVTouch>> followed_;  // in order of arrival
};
