#include <gtest/gtest.h>

#include <string>

#include "MivoraMac/platform/gtk/ScrollTrackerPrivate.h"
#include "tests/platform/gtk/EventText.h"

using Mivora::platform::Event;
using Mivora::platform::Point;
using Mivora::platform::ScrollTracker;
using Mivora::tests::text;

namespace {

constexpr Point kHere = {10, 20};
constexpr double kFrame = 1.0 / 60.0;

/// Fingers scroll ten points a frame down, ten times, and leave at once.
void flick(ScrollTracker& scroll) {
    double time = 100;
    for (int i = 0; i < 10; ++i) {
        scroll.fingers(kHere, {0, 10}, time);
        time += kFrame;
    }
    scroll.stop(kHere, time);
}

TEST(ScrollTrackerTest, aClickOfTheWheelIsOneEventInLinesWithoutAPhase) {
    ScrollTracker scroll;
    const auto events = scroll.wheel(kHere, {0, -1});
    EXPECT_EQ(text(events), "wheel(0,1)") << "upward moves the content down";
    EXPECT_EQ(events[0].phase, Event::PhaseNone);
    EXPECT_EQ(events[0].momentumPhase, Event::PhaseNone);
    EXPECT_EQ(events[0].locationInWindow, kHere);
    EXPECT_EQ(text(scroll.wheel(kHere, {1, 0})), "wheel(-1,0)");
    EXPECT_EQ(text(scroll.wheel(kHere, {0, 0.25})), "wheel(0,-0.25)") << "a wheel of fine steps";
}

TEST(ScrollTrackerTest, whatScrollsByPointsWithoutAnEndHasNoPhase) {
    ScrollTracker scroll;
    EXPECT_EQ(text(scroll.slide(kHere, {3, 4})), "scroll(-3,-4,none)");
}

TEST(ScrollTrackerTest, fingersBeginChangeAndEnd) {
    ScrollTracker scroll;
    EXPECT_EQ(text(scroll.fingers(kHere, {1, 2}, 0)), "scroll(-1,-2,began)");
    EXPECT_EQ(text(scroll.fingers(kHere, {0, 2.5}, 0.01)), "scroll(0,-2.5,changed)");
    EXPECT_EQ(text(scroll.stop(kHere, 1)), "scroll(0,0,ended)");
    EXPECT_EQ(text(scroll.fingers(kHere, {0, 1}, 2)), "scroll(0,-1,began)") << "and begin again";
}

TEST(ScrollTrackerTest, anEndWithoutABeginningIsNoEvent) {
    ScrollTracker scroll;
    EXPECT_EQ(text(scroll.stop(kHere, 0)), "");
    scroll.fingers(kHere, {0, 1}, 0);
    scroll.stop(kHere, 1);
    EXPECT_EQ(text(scroll.stop(kHere, 1)), "");
}

TEST(ScrollTrackerTest, momentumFollowsFingersThatWereMoving) {
    ScrollTracker scroll;
    flick(scroll);
    ASSERT_TRUE(scroll.isMoving());
    auto events = scroll.tick(700);
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].momentumPhase, Event::PhaseBegan);
    EXPECT_EQ(events[0].phase, Event::PhaseNone);
    EXPECT_TRUE(events[0].hasPreciseScrollingDeltas);
    EXPECT_NEAR(events[0].scrollingDeltaY, -10, 0.3) << "as fast as the fingers were";
    EXPECT_EQ(events[0].locationInWindow, kHere);

    double way = events[0].scrollingDeltaY;
    double last = way;
    int frames = 1;
    for (; scroll.isMoving(); ++frames) {
        events = scroll.tick(700 + frames * kFrame);
        ASSERT_FALSE(events.empty());
        EXPECT_EQ(events[0].momentumPhase, Event::PhaseChanged);
        EXPECT_GT(events[0].scrollingDeltaY, last) << "ever slower";
        last = events[0].scrollingDeltaY;
        way += last;
    }
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(text({events[1]}), "momentum(0,0,ended)");
    EXPECT_NEAR(way, -600 * 0.325, 10);
    EXPECT_GT(frames, 30);
    EXPECT_EQ(text(scroll.tick(800)), "");
}

TEST(ScrollTrackerTest, fingersThatRestedLeaveNoMomentum) {
    ScrollTracker scroll;
    scroll.fingers(kHere, {0, 10}, 0);
    scroll.fingers(kHere, {0, 10}, kFrame);
    scroll.stop(kHere, 0.2);
    EXPECT_FALSE(scroll.isMoving());
    EXPECT_EQ(text(scroll.tick(1)), "");
}

TEST(ScrollTrackerTest, oneMoveIsNoSpeed) {
    ScrollTracker scroll;
    scroll.fingers(kHere, {0, 100}, 0);
    scroll.stop(kHere, 0.01);
    EXPECT_FALSE(scroll.isMoving());
}

TEST(ScrollTrackerTest, movesAtTheSameTimeAreNoSpeed) {
    ScrollTracker scroll;
    scroll.fingers(kHere, {0, 100}, 1);
    scroll.fingers(kHere, {0, 100}, 1);
    scroll.stop(kHere, 1);
    EXPECT_FALSE(scroll.isMoving());
}

TEST(ScrollTrackerTest, onlyTheLatestMovesMakeTheSpeed) {
    ScrollTracker scroll;
    double time = 0;
    for (int i = 0; i < 60; ++i) {
        scroll.fingers(kHere, {0, 50}, time += kFrame);
    }
    for (int i = 0; i < 12; ++i) {
        scroll.fingers(kHere, {-5, 0}, time += kFrame);
    }
    scroll.stop(kHere, time + 0.01);
    ASSERT_TRUE(scroll.isMoving());
    const auto events = scroll.tick(kFrame);
    EXPECT_NEAR(events[0].scrollingDeltaX, 5, 0.3);
    EXPECT_EQ(events[0].scrollingDeltaY, 0);
}

TEST(ScrollTrackerTest, aPressStopsTheMomentum) {
    ScrollTracker scroll;
    flick(scroll);
    scroll.tick(kFrame);
    EXPECT_EQ(text(scroll.interrupt(kHere)), "momentum(0,0,cancelled)");
    EXPECT_FALSE(scroll.isMoving());
    EXPECT_EQ(text(scroll.tick(1)), "");
    EXPECT_EQ(text(scroll.interrupt(kHere)), "");
}

TEST(ScrollTrackerTest, momentumThatNobodyHasSeenIsNotCancelled) {
    ScrollTracker scroll;
    flick(scroll);
    EXPECT_EQ(text(scroll.interrupt(kHere)), "");
    EXPECT_EQ(text(scroll.tick(1)), "");
}

TEST(ScrollTrackerTest, anotherScrollStopsTheMomentumFirst) {
    const std::string cancelled = "momentum(0,0,cancelled) ";
    const auto moving = [] {
        ScrollTracker scroll;
        flick(scroll);
        scroll.tick(kFrame);
        return scroll;
    };
    EXPECT_EQ(text(moving().fingers(kHere, {0, 1}, 200)), cancelled + "scroll(0,-1,began)");
    EXPECT_EQ(text(moving().wheel(kHere, {0, 1})), cancelled + "wheel(0,-1)");
    EXPECT_EQ(text(moving().slide(kHere, {0, 1})), cancelled + "scroll(0,-1,none)");
}

TEST(ScrollTrackerTest, aWheelCancelsFingersUnderWay) {
    ScrollTracker scroll;
    scroll.fingers(kHere, {0, 1}, 0);
    EXPECT_EQ(text(scroll.wheel(kHere, {0, 1})), "scroll(0,0,cancelled) wheel(0,-1)");
    EXPECT_EQ(text(scroll.stop(kHere, 1)), "");
}

TEST(ScrollTrackerTest, whereThePointerIsTakenAwayEverythingIsCancelled) {
    ScrollTracker scroll;
    EXPECT_EQ(text(scroll.cancel(kHere)), "");
    scroll.fingers(kHere, {0, 1}, 0);
    EXPECT_EQ(text(scroll.cancel(kHere)), "scroll(0,0,cancelled)");
    EXPECT_EQ(text(scroll.stop(kHere, 0.01)), "");
    flick(scroll);
    scroll.tick(kFrame);
    EXPECT_EQ(text(scroll.cancel(kHere)), "momentum(0,0,cancelled)");
    EXPECT_FALSE(scroll.isMoving());
}

}  // namespace
