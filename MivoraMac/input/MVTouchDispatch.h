#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVOrderedSet.h"
#include "MivoraMac/input/MVTouchPhase.h"

class MVView;

/// @file
/// How touches reach gesture recognizers and views.
///
/// A touch and a recognizer are bound while each is in the other's set. Wherever recognizers come
/// into an order, it is that of attachment: the views from the root down to the touch's own, and
/// each view's recognizers as its list has them; several touches, one after the other. The first
/// in that order wins where several recognize at once, and decides where several have recognized.
///
/// The primary button is one source of touches: `MVMouseToTouchDispatcher`. A program may have
/// others, with a class of touches of its own. A source does this with them:
/// 1. A touch begins: bind it (`MVBuildGestureRecognizerRelationshipsForTouch`). Deliver `Began`
///    of those that have begun together (`MVDispatchSelectorToTouches`).
/// 2. Touches move: update them, and deliver `Moved`.
/// 3. Touches end or are cancelled: update them, and deliver `Ended` or `Cancelled`. Then finish
///    them (`MVFinishTouches`).
///
/// Hooks, targets and delegates may do anything meanwhile. What one of them throws keeps nothing
/// from the others: the first exception goes through at the end, further ones are logged. A
/// delegate that throws has not said yes.
///
/// Thread: main.

/// The touch's view and all it is inside, from the view to the root; none where there is no view.
MIVORA_EXPORT std::vector<std::shared_ptr<MVView>> MVGetViewsForTouch(
    const std::shared_ptr<MVTouch>& touch);

/// The recognizers that a touch belongs to: those of all its views. Once an enabled one of them has
/// recognized, only that one and those that may recognize together with it. Disabled ones belong
/// to it like the others; they are not given anything.
MIVORA_EXPORT MVGestureRecognizerSet
MVGetGestureRecognizersForTouch(const std::shared_ptr<MVTouch>& touch);

/// Binds a touch to its recognizers.
MIVORA_EXPORT void MVBuildGestureRecognizerRelationshipsForTouch(
    const std::shared_ptr<MVTouch>& touch);

/// Unbinds a recognizer from touches. A null one is ignored.
MIVORA_EXPORT void MVBreakRelationshipBetweenGestureRecognizerAndTouches(
    const std::shared_ptr<MVGestureRecognizer>& recognizer, const MVTouchSet& touches);

/// Sends a phase to each view that tracks some of the touches, once, with those touches; in the
/// order of the first touch of each. Touches that nobody tracks go nowhere, and so do those of a
/// view that goes meanwhile.
MIVORA_EXPORT void MVDispatchTouchSelectorToTrackedViews(const MVTouchSet& touches,
                                                         MVTouchPhase phase);

/// Delivers a phase of touches, in this order:
/// 1. To all recognizers that one of the touches is bound to; each is given all the touches, also
///    those that it is not bound to.
/// 2. If one recognizes that had not before, it wins: those it competes with for any of its touches
///    fail, even if they have begun, and are unbound from them, without their targets being told.
/// 3. The recognizers of step 1 tell their targets what has changed.
/// 4. To the views that track the touches. Those that track a touch of the winner are told that it
///    is cancelled instead, and track it no more.
///
/// A touch that is over goes nowhere; where a hook or a target ends one (`MVFinishTouches`), those
/// behind it hear of that end only. Recognizers that have finished stay so until the delivery is
/// over, even if one of these runs the main loop.
MIVORA_EXPORT void MVDispatchSelectorToTouches(MVTouchSet touches, MVTouchPhase phase);

/// Lets a recognizer do something that no touch has caused, as when some time has passed. If it
/// recognizes by that, it wins as in a delivery: those it competes with for its touches fail, its
/// targets are told, and the views that track its touches are told that they are cancelled.
/// @param recognizer  null does nothing
/// @param action      calls the recognizer's `setState`
MIVORA_EXPORT void MVRecognizeWithoutTouches(const std::shared_ptr<MVGestureRecognizer>& recognizer,
                                             const std::function<void()>& action);

/// Unbinds touches that are over from the recognizers that are found for them by now. One that was
/// bound and is not found any more, as after it was detached or while another has recognized, keeps
/// the touch; the touch keeps no recognizer alive.
MIVORA_EXPORT void MVFinishTouches(MVTouchSet touches);
