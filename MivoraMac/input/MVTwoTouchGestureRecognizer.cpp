#include "MivoraMac/input/MVTwoTouchGestureRecognizer.h"

#include "MivoraMac/input/MVTouch.h"

MVTwoTouchGestureRecognizer::MVTwoTouchGestureRecognizer() = default;

MVTwoTouchGestureRecognizer::~MVTwoTouchGestureRecognizer() = default;

void MVTwoTouchGestureRecognizer::touchesBegan(const MVTouchSet& touches) {
    validate();
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        if (followed_.size() > 1) {
            break;
        }
        followed_.push_back(touch);
    }
    if (followed_.size() > 1 && !mv_didRecognize()) {
        setState(MVGestureRecognizerStateBegan);
    }
}

void MVTwoTouchGestureRecognizer::touchesMoved(const MVTouchSet& touches) {
    validate();
    if (followed_.size() < 2) {
        return;
    }
    // Held, because asking for a location may run hooks, which may make this forget them.
    const std::shared_ptr<MVTouch> first = followed_[0];
    const std::shared_ptr<MVTouch> second = followed_[1];
    const bool firstMoved = touches.contains(first);
    const bool secondMoved = touches.contains(second);
    if (!firstMoved && !secondMoved) {
        return;
    }
    const std::shared_ptr<MVView> own = view();
    Move move{};
    move.first = first->locationInView(own);
    move.second = second->locationInView(own);
    move.previousFirst = firstMoved ? first->previousLocationInView(own) : move.first;
    move.previousSecond = secondMoved ? second->previousLocationInView(own) : move.second;
    if (mv_touchesDidMove(move)) {
        setState(MVGestureRecognizerStateChanged);
    }
}

void MVTwoTouchGestureRecognizer::touchesEnded(const MVTouchSet& touches) {
    validate();
    forget(touches);
    if (followed_.empty()) {
        setState(MVGestureRecognizerStateEnded);
    }
}

void MVTwoTouchGestureRecognizer::touchesCancelled(const MVTouchSet& touches) {
    validate();
    forget(touches);
    if (followed_.empty()) {
        setState(MVGestureRecognizerStateCancelled);
    }
}

void MVTwoTouchGestureRecognizer::reset() {
    followed_.clear();
}

void MVTwoTouchGestureRecognizer::forget(const MVTouchSet& touches) {
    std::erase_if(followed_, [&](const auto& touch) { return touches.contains(touch); });
}
