// Glides and corrections.

#include <algorithm>
#include <cmath>
#include <limits>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/views/MVScrollView.h"
#include "MivoraMac/views/MVScrollViewDelegate.h"

using Mivora::Point2;
using Mivora::Point2D;
using Mivora::Size2;
using Mivora::platform::AtEnd;

namespace {

/// The velocity, in points per millisecond, above which content counts as moving.
constexpr double kLeastVelocity = 0.01;

/// How far out of its range, in points, content may come to rest.
constexpr double kRestingDistance = 0.5;

/// The natural logarithm of the share of the distance to the range that a millisecond leaves.
constexpr double kSpringLnFactor = -0.01005;

bool isMoving(double velocity) {
    return std::abs(velocity) > kLeastVelocity;
}

double numberOr0(double value) {
    return std::isfinite(value) ? value : 0.0;
}

/// Whether a number can be a coordinate.
bool isCoordinate(double value) {
    return std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}

double snapped(double offset, double accuracy) {
    const double whole = std::floor(offset);
    return accuracy == 1.0 ? std::round(offset)
                           : whole + std::round((offset - whole) * accuracy) / accuracy;
}

}  // namespace

double pow_approx(double a, double b) {
    const double x = a * b;
    return x >= -0.5 ? 1.0 + x + a * a * (b * b) * 0.5 : std::exp(x);
}

void MVScrollView::pullBackIfIdle() {
    if (dragging_ || isInRange()) {
        return;
    }
    if (aboutToDecelerate_ || decelerating_) {
        pullBackWanted_ = true;
        return;
    }
    mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, false);
}

void MVScrollView::mv_decelerateIfNeededWithVelocityWasDragging(Point2D velocity,
                                                                bool wasDragging) {
    const auto kept = std::static_pointer_cast<MVScrollView>(weak_from_this().lock());
    const std::uint32_t movement = ++movement_;
    const Point2 position = contentView_->position();
    offset_ = {static_cast<double>(-position.x), static_cast<double>(-position.y)};
    velocity_ = {numberOr0(velocity.x), numberOr0(velocity.y)};
    dragging_ = false;
    const bool isGlide = isMoving(velocity_.x) && isMoving(velocity_.y);
    const bool willDecelerate = isGlide || !isInRange();
    {
        aboutToDecelerate_ = willDecelerate;
        const AtEnd told([this] { aboutToDecelerate_ = false; });
        const auto delegate = delegate_.lock();
        if (wasDragging && delegate && kept) {
            delegate->scrollViewDidEndDraggingWillDecelerate(kept, willDecelerate);
        }
        if (movement_ != movement) {
            return;
        }
        if (const auto next = delegate_.lock(); willDecelerate && next && kept) {
            next->scrollViewWillBeginDecelerating(kept);
        }
        if (movement_ != movement) {
            return;
        }
    }
    decelerating_ = willDecelerate;
    setAnimating(willDecelerate);
}

void MVScrollView::setAnimating(bool animating) {
    std::shared_ptr<MVAnimationClock> clock = animationClock_.lock();
    if (animating_ == animating && (clock || !animating)) {
        return;
    }
    if (!clock) {
        clock = MVAnimationClock::activeClock();
        animationClock_ = clock;
    }
    const std::shared_ptr<MVView> self = weak_from_this().lock();
    if (animating && (!clock || !self)) {
        return;
    }
    if (clock) {
        const std::shared_ptr<MVAnimationClockTick> ticker(self, this);
        animating ? clock->startTick(ticker) : clock->stopTick(ticker);
    }
    animating_ = animating;
}

void MVScrollView::tickVideoSync(double step, double /*sync*/) {
    if (dragging_ && !animating_) {
        return;  // The drag began in the same round of ticks.
    }
    const auto kept = std::static_pointer_cast<MVScrollView>(shared_from_this());
    const std::uint32_t movement = movement_;
    const Size2 content = contentSize();
    const double milliseconds = step * 1000.0;
    const bool isOutX =
        decelerateAxis(offset_.x, velocity_.x, milliseconds,
                       static_cast<double>(content.width) - static_cast<double>(size().width));
    const bool isOutY =
        decelerateAxis(offset_.y, velocity_.y, milliseconds,
                       static_cast<double>(content.height) - static_cast<double>(size().height));
    const auto scale = static_cast<double>(contentScaleFactor());
    const auto aligned = [scale](double offset) {
        return scale > 0.0 ? std::round(offset * scale) / scale : offset;
    };
    const Point2D place = {aligned(offset_.x), aligned(offset_.y)};
    mv_setContentViewPosition({static_cast<float>(-place.x), static_cast<float>(-place.y)});
    if (movement_ != movement) {
        return;
    }
    const bool goesOn = isOutX || isOutY || isMoving(velocity_.x) || isMoving(velocity_.y);
    if (!goesOn) {
        offset_ = place;
        velocity_ = Point2D::kZero;
        setAnimating(false);
        pullBackWanted_ = false;
        if (const auto delegate = delegate_.lock()) {
            delegate->scrollViewDidEndDecelerating(kept);
        }
        if (movement_ != movement) {
            return;
        }
    }
    decelerating_ = goesOn;
    if (!goesOn && pullBackWanted_) {
        pullBackIfIdle();
    }
}

/// One axis of a tick, with the arithmetic kept from leaving the numbers that coordinates can be.
bool MVScrollView::decelerateAxis(double& offset, double& velocity, double milliseconds,
                                  double max) {
    const bool isForward = velocity > 0.0;
    const bool isOut =
        mv_decelerationOffsetTimeIntervalLastUpdateOffsetMinMaxDecelerationFactorDecelerationLnFactorVelocity(
            offset, milliseconds, offset, 0.0, max, static_cast<double>(decelerationRate_),
            static_cast<double>(decelerationLnFactor_), velocity);
    if (isCoordinate(offset) && std::isfinite(velocity)) {
        return isOut;
    }
    offset = isForward && isCoordinate(max) ? std::max(max, 0.0) : 0.0;
    velocity = 0.0;
    return false;
}

bool MVScrollView::
    mv_decelerationOffsetTimeIntervalLastUpdateOffsetMinMaxDecelerationFactorDecelerationLnFactorVelocity(
        double& offset, double timeInterval, double lastUpdateOffset, double min, double max,
        double decelerationFactor, double decelerationLnFactor, double& velocity) {
    const double end = std::max(max, min);
    const double travel = decelerationFactor / (1.0 - decelerationFactor);
    const bool wasInRange = min <= lastUpdateOffset && lastUpdateOffset <= end;
    const bool wasMoving = velocity != 0.0;
    const auto multiplier = static_cast<double>(fastScrollMultiplier_);
    const auto takeFastScrollBack = [this] {
        fastScrollCount_ = 0;
        fastScrollMultiplier_ = 1.0F;
    };

    double remaining = timeInterval;
    if (wasInRange && wasMoving) {
        const auto distance = [&](double time) {
            return (1.0 - pow_approx(time, decelerationLnFactor)) * velocity * travel * multiplier;
        };
        offset += distance(timeInterval);
        // The moment at which the end is reached, as if the way there took place evenly.
        double inRange = timeInterval;
        if (offset < min) {
            inRange = (lastUpdateOffset - min) * timeInterval / (lastUpdateOffset - offset);
        } else if (offset > end) {
            inRange = (end - lastUpdateOffset) * timeInterval / (offset - lastUpdateOffset);
        }
        if (inRange > 0.0) {
            if (inRange != timeInterval) {
                offset = lastUpdateOffset + distance(inRange);
            }
            velocity *= pow_approx(inRange, decelerationLnFactor);
        }
        remaining = timeInterval - inRange;
    }

    if ((!wasInRange || wasMoving) && remaining > 0.0) {
        const double kept = pow_approx(remaining, decelerationLnFactor);
        const double spring = pow_approx(remaining, kSpringLnFactor);
        const double edge = offset < min ? min : end;
        offset -= (1.0 - spring) * (offset - edge);
        offset += (1.0 - kept) * velocity * travel * spring;
        velocity *= kept * spring;
        takeFastScrollBack();
    }

    // Content that has no range rests where it is seen at its origin.
    const bool isOut = (end <= 0.0 && offset >= end + kRestingDistance &&
                        snapped(offset, static_cast<double>(accuracy_)) != 0.0) ||
                       !(min - kRestingDistance <= offset && offset < end + kRestingDistance);
    if (isOut) {
        takeFastScrollBack();
    }
    return isOut;
}
