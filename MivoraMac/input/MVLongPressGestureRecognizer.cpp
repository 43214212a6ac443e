#include "MivoraMac/input/MVLongPressGestureRecognizer.h"

#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/Host.h"

using Mivora::platform::Host;

std::shared_ptr<MVLongPressGestureRecognizer> MVLongPressGestureRecognizer::init() {
    return MVMake<MVLongPressGestureRecognizer>();
}

MVLongPressGestureRecognizer::MVLongPressGestureRecognizer() = default;

double MVLongPressGestureRecognizer::minimumDuration() const {
    return minimumDuration_ ? *minimumDuration_ : Host::current().clickSettings().longPressSeconds;
}

void MVLongPressGestureRecognizer::touchesBegan(const MVTouchSet& touches) {
    validate();
    if (!mv_canRecognize()) {
        return;
    }
    if (mv_followedCount() == 0) {
        mv_startWay();
    }
    mv_follow(touches);
    if (mv_followedCount() > numberOfTouchesRequired()) {
        fail();
    } else if (mv_followedCount() == numberOfTouchesRequired()) {
        mv_startTimer(minimumDuration());
    }
}

void MVLongPressGestureRecognizer::touchesMoved(const MVTouchSet& touches) {
    validate();
    if (!mv_follows(touches)) {
        return;
    }
    if (mv_canRecognize()) {
        if (!mv_stay(touches)) {
            fail();
        }
    } else if (mv_didRecognize()) {
        setState(MVGestureRecognizerStateChanged);
    }
}

void MVLongPressGestureRecognizer::touchesEnded(const MVTouchSet& touches) {
    validate();
    leave(touches, MVGestureRecognizerStateEnded);
}

void MVLongPressGestureRecognizer::touchesCancelled(const MVTouchSet& touches) {
    validate();
    leave(touches, MVGestureRecognizerStateCancelled);
}

void MVLongPressGestureRecognizer::mv_timerFired() {
    MVRecognizeWithoutTouches(shared_from_this(),
                              [this] { setState(MVGestureRecognizerStateBegan); });
}

void MVLongPressGestureRecognizer::leave(const MVTouchSet& touches,
                                         MVGestureRecognizerState finished) {
    if (!mv_follows(touches)) {
        return;
    }
    mv_forget(touches);
    if (mv_canRecognize()) {
        fail();
    } else if (mv_followedCount() == 0) {
        setState(finished);
    }
}

void MVLongPressGestureRecognizer::fail() {
    mv_stopTimer();
    setState(MVGestureRecognizerStateFailed);
}
