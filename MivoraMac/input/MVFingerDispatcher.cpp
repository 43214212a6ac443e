#include "MivoraMac/input/MVFingerDispatcher.h"

#include <algorithm>

#include "MivoraMac/input/MVEventLogPrivate.h"
#include "MivoraMac/input/MVFingerTouch.h"
#include "MivoraMac/input/MVTouchDispatch.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/platform/windows/Event.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::Event;
using Mivora::platform::Point;
using Mivora::platform::RunAll;
using Mivora::platform::runAll;

namespace {

/// The event as that of one finger.
std::shared_ptr<const Event> eventAt(const Event& event, Point location) {
    auto own = std::make_shared<Event>(event);
    own->locationInWindow = location;
    own->touches.clear();
    return own;
}

/// Delivers a phase, together to touches that are bound to the same recognizers.
void deliver(const MVTouchSet& touches, MVTouchPhase phase) {
    std::vector<std::pair<MVGestureRecognizerSet, MVTouchSet>> groups;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        MVGestureRecognizerSet recognizers = touch->gestureRecognizers();
        auto group = std::find_if(groups.begin(), groups.end(), [&](const auto& candidate) {
            return candidate.first == recognizers;
        });
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {std::move(recognizers), {}});
        }
        group->second.insert(touch);
    }
    RunAll all;
    for (const auto& group : groups) {
        all.run([&] { MVDispatchSelectorToTouches(group.second, phase); });
    }
    all.rethrow();
}

}  // namespace

std::shared_ptr<MVFingerDispatcher> MVFingerDispatcher::initWithWindow(
    const std::shared_ptr<MVWindow>& window) {
    return MVMake<MVFingerDispatcher>(window);
}

MVFingerDispatcher::MVFingerDispatcher(const std::shared_ptr<MVWindow>& window) : window_(window) {}

MVFingerDispatcher::~MVFingerDispatcher() {
    for (const Finger& finger : fingers_) {
        finger.touch->mv_finish();
    }
}

void MVFingerDispatcher::systemTouchesBeganWithEvent(const EventPointer& event) {
    if (!event) {
        return;
    }
    const auto kept = shared_from_this();
    MVTouchSet began;
    RunAll all;
    for (const Event::Touch& finger : event->touches) {
        const auto begin = [&] {
            if (const std::shared_ptr<MVTouch> former = take(finger.identifier)) {
                finish({former}, MVTouchPhase::Cancelled);
            }
        };
        const auto land = [&] {
            const auto own = eventAt(*event, finger.location);
            const auto touch = MVFingerTouch::initWithSystemEventAndWindowLanding(
                own, window_.lock(), finger.landing ? eventAt(*event, *finger.landing) : own);
            // Known before it is bound: delegates are asked then, and may end it.
            fingers_.push_back({finger.identifier, touch});
            began.insert(touch);
            MVBuildGestureRecognizerRelationshipsForTouch(touch);
            MVEventLog::write("finger began", *touch);
        };
        all.run(begin);
        all.run(land);
    }
    all.run([&] { deliver(began, MVTouchPhase::Began); });
    all.rethrow();
}

void MVFingerDispatcher::systemTouchesMovedWithEvent(const EventPointer& event) {
    if (!event) {
        return;
    }
    const auto kept = shared_from_this();
    const std::shared_ptr<MVWindow> window = window_.lock();
    MVTouchSet moved;
    for (const Event::Touch& finger : event->touches) {
        const auto found = std::find_if(fingers_.begin(), fingers_.end(), [&](const Finger& known) {
            return known.identifier == finger.identifier;
        });
        if (found != fingers_.end()) {
            const std::shared_ptr<MVTouch> touch = found->touch;
            moved.insert(touch);
            touch->updateWithSystemEventOnWindow(eventAt(*event, finger.location), window);
        }
    }
    deliver(moved, MVTouchPhase::Moved);
}

void MVFingerDispatcher::systemTouchesEndedWithEvent(const EventPointer& event) {
    finishTouches(event, MVTouchPhase::Ended);
}

void MVFingerDispatcher::systemTouchesCancelledWithEvent(const EventPointer& event) {
    finishTouches(event, MVTouchPhase::Cancelled);
}

void MVFingerDispatcher::finishTouches(const EventPointer& event, MVTouchPhase phase) {
    if (!event) {
        return;
    }
    const auto kept = shared_from_this();
    const std::shared_ptr<MVWindow> window = window_.lock();
    MVTouchSet touches;
    RunAll all;
    for (const Event::Touch& finger : event->touches) {
        if (const std::shared_ptr<MVTouch> touch = take(finger.identifier)) {
            touches.insert(touch);
            all.run([&] {
                touch->mv_endWithSystemEventOnWindow(eventAt(*event, finger.location), window);
            });
        }
    }
    all.run([&] { finish(touches, phase); });
    all.rethrow();
}

void MVFingerDispatcher::cancelAllTouches() {
    const auto kept = shared_from_this();
    const MVTouchSet touches = mv_touches();
    fingers_.clear();
    const std::shared_ptr<MVWindow> window = window_.lock();
    RunAll all;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        const Mivora::Point2 place = touch->mv_pointerPoint();
        all.run([&] {
            touch->mv_endWithSystemEventOnWindow(
                eventAt({}, {static_cast<double>(place.x), static_cast<double>(place.y)}), window);
        });
    }
    all.run([&] { finish(touches, MVTouchPhase::Cancelled); });
    all.rethrow();
}

MVTouchSet MVFingerDispatcher::mv_touches() const {
    MVTouchSet touches;
    for (const Finger& finger : fingers_) {
        touches.insert(finger.touch);
    }
    return touches;
}

/// @return the touch of a finger, which is not known any more; null where there is none
std::shared_ptr<MVTouch> MVFingerDispatcher::take(std::uint64_t identifier) {
    const auto found = std::find_if(
        fingers_.begin(), fingers_.end(),
        [identifier](const Finger& finger) { return finger.identifier == identifier; });
    if (found == fingers_.end()) {
        return nullptr;
    }
    const std::shared_ptr<MVTouch> touch = found->touch;
    fingers_.erase(found);
    return touch;
}

void MVFingerDispatcher::finish(const MVTouchSet& touches, MVTouchPhase phase) {
    const char* const what = phase == MVTouchPhase::Ended ? "finger ended" : "finger cancelled";
    RunAll all;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        all.run([&] { MVEventLog::write(what, *touch); });
    }
    all.run([&] { deliver(touches, phase); });
    all.run([&] { MVFinishTouches(touches); });
    all.rethrow();
}
