#pragma once

#include <memory>

#include "MivoraMac/Export.h"

class MVGestureRecognizer;

/// Advises gesture recognizers when they compete for touches.
///
/// Thread: main.
class MIVORA_EXPORT MVGestureRecognizerDelegate {
 public:
    virtual ~MVGestureRecognizerDelegate();

    /// Whether the recognizer that this is the delegate of may recognize together with another one.
    /// It is enough if the delegate of one of the two says so. False here.
    virtual bool gestureRecognizerShouldRecognizeSimultaneouslyWithGestureRecognizer(
        const std::shared_ptr<MVGestureRecognizer>& gestureRecognizer,
        const std::shared_ptr<MVGestureRecognizer>& otherGestureRecognizer);
};
