#pragma once

#include "MivoraMac/input/MVOrderedSet.h"

/// What happens to touches. Views and gesture recognizers answer to every phase with the operation
/// of its name, `mv_touchesBegan` and so on.
enum class MVTouchPhase { Began, Moved, Ended, Cancelled };

/// Sends touches to a view or a gesture recognizer with the operation of the phase.
template <class Receiver>
void mv_sendTouches(Receiver& receiver, MVTouchPhase phase, const MVTouchSet& touches) {
    switch (phase) {
        case MVTouchPhase::Began:
            return receiver.mv_touchesBegan(touches);
        case MVTouchPhase::Moved:
            return receiver.mv_touchesMoved(touches);
        case MVTouchPhase::Ended:
            return receiver.mv_touchesEnded(touches);
        case MVTouchPhase::Cancelled:
            return receiver.mv_touchesCancelled(touches);
    }
}
