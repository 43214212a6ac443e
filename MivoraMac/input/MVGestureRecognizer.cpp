#include "MivoraMac/input/MVGestureRecognizer.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "MivoraMac/input/MVGestureRecognizerDelegate.h"
#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/ClassNamePrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"

using Mivora::platform::AtEnd;
using Mivora::platform::classNameOf;
using Mivora::platform::DebugLog;
using Mivora::platform::MainThread;
using Mivora::platform::RunAll;

namespace {

const char* nameOf(MVGestureRecognizerState state) {
    switch (state) {
        case MVGestureRecognizerStatePossible:
            return "possible";
        case MVGestureRecognizerStateBegan:
            return "began";
        case MVGestureRecognizerStateChanged:
            return "changed";
        case MVGestureRecognizerStateEnded:
            return "ended";
        case MVGestureRecognizerStateCancelled:
            return "cancelled";
        case MVGestureRecognizerStateFailed:
            return "failed";
    }
    return "unknown";
}

bool isFinished(MVGestureRecognizerState state) {
    return state == MVGestureRecognizerStateEnded || state == MVGestureRecognizerStateCancelled ||
           state == MVGestureRecognizerStateFailed;
}

}  // namespace

std::shared_ptr<MVGestureRecognizer> MVGestureRecognizer::init() {
    return MVMake<MVGestureRecognizer>();
}

MVGestureRecognizer::MVGestureRecognizer() = default;

MVGestureRecognizer::~MVGestureRecognizer() {
    if (backPointer_) {
        *backPointer_ = nullptr;
    }
}

void MVGestureRecognizer::setView(const std::shared_ptr<MVView>& view) {
    view_ = view;
}

void MVGestureRecognizer::mv_addTargetAction(const MVTargetActionPair& pair, bool takesThis) {
    if (!takesThis) {
        throw MVException(MVException::kInvalidArgument,
                          "addTargetAction: the action takes another class of recognizer");
    }
    // Those that have gone would never be told again.
    std::erase_if(targetActionPairs_, [](const auto& other) { return !other->target(); });
    const bool isThere =
        std::any_of(targetActionPairs_.begin(), targetActionPairs_.end(), [&](const auto& other) {
            return other->target() == pair.target() && other->action() == pair.action();
        });
    if (!isThere) {
        targetActionPairs_.push_back(std::make_shared<MVTargetActionPair>(pair));
    }
}

void MVGestureRecognizer::mv_removeTargetAction(const std::shared_ptr<void>& receiver,
                                                const MVAction& action) {
    std::erase_if(targetActionPairs_, [&](const auto& pair) {
        return (!receiver || pair->target() == receiver) && (!action || pair->action() == action);
    });
}

void MVGestureRecognizer::removeTargetAction(const std::shared_ptr<void>& target, std::nullptr_t) {
    std::erase_if(targetActionPairs_,
                  [&](const auto& pair) { return !target || pair->hasTarget(target); });
}

void MVGestureRecognizer::setEnabled(bool enabled) {
    if (enabled_ == enabled) {
        return;
    }
    enabled_ = enabled;
    if (!enabled) {
        setState(MVGestureRecognizerStateCancelled);
        mv_dispatchStateChangesIfNecessary();
    }
}

Mivora::Point3 MVGestureRecognizer::locationInView(const std::shared_ptr<MVView>& view) const {
    // A copy: asking for a location may run hooks, which may change the set.
    const MVTouchSet touches = touches_;
    Mivora::Point3 sum = Mivora::Point3::kZero;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        sum = sum + touch->locationInView(view);
    }
    return sum * static_cast<float>(1.0 / static_cast<double>(touches.size()));
}

void MVGestureRecognizer::touchesBegan(const MVTouchSet& /*touches*/) {}

void MVGestureRecognizer::touchesMoved(const MVTouchSet& /*touches*/) {}

void MVGestureRecognizer::touchesEnded(const MVTouchSet& /*touches*/) {}

void MVGestureRecognizer::touchesCancelled(const MVTouchSet& /*touches*/) {}

void MVGestureRecognizer::reset() {}

void MVGestureRecognizer::mv_touchesBegan(const MVTouchSet& touches) {
    if (enabled_) {
        touchesBegan(touches);
    }
}

void MVGestureRecognizer::mv_touchesMoved(const MVTouchSet& touches) {
    if (enabled_) {
        touchesMoved(touches);
    }
}

void MVGestureRecognizer::mv_touchesEnded(const MVTouchSet& touches) {
    if (enabled_) {
        touchesEnded(touches);
    }
}

void MVGestureRecognizer::mv_touchesCancelled(const MVTouchSet& touches) {
    if (enabled_) {
        touchesCancelled(touches);
    }
}

void MVGestureRecognizer::validate() const {
    if (view_.expired()) {
        DebugLog::warn(DebugLog::Category::Gestures,
                       "Warning: Gesture recognizer does not have a valid view associated. "
                       "(%s [%p])",
                       classNameOf(typeid(*this)).c_str(), static_cast<const void*>(this));
    }
}

bool MVGestureRecognizer::mv_didRecognize() const {
    return state_ == MVGestureRecognizerStateBegan || state_ == MVGestureRecognizerStateChanged ||
           state_ == MVGestureRecognizerStateEnded;
}

bool MVGestureRecognizer::mv_didFinishGesture() const {
    return isFinished(state_);
}

MVGestureRecognizerState MVGestureRecognizer::mv_validStateForProposedState(
    MVGestureRecognizerState state) const {
    switch (state_) {
        case MVGestureRecognizerStatePossible:
            if (state == MVGestureRecognizerStateCancelled) {
                return MVGestureRecognizerStateFailed;
            }
            return state == MVGestureRecognizerStateChanged ? MVGestureRecognizerStateBegan : state;
        case MVGestureRecognizerStateBegan:
            if (state == MVGestureRecognizerStatePossible) {
                return MVGestureRecognizerStateBegan;
            }
            return state == MVGestureRecognizerStateFailed ? MVGestureRecognizerStateCancelled
                                                           : state;
        case MVGestureRecognizerStateChanged:
            if (state == MVGestureRecognizerStatePossible ||
                state == MVGestureRecognizerStateBegan) {
                return MVGestureRecognizerStateChanged;
            }
            return state == MVGestureRecognizerStateFailed ? MVGestureRecognizerStateCancelled
                                                           : state;
        case MVGestureRecognizerStateEnded:
        case MVGestureRecognizerStateCancelled:
        case MVGestureRecognizerStateFailed:
            return state_;
    }
    return state;
}

void MVGestureRecognizer::setState(MVGestureRecognizerState state) {
    const MVGestureRecognizerState valid = mv_validStateForProposedState(state);
    if (valid == MVGestureRecognizerStateChanged ||
        (valid != state_ &&
         (valid == MVGestureRecognizerStateBegan || valid == MVGestureRecognizerStateEnded ||
          valid == MVGestureRecognizerStateCancelled))) {
        shouldDispatchStateChange_ = true;
    }
    if (isFinished(valid)) {
        mv_resetToStatePossibleOnNextLoop();
    }
    changeState(valid);
}

void MVGestureRecognizer::mv_setStateToFailed() {
    // Whoever has lost is silent, even about having begun in this same delivery.
    shouldDispatchStateChange_ = false;
    ++dispatchRound_;
    changeState(MVGestureRecognizerStateFailed);
    mv_resetToStatePossibleOnNextLoop();
}

void MVGestureRecognizer::mv_resetToStatePossibleOnNextLoop() {
    if (!backPointer_) {
        backPointer_ = std::make_shared<MVGestureRecognizer*>(this);
    }
    MainThread::perform([pointer = backPointer_] {
        // One that has gone by then has nothing left to reset.
        const auto self = *pointer != nullptr ? (*pointer)->weak_from_this().lock() : nullptr;
        if (self && self->deliveries_ > 0) {
            self->isResetPutOff_ = true;
        } else if (self) {
            self->mv_resetStateToPossible();
        }
    });
}

void MVGestureRecognizer::mv_deliveryEnded() {
    if (--deliveries_ == 0 && std::exchange(isResetPutOff_, false)) {
        mv_resetToStatePossibleOnNextLoop();
    }
}

void MVGestureRecognizer::mv_resetStateToPossible() {
    const AtEnd makePossible([this] {
        // What nobody was told of in time is over.
        shouldDispatchStateChange_ = false;
        changeState(MVGestureRecognizerStatePossible);
    });
    reset();
}

bool MVGestureRecognizer::mv_shouldRecognizeWithGestureRecognizer(
    const std::shared_ptr<MVGestureRecognizer>& other) {
    const std::shared_ptr<MVGestureRecognizerDelegate> adviser = delegate();
    return adviser && adviser->gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
                          shared_from_this(), other);
}

void MVGestureRecognizer::mv_dispatchStateChangesIfNecessary() {
    if (!shouldDispatchStateChange_) {
        return;
    }
    // First, so that a target that throws, or causes this to be called again, is not told twice.
    shouldDispatchStateChange_ = false;
    const std::shared_ptr<MVGestureRecognizer> self = shared_from_this();
    mv_deliveryBegan();
    const AtEnd end([this] { mv_deliveryEnded(); });
    const unsigned round = ++dispatchRound_;
    const auto pairs = targetActionPairs_;
    RunAll all;
    for (const std::shared_ptr<MVTargetActionPair>& pair : pairs) {
        if (dispatchRound_ != round) {
            break;
        }
        const bool isStillThere = std::find(targetActionPairs_.begin(), targetActionPairs_.end(),
                                            pair) != targetActionPairs_.end();
        if (isStillThere) {
            all.run([&] { pair->perform(self); });
        }
    }
    all.rethrow();
}

void MVGestureRecognizer::changeState(MVGestureRecognizerState state) {
    if (state_ != state && DebugLog::isEnabled(DebugLog::Category::Gestures)) {
        DebugLog::log(DebugLog::Category::Gestures, "%s [%p]: %s",
                      classNameOf(typeid(*this)).c_str(), static_cast<const void*>(this),
                      nameOf(state));
    }
    state_ = state;
}
