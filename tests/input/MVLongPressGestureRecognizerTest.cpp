#include "MivoraMac/input/MVLongPressGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/input/MVTapGestureRecognizer.h"
#include "tests/input/FingerScene.h"

namespace {

using Mivora::Point3;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Press = std::shared_ptr<MVLongPressGestureRecognizer>;

/// Times pass only where a test says so.
class MVLongPressGestureRecognizerTest : public testing::Test {
 protected:
    FingerScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<TouchView> board =
        TouchView::add(scene.window, "board", &log, {0, 0}, {400, 300});
    Press press = scene.attach<MVLongPressGestureRecognizer>(board, "press");
};

TEST_F(MVLongPressGestureRecognizerTest, itBeginsByItselfAndMayTurnIntoADrag) {
    EXPECT_EQ(press->minimumDuration(), 0.5);
    scene.land({{1, 100, 100}});
    scene.move({{1, 105, 100}});
    EXPECT_TRUE(press->mv_isTiming());
    log.clear();
    press->mv_timeDidPass();
    EXPECT_THAT(scene.takeLog(), ElementsAre("press: began", "board.touchesCancelled 1"));
    EXPECT_EQ(press->locationInView(board), (Point3{105, 100, 0}));
    scene.move({{1, 300, 200}});
    EXPECT_EQ(press->locationInView(board), (Point3{300, 200, 0}));
    scene.lift({1});
    EXPECT_THAT(log, ElementsAre("press: changed", "press: ended"));
    runMainLoop();
    EXPECT_TRUE(press->mv_canRecognize());
    EXPECT_THAT(press->touches(), IsEmpty());
}

TEST_F(MVLongPressGestureRecognizerTest, theTimePassesOnTheMainLoop) {
    press->setMinimumDuration(0);
    scene.land({{1, 100, 100}});
    EXPECT_TRUE(Mivora::platform::MainThread::runUntil(
        [&] { return press->state() == MVGestureRecognizerStateBegan; }, 10.0));
    EXPECT_THAT(log, Contains("press: began"));
    scene.lift({1});
}

TEST_F(MVLongPressGestureRecognizerTest, whoMovesOrLeavesBeforeHasNotPressed) {
    scene.land({{1, 100, 100}});
    scene.move({{1, 110, 100}});
    EXPECT_EQ(press->state(), MVGestureRecognizerStateFailed);
    EXPECT_FALSE(press->mv_isTiming());
    scene.lift({1});
    runMainLoop();
    scene.land({{1, 100, 100}});
    scene.lift({1});
    EXPECT_EQ(press->state(), MVGestureRecognizerStateFailed);
    runMainLoop();
    scene.land({{1, 100, 100}});
    scene.fingers.cancel();
    EXPECT_EQ(press->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(log, Not(Contains("press: began")));
}

TEST_F(MVLongPressGestureRecognizerTest, aCancelledPressIsCancelled) {
    scene.land({{1, 100, 100}});
    press->mv_timeDidPass();
    scene.fingers.cancel();
    EXPECT_EQ(log.back(), "press: cancelled");
}

TEST_F(MVLongPressGestureRecognizerTest, ofAPressAndATapOneAndOnlyOneRecognizes) {
    const auto tap = scene.attach<MVTapGestureRecognizer>(board, "tap");
    EXPECT_EQ(tap->maximumDuration(), press->minimumDuration());
    tap->setMaximumDuration(1000);
    scene.land({{1, 100, 100}});
    press->mv_timeDidPass();
    EXPECT_EQ(tap->state(), MVGestureRecognizerStateFailed) << "even if it had more time";
    scene.lift({1});
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "press: began", "board.touchesCancelled 1",
                                 "press: ended"));
    runMainLoop();
    log.clear();
    scene.land({{1, 100, 100}});
    scene.lift({1});
    EXPECT_THAT(log, Contains("tap: ended"));
    EXPECT_THAT(log, Not(Contains("press: began")));
}

TEST_F(MVLongPressGestureRecognizerTest, aPressBeatsAPanThatWaitsUnlessADelegateAllowsBoth) {
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    scene.land({{1, 100, 100}});
    press->mv_timeDidPass();
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateFailed);
    scene.move({{1, 200, 100}});
    scene.lift({1});
    EXPECT_THAT(log, Not(Contains("pan: began")));
    runMainLoop();
    log.clear();
    const auto yes = ScriptedAdviser::saying(true);
    pan->setDelegate(yes);
    scene.land({{1, 100, 100}});
    press->mv_timeDidPass();
    scene.move({{1, 200, 100}});
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "press: began", "board.touchesCancelled 1",
                                 "press: changed", "pan: began"));
    scene.lift({1});
    EXPECT_THAT(log, Contains("pan: ended"));
}

TEST_F(MVLongPressGestureRecognizerTest, aPressOfTwoFingersBeginsWhenTheSecondHasRested) {
    press->setNumberOfTouchesRequired(2);
    scene.land({{1, 100, 100}});
    EXPECT_FALSE(press->mv_isTiming());
    scene.land({{2, 200, 100}});
    press->mv_timeDidPass();
    EXPECT_THAT(log, Contains("press: began"));
    scene.lift({1});
    EXPECT_EQ(press->state(), MVGestureRecognizerStateBegan) << "until the last one leaves";
    scene.lift({2});
    EXPECT_EQ(log.back(), "press: ended");
    runMainLoop();
    scene.land({{1, 100, 100}, {2, 200, 100}, {3, 300, 100}});
    EXPECT_EQ(press->state(), MVGestureRecognizerStateFailed);
    scene.lift({1, 2, 3});
}

TEST_F(MVLongPressGestureRecognizerTest, oneThatIsDisabledMeanwhileDoesNotBegin) {
    scene.land({{1, 100, 100}});
    press->setEnabled(false);
    press->mv_timeDidPass();
    runMainLoop();
    EXPECT_FALSE(press->mv_isTiming());
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1"));
    scene.lift({1});
}

TEST_F(MVLongPressGestureRecognizerTest, aTargetThatRemovesItFromItsViewHearsOfTheEnd) {
    const auto target = scene.target(press, "remover");
    target->onTold = [&](const auto&) {
        target->lastRecognizer = nullptr;
        board->removeGestureRecognizer(press);
    };
    scene.land({{1, 100, 100}});
    press->mv_timeDidPass();
    scene.lift({1});
    EXPECT_THAT(log, Contains("remover: ended"));
    press->mv_touches().clear();
}

TEST_F(MVLongPressGestureRecognizerTest, aButtonMayPressAsLong) {
    scene.pointAt(100, 100);
    scene.pointer.press();
    press->mv_timeDidPass();
    EXPECT_THAT(log, Contains("press: began"));
    scene.pointAt(150, 100);
    EXPECT_EQ(press->locationInView(board), (Point3{150, 100, 0}));
    scene.pointer.release();
    EXPECT_EQ(log.back(), "press: ended");
}

}  // namespace
