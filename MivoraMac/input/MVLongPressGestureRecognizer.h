#pragma once

#include <memory>
#include <optional>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVStillGestureRecognizer.h"

/// Recognizes touches that rest for a while.
///
/// It begins when the touches have been down for long enough without moving too far, and does so by
/// itself: no touch need move for that. From then on every move is a change, however far it leads,
/// so that a long press may turn into a drag; `locationInView` says where it is. It ends, or is
/// cancelled, when the last touch leaves. It fails when the touches move too far or leave before,
/// or are more than required.
///
/// Times pass on the main loop.
///
/// Thread: main.
class MIVORA_EXPORT MVLongPressGestureRecognizer : public MVStillGestureRecognizer {
 public:
    /// A recognizer without targets.
    static std::shared_ptr<MVLongPressGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVLongPressGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    /// How long the touches have to rest, in seconds: at first what the desktop calls a long press.
    double minimumDuration() const;
    /// @param seconds  infinite for ever
    void setMinimumDuration(double seconds) { minimumDuration_ = seconds; }

    void touchesBegan(const MVTouchSet& touches) override;
    void touchesMoved(const MVTouchSet& touches) override;
    void touchesEnded(const MVTouchSet& touches) override;
    void touchesCancelled(const MVTouchSet& touches) override;

 protected:
    friend struct ::MVMaker;
    MVLongPressGestureRecognizer();

    void mv_timerFired() override;

 private:
    void leave(const MVTouchSet& touches, MVGestureRecognizerState finished);
    void fail();

    std::optional<double> minimumDuration_;
};
