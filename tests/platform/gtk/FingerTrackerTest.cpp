#include <gtest/gtest.h>

#include "MivoraMac/platform/gtk/FingerTrackerPrivate.h"
#include "tests/platform/gtk/EventText.h"

using Mivora::platform::Event;
using Mivora::platform::FingerTracker;
using Mivora::platform::Point;
using Mivora::tests::text;

namespace {

TEST(FingerTrackerTest, eachFingerHasEventsOfItsOwn) {
    FingerTracker fingers;
    EXPECT_EQ(text(fingers.land(1, {10, 20})), "touches-began[1 10,20]");
    EXPECT_EQ(text(fingers.land(2, {30, 20})), "touches-began[2 30,20]");
    EXPECT_EQ(text(fingers.move(1, {11, 20})), "touches-moved[1 11,20]");
    EXPECT_EQ(text(fingers.lift(1, Point{12, 20})), "touches-ended[1 12,20]");
    EXPECT_FALSE(fingers.isDown(1));
    EXPECT_TRUE(fingers.isDown(2));
    EXPECT_EQ(text(fingers.cancel(2)), "touches-cancelled[2 30,20]");
    EXPECT_FALSE(fingers.isAnyDown());
}

TEST(FingerTrackerTest, anEventIsWhereItsFirstFingerIs) {
    FingerTracker fingers;
    const auto events = fingers.land(1, {10, 20});
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].locationInWindow, (Point{10, 20}));
    EXPECT_FALSE(events[0].touches[0].landing.has_value());
}

TEST(FingerTrackerTest, fingersOfOthersAreLeftAlone) {
    FingerTracker fingers;
    EXPECT_EQ(text(fingers.move(1, {10, 20})), "");
    EXPECT_EQ(text(fingers.lift(1, Point{10, 20})), "");
    EXPECT_EQ(text(fingers.cancel(1)), "");
    EXPECT_EQ(text(fingers.cancelAll()), "");
}

TEST(FingerTrackerTest, aFingerThatIsLiftedSomewhereIsLiftedWhereItWas) {
    FingerTracker fingers;
    fingers.land(1, {10, 20});
    fingers.move(1, {15, 20});
    EXPECT_EQ(text(fingers.lift(1, std::nullopt)), "touches-ended[1 15,20]");
}

TEST(FingerTrackerTest, aFingerThatLandsTwiceWasLost) {
    FingerTracker fingers;
    fingers.land(1, {10, 20});
    EXPECT_EQ(text(fingers.land(1, {50, 20})), "touches-cancelled[1 10,20] touches-began[1 50,20]");
}

TEST(FingerTrackerTest, allAreCancelledTogether) {
    FingerTracker fingers;
    fingers.land(1, {10, 20});
    fingers.land(2, {30, 20});
    EXPECT_EQ(text(fingers.cancelAll()), "touches-cancelled[1 10,20][2 30,20]");
    EXPECT_EQ(text(fingers.cancelAll()), "");
}

}  // namespace
