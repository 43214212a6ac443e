#include "MivoraMac/input/MVGestureRecognizerDelegate.h"

MVGestureRecognizerDelegate::~MVGestureRecognizerDelegate() = default;

bool MVGestureRecognizerDelegate::
    gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>& /*gestureRecognizer*/,
        const std::shared_ptr<MVGestureRecognizer>& /*otherGestureRecognizer*/) {
    return false;
}
