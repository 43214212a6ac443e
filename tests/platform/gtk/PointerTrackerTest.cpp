#include <gtest/gtest.h>

#include "MivoraMac/platform/gtk/PointerTrackerPrivate.h"
#include "tests/platform/gtk/EventText.h"

using Mivora::platform::Point;
using Mivora::platform::PointerTracker;
using Mivora::tests::text;

namespace {

constexpr auto kPrimary = PointerTracker::Button::Primary;
constexpr auto kSecondary = PointerTracker::Button::Secondary;
constexpr auto kMiddle = PointerTracker::Button::Middle;

TEST(PointerTrackerTest, thePointerEntersMovesAndLeaves) {
    PointerTracker pointer;
    EXPECT_EQ(text(pointer.enter({1, 2})), "entered");
    EXPECT_EQ(text(pointer.move({3, 4})), "moved");
    EXPECT_EQ(pointer.location(), (Point{3, 4}));
    EXPECT_EQ(text(pointer.leave()), "exited");
}

TEST(PointerTrackerTest, eventsSayWhereThePointerIs) {
    PointerTracker pointer;
    EXPECT_EQ(pointer.enter({1, 2})[0].locationInWindow, (Point{1, 2}));
    EXPECT_EQ(pointer.move({3, 4})[0].locationInWindow, (Point{3, 4}));
    EXPECT_EQ(pointer.press(kPrimary, {5, 6}, 1)[0].locationInWindow, (Point{5, 6}));
    EXPECT_EQ(pointer.release(kPrimary, {7, 8})[0].locationInWindow, (Point{7, 8}));
    EXPECT_EQ(pointer.leave()[0].locationInWindow, (Point{7, 8}));
}

TEST(PointerTrackerTest, enteringAndLeavingTwiceIsToldOnce) {
    PointerTracker pointer;
    EXPECT_EQ(text(pointer.leave()), "");
    pointer.enter({1, 1});
    EXPECT_EQ(text(pointer.enter({1, 1})), "");
    pointer.leave();
    EXPECT_EQ(text(pointer.leave()), "");
}

TEST(PointerTrackerTest, aMoveWithoutAnEntryEnters) {
    PointerTracker pointer;
    EXPECT_EQ(text(pointer.move({1, 1})), "entered");
    EXPECT_EQ(text(pointer.move({2, 1})), "moved");
}

TEST(PointerTrackerTest, whileAButtonIsHeldMovesAreDrags) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    EXPECT_EQ(text(pointer.press(kPrimary, {1, 1}, 2)), "down(2)");
    EXPECT_EQ(text(pointer.move({500, -20})), "dragged");
    EXPECT_EQ(text(pointer.release(kPrimary, {500, -20})), "up(2)");
    EXPECT_EQ(text(pointer.move({2, 2})), "moved");
}

TEST(PointerTrackerTest, bothButtonsDragTogether) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    pointer.press(kPrimary, {1, 1}, 1);
    EXPECT_EQ(text(pointer.press(kSecondary, {1, 1}, 1)), "right-down(1)");
    EXPECT_EQ(text(pointer.move({2, 2})), "dragged right-dragged");
    EXPECT_EQ(text(pointer.release(kPrimary, {2, 2})), "up(1)");
    EXPECT_EQ(text(pointer.move({3, 3})), "right-dragged");
    EXPECT_EQ(text(pointer.release(kSecondary, {3, 3})), "right-up(1)");
}

TEST(PointerTrackerTest, theMiddleButtonIsOneOfItsOwn) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    EXPECT_EQ(text(pointer.press(kMiddle, {1, 1}, 2)), "middle-down(2)");
    EXPECT_TRUE(pointer.isAnyHeld());
    EXPECT_FALSE(pointer.isHeld(kSecondary));
    EXPECT_EQ(text(pointer.move({2, 2})), "middle-dragged");
    pointer.press(kPrimary, {2, 2}, 1);
    pointer.press(kSecondary, {2, 2}, 1);
    EXPECT_EQ(text(pointer.move({3, 2})), "dragged right-dragged middle-dragged");
    EXPECT_EQ(text(pointer.release(kMiddle, {3, 2})), "middle-up(2)");
    pointer.press(kMiddle, {3, 2}, 1);
    EXPECT_EQ(text(pointer.cancel()), "exited up(1) right-up(1) middle-up(1)");
}

TEST(PointerTrackerTest, whoDragsOutLeavesAfterTheLastRelease) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    pointer.press(kPrimary, {1, 1}, 1);
    pointer.press(kSecondary, {1, 1}, 1);
    EXPECT_EQ(text(pointer.leave()), "");
    EXPECT_EQ(text(pointer.release(kPrimary, {-5, 1})), "up(1)");
    EXPECT_EQ(text(pointer.release(kSecondary, {-5, 1})), "right-up(1) exited");
    EXPECT_EQ(text(pointer.leave()), "");
}

TEST(PointerTrackerTest, whoDragsOutAndBackInStays) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    pointer.press(kPrimary, {1, 1}, 1);
    pointer.leave();
    EXPECT_EQ(text(pointer.enter({1, 1})), "");
    EXPECT_EQ(text(pointer.release(kPrimary, {1, 1})), "up(1)");
    EXPECT_EQ(text(pointer.leave()), "exited");
}

TEST(PointerTrackerTest, aReleaseThatComesBeforeTheLeaveIsFollowedByIt) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    pointer.press(kPrimary, {1, 1}, 1);
    EXPECT_EQ(text(pointer.release(kPrimary, {-5, 1})), "up(1)");
    EXPECT_EQ(text(pointer.leave()), "exited");
}

TEST(PointerTrackerTest, pressesOfHeldAndReleasesOfFreeButtonsAreLeftOut) {
    PointerTracker pointer;
    EXPECT_EQ(text(pointer.release(kPrimary, {1, 1})), "");
    pointer.press(kPrimary, {1, 1}, 1);
    EXPECT_EQ(text(pointer.press(kPrimary, {1, 1}, 2)), "");
    EXPECT_EQ(text(pointer.release(kSecondary, {1, 1})), "");
}

TEST(PointerTrackerTest, cancellingLeavesFirstAndThenLetsGoOfEveryButton) {
    PointerTracker pointer;
    pointer.enter({1, 1});
    pointer.press(kPrimary, {1, 1}, 1);
    pointer.press(kSecondary, {1, 1}, 3);
    EXPECT_EQ(text(pointer.cancel()), "exited up(1) right-up(3)");
    EXPECT_FALSE(pointer.isAnyHeld());
    EXPECT_EQ(text(pointer.release(kPrimary, {1, 1})), "") << "the release that comes after all";
    EXPECT_EQ(text(pointer.cancel()), "");
    EXPECT_EQ(text(pointer.move({2, 2})), "entered");
}

TEST(PointerTrackerTest, aTouchPressesWithoutHavingEntered) {
    PointerTracker pointer;
    EXPECT_EQ(text(pointer.press(kPrimary, {1, 1}, 1)), "down(1)");
    EXPECT_EQ(text(pointer.move({2, 2})), "dragged");
    EXPECT_EQ(text(pointer.release(kPrimary, {2, 2})), "up(1)");
    EXPECT_EQ(text(pointer.leave()), "");
}

TEST(PointerTrackerTest, aCancelledTouchLeavesBeforeItLetsGo) {
    PointerTracker pointer;
    pointer.press(kPrimary, {1, 1}, 1);
    EXPECT_EQ(text(pointer.cancel()), "exited up(1)");
    EXPECT_EQ(text(pointer.cancel()), "");
    EXPECT_EQ(text(pointer.move({2, 2})), "entered");
}

}  // namespace
