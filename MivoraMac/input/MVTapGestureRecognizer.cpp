#include "MivoraMac/input/MVTapGestureRecognizer.h"

#include <algorithm>
#include <cmath>

#include "MivoraMac/input/MVFingerTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/base/MVException.h"

using Mivora::platform::Host;

namespace {

/// How much farther apart the taps of a finger may be than the clicks of a mouse.
constexpr double kFingerFactor = 8;

}  // namespace

std::shared_ptr<MVTapGestureRecognizer> MVTapGestureRecognizer::init() {
    return MVMake<MVTapGestureRecognizer>();
}

MVTapGestureRecognizer::MVTapGestureRecognizer() = default;

MVTapGestureRecognizer::~MVTapGestureRecognizer() = default;

void MVTapGestureRecognizer::setNumberOfTapsRequired(std::size_t number) {
    numberOfTapsRequired_ = std::max<std::size_t>(number, 1);
}

double MVTapGestureRecognizer::maximumDuration() const {
    return maximumDuration_ ? *maximumDuration_ : Host::current().clickSettings().longPressSeconds;
}

double MVTapGestureRecognizer::maximumInterval() const {
    return maximumInterval_ ? *maximumInterval_
                            : Host::current().clickSettings().doubleClickSeconds;
}

double MVTapGestureRecognizer::maximumDistance() const {
    return maximumDistance_ ? *maximumDistance_
                            : Host::current().clickSettings().doubleClickDistance;
}

void MVTapGestureRecognizer::setWaitsFor(const std::shared_ptr<MVTapGestureRecognizer>& other) {
    for (auto next = other; next; next = next->waitsFor()) {
        if (next.get() == this) {
            throw MVException(MVException::kInvalidArgument,
                              "setWaitsFor: the recognizers would wait for each other");
        }
    }
    const auto self = std::static_pointer_cast<MVTapGestureRecognizer>(shared_from_this());
    if (const auto former = waitsFor()) {
        std::erase_if(former->waiting_, [&](const auto& weak) { return weak.lock() == self; });
    }
    waitsFor_ = other;
    if (other) {
        std::erase_if(other->waiting_, [](const auto& weak) { return weak.expired(); });
        other->waiting_.push_back(self);
    }
}

void MVTapGestureRecognizer::touchesBegan(const MVTouchSet& touches) {
    validate();
    if (!mv_canRecognize() || isWaiting_) {
        return;
    }
    const bool isFirst = mv_followedCount() == 0;
    mv_follow(touches);
    if (mv_followedCount() == 0) {
        return;
    }
    if (isFirst) {
        mv_startWay();
        mv_startTimer(maximumDuration());
        firstTap_ = taps_ == 0 ? mv_firstPlace() : firstTap_;
    }
    if (someLeft_ || mv_followedCount() > numberOfTouchesRequired() || !isNearFirstTap()) {
        fail();
        return;
    }
    allThere_ = mv_followedCount() == numberOfTouchesRequired();
}

void MVTapGestureRecognizer::touchesMoved(const MVTouchSet& touches) {
    validate();
    if (mv_canRecognize() && mv_follows(touches) && !mv_stay(touches)) {
        fail();
    }
}

void MVTapGestureRecognizer::touchesEnded(const MVTouchSet& touches) {
    validate();
    if (!mv_canRecognize() || !mv_follows(touches)) {
        return;
    }
    if (!mv_stay(touches) || !allThere_) {
        fail();
        return;
    }
    mv_forget(touches);
    someLeft_ = true;
    if (mv_followedCount() > 0) {
        return;
    }
    someLeft_ = false;
    allThere_ = false;
    ++taps_;
    if (taps_ < numberOfTapsRequired_) {
        mv_startTimer(maximumInterval());
        return;
    }
    mv_stopTimer();
    const auto other = waitsFor();
    if (other && other->mayStillRecognize()) {
        isWaiting_ = true;
    } else {
        recognize();
    }
}

void MVTapGestureRecognizer::touchesCancelled(const MVTouchSet& touches) {
    validate();
    if (mv_canRecognize() && mv_follows(touches)) {
        fail();
    }
}

void MVTapGestureRecognizer::reset() {
    MVStillGestureRecognizer::reset();
    taps_ = 0;
    allThere_ = false;
    someLeft_ = false;
    isWaiting_ = false;
    // Somebody else may have made this one fail.
    tellWaiting(false);
}

void MVTapGestureRecognizer::mv_timerFired() {
    fail();
}

/// Whether it is in the middle of taps that may become a gesture.
bool MVTapGestureRecognizer::mayStillRecognize() const {
    return enabled() && mv_canRecognize() && (isWaiting_ || taps_ > 0 || mv_followedCount() > 0);
}

bool MVTapGestureRecognizer::isNearFirstTap() const {
    const Mivora::Point2 place = mv_firstPlace();
    const bool isFinger = dynamic_cast<const MVFingerTouch*>(&mv_firstTouch()) != nullptr;
    const double distance =
        maximumDistance() * (isFinger && !maximumDistance_ ? kFingerFactor : 1.0);
    return std::abs(place.x - firstTap_.x) <= distance &&
           std::abs(place.y - firstTap_.y) <= distance;
}

void MVTapGestureRecognizer::recognize() {
    setState(MVGestureRecognizerStateEnded);
    tellWaiting(true);
}

void MVTapGestureRecognizer::fail() {
    mv_stopTimer();
    isWaiting_ = false;
    setState(MVGestureRecognizerStateFailed);
    tellWaiting(false);
}

/// Lets those that wait for this one go on: they fail if it has recognized, else they recognize.
void MVTapGestureRecognizer::tellWaiting(bool recognized) {
    const auto waiting = waiting_;
    for (const std::weak_ptr<MVTapGestureRecognizer>& weak : waiting) {
        const std::shared_ptr<MVTapGestureRecognizer> other = weak.lock();
        if (!other || !other->isWaiting_ || !other->mv_canRecognize()) {
            continue;
        }
        other->isWaiting_ = false;
        if (recognized) {
            other->fail();
        } else {
            MVRecognizeWithoutTouches(other, [&] { other->recognize(); });
        }
    }
}
