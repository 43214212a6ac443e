#include "MivoraMac/input/MVStillGestureRecognizer.h"

#include <algorithm>
#include <cmath>

#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/platform/threads/RunLoop.h"
#include "MivoraMac/platform/threads/Timer.h"

using Mivora::Point2;
using Mivora::Point3;
using Mivora::platform::RunLoop;
using Mivora::platform::Timer;

MVStillGestureRecognizer::MVStillGestureRecognizer() = default;

MVStillGestureRecognizer::~MVStillGestureRecognizer() {
    mv_stopTimer();
}

void MVStillGestureRecognizer::setNumberOfTouchesRequired(std::size_t number) {
    numberOfTouchesRequired_ = std::max<std::size_t>(number, 1);
}

Point3 MVStillGestureRecognizer::locationInView(const std::shared_ptr<MVView>& view) const {
    // A copy: asking for a location may run hooks.
    const auto touches = latest_;
    if (touches.empty()) {
        return MVGestureRecognizer::locationInView(view);
    }
    Point3 sum = Point3::kZero;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        sum = sum + touch->locationInView(view);
    }
    return sum * static_cast<float>(1.0 / static_cast<double>(touches.size()));
}

void MVStillGestureRecognizer::reset() {
    mv_stopTimer();
    followed_.clear();
    latest_.clear();
    way_ = Point2::kZero;
}

void MVStillGestureRecognizer::mv_timeDidPass() {
    mv_stopTimer();
    if (!mv_didFinishGesture()) {
        mv_timerFired();
    }
}

void MVStillGestureRecognizer::mv_follow(const MVTouchSet& touches) {
    if (followed_.empty()) {
        latest_.clear();
    }
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        const bool isBound = this->touches().contains(touch);
        if (isBound && !mv_follows({touch})) {
            // The place is that of the event: before its first update a mouse's touch has no other.
            const Point2 place = touch->mv_pointerPoint();
            followed_.push_back({touch, place, place});
            latest_.push_back(touch);
        }
    }
}

bool MVStillGestureRecognizer::mv_stay(const MVTouchSet& touches) {
    const auto share = static_cast<float>(1.0 / static_cast<double>(followed_.size()));
    Point2 apart = Point2::kZero;
    for (Followed& followed : followed_) {
        if (touches.contains(followed.touch)) {
            const Point2 place = followed.touch->mv_pointerPoint();
            way_ = way_ + (place - followed.last) * share;
            followed.last = place;
        }
        const Point2 own = followed.last - followed.start;
        apart = apart + Point2{std::abs(own.x), std::abs(own.y)} * share;
    }
    return !(std::abs(way_.x) >= slop_ || std::abs(way_.y) >= slop_ || apart.x >= slop_ ||
             apart.y >= slop_);
}

void MVStillGestureRecognizer::mv_forget(const MVTouchSet& touches) {
    std::erase_if(followed_,
                  [&](const Followed& followed) { return touches.contains(followed.touch); });
}

bool MVStillGestureRecognizer::mv_follows(const MVTouchSet& touches) const {
    return std::any_of(followed_.begin(), followed_.end(),
                       [&](const Followed& followed) { return touches.contains(followed.touch); });
}

void MVStillGestureRecognizer::mv_startWay() {
    way_ = Point2::kZero;
}

void MVStillGestureRecognizer::mv_startTimer(double seconds) {
    mv_stopTimer();
    if (std::isinf(seconds) && seconds > 0) {
        return;
    }
    const std::weak_ptr<MVGestureRecognizer> weak = weak_from_this();
    timer_ = Timer::scheduledTimer(RunLoop::main(), seconds, [weak] {
        if (const auto self = weak.lock()) {
            static_cast<MVStillGestureRecognizer&>(*self).mv_timeDidPass();
        }
    });
}

void MVStillGestureRecognizer::mv_stopTimer() {
    if (timer_) {
        timer_->invalidate();
        timer_ = nullptr;
    }
}
