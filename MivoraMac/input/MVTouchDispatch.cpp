#include "MivoraMac/input/MVTouchDispatch.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/ClassNamePrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/RunAllPrivate.h"
#include "MivoraMac/views/MVView.h"

using Mivora::platform::AtEnd;
using Mivora::platform::classNameOf;
using Mivora::platform::DebugLog;
using Mivora::platform::RunAll;
using Mivora::platform::runAll;

namespace {

using Recognizer = std::shared_ptr<MVGestureRecognizer>;

/// Whether one of the two lets both recognize.
bool mayRecognizeTogether(const Recognizer& a, const Recognizer& b) {
    return a->mv_shouldRecognizeWithGestureRecognizer(b) ||
           b->mv_shouldRecognizeWithGestureRecognizer(a);
}

MVGestureRecognizerSet recognizersOf(const MVTouchSet& touches) {
    MVGestureRecognizerSet recognizers;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        recognizers.unite(touch->gestureRecognizers());
    }
    return recognizers;
}

/// Leaves out touches that are over, perhaps because somebody who was told of this phase has
/// finished them: all have heard of the end, and nothing comes after that.
void dropFinished(MVTouchSet& touches) {
    touches.eraseIf([](const std::shared_ptr<MVTouch>& touch) { return touch->mv_isFinished(); });
}

/// Sends a phase to recognizers.
/// @return the first that could still recognize and now has, or null
Recognizer deliver(const MVGestureRecognizerSet& recognizers, MVTouchSet& touches,
                   MVTouchPhase phase, RunAll& all) {
    MVGestureRecognizerSet couldRecognize;
    for (const Recognizer& recognizer : recognizers) {
        if (recognizer->mv_canRecognize()) {
            couldRecognize.insert(recognizer);
        }
        all.run([&] { mv_sendTouches(*recognizer, phase, touches); });
        dropFinished(touches);
        if (touches.empty()) {
            break;
        }
    }
    const auto winner =
        std::find_if(couldRecognize.begin(), couldRecognize.end(),
                     [](const Recognizer& recognizer) { return recognizer->mv_didRecognize(); });
    return winner != couldRecognize.end() ? *winner : nullptr;
}

/// Makes those fail that compete with the winner for one of its touches. A delegate that throws has
/// not said yes.
void beat(const Recognizer& winner, RunAll& all) {
    const MVTouchSet touches = winner->touches();
    if (DebugLog::isEnabled(DebugLog::Category::Gestures)) {
        const MVGestureRecognizer& object = *winner;
        DebugLog::log(DebugLog::Category::Gestures, "%s [%p] wins",
                      classNameOf(typeid(object)).c_str(), static_cast<const void*>(&object));
    }
    for (const Recognizer& rival : recognizersOf(touches)) {
        bool isRival = rival != winner;
        all.run([&] { isRival = isRival && !mayRecognizeTogether(winner, rival); });
        if (isRival) {
            rival->mv_setStateToFailed();
            MVBreakRelationshipBetweenGestureRecognizerAndTouches(rival, touches);
        }
    }
}

/// Sends a phase to the views, but takes from them the touches of the winner.
void deliverToViews(const MVTouchSet& touches, MVTouchPhase phase, const Recognizer& winner) {
    const MVTouchSet taken = winner->touches();
    MVTouchSet others = touches;
    others.subtract(taken);
    const AtEnd release([&] {
        for (const std::shared_ptr<MVTouch>& touch : taken) {
            touch->setTrackingView(nullptr);
        }
    });
    runAll([&] { MVDispatchTouchSelectorToTrackedViews(others, phase); },
           [&] { MVDispatchTouchSelectorToTrackedViews(taken, MVTouchPhase::Cancelled); });
}

}  // namespace

std::vector<std::shared_ptr<MVView>> MVGetViewsForTouch(const std::shared_ptr<MVTouch>& touch) {
    std::vector<std::shared_ptr<MVView>> views;
    for (auto view = touch ? touch->view() : nullptr; view; view = view->superview()) {
        views.push_back(view);
    }
    return views;
}

MVGestureRecognizerSet MVGetGestureRecognizersForTouch(const std::shared_ptr<MVTouch>& touch) {
    const auto views = MVGetViewsForTouch(touch);
    MVGestureRecognizerSet all;
    for (auto view = views.rbegin(); view != views.rend(); ++view) {
        for (const Recognizer& recognizer : *(*view)->gestureRecognizers()) {
            all.insert(recognizer);
        }
    }
    const auto found = std::find_if(all.begin(), all.end(), [](const Recognizer& recognizer) {
        return recognizer->enabled() && recognizer->mv_didRecognize();
    });
    if (found == all.end()) {
        return all;
    }
    const Recognizer recognized = *found;
    MVGestureRecognizerSet allowed;
    for (const Recognizer& recognizer : all) {
        if (recognizer == recognized || mayRecognizeTogether(recognized, recognizer)) {
            allowed.insert(recognizer);
        }
    }
    return allowed;
}

void MVBuildGestureRecognizerRelationshipsForTouch(const std::shared_ptr<MVTouch>& touch) {
    for (const Recognizer& recognizer : MVGetGestureRecognizersForTouch(touch)) {
        recognizer->mv_touches().insert(touch);
        touch->mv_addGestureRecognizer(recognizer);
    }
}

void MVBreakRelationshipBetweenGestureRecognizerAndTouches(const Recognizer& recognizer,
                                                           const MVTouchSet& touches) {
    if (!recognizer) {
        return;
    }
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        touch->mv_removeGestureRecognizer(recognizer);
    }
    recognizer->mv_touches().subtract(touches);
}

void MVDispatchTouchSelectorToTrackedViews(const MVTouchSet& touches, MVTouchPhase phase) {
    // A view is told apart by what it is, and not kept alive: an earlier one's hook may destroy it.
    std::vector<std::pair<std::weak_ptr<MVView>, MVTouchSet>> groups;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        const std::shared_ptr<MVView> view = touch->trackingView();
        if (!view) {
            continue;
        }
        auto group = std::find_if(groups.begin(), groups.end(), [&](const auto& candidate) {
            return candidate.first.lock() == view;
        });
        if (group == groups.end()) {
            group = groups.insert(groups.end(), {view, {}});
        }
        group->second.insert(touch);
    }
    RunAll all;
    for (const auto& group : groups) {
        if (const std::shared_ptr<MVView> view = group.first.lock()) {
            all.run([&] { mv_sendTouches(*view, phase, group.second); });
        }
    }
    all.rethrow();
}

void MVDispatchSelectorToTouches(MVTouchSet touches, MVTouchPhase phase) {
    dropFinished(touches);
    const MVGestureRecognizerSet recognizers = recognizersOf(touches);
    for (const Recognizer& recognizer : recognizers) {
        recognizer->mv_deliveryBegan();
    }
    const AtEnd end([&] {
        for (const Recognizer& recognizer : recognizers) {
            recognizer->mv_deliveryEnded();
        }
    });
    RunAll all;
    const Recognizer winner = deliver(recognizers, touches, phase, all);
    if (winner) {
        beat(winner, all);
    }
    for (const Recognizer& recognizer : recognizers) {
        all.run([&] { recognizer->mv_dispatchStateChangesIfNecessary(); });
    }
    dropFinished(touches);
    all.run([&] {
        if (winner) {
            deliverToViews(touches, phase, winner);
        } else {
            MVDispatchTouchSelectorToTrackedViews(touches, phase);
        }
    });
    all.rethrow();
}

void MVRecognizeWithoutTouches(const Recognizer& recognizer, const std::function<void()>& action) {
    if (!recognizer) {
        return;
    }
    const Recognizer kept = recognizer;
    kept->mv_deliveryBegan();
    const AtEnd end([&] { kept->mv_deliveryEnded(); });
    const bool couldRecognize = kept->mv_canRecognize();
    RunAll all;
    all.run(action);
    const bool wins = couldRecognize && kept->mv_didRecognize();
    if (wins) {
        beat(kept, all);
    }
    all.run([&] { kept->mv_dispatchStateChangesIfNecessary(); });
    if (wins) {
        all.run([&] { deliverToViews({}, MVTouchPhase::Moved, kept); });
    }
    all.rethrow();
}

void MVFinishTouches(MVTouchSet touches) {
    const AtEnd finish([&] {
        for (const std::shared_ptr<MVTouch>& touch : touches) {
            touch->mv_finish();
        }
    });
    RunAll all;
    for (const std::shared_ptr<MVTouch>& touch : touches) {
        // Those that are bound, where a delegate throws instead of letting others be found.
        MVGestureRecognizerSet found = touch->gestureRecognizers();
        all.run([&] { found = MVGetGestureRecognizersForTouch(touch); });
        for (const Recognizer& recognizer : found) {
            MVBreakRelationshipBetweenGestureRecognizerAndTouches(recognizer, touches);
        }
    }
    all.rethrow();
}
