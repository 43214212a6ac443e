#include "MivoraMac/input/MVTapGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/platform/base/MVException.h"
#include "tests/input/FingerScene.h"

namespace {

using Mivora::Point3;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Tap = std::shared_ptr<MVTapGestureRecognizer>;

/// Times pass only where a test says so.
class MVTapGestureRecognizerTest : public testing::Test {
 protected:
    Tap attach(const std::string& name, std::size_t taps = 1, std::size_t touches = 1) {
        const Tap tap = scene.attach<MVTapGestureRecognizer>(board, name);
        tap->setNumberOfTapsRequired(taps);
        tap->setNumberOfTouchesRequired(touches);
        return tap;
    }
    void tapAt(float x, float y) {
        scene.land({{1, x, y}});
        scene.lift({1});
    }

    FingerScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<TouchView> board =
        TouchView::add(scene.window, "board", &log, {0, 0}, {400, 300});
    std::shared_ptr<ScriptedAdviser> yes = ScriptedAdviser::saying(true);
};

TEST_F(MVTapGestureRecognizerTest, aFingerThatComesAndLeavesIsATapAndTakenFromTheView) {
    const Tap tap = attach("tap");
    Point3 place = Point3::kNull;
    const auto target = scene.target(tap, "place");
    target->onTold = [&](const auto&) {
        target->lastRecognizer = nullptr;
        place = tap->locationInView(board);
    };
    tapAt(120, 70);
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "tap: ended", "place: ended",
                                 "board.touchesCancelled 1"));
    EXPECT_EQ(place, (Point3{120, 70, 0}));
    EXPECT_FALSE(tap->mv_isTiming());
    runMainLoop();
    EXPECT_TRUE(tap->mv_canRecognize());
    log.clear();
    tapAt(10, 10);
    EXPECT_THAT(log, Contains("tap: ended")) << "and the next";
}

TEST_F(MVTapGestureRecognizerTest, aFingerMayTrembleButNotComeAsFarAsAPan) {
    struct Row {
        float x;
        float y;
        bool isTap;
    };
    for (const Row& row : {Row{9.99F, 0, true}, Row{0, -9.99F, true}, Row{9.9F, 9.9F, true},
                           Row{10, 0, false}, Row{-10, 0, false}, Row{0, 10, false}}) {
        FingerScene other;
        const auto view = TouchView::add(other.window, "view", nullptr, {0, 0}, {400, 300});
        const auto tap = other.attach<MVTapGestureRecognizer>(view, "tap");
        const auto pan = other.attach<MVPanGestureRecognizer>(view, "pan");
        other.land({{1, 64, 64}});
        other.move({{1, 64 + row.x, 64 + row.y}});
        other.lift({1});
        EXPECT_EQ(other.log,
                  row.isTap ? CallLog{"tap: ended"} : (CallLog{"pan: began", "pan: ended"}))
            << row.x << "," << row.y;
    }
}

TEST_F(MVTapGestureRecognizerTest, theWayCountsFromTheLastUpdateToo) {
    attach("tap");
    scene.attach<MVPanGestureRecognizer>(board, "pan");
    scene.land({{1, 64, 64}});
    scene.move({{1, 70, 64}});
    scene.move({{1, 73, 64}});
    scene.lift({1});
    EXPECT_THAT(log, Contains("tap: ended"));
    runMainLoop();
    log.clear();
    scene.land({{1, 64, 64}});
    scene.move({{1, 75, 64}});
    scene.move({{1, 64, 64}});
    scene.lift({1});
    EXPECT_THAT(log, Contains("pan: ended")) << "coming back makes no tap of it";
}

TEST_F(MVTapGestureRecognizerTest, theSlopMayBeAnother) {
    const Tap tap = attach("tap");
    EXPECT_EQ(tap->slop(), MVPanGestureRecognizer::kThreshold);
    tap->setSlop(std::numeric_limits<float>::infinity());
    scene.land({{1, 64, 64}});
    scene.move({{1, 300, 64}});
    scene.lift({1});
    EXPECT_THAT(log, Contains("tap: ended"));
    runMainLoop();
    log.clear();
    tap->setSlop(0);
    tapAt(64, 64);
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed);
}

TEST_F(MVTapGestureRecognizerTest, aFingerThatStaysTooLongIsNoTap) {
    const Tap tap = attach("tap");
    EXPECT_EQ(tap->maximumDuration(), 0.5) << "what hosts without a desktop call a long press";
    scene.land({{1, 64, 64}});
    EXPECT_TRUE(tap->mv_isTiming());
    tap->mv_timeDidPass();
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed);
    scene.lift({1});
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "board.touchesEnded 1"));
    runMainLoop();
    tap->setMaximumDuration(std::numeric_limits<double>::infinity());
    scene.land({{1, 64, 64}});
    EXPECT_FALSE(tap->mv_isTiming());
    scene.lift({1});
    EXPECT_THAT(log, Contains("tap: ended"));
}

TEST_F(MVTapGestureRecognizerTest, theTimePassesOnTheMainLoop) {
    const Tap tap = attach("tap");
    tap->setMaximumDuration(0);
    scene.land({{1, 64, 64}});
    EXPECT_TRUE(Mivora::platform::MainThread::runUntil(
        [&] { return !tap->mv_isTiming() && tap->mv_canRecognize(); }, 10.0));
    scene.lift({1});
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "board.touchesEnded 1"));
}

TEST_F(MVTapGestureRecognizerTest, twoTapsHaveToFollowInTimeAndNearEnough) {
    const Tap twice = attach("twice", 2);
    EXPECT_EQ(twice->maximumInterval(), 0.4);
    tapAt(64, 64);
    EXPECT_THAT(scene.takeLog(), ElementsAre("board.touchesBegan 1", "board.touchesEnded 1"));
    EXPECT_TRUE(twice->mv_isTiming());
    tapAt(90, 64);
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("board.touchesBegan 1", "twice: ended", "board.touchesCancelled 1"));
    runMainLoop();
    tapAt(64, 64);
    twice->mv_timeDidPass();
    EXPECT_EQ(twice->state(), MVGestureRecognizerStateFailed) << "too late";
    runMainLoop();
    tapAt(64, 64);
    scene.land({{1, 105, 64}});
    EXPECT_EQ(twice->state(), MVGestureRecognizerStateFailed) << "too far";
    scene.lift({1});
    runMainLoop();
    log.clear();
    twice->setMaximumDistance(100);
    tapAt(64, 64);
    tapAt(164, 64);
    EXPECT_THAT(log, Contains("twice: ended"));
}

TEST_F(MVTapGestureRecognizerTest, clicksOfAMouseHaveToBeAsNearAsTheDesktopSays) {
    const Tap twice = attach("twice", 2);
    EXPECT_EQ(twice->maximumDistance(), 5);
    const auto click = [&](float x) {
        scene.pointAt(x, 64);
        scene.pointer.press();
        scene.pointer.release();
    };
    click(64);
    click(69);
    EXPECT_THAT(log, Contains("twice: ended"));
    runMainLoop();
    log.clear();
    click(64);
    click(70);
    EXPECT_THAT(log, Not(Contains("twice: ended")));
}

TEST_F(MVTapGestureRecognizerTest, oneTapAndTwoTapsCompeteUnlessOneWaits) {
    const Tap once = attach("once");
    const Tap twice = attach("twice", 2);
    tapAt(64, 64);
    EXPECT_THAT(log, Contains("once: ended"));
    EXPECT_EQ(twice->state(), MVGestureRecognizerStateFailed);
    runMainLoop();
    once->setWaitsFor(twice);
    EXPECT_EQ(once->waitsFor(), twice);
    log.clear();
    tapAt(64, 64);
    EXPECT_TRUE(once->mv_canRecognize()) << "it waits";
    tapAt(64, 64);
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("board.touchesBegan 1", "board.touchesEnded 1", "board.touchesBegan 1",
                            "twice: ended", "board.touchesCancelled 1"));
    EXPECT_EQ(once->state(), MVGestureRecognizerStateFailed);
    runMainLoop();
    tapAt(100, 70);
    log.clear();
    Point3 place = Point3::kNull;
    const auto target = scene.target(once, "place");
    target->onTold = [&](const auto&) {
        target->lastRecognizer = nullptr;
        place = once->locationInView(board);
    };
    twice->mv_timeDidPass();
    EXPECT_THAT(log, ElementsAre("once: ended", "place: ended"));
    EXPECT_EQ(place, (Point3{100, 70, 0})) << "though the finger has long gone";
}

TEST_F(MVTapGestureRecognizerTest, whoWaitsGoesOnWhateverMakesTheOtherFail) {
    const Tap once = attach("once");
    const Tap twice = attach("twice", 2);
    once->setWaitsFor(twice);
    tapAt(64, 64);
    log.clear();
    twice->setEnabled(false);
    EXPECT_TRUE(once->mv_canRecognize());
    runMainLoop();
    EXPECT_THAT(log, ElementsAre("once: ended"));
    log.clear();
    runMainLoop();
    tapAt(64, 64);
    EXPECT_THAT(log, Contains("once: ended")) << "one that is disabled is not waited for";
}

TEST_F(MVTapGestureRecognizerTest, inWhicheverOrderTheyAreAttached) {
    const Tap twice = attach("twice", 2);
    const Tap once = attach("once");
    once->setWaitsFor(twice);
    tapAt(64, 64);
    EXPECT_TRUE(once->mv_canRecognize());
    tapAt(64, 64);
    EXPECT_THAT(log, Contains("twice: ended"));
    EXPECT_THAT(log, Not(Contains("once: ended")));
    runMainLoop();
    log.clear();
    tapAt(64, 64);
    twice->mv_timeDidPass();
    EXPECT_THAT(log, Contains("once: ended"));
}

TEST_F(MVTapGestureRecognizerTest, aRingOfRecognizersThatWaitIsRefused) {
    const Tap a = attach("a");
    const Tap b = attach("b", 2);
    const Tap c = attach("c", 3);
    a->setWaitsFor(b);
    b->setWaitsFor(c);
    EXPECT_THROW(c->setWaitsFor(a), MVException);
    EXPECT_THROW(a->setWaitsFor(a), MVException);
    EXPECT_EQ(c->waitsFor(), nullptr);
    for (int i = 0; i < 2; ++i) {
        tapAt(64, 64);
    }
    log.clear();
    c->mv_timeDidPass();
    EXPECT_THAT(log, ElementsAre("b: ended"));
    a->setWaitsFor(nullptr);
    runMainLoop();
    log.clear();
    tapAt(64, 64);
    EXPECT_THAT(log, Contains("a: ended"));
}

TEST_F(MVTapGestureRecognizerTest, aTapOfTwoFingersNeedsBothAtOnceAndNoMore) {
    const Tap tap = attach("tap", 1, 2);
    scene.land({{1, 64, 64}});
    scene.land({{2, 164, 64}});
    scene.lift({1});
    EXPECT_TRUE(tap->mv_canRecognize());
    scene.lift({2});
    EXPECT_THAT(log, Contains("tap: ended"));
    EXPECT_EQ(tap->locationInView(board), (Point3{114, 64, 0}));
    runMainLoop();
    tapAt(64, 64);
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed) << "one alone";
    runMainLoop();
    scene.land({{1, 64, 64}, {2, 164, 64}, {3, 264, 64}});
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed) << "three";
    scene.lift({1, 2, 3});
    runMainLoop();
    scene.land({{1, 64, 64}, {2, 164, 64}});
    scene.lift({1});
    scene.land({{3, 64, 64}});
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed) << "one comes after another has left";
    scene.lift({2, 3});
}

TEST_F(MVTapGestureRecognizerTest, fingersThatMoveApartAreNoTapThoughTheirMeanRests) {
    const Tap tap = attach("tap", 1, 2);
    scene.land({{1, 64, 64}, {2, 164, 64}});
    scene.move({{1, 55, 64}, {2, 173, 64}});
    EXPECT_TRUE(tap->mv_canRecognize());
    scene.move({{1, 54, 64}, {2, 174, 64}});
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed);
    scene.lift({1, 2});
}

TEST_F(MVTapGestureRecognizerTest, aCancelledFingerIsNoTap) {
    const Tap tap = attach("tap");
    scene.land({{1, 64, 64}});
    scene.fingers.cancel();
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed);
    EXPECT_FALSE(tap->mv_isTiming());
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "board.touchesCancelled 1"));
}

TEST_F(MVTapGestureRecognizerTest, aClickOfAMouseThatTremblesIsATapWhereThereIsNoPan) {
    attach("tap");
    scene.pointAt(200, 150);
    scene.pointer.press();
    scene.pointAt(203, 152);
    scene.pointer.release();
    EXPECT_THAT(scene.takeLog(), Contains("tap: ended"));
    runMainLoop();
    scene.pointer.press();
    scene.pointAt(213, 152);
    scene.pointer.release();
    EXPECT_THAT(log, Not(Contains("tap: ended"))) << "ten points";
}

TEST_F(MVTapGestureRecognizerTest, underAPanAMouseIsTheOneOrTheOtherAsItCounts) {
    attach("tap");
    scene.attach<MVPanGestureRecognizer>(board, "pan");
    for (const bool likeFinger : {false, true}) {
        scene.renderView->mouseToTouchDispatcher()->setMakesFingerTouches(likeFinger);
        scene.pointAt(200, 150);
        scene.pointer.press();
        scene.pointAt(203, 152);
        scene.pointer.release();
        EXPECT_THAT(log, likeFinger ? Contains("tap: ended") : Contains("pan: ended"));
        EXPECT_THAT(log, Not(likeFinger ? Contains("pan: ended") : Contains("tap: ended")));
        runMainLoop();
        log.clear();
    }
}

TEST_F(MVTapGestureRecognizerTest, aRecognizerThatGoesWhileItsTimeRunsIsForgotten) {
    Tap tap = attach("tap", 2);
    tap->setMaximumInterval(0);
    tapAt(64, 64);
    const std::weak_ptr<MVTapGestureRecognizer> weak = tap;
    board->removeAllGestureRecognizers();
    tap.reset();
    EXPECT_TRUE(weak.expired());
    runMainLoop();
}

TEST_F(MVTapGestureRecognizerTest, numbersBelowOneCountAsOne) {
    const Tap tap = attach("tap", 0, 0);
    EXPECT_EQ(tap->numberOfTapsRequired(), 1U);
    EXPECT_EQ(tap->numberOfTouchesRequired(), 1U);
}

}  // namespace
