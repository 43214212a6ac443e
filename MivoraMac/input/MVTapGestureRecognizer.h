#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/input/MVStillGestureRecognizer.h"

/// Recognizes taps of fingers, and clicks of a mouse: touches that come, hardly move, and leave
/// again soon; several times in quick succession if that is wanted.
///
/// It goes straight to Ended when the last touch of the last tap leaves. It fails when the touches
/// move too far or stay too long, when there are more of them than required or not all of them are
/// there at once, and when the next tap does not follow in time or near enough.
///
/// As any recognizer it takes the touches of its taps from the views when it recognizes. A
/// recognizer of one tap and one of two on the same view compete, too, and the first would win each
/// time: let it wait for the second. Recognizers of two fingers end with a single one that is
/// lifted and so compete with a tap: attach the tap before them, or let a delegate allow both.
///
///     const auto once = MVTapGestureRecognizer::initWithTargetAction(shelf, &Shelf::chosen);
///     const auto twice = MVTapGestureRecognizer::initWithTargetAction(shelf, &Shelf::opened);
///     twice->setNumberOfTapsRequired(2);
///     once->setWaitsFor(twice);
///
/// Times pass on the main loop. Those of the desktop are asked for when they are needed.
///
/// Thread: main.
class MIVORA_EXPORT MVTapGestureRecognizer : public MVStillGestureRecognizer {
 public:
    /// A recognizer without targets.
    static std::shared_ptr<MVTapGestureRecognizer> init();

    /// As `init`, with a first target; see `addTargetAction`.
    template <class Object, class Target, class Sender>
    static std::shared_ptr<MVTapGestureRecognizer> initWithTargetAction(
        const std::shared_ptr<Object>& target, Action<Target, Sender> action) {
        auto recognizer = init();
        recognizer->addTargetAction(target, action);
        return recognizer;
    }

    ~MVTapGestureRecognizer() override;

    /// How many taps in quick succession; 1 at first.
    std::size_t numberOfTapsRequired() const { return numberOfTapsRequired_; }
    /// @param number  0 counts as 1
    void setNumberOfTapsRequired(std::size_t number);

    /// How long a tap may last, in seconds: at first what the desktop calls a long press, so that a
    /// touch is the one or the other.
    double maximumDuration() const;
    /// @param seconds  infinite for any time
    void setMaximumDuration(double seconds) { maximumDuration_ = seconds; }

    /// How soon the next tap has to follow, in seconds from the end of the one before: at first
    /// what the desktop allows for a double click.
    double maximumInterval() const;
    /// @param seconds  infinite for any time
    void setMaximumInterval(double seconds) { maximumInterval_ = seconds; }

    /// How far from the first tap others may be along an axis of the screen, in points: at first
    /// what the desktop allows for a double click, and eight times that for fingers, which do not
    /// come down in the same place twice. This is what applies to a mouse.
    double maximumDistance() const;
    /// @param points  for all touches; infinite for any way
    void setMaximumDistance(double points) { maximumDistance_ = points; }

    /// Who is let go first, or null; held weakly. While that recognizer may still recognize, this
    /// one waits, Possible, after its taps; if that one recognizes, this one fails, and if it
    /// fails, this one recognizes.
    std::shared_ptr<MVTapGestureRecognizer> waitsFor() const { return waitsFor_.lock(); }
    /// @param other  null for nobody. One that waits for this one, also by others, is refused
    /// @throws MVException (invalid argument) for a ring of recognizers that wait for each other
    void setWaitsFor(const std::shared_ptr<MVTapGestureRecognizer>& other);

    void touchesBegan(const MVTouchSet& touches) override;
    void touchesMoved(const MVTouchSet& touches) override;
    void touchesEnded(const MVTouchSet& touches) override;
    void touchesCancelled(const MVTouchSet& touches) override;
    void reset() override;

 protected:
    friend struct ::MVMaker;
    MVTapGestureRecognizer();

    void mv_timerFired() override;

 private:
    bool mayStillRecognize() const;
    bool isNearFirstTap() const;
    void recognize();
    void fail();
    void tellWaiting(bool recognized);

    std::size_t numberOfTapsRequired_ = 1;
    std::optional<double> maximumDuration_;
    std::optional<double> maximumInterval_;
    std::optional<double> maximumDistance_;
    std::size_t taps_ = 0;
    bool allThere_ = false;   ///< All touches of this tap have been down at once.
    bool someLeft_ = false;   ///< One of them has been lifted.
    bool isWaiting_ = false;  ///< All taps are done; somebody else is let go first.
    Mivora::Point2 firstTap_ = Mivora::Point2::kZero;
    std::weak_ptr<MVTapGestureRecognizer> waitsFor_;
    std::vector<std::weak_ptr<MVTapGestureRecognizer>> waiting_;  ///< Those that wait for this one.
};
