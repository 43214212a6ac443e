#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVPanGestureRecognizer.h"

namespace Mivora::platform {
class Timer;
}

/// What recognizers of touches that stay where they are have in common: how many touches, how far
/// they may tremble, and a time that passes meanwhile. A subclass says what becomes of that.
///
/// How far touches have come is measured as a pan measures it, on the screen and as a mean, and
/// from where the pointer really is, also for a mouse. The `slop` is at first the threshold of a
/// pan: of a tap and a pan on the same touches one and only one recognizes. Touches that move
/// apart, which are no pan, come too far as well.
///
/// Thread: main.
class MIVORA_EXPORT MVStillGestureRecognizer : public MVGestureRecognizer {
 public:
    ~MVStillGestureRecognizer() override;

    /// How many touches there have to be at once; 1 at first.
    std::size_t numberOfTouchesRequired() const { return numberOfTouchesRequired_; }
    /// @param number  0 counts as 1
    void setNumberOfTouchesRequired(std::size_t number);

    /// How far the touches may come along an axis of the screen, in points: this far is too far. At
    /// first `MVPanGestureRecognizer::kThreshold`.
    float slop() const { return slop_; }
    /// @param slop  infinite for any way, also NaN; 0 and less for none at all
    void setSlop(float slop) { slop_ = slop; }

    /// Where the touches are, or were last, in a view; see `MVGestureRecognizer`.
    Mivora::Point3 locationInView(const std::shared_ptr<MVView>& view) const override;

    /// Forgets the touches and the time.
    void reset() override;

    /// @name Internal to the library
    /// @{

    /// Whether a time is running.
    bool mv_isTiming() const { return timer_ != nullptr; }
    /// The time has passed, which ends it: what the timer calls.
    void mv_timeDidPass();

    /// @}

 protected:
    MVStillGestureRecognizer();

    /// Adds touches to those that are followed.
    void mv_follow(const MVTouchSet& touches);
    /// Takes the movement of touches.
    /// @return whether they have stayed within the slop
    bool mv_stay(const MVTouchSet& touches);
    /// Leaves touches out.
    void mv_forget(const MVTouchSet& touches);
    /// Whether one of the touches is followed.
    bool mv_follows(const MVTouchSet& touches) const;
    /// Where the first of the touches that are followed began, on the screen; and the touch.
    Mivora::Point2 mv_firstPlace() const { return followed_.front().start; }
    const MVTouch& mv_firstTouch() const { return *followed_.front().touch; }
    /// How many touches are followed.
    std::size_t mv_followedCount() const { return followed_.size(); }
    /// Begins to measure a way anew.
    void mv_startWay();

    /// Calls `mv_timerFired` once, if it is not stopped or started again before.
    /// @param seconds  never if infinite
    void mv_startTimer(double seconds);
    void mv_stopTimer();
    /// The time has passed, and the state is Possible or the gesture under way.
    virtual void mv_timerFired() = 0;

 private:
    /// A touch, where it began and where it was last.
    struct Followed {
        std::shared_ptr<MVTouch> touch;
        Mivora::Point2 start;
        Mivora::Point2 last;
    };

    std::size_t numberOfTouchesRequired_ = 1;
    float slop_ = MVPanGestureRecognizer::kThreshold;
    std::vector<Followed> followed_;
    std::vector<std::shared_ptr<MVTouch>> latest_;  ///< Of the latest tap or press.
    Mivora::Point2 way_ = Mivora::Point2::kZero;
    std::shared_ptr<Mivora::platform::Timer> timer_;
};
