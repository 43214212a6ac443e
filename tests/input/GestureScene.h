#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVGestureRecognizerDelegate.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "tests/input/InputScene.h"

/// The name of a state, in small letters.
inline std::string textOf(MVGestureRecognizerState state) {
    const std::vector<std::string> names = {"possible", "began",     "changed",
                                            "ended",    "cancelled", "failed"};
    const auto index = static_cast<std::size_t>(state);
    return index < names.size() ? names[index] : std::to_string(static_cast<int>(state));
}

/// Lets the main loop do what waits for it, such as the resets of recognizers.
inline void runMainLoop() {
    bool done = false;
    Mivora::platform::MainThread::perform([&] { done = true; });
    Mivora::platform::MainThread::runUntil([&] { return done; }, 10.0);
}

/// A touch that a test moves about.
class ScriptedTouch : public MVTouch {
 public:
    /// A touch over a view, which tracks it.
    static std::shared_ptr<ScriptedTouch> over(const std::shared_ptr<MVView>& view) {
        auto touch = MVMake<ScriptedTouch>();
        touch->setView(view);
        touch->setTrackingView(view);
        return touch;
    }

    /// Lets the ray go straight through a point of the window's plane, and no longer through the
    /// one before.
    void moveTo(float x, float y) {
        setPreviousRay(ray());
        setRay({{x, y, 100}, {0, 0, -1}});
        previousScreenPoint_ = screenPoint_;
        screenPoint_ = {x, y};
    }
    /// Puts the touch somewhere as if it had always been there.
    void putAt(float x, float y) {
        moveTo(x, y);
        moveTo(x, y);
    }

    void setScreenPoints(Mivora::Point2 previous, Mivora::Point2 now) {
        previousScreenPoint_ = previous;
        screenPoint_ = now;
    }
    Mivora::Point2 screenPoint() const override { return screenPoint_; }
    Mivora::Point2 previousScreenPoint() const override { return previousScreenPoint_; }

 protected:
    friend struct ::MVMaker;
    ScriptedTouch() : MVTouch(nullptr) {}

 private:
    Mivora::Point2 screenPoint_ = Mivora::Point2::kZero;
    Mivora::Point2 previousScreenPoint_ = Mivora::Point2::kZero;
};

/// A recognizer that logs its hooks ("tap.touchesBegan 1": how many touches; "tap.reset") and then
/// does what a test says.
class ScriptedRecognizer : public MVGestureRecognizer {
 public:
    static std::shared_ptr<ScriptedRecognizer> make(std::string name, CallLog* log) {
        return MVMake<ScriptedRecognizer>(std::move(name), log);
    }

    /// Called after every hook of touches.
    std::function<void(MVTouchPhase)> onTouches;
    std::function<void()> onReset;

    using MVGestureRecognizer::setState;
    using MVGestureRecognizer::validate;

    /// Makes it propose a state whenever it is given touches in a phase.
    void proposeAt(MVTouchPhase when, MVGestureRecognizerState state) {
        onTouches = [this, when, state](MVTouchPhase phase) {
            if (phase == when) {
                setState(state);
            }
        };
    }

    void touchesBegan(const MVTouchSet& touches) override {
        note("touchesBegan", MVTouchPhase::Began, touches);
    }
    void touchesMoved(const MVTouchSet& touches) override {
        note("touchesMoved", MVTouchPhase::Moved, touches);
    }
    void touchesEnded(const MVTouchSet& touches) override {
        note("touchesEnded", MVTouchPhase::Ended, touches);
    }
    void touchesCancelled(const MVTouchSet& touches) override {
        note("touchesCancelled", MVTouchPhase::Cancelled, touches);
    }
    void reset() override {
        if (log_ != nullptr) {
            log_->push_back(name_ + ".reset");
        }
        if (const auto current = onReset) {
            current();
        }
    }

 protected:
    friend struct ::MVMaker;
    ScriptedRecognizer(std::string name, CallLog* log) : name_(std::move(name)), log_(log) {}

 private:
    void note(const char* hook, MVTouchPhase phase, const MVTouchSet& touches) {
        if (log_ != nullptr) {
            log_->push_back(name_ + '.' + hook + ' ' + std::to_string(touches.size()));
        }
        if (const auto current = onTouches) {
            current(phase);
        }
    }

    std::string name_;
    CallLog* log_;
};

/// A target that logs what it is told ("ann: began") and then does what a test says.
class ScriptedTarget {
 public:
    ScriptedTarget(std::string name, CallLog* log) : name_(std::move(name)), log_(log) {}

    static std::shared_ptr<ScriptedTarget> make(std::string name, CallLog* log) {
        return std::make_shared<ScriptedTarget>(std::move(name), log);
    }

    std::function<void(const std::shared_ptr<MVGestureRecognizer>&)> onTold;
    /// What the recognizer was when it was last told of.
    std::shared_ptr<MVGestureRecognizer> lastRecognizer;

    void told(const std::shared_ptr<MVGestureRecognizer>& recognizer) { note("", recognizer); }
    void toldOtherwise(const std::shared_ptr<MVGestureRecognizer>& recognizer) {
        note(" otherwise", recognizer);
    }

 private:
    void note(const char* how, const std::shared_ptr<MVGestureRecognizer>& recognizer) {
        log_->push_back(name_ + how + ": " + textOf(recognizer->state()));
        lastRecognizer = recognizer;
        if (const auto current = onTold) {
            current(recognizer);
        }
    }

    std::string name_;
    CallLog* log_;
};

/// A delegate that answers as a test says, false unless it does.
class ScriptedAdviser : public MVGestureRecognizerDelegate {
 public:
    using Recognizer = std::shared_ptr<MVGestureRecognizer>;

    std::function<bool(const Recognizer& recognizer, const Recognizer& other)> answer;
    /// Who was asked about whom.
    std::vector<std::pair<Recognizer, Recognizer>> questions;

    static std::shared_ptr<ScriptedAdviser> saying(bool yes) {
        auto adviser = std::make_shared<ScriptedAdviser>();
        adviser->answer = [yes](const Recognizer&, const Recognizer&) { return yes; };
        return adviser;
    }

    bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const Recognizer& recognizer, const Recognizer& other) override {
        questions.emplace_back(recognizer, other);
        return answer && answer(recognizer, other);
    }
};

/// An input scene with the dispatcher of the primary button and a log for everything.
struct GestureScene : InputScene {
    CallLog log;
    std::shared_ptr<MVMouseToTouchDispatcher> dispatcher =
        MVMouseToTouchDispatcher::initWithWindow(window);

    std::shared_ptr<ScriptedRecognizer> attach(const std::shared_ptr<MVView>& view,
                                               const std::string& name) {
        auto recognizer = ScriptedRecognizer::make(name, &log);
        view->addGestureRecognizer(recognizer);
        return recognizer;
    }
    std::shared_ptr<ScriptedTarget> target(const std::shared_ptr<MVGestureRecognizer>& recognizer,
                                           const std::string& name) {
        auto target = ScriptedTarget::make(name, &log);
        recognizer->addTargetAction(target, &ScriptedTarget::told);
        return target;
    }

    void press(Point place) const { dispatcher->systemTouchBeganWithEvent(eventAt(place)); }
    void drag(Point place) const { dispatcher->systemTouchMovedWithEvent(eventAt(place)); }
    void release(Point place) const { dispatcher->systemTouchEndedWithEvent(eventAt(place)); }
    void leave(Point place) const { dispatcher->systemTouchCancelledWithEvent(eventAt(place)); }

    /// The log so far, which is empty after this.
    CallLog takeLog() { return std::exchange(log, {}); }
};
