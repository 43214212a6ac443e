#include "MivoraMac/input/MVPinchGestureRecognizer.h"

#include <cmath>

namespace {

float distance(Mivora::Point3 a, Mivora::Point3 b) {
    const Mivora::Point3 d = b - a;
    return std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
}

}  // namespace

std::shared_ptr<MVPinchGestureRecognizer> MVPinchGestureRecognizer::init() {
    return MVMake<MVPinchGestureRecognizer>();
}

MVPinchGestureRecognizer::MVPinchGestureRecognizer() = default;

bool MVPinchGestureRecognizer::mv_touchesDidMove(const Move& move) {
    const float former = scale_;
    scale_ = distance(move.first, move.second) * former /
             distance(move.previousFirst, move.previousSecond);
    return scale_ != former;  // also where one is NaN
}
