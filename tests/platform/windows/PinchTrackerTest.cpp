#include "MivoraMac/platform/windows/PinchTracker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace {

using Mivora::platform::Event;
using Mivora::platform::PinchTracker;
using Mivora::platform::Point;

constexpr double kQuarter = std::numbers::pi / 2;

/// The only event there is.
Event only(const PinchTracker::Events& events) {
    EXPECT_EQ(events.size(), 1U);
    return events.empty() ? Event() : events.front();
}

void expectAt(const Event& event, Point first, Point second) {
    ASSERT_EQ(event.touches.size(), 2U);
    EXPECT_NEAR(event.touches[0].location.x, first.x, 1e-9);
    EXPECT_NEAR(event.touches[0].location.y, first.y, 1e-9);
    EXPECT_NEAR(event.touches[1].location.x, second.x, 1e-9);
    EXPECT_NEAR(event.touches[1].location.y, second.y, 1e-9);
    EXPECT_EQ(event.locationInWindow, event.touches[0].location);
}

TEST(PinchTrackerTest, twoFingersLandBesideThePointerOnWhatIsUnderIt) {
    PinchTracker pinch;
    const Event event = only(pinch.begin({300, 200}));
    EXPECT_EQ(event.type, Event::Type::TouchesBegan);
    expectAt(event, {200, 200}, {400, 200});
    EXPECT_EQ(event.touches[0].landing, (Point{300, 200}));
    EXPECT_EQ(event.touches[1].landing, (Point{300, 200}));
    EXPECT_NE(event.touches[0].identifier, event.touches[1].identifier);
    EXPECT_TRUE(pinch.isActive());
}

TEST(PinchTrackerTest, scalesAreThoseSinceTheBeginTurnsAndStepsAddUp) {
    PinchTracker pinch;
    pinch.begin({300, 200});
    const Event wider = only(pinch.update(2, 0, {}));
    EXPECT_EQ(wider.type, Event::Type::TouchesMoved);
    expectAt(wider, {100, 200}, {500, 200});
    expectAt(only(pinch.update(0.5, 0, {10, 20})), {260, 220}, {360, 220});
    expectAt(only(pinch.update(1, kQuarter, {-10, -20})), {300, 300}, {300, 100});
    expectAt(only(pinch.update(1, kQuarter, {})), {400, 200}, {200, 200});
    const Event end = only(pinch.end());
    EXPECT_EQ(end.type, Event::Type::TouchesEnded);
    expectAt(end, {400, 200}, {200, 200});
}

TEST(PinchTrackerTest, aClockwiseTurnTakesTheRightFingerDown) {
    PinchTracker pinch;
    pinch.begin({0, 0});
    expectAt(only(pinch.update(1, kQuarter, {})), {0, 100}, {0, -100});
}

TEST(PinchTrackerTest, everyGestureStartsAnew) {
    PinchTracker pinch;
    pinch.begin({300, 200});
    pinch.update(2, 1, {5, 5});
    EXPECT_EQ(only(pinch.cancel()).type, Event::Type::TouchesCancelled);
    EXPECT_FALSE(pinch.isActive());
    expectAt(only(pinch.begin({0, 0})), {-100, 0}, {100, 0});
}

TEST(PinchTrackerTest, aGestureThatBeginsDuringAnotherCancelsThatOne) {
    PinchTracker pinch;
    pinch.begin({300, 200});
    const auto events = pinch.begin({0, 0});
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].type, Event::Type::TouchesCancelled);
    EXPECT_EQ(events[1].type, Event::Type::TouchesBegan);
}

TEST(PinchTrackerTest, withoutAGestureNothingMovesOrEnds) {
    PinchTracker pinch;
    EXPECT_TRUE(pinch.update(2, 1, {1, 1}).empty());
    EXPECT_TRUE(pinch.end().empty());
    EXPECT_TRUE(pinch.cancel().empty());
}

TEST(PinchTrackerTest, whatIsNoNumberIsLeftOut) {
    PinchTracker pinch;
    pinch.begin({0, 0});
    const double no = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double scale : {no, infinite, 0.0, -1.0}) {
        expectAt(only(pinch.update(scale, infinite, {no, infinite})), {-100, 0}, {100, 0});
    }
}

}  // namespace
