#include "MivoraMac/input/MVRotationGestureRecognizer.h"

#include <cmath>
#include <numbers>

namespace {

constexpr double kTurn = 2.0 * std::numbers::pi;

/// The direction from one point to another in the plane, in radians.
double angle(Mivora::Point3 from, Mivora::Point3 to) {
    return std::atan2(static_cast<double>(to.y - from.y), static_cast<double>(to.x - from.x));
}

/// The angle within a full turn; NaN for an infinite one.
double wrapped(double radians) {
    // More than a sum of two turns is something that a client has set, and the loops below would
    // take as long as it is large.
    if (std::abs(radians) > 2.0 * kTurn) {
        radians = std::fmod(radians, kTurn);
    }
    while (radians >= kTurn) {
        radians -= kTurn;
    }
    while (radians < 0.0) {
        radians += kTurn;
    }
    return radians;
}

}  // namespace

std::shared_ptr<MVRotationGestureRecognizer> MVRotationGestureRecognizer::init() {
    return MVMake<MVRotationGestureRecognizer>();
}

MVRotationGestureRecognizer::MVRotationGestureRecognizer() = default;

void MVRotationGestureRecognizer::setRotation(float rotation) {
    rotation_ = static_cast<double>(rotation);
}

bool MVRotationGestureRecognizer::mv_touchesDidMove(const Move& move) {
    const double former = rotation_;
    const double step =
        angle(move.first, move.second) - angle(move.previousFirst, move.previousSecond);
    rotation_ = wrapped(step + former);
    return rotation_ != former;  // also where one is NaN
}
