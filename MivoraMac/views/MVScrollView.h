#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/app/MVAnimationClockTick.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/views/MVView.h"

class MVAnimationClock;
class MVScrollViewDelegate;

/// A view that shows a part of a larger one, its content view, and moves it by wheel and touchpad.
///
///     auto list = MVScrollView::init();
///     list->setSize({200, 300});
///     list->contentView()->setSize({200, 24.0F * rows});
///     list->contentView()->addSubview(row);
///
/// Nothing is clipped by itself. To clip, give the scroll view a stencil of its own size:
///
///     auto clip = MVColorView::init();
///     clip->setSize(list->size());
///     list->setStencilView(clip);
///
/// @anchor scroll-conventions
/// Two conventions for where the content is:
/// - the position of the content view, which is what `contentOffset` answers: (0, 0) shows the
///   content's origin, and what has been scrolled away is negative;
/// - the offset, its negation, in which velocities and the deceleration are given; it ranges from 0
///   to the size of the content less that of the view, or to 0 where that is negative.
///
/// What moves the content:
/// - Scrolling that reaches the view: that over the view and over what is in it, unless something
///   there keeps it, as another scroll view does. The content follows, from one end of its range to
///   the other and no further. A drag turned back beyond an end goes the same way back before the
///   content follows again.
/// - A correction: content that a change of its size, of the view's, or of `contentOffset` leaves
///   out of range, is pulled back by an animation, at e^(-0.01005) a millisecond. While the view is
///   dragged there is none; that is from the begin of scrolling to the next correction or glide,
///   `isDragging`, which the end of scrolling does not change.
/// - A glide: none begins by itself, for hosts make momentum of their own; see
///   `mv_decelerateIfNeededWithVelocityWasDragging`.
/// - A zoom, about the centre of the view.
///
/// Content is always moved by whole pixels of the view's `contentScaleFactor`, or freely where
/// that is not above 0. It animates with the active `MVAnimationClock`; without one, a correction
/// is never carried out.
///
/// Thread: main.
class MIVORA_EXPORT MVScrollView : public MVView, public MVAnimationClockTick {
 public:
    /// A view of size zero with an empty content view of size zero.
    static std::shared_ptr<MVScrollView> init();

    ~MVScrollView() override;

    /// @name Content
    /// @{

    /// What is scrolled; its size is what can be scrolled through. It is placed at the origin of
    /// this view, with the anchor (0, 0), which is to stay.
    const std::shared_ptr<MVView>& contentView() const { return contentView_; }

    /// The position of the content view, in points: (0, -100) after scrolling down by 100.
    Mivora::Point2 contentOffset() const { return contentView_->position(); }

    /// Places the content, rounded to whole pixels. Beyond its range, it is pulled back from there
    /// unless the view is dragged or the content decelerates. The delegate is not told that the
    /// content moved. A point that is not finite is ignored.
    void setContentOffset(Mivora::Point2 contentOffset);

    /// The size of the content as it is seen: that of the content view times the zoom scale.
    Mivora::Size2 contentSize() const;

    /// The base operation. Content that another size leaves out of range is pulled back.
    void setSize3(Mivora::Size3 size) override;

    /// @}
    /// @name Zoom
    /// @{

    /// How large the content is seen, 1 by default: the uniform scale of the content view.
    float zoomScale() const { return contentView_->uniformScale(); }

    /// Zooms, within `minimumZoomScale` and `maximumZoomScale`, so that what is at the centre of
    /// the view stays there; that may take the content out of range. NaN is ignored.
    void setZoomScale(float zoomScale);

    /// The least scale that `setZoomScale` takes over, 1 by default. It wins over the greatest.
    float minimumZoomScale() const { return minimumZoomScale_; }
    /// Only stores the value.
    void setMinimumZoomScale(float scale) { minimumZoomScale_ = scale; }

    /// The greatest scale that `setZoomScale` takes over, 1 by default.
    float maximumZoomScale() const { return maximumZoomScale_; }
    /// Only stores the value.
    void setMaximumZoomScale(float scale) { maximumZoomScale_ = scale; }

    /// @}
    /// @name Behaviour
    /// @{

    /// Who is told of movements, or null. Held weakly.
    std::shared_ptr<MVScrollViewDelegate> delegate() const { return delegate_.lock(); }
    /// Replaces the delegate; null for none.
    void setDelegate(const std::shared_ptr<MVScrollViewDelegate>& delegate) {
        delegate_ = delegate;
    }

    /// The share of a glide's velocity that is kept every millisecond, 0.998 by default; above 0
    /// and below 1.
    float decelerationRate() const { return decelerationRate_; }
    /// Changes how far a glide goes, but not how long it takes: its velocity keeps falling as at
    /// the rate 0.998. Only stores the value. With 1 and NaN a glide ends at once, at the end it is
    /// headed for.
    void setDecelerationRate(float rate) { decelerationRate_ = rate; }

    /// A note for clients, false by default: this class moves the content whatever it says.
    bool scrollEnabled() const { return scrollEnabled_; }
    /// Only stores the value.
    void setScrollEnabled(bool enabled) { scrollEnabled_ = enabled; }

    /// @}
    /// @name State
    /// @{

    /// Whether scrolling is under way: from its begin to its end or cancellation.
    bool isTracking() const { return tracking_; }
    /// Whether the content is where scrolling took it: from the begin of scrolling to the next
    /// glide or correction.
    bool isDragging() const { return dragging_; }
    /// Whether the content moves by itself.
    bool isDecelerating() const { return decelerating_; }
    /// False: this class zooms at once.
    bool isZooming() const { return zooming_; }

    /// Whether the view is ticked by a clock.
    bool animating() const { return animating_; }
    /// Starts or stops being ticked, by the clock that was active when the view was first animated
    /// in its window. Without an active clock it stays as it is.
    void setAnimating(bool animating);

    /// @}
    /// @name Input
    /// @{

    /// Stops whatever moves the content and begins a drag, by the scroll's `translation`.
    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override;
    /// Drags by the scroll's `translation`; one that is not finite is ignored.
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override;
    /// Ends `isTracking`; the content stays where it is.
    void scrollEnded(const std::shared_ptr<MVScroll>& scroll) override;
    /// Ends `isTracking`; the content stays where it is.
    void scrollCancelled(const std::shared_ptr<MVScroll>& scroll) override;

    /// Moves content that decelerates by what it does in `step` seconds.
    void tickVideoSync(double step, double sync) override;

    /// @}
    /// @name Internal to the library
    /// @{

    /// Places the content view at a point rounded to whole pixels, and tells the delegate if it was
    /// somewhere else.
    void mv_setContentViewPosition(Mivora::Point2 position);

    /// Ends a drag and lets the content glide, or pulls it back into its range, or leaves it:
    /// 1. The deceleration starts at the content's place; the drag is over.
    /// 2. The content will decelerate if it moves along both axes, each faster than 0.01, or is out
    ///    of range.
    /// 3. The delegate is told that the drag ended, if it was one, and of the deceleration.
    /// 4. The deceleration begins, or whichever was under way ends.
    ///
    /// @param velocity     of the offset, in points per millisecond; components that are not finite
    ///                     count as 0
    /// @param wasDragging  whether to tell the delegate that a drag ended
    void mv_decelerateIfNeededWithVelocityWasDragging(Mivora::Point2D velocity, bool wasDragging);

    /// Moves one axis by what a deceleration does in some time: first a glide as far as it stays in
    /// the range; in what then remains of the time, and for an offset that is out of range to begin
    /// with, a spring to the nearer end.
    ///
    /// With f and k the factors and E(t) = `pow_approx`(t, k), a velocity v covers
    /// (1 - E(t)) v f / (1 - f) in t milliseconds and is then v E(t).
    ///
    /// @param offset                 in points; updated
    /// @param timeInterval           in milliseconds
    /// @param lastUpdateOffset       where the content was seen last
    /// @param min, max               the range; a max below min counts as min
    /// @param decelerationFactor     f, the share of the velocity that a millisecond leaves
    /// @param decelerationLnFactor   k, its natural logarithm
    /// @param velocity               in points per millisecond; updated
    /// @return whether the offset is still more than half a point out of its range
    bool
    mv_decelerationOffsetTimeIntervalLastUpdateOffsetMinMaxDecelerationFactorDecelerationLnFactorVelocity(
        double& offset, double timeInterval, double lastUpdateOffset, double min, double max,
        double decelerationFactor, double decelerationLnFactor, double& velocity);

    /// Where the current drag has taken the content, not limited to its range.
    Mivora::Point2 mv_panPosition() const { return panPosition_; }
    /// Where the deceleration has taken the content, as an offset and not rounded.
    Mivora::Point2D mv_offset() const { return offset_; }
    /// How fast it moves the offset, in points per millisecond.
    Mivora::Point2D mv_velocity() const { return velocity_; }
    /// The natural logarithm of the share of the velocity that a millisecond leaves.
    float mv_decelerationLnFactor() const { return decelerationLnFactor_; }

    /// How many glides followed each other closely. Nothing here counts them: the count is only
    /// taken back, to 0, where an axis leaves its range or springs back to it.
    std::int32_t mv_fastScrollCount() const { return fastScrollCount_; }
    /// For subclasses that count.
    void setMv_fastScrollCount(std::int32_t count) { fastScrollCount_ = count; }
    /// What glides within the range are multiplied by, 1 by default; taken back with the count.
    float mv_fastScrollMultiplier() const { return fastScrollMultiplier_; }
    /// For subclasses that count.
    void setMv_fastScrollMultiplier(float multiplier) { fastScrollMultiplier_ = multiplier; }

    /// Places for each point at which content without a range may rest; 1 by default.
    float mv_accuracy() const { return accuracy_; }
    /// Above 0.
    void setMv_accuracy(float accuracy) { accuracy_ = accuracy; }

    /// @}

 protected:
    friend struct MVMaker;
    MVScrollView();

    void mv_windowDidChange() override;

 private:
    class ContentView;

    void dragBy(Mivora::Point2 translation);
    bool isInRange() const;
    void pullBackIfIdle();
    Mivora::Point2 alignedToPixels(Mivora::Point2 point) const;
    bool decelerateAxis(double& offset, double& velocity, double milliseconds, double max);

    std::shared_ptr<MVView> contentView_;
    Mivora::Point2 panPosition_ = Mivora::Point2::kZero;
    Mivora::Point2D offset_ = Mivora::Point2D::kZero;
    Mivora::Point2D velocity_ = Mivora::Point2D::kZero;
    float minimumZoomScale_ = 1.0F;
    float maximumZoomScale_ = 1.0F;
    float decelerationRate_ = 0.998F;
    float decelerationLnFactor_ = -0.002001976827159524F;
    std::int32_t fastScrollCount_ = 0;
    float fastScrollMultiplier_ = 1.0F;
    float accuracy_ = 1.0F;
    std::weak_ptr<MVAnimationClock> animationClock_;
    bool scrollEnabled_ = false;
    bool tracking_ = false;
    bool dragging_ = false;
    bool decelerating_ = false;
    bool zooming_ = false;
    bool animating_ = false;
    bool aboutToDecelerate_ = false;  // the delegate is being told
    bool pullBackWanted_ = false;     // by what happened while decelerating
    std::uint32_t movement_ = 0;      // counts drags, glides and corrections
    std::weak_ptr<MVScrollViewDelegate> delegate_;
};

/// @name Arithmetic of scroll views
/// @{

/// The position nearest to `position` at which content covers its view, or begins at the view's
/// origin along an axis on which it is smaller: along each axis from
/// min(view - content, 0) to 0.
MIVORA_EXPORT Mivora::Point2 mv_clampPosition(Mivora::Point2 position, Mivora::Size2 viewSize,
                                              Mivora::Size2 contentSize);

/// `position` as it is: content that is dragged does not give way beyond its ends.
MIVORA_EXPORT Mivora::Point2 mv_unclampPosition(Mivora::Point2 position, Mivora::Size2 viewSize,
                                                Mivora::Size2 contentSize);

/// `scale` within `minimum` and `maximum`; `minimum` where that is the greater.
MIVORA_EXPORT float mv_clampScale(float scale, float minimum, float maximum);

/// 0, whatever the arguments: content that is dragged does not give way beyond its ends.
MIVORA_EXPORT double mv_clamp(double x, double m, double c, double d);

/// How far a drag to x went beyond m where content gives way by the share c and no further than d:
/// |x - m| d / ((d - |x - m|) c).
MIVORA_EXPORT double mv_unclamp(double x, double m, double c, double d);

/// e^(a b): where a b is -0.5 or above, by the first three terms of its series.
MIVORA_EXPORT double pow_approx(double a, double b);

/// @}
