#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "MivoraMac/platform/gtk/ScrollMomentumPrivate.h"

using Mivora::platform::Point;
using Mivora::platform::ScrollMomentum;

namespace {

constexpr double kFrame = 1.0 / 60.0;

/// Lets it run out at the given steps.
/// @return the way gone
Point runOut(ScrollMomentum& momentum, double step) {
    Point way;
    for (double time = 0; momentum.isMoving(); time += step) {
        const Point gone = momentum.advance(time);
        way = {way.x + gone.x, way.y + gone.y};
    }
    return way;
}

TEST(ScrollMomentumTest, itSlowsDownExponentially) {
    ScrollMomentum momentum;
    ASSERT_TRUE(momentum.begin({0, 1000}, 5));
    double last = momentum.advance(5 + kFrame).y;
    EXPECT_NEAR(last, 1000 * kFrame, 0.03 * 1000 * kFrame);
    for (int i = 2; i < 30; ++i) {
        const double gone = momentum.advance(5 + i * kFrame).y;
        EXPECT_NEAR(gone / last, std::exp(-kFrame / ScrollMomentum::kTimeConstant), 1e-9);
        last = gone;
    }
}

TEST(ScrollMomentumTest, theWayDoesNotDependOnTheFrameRate) {
    ScrollMomentum momentum;
    momentum.begin({300, -400}, 0);
    const Point slow = runOut(momentum, 1.0 / 30.0);
    momentum.begin({300, -400}, 0);
    const Point fast = runOut(momentum, 1.0 / 240.0);
    const double whole = 300 * ScrollMomentum::kTimeConstant;
    EXPECT_NEAR(slow.x, whole, 0.03 * whole);
    EXPECT_NEAR(slow.x, fast.x, 1);
    EXPECT_NEAR(slow.y / slow.x, -4.0 / 3.0, 1e-9) << "it keeps its direction";
}

TEST(ScrollMomentumTest, itEndsOnceItIsSlow) {
    ScrollMomentum momentum;
    momentum.begin({0, 1000}, 0);
    const double end = ScrollMomentum::kTimeConstant * std::log(1000 / ScrollMomentum::kSlowest);
    momentum.advance(end - 0.001);
    EXPECT_TRUE(momentum.isMoving());
    momentum.advance(end + 0.001);
    EXPECT_FALSE(momentum.isMoving());
    EXPECT_EQ(momentum.advance(end + 1), Point());
}

TEST(ScrollMomentumTest, slowAndImpossibleSpeedsDoNotBegin) {
    ScrollMomentum momentum;
    constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    for (const Point velocity :
         {Point{0, 0}, Point{30, 40}, Point{kNaN, 500}, Point{0, kInfinity}}) {
        EXPECT_FALSE(momentum.begin(velocity, 0)) << velocity.x << " " << velocity.y;
        EXPECT_FALSE(momentum.isMoving());
    }
    EXPECT_TRUE(momentum.begin({36, 48}, 0)) << "the speed counts, not its components";
}

TEST(ScrollMomentumTest, nothingIsFasterThanTheFastest) {
    ScrollMomentum momentum;
    momentum.begin({-1e6, 0}, 0);
    EXPECT_NEAR(momentum.advance(1e-6).x, -ScrollMomentum::kFastest * 1e-6, 1e-6);
}

TEST(ScrollMomentumTest, aClockThatRunsBackwardStandsStill) {
    ScrollMomentum momentum;
    momentum.begin({0, 1000}, 10);
    EXPECT_EQ(momentum.advance(9), Point());
    EXPECT_NEAR(momentum.advance(10 + kFrame).y, 16.2, 0.2);
}

TEST(ScrollMomentumTest, itCanBeStopped) {
    ScrollMomentum momentum;
    momentum.begin({0, 1000}, 0);
    momentum.stop();
    EXPECT_FALSE(momentum.isMoving());
    EXPECT_EQ(momentum.advance(1), Point());
}

}  // namespace
