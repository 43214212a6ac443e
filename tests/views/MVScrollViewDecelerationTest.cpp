#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

#include "MivoraMac/views/MVScrollView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/views/ScrollScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point2D;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

/// What decelerates along one axis.
struct Axis {
    double offset = 0.0;
    double velocity = 0.0;
    double min = 0.0;
    double max = 100.0;
    double factor = 0.998;
    double lnFactor = -0.002001976827159524;
    double multiplier = 1.0;
    double accuracy = 1.0;
};

double exponential(double time, double rate) {
    const double product = time * rate;
    if (product < -0.5) {
        return std::exp(product);
    }
    return 1.0 + product + product * product / 2.0;
}

/// How far a velocity carries.
double carried(const Axis& axis, double velocity, double time) {
    return (1.0 - exponential(time, axis.lnFactor)) * velocity * axis.factor / (1.0 - axis.factor);
}

/// The deceleration of one axis as its description reads, step by step, by itself.
/// @return whether the axis is out of its resting range
bool referenceStep(Axis& axis, double time) {
    const double end = axis.max > axis.min ? axis.max : axis.min;
    const double from = axis.offset;
    const double speed = axis.velocity;
    const bool inside = from >= axis.min && from <= end;

    double left = time;
    if (inside && speed != 0.0) {
        axis.offset = from + carried(axis, speed, time) * axis.multiplier;
        double until = time;
        if (axis.offset < axis.min) {
            until = (from - axis.min) / (from - axis.offset) * time;
        } else if (axis.offset > end) {
            until = (end - from) / (axis.offset - from) * time;
        }
        if (until > 0.0) {
            if (until != time) {
                axis.offset = from + carried(axis, speed, until) * axis.multiplier;
            }
            axis.velocity = speed * exponential(until, axis.lnFactor);
        }
        left = time - until;
    }
    if (left > 0.0 && (!inside || speed != 0.0)) {
        const double spring = exponential(left, -0.01005);
        const double edge = axis.offset < axis.min ? axis.min : end;
        axis.offset = edge + (axis.offset - edge) * spring;
        axis.offset += carried(axis, axis.velocity, left) * spring;
        axis.velocity *= exponential(left, axis.lnFactor) * spring;
    }
    if (end <= 0.0 && axis.offset >= end + 0.5) {
        const double whole = std::floor(axis.offset);
        const double snapped =
            axis.accuracy == 1.0
                ? std::round(axis.offset)
                : whole + std::round((axis.offset - whole) * axis.accuracy) / axis.accuracy;
        if (snapped != 0.0) {
            return true;
        }
    }
    return axis.offset < axis.min - 0.5 || axis.offset >= end + 0.5;
}

bool step(MVScrollView& view, Axis& axis, double time) {
    return view
        .mv_decelerationOffsetTimeIntervalLastUpdateOffsetMinMaxDecelerationFactorDecelerationLnFactorVelocity(
            axis.offset, time, axis.offset, axis.min, axis.max, axis.factor, axis.lnFactor,
            axis.velocity);
}

TEST(MVScrollViewDecelerationTest, decelerationIsWhatTheFormulasSay) {
    // Both are in double precision; they differ in the order of operations. Quotients of
    // differences of offsets, and velocities carried some hundred times their size, cost up to
    // five of its sixteen digits.
    constexpr double kTolerance = 1e-10;
    std::mt19937_64 random(20231);
    const auto between = [&random](double low, double high) {
        return std::uniform_real_distribution<double>(low, high)(random);
    };
    const auto view = MVScrollView::init();
    int outOfRange = 0;
    int crossings = 0;
    for (int i = 0; i < 10000; ++i) {
        Axis axis;
        axis.min = i % 5 == 0 ? between(-100.0, 100.0) : 0.0;
        axis.max = i % 7 == 0 ? between(-500.0, 0.0) : axis.min + between(0.0, 3000.0);
        const double end = std::max(axis.max, axis.min);
        axis.offset = i % 3 == 0 ? between(axis.min, end) : between(axis.min - 400.0, end + 400.0);
        axis.velocity = i % 11 == 0 ? 0.0 : between(-1.0, 1.0) * std::pow(10.0, between(-3.0, 1.5));
        axis.factor = between(0.9, 0.9999);
        axis.lnFactor = i % 2 == 0 ? std::log(0.998) : std::log(axis.factor);
        const double time = i % 13 == 0 ? 0.0 : between(0.0, 120.0);
        Axis expected = axis;
        const bool wasInside = axis.offset >= axis.min && axis.offset <= end;
        const bool expectedOut = referenceStep(expected, time);
        // Where the result hangs on the last digit, either answer will do.
        const auto isAt = [&](double limit) { return std::abs(expected.offset - limit) < 1e-6; };
        const bool out = step(*view, axis, time);
        const double magnitude = std::max({1.0, std::abs(expected.offset), std::abs(end)});
        ASSERT_NEAR(axis.offset, expected.offset, kTolerance * magnitude) << "state " << i;
        ASSERT_NEAR(axis.velocity, expected.velocity,
                    kTolerance * std::max(1.0, std::abs(expected.velocity)))
            << "state " << i;
        if (!isAt(axis.min - 0.5) && !isAt(end + 0.5)) {
            ASSERT_EQ(out, expectedOut) << "state " << i;
        }
        outOfRange += out ? 1 : 0;
        crossings += wasInside && out ? 1 : 0;
    }
    EXPECT_GT(outOfRange, 1000);
    EXPECT_GT(crossings, 200);
}

TEST(MVScrollViewDecelerationTest, aGlideWithinTheRangeCoversItsDistance) {
    const auto view = MVScrollView::init();
    Axis axis = {.offset = 100.0, .velocity = 1.0, .max = 1000.0};
    EXPECT_FALSE(step(*view, axis, 16.0));
    const double rate = 1.0 + 16.0 * axis.lnFactor + std::pow(16.0 * axis.lnFactor, 2) / 2.0;
    EXPECT_NEAR(axis.offset, 100.0 + (1.0 - rate) * 0.998 / 0.002, 1e-9);
    EXPECT_NEAR(axis.velocity, rate, 1e-12);
}

TEST(MVScrollViewDecelerationTest, theMultiplierScalesGlidesWithinTheRangeOnly) {
    const auto view = MVScrollView::init();
    Axis plain = {.offset = 100.0, .velocity = 1.0, .max = 1000.0};
    step(*view, plain, 16.0);
    view->setMv_fastScrollMultiplier(3.0F);
    view->setMv_fastScrollCount(7);
    Axis fast = {.offset = 100.0, .velocity = 1.0, .max = 1000.0};
    EXPECT_FALSE(step(*view, fast, 16.0));
    EXPECT_NEAR(fast.offset - 100.0, 3.0 * (plain.offset - 100.0), 1e-9);
    EXPECT_EQ(fast.velocity, plain.velocity);
    EXPECT_EQ(view->mv_fastScrollMultiplier(), 3.0F) << "a glide leaves both as they are";
    EXPECT_EQ(view->mv_fastScrollCount(), 7);

    Axis outside = {.offset = -50.0, .velocity = 1.0, .max = 1000.0};
    Axis sameOutside = outside;
    referenceStep(sameOutside, 16.0);
    step(*view, outside, 16.0);
    EXPECT_NEAR(outside.offset, sameOutside.offset, 1e-9);
}

TEST(MVScrollViewDecelerationTest, theFastScrollCountIsOnlyEverTakenBack) {
    const auto view = MVScrollView::init();
    const auto expectTakenBack = [&](Axis axis, double time, const char* when) {
        view->setMv_fastScrollMultiplier(2.0F);
        view->setMv_fastScrollCount(5);
        step(*view, axis, time);
        EXPECT_EQ(view->mv_fastScrollCount(), 0) << when;
        EXPECT_EQ(view->mv_fastScrollMultiplier(), 1.0F) << when;
    };
    expectTakenBack({.offset = 99.0, .velocity = 5.0}, 16.0, "leaving the range");
    expectTakenBack({.offset = -0.4}, 16.0, "springing back");
    expectTakenBack({.offset = 150.0}, 0.0, "out of range, without time");
    for (int i = 0; i < 1000; ++i) {
        Axis axis = {.offset = 50.0, .velocity = 0.01 * i};
        step(*view, axis, 16.0);
        EXPECT_EQ(view->mv_fastScrollCount(), 0);
        EXPECT_EQ(view->mv_fastScrollMultiplier(), 1.0F);
    }
}

TEST(MVScrollViewDecelerationTest, anAxisAtRestInItsRangeStays) {
    const auto view = MVScrollView::init();
    for (const double offset : {0.0, 50.0, 100.0}) {
        Axis axis = {.offset = offset};
        EXPECT_FALSE(step(*view, axis, 16.0));
        EXPECT_EQ(axis.offset, offset);
        EXPECT_EQ(axis.velocity, 0.0);
    }
}

TEST(MVScrollViewDecelerationTest, anAxisIsOutFromHalfAPointBeyondItsRange) {
    const auto view = MVScrollView::init();
    const auto isOut = [&](double offset, double max) {
        Axis axis = {.offset = offset, .max = max};
        return step(*view, axis, 0.0);
    };
    EXPECT_FALSE(isOut(-0.5, 100.0));
    EXPECT_TRUE(isOut(-0.50001, 100.0));
    EXPECT_FALSE(isOut(100.49999, 100.0));
    EXPECT_TRUE(isOut(100.5, 100.0));
    EXPECT_FALSE(isOut(0.49999, -30.0)) << "a maximum below the minimum counts as that";
    EXPECT_TRUE(isOut(0.5, -30.0));
}

TEST(MVScrollViewDecelerationTest, contentWithoutARangeIsJudgedByItsSnappedPlace) {
    const auto view = MVScrollView::init();
    const auto isOut = [&](double offset, float accuracy) {
        view->setMv_accuracy(accuracy);
        Axis axis = {.offset = offset, .max = 0.0};
        const bool out = step(*view, axis, 0.0);
        EXPECT_EQ(axis.offset, offset) << "the place itself is not snapped";
        return out;
    };
    EXPECT_TRUE(isOut(0.5, 1.0F));
    EXPECT_TRUE(isOut(0.5, 4.0F));
    EXPECT_TRUE(isOut(0.5, 0.25F)) << "snapped to 0, it is still half a point out";
    EXPECT_TRUE(isOut(7.3, 2.0F));
    EXPECT_FALSE(isOut(0.49, 4.0F));
}

TEST(MVScrollViewDecelerationTest, contentSpringsBackToItsEndAtTheSpringsRate) {
    const ScrollScene scene({100.0F, 50.0F});
    scene.view->setContentScaleFactor(1000.0F);  // so that rounding to pixels does not show
    scene.view->setContentOffset({-50.0F, 0.0F});
    EXPECT_TRUE(scene.view->animating());
    EXPECT_TRUE(scene.view->isDecelerating());
    const double milliseconds = 1000.0 * static_cast<double>(1.0F / 60.0F);
    // E^(-0.01005 t) by the first terms of its series, which is 0.07% more for a frame.
    const double ratio =
        1.0 - 0.01005 * milliseconds + 0.0001010025 * std::pow(milliseconds, 2) / 2;
    EXPECT_NEAR(ratio, std::exp(-0.01005 * milliseconds), 1e-3);
    double expected = 50.0;
    int ticks = 0;
    while (expected >= 0.5) {
        ASSERT_TRUE(scene.view->animating());
        scene.tick();
        ++ticks;
        expected *= ratio;
        ASSERT_NEAR(scene.view->contentOffset().x, -expected, 1e-3);
    }
    EXPECT_FALSE(scene.view->animating()) << "within half a point of the range";
    EXPECT_FALSE(scene.view->isDecelerating());
    EXPECT_EQ(ticks, 28);
    EXPECT_EQ(scene.view->contentOffset().y, 0.0F);
}

TEST(MVScrollViewDecelerationTest, contentRestsWhereItsPixelsAre) {
    const ScrollScene scene({100.0F, 50.0F});
    scene.view->setContentOffset({-50.0F, 0.0F});
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
    EXPECT_EQ(scene.view->mv_offset(), Point2D::kZero);
    EXPECT_EQ(scene.view->mv_velocity(), Point2D::kZero);
}

TEST(MVScrollViewDecelerationTest, bothComponentsOfAVelocityMustMove) {
    const ScrollScene scene;
    scene.view->setContentOffset({-100.0F, -100.0F});
    for (const Point2D still : {Point2D{5.0, 0.0}, Point2D{0.0, 5.0}, Point2D{5.0, 0.01},
                                Point2D{-0.01, -5.0}, Point2D::kZero}) {
        scene.view->mv_decelerateIfNeededWithVelocityWasDragging(still, false);
        EXPECT_FALSE(scene.view->isDecelerating());
        EXPECT_FALSE(scene.view->animating());
        EXPECT_EQ(scene.view->mv_velocity(), still) << "kept, without effect";
    }
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.011, -0.011}, false);
    EXPECT_TRUE(scene.view->isDecelerating());
    EXPECT_TRUE(scene.view->animating());
}

TEST(MVScrollViewDecelerationTest, aGlideRunsOutWithinTheRange) {
    const ScrollScene scene;
    scene.view->setContentOffset({-100.0F, -300.0F});
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.1, 0.5}, true);
    const int ticks = scene.settle();
    // All of v f / (1 - f) but for the fiftieth of v that is left when the faster axis comes to
    // rest.
    EXPECT_NEAR(scene.view->contentOffset().x, -100.0F - 0.098F * 499.0F, 1.0F);
    EXPECT_NEAR(scene.view->contentOffset().y, -300.0F - 0.49F * 499.0F, 1.5F);
    // From 0.5 to 0.01 at ln 0.998 a millisecond.
    EXPECT_NEAR(ticks, std::log(0.01 / 0.5) / std::log(0.998) / (1000.0 / 60.0), 2.0);
}

TEST(MVScrollViewDecelerationTest, aGlideBeyondTheEndComesBack) {
    const ScrollScene scene;
    scene.view->setContentOffset({-250.0F, -850.0F});
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({2.0, 3.0}, true);
    float furthest = 0.0F;
    while (scene.view->animating()) {
        scene.tick();
        furthest = std::min(furthest, scene.view->contentOffset().y);
    }
    EXPECT_LT(furthest, -905.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -900.0F}));
}

TEST(MVScrollViewDecelerationTest, aChangedRateChangesTheDistanceButNotTheDecay) {
    const ScrollScene scene;
    scene.view->setContentOffset({-10.0F, -10.0F});
    scene.view->setDecelerationRate(0.99F);
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({1.0, 1.0}, false);
    scene.tick();
    const double time = 1000.0 * static_cast<double>(1.0F / 60.0F);
    const double kept = exponential(time, std::log(0.998));
    EXPECT_NEAR(scene.view->mv_velocity().x, kept, 1e-6);
    EXPECT_NEAR(scene.view->mv_offset().x, 10.0 + (1.0 - kept) * 0.99 / 0.01, 1e-4);
}

TEST(MVScrollViewDecelerationTest, withoutAnActiveClockNothingAnimates) {
    ScrollScene scene;
    scene.clock.reset();
    ASSERT_EQ(MVAnimationClock::activeClock(), nullptr);
    scene.view->setContentOffset({0.0F, 50.0F});
    EXPECT_FALSE(scene.view->animating());
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, 50.0F}));
    scene.clock = MVAnimationClock::init();
    MVAnimationClock::mv_setActiveClock(scene.clock);
    scene.view->setAnimating(true);
    EXPECT_TRUE(scene.view->animating());
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
}

TEST(MVScrollViewDecelerationTest, theClockIsThatWhichWasActiveAtFirst) {
    const ScrollScene scene;
    scene.view->setAnimating(true);
    scene.view->setAnimating(false);
    const auto other = MVAnimationClock::init();
    MVAnimationClock::mv_setActiveClock(other);
    scene.view->setContentOffset({0.0F, 50.0F});
    other->tickVideoSync(1.0, 0.0);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, 50.0F}));
    scene.tick();
    EXPECT_LT(scene.view->contentOffset().y, 50.0F);
}

TEST(MVScrollViewDecelerationTest, aViewInAnotherWindowTakesTheClockThatIsActiveThen) {
    const ScrollScene scene;
    const auto window = MVWindow::init();
    window->addSubview(scene.view);
    scene.view->setContentOffset({0.0F, 50.0F});
    scene.settle();
    const auto other = MVAnimationClock::init();
    MVAnimationClock::mv_setActiveClock(other);
    const auto otherWindow = MVWindow::init();
    otherWindow->addSubview(scene.view);
    scene.view->setContentOffset({0.0F, 50.0F});
    other->tickVideoSync(1.0 / 60.0, 0.0);
    EXPECT_LT(scene.view->contentOffset().y, 50.0F);
}

TEST(MVScrollViewDecelerationTest, aClockThatHasGoneIsReplacedByTheActiveOne) {
    ScrollScene scene;
    scene.view->setContentOffset({0.0F, 50.0F});
    scene.clock = MVAnimationClock::init();
    MVAnimationClock::mv_setActiveClock(scene.clock);
    scene.view->setAnimating(true);
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
}

TEST(MVScrollViewDecelerationTest, aViewThatIsDroppedWhileItAnimatesIsTickedNoMore) {
    ScrollScene scene;
    scene.view->setContentOffset({0.0F, 50.0F});
    const std::weak_ptr<MVScrollView> weak = scene.view;
    scene.view.reset();
    EXPECT_TRUE(weak.expired());
    scene.tick();
}

TEST(MVScrollViewDecelerationTest, contentThatShrinksDuringAGlideIsPulledBack) {
    const ScrollScene scene;
    scene.view->setContentOffset({-200.0F, -500.0F});
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.1, 0.1}, false);
    scene.tick();
    scene.view->contentView()->setSize({300.0F, 200.0F});
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-100.0F, -100.0F}));
}

TEST(MVScrollViewDecelerationTest, numbersThatLeaveArithmeticComeToRestAtAnEnd) {
    const auto rests = [](Point2D velocity, float rate, Point2 expected) {
        const ScrollScene scene;
        scene.view->setContentOffset({-100.0F, -100.0F});
        scene.view->setDecelerationRate(rate);
        scene.view->mv_decelerateIfNeededWithVelocityWasDragging(velocity, false);
        EXPECT_LT(scene.settle(), 5000);
        EXPECT_EQ(scene.view->contentOffset(), expected);
    };
    const float nan = std::numeric_limits<float>::quiet_NaN();
    rests({1.0, 1.0}, 1.0F, {-300.0F, -900.0F});
    rests({-1.0, 1.0}, nan, {0.0F, -900.0F});
    rests({kNaN, kNaN}, 0.998F, {-100.0F, -100.0F});
    rests({kInfinity, 1.0}, 0.998F, {-100.0F, -100.0F});
    rests({1e308, -1e308}, 0.998F, {-300.0F, 0.0F});
    rests({1e30, 1e30}, 0.998F, {-300.0F, -900.0F});
    rests({1.0, 1.0}, 1.5F, {-97.0F, -97.0F});
}

TEST(MVScrollViewDecelerationTest, stepsThatAreNoTimesDoNoHarm) {
    const ScrollScene scene;
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({1.0, 1.0}, false);
    for (const double step : {0.0, -1.0, kNaN, kInfinity, 1e300}) {
        scene.clock->tickVideoSync(step, 0.0);
        EXPECT_TRUE(std::isfinite(scene.view->contentOffset().x)) << step;
    }
    EXPECT_LT(scene.settle(), 5000);
}

}  // namespace
