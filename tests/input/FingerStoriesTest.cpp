// What fingers on a screen and on a touchpad do, from the headless host to the targets and views.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVPanGestureRecognizer.h"
#include "MivoraMac/input/MVPinchGestureRecognizer.h"
#include "MivoraMac/input/MVRotationGestureRecognizer.h"
#include "tests/input/FingerScene.h"

namespace {

using Mivora::Point3;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr float kQuarter = std::numbers::pi_v<float> / 2;

class FingerStoriesTest : public testing::Test {
 protected:
    FingerScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<TouchView> board =
        TouchView::add(scene.window, "board", &log, {0, 0}, {400, 300});
    std::shared_ptr<ScriptedAdviser> yes = ScriptedAdviser::saying(true);
};

TEST_F(FingerStoriesTest, aFingerThatTremblesIsNoPan) {
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    scene.land({{1, 200, 150}});
    scene.move({{1, 204, 150}});
    scene.move({{1, 199, 145}});
    scene.move({{1, 209, 159}});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible) << "9 points each way";
    scene.move({{1, 210, 150}});
    scene.move({{1, 213, 154}});
    EXPECT_EQ(pan->translationInView(board), (Point3{3, 4, 0}));
    scene.lift({1});
    EXPECT_THAT(log, ElementsAre("board.touchesBegan 1", "board.touchesMoved 1",
                                 "board.touchesMoved 1", "board.touchesMoved 1", "pan: began",
                                 "board.touchesCancelled 1", "pan: changed", "pan: ended"));
}

TEST_F(FingerStoriesTest, aPanOfTwoFingersFollowsTheirMean) {
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    scene.land({{1, 100, 100}, {2, 200, 100}});
    scene.move({{1, 118, 100}});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible) << "9 points on average";
    scene.move({{2, 202, 100}});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateBegan);
    scene.move({{1, 128, 100}, {2, 212, 104}});
    EXPECT_EQ(pan->translationInView(board), (Point3{10, 2, 0}));
    scene.lift({2});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateChanged);
    scene.move({{1, 133, 100}});
    EXPECT_EQ(pan->translationInView(board), (Point3{15, 2, 0}));
    scene.lift({1});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateEnded);
}

TEST_F(FingerStoriesTest, panPinchAndRotationGoTogetherWhereADelegateAllowsIt) {
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    const auto pinch = scene.attach<MVPinchGestureRecognizer>(board, "pinch");
    const auto rotation = scene.attach<MVRotationGestureRecognizer>(board, "rotation");
    for (const std::shared_ptr<MVGestureRecognizer>& recognizer :
         std::vector<std::shared_ptr<MVGestureRecognizer>>{pan, pinch, rotation}) {
        recognizer->setDelegate(yes);
    }
    scene.land({{1, 150, 150}, {2, 250, 150}});
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("pinch: began", "rotation: began", "board.touchesCancelled 2"))
        << "two fingers are a pinch and a rotation as soon as they are down";
    // Twice as far, a quarter to the right, and 20 points to the right.
    scene.move({{1, 220, 50}, {2, 220, 250}});
    EXPECT_FLOAT_EQ(pinch->scale(), 2);
    EXPECT_FLOAT_EQ(rotation->rotation(), kQuarter);
    EXPECT_EQ(pinch->locationInView(board), (Point3{220, 150, 0}));
    EXPECT_THAT(scene.takeLog(), ElementsAre("pan: began", "pinch: changed", "rotation: changed"));
    scene.move({{1, 227, 50}, {2, 227, 250}});
    EXPECT_EQ(pan->translationInView(board), (Point3{7, 0, 0}));
    EXPECT_THAT(scene.takeLog(), ElementsAre("pan: changed")) << "neither distance nor direction";
    scene.lift({1});
    EXPECT_THAT(log, IsEmpty());
    scene.lift({2});
    EXPECT_THAT(log, ElementsAre("pan: ended", "pinch: ended", "rotation: ended"));
    EXPECT_THAT(pinch->touches(), IsEmpty());
}

TEST_F(FingerStoriesTest, oneLiftedAndAThirdAddedGoOnWithThePinch) {
    const auto pinch = scene.attach<MVPinchGestureRecognizer>(board, "pinch");
    scene.land({{1, 100, 100}, {2, 200, 100}});
    scene.land({{3, 300, 200}});
    scene.move({{3, 300, 280}});
    EXPECT_EQ(pinch->scale(), 1) << "a third is ignored while there are two";
    scene.lift({1});
    scene.move({{2, 220, 100}});
    EXPECT_EQ(pinch->scale(), 1) << "one alone is no pinch";
    scene.land({{4, 320, 100}});
    scene.move({{4, 270, 100}});
    EXPECT_FLOAT_EQ(pinch->scale(), 0.5F);
    log.clear();
    scene.lift({2, 4});
    EXPECT_THAT(log, Contains("pinch: ended"));
    scene.lift({3});
}

TEST_F(FingerStoriesTest, fingersOnTwoViewsEachWithARecognizerPanThemIndependently) {
    const auto left = TouchView::add(scene.window, "left", &log, {0, 0}, {200, 300});
    const auto right = TouchView::add(scene.window, "right", &log, {200, 0}, {200, 300});
    const auto leftPan = scene.attach<MVPanGestureRecognizer>(left, "left pan");
    const auto rightPan = scene.attach<MVPanGestureRecognizer>(right, "right pan");
    scene.land({{1, 100, 100}, {2, 300, 100}});
    scene.move({{1, 120, 100}});
    EXPECT_EQ(rightPan->state(), MVGestureRecognizerStatePossible);
    scene.move({{2, 300, 130}});
    scene.move({{1, 125, 100}, {2, 300, 137}});
    EXPECT_EQ(leftPan->translationInView(left), (Point3{5, 0, 0}));
    EXPECT_EQ(rightPan->translationInView(right), (Point3{0, 7, 0}));
    EXPECT_THAT(
        log, ElementsAre("left.touchesBegan 1", "right.touchesBegan 1", "left pan: began",
                         "left.touchesCancelled 1", "right pan: began", "right.touchesCancelled 1",
                         "left pan: changed", "right pan: changed"));
    scene.lift({1});
    EXPECT_EQ(log.back(), "left pan: ended");
    scene.lift({2});
    EXPECT_EQ(log.back(), "right pan: ended");
}

TEST_F(FingerStoriesTest, aViewRemovedUnderOneOfThreeFingersLeavesTheOthersAlone) {
    auto card = TouchView::add(scene.window, "card", &log, {0, 0}, {50, 50});
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    scene.land({{1, 10, 10}, {2, 200, 100}, {3, 300, 100}});
    card->removeFromSuperview();
    log.clear();
    scene.move({{1, 12, 10}, {2, 202, 100}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("card.touchesMoved 1", "board.touchesMoved 1"));
    card.reset();
    scene.move({{1, 14, 10}, {2, 240, 100}, {3, 340, 100}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("pan: began", "board.touchesCancelled 2"));
    scene.lift({1});
    scene.lift({2, 3});
    EXPECT_EQ(log.back(), "pan: ended");
    EXPECT_THAT(pan->touches(), IsEmpty());
}

TEST_F(FingerStoriesTest, fingersAreCancelledWhenTheWindowCloses) {
    const auto pinch = scene.attach<MVPinchGestureRecognizer>(board, "pinch");
    scene.land({{1, 100, 100}, {2, 200, 100}});
    scene.move({{1, 50, 100}});
    log.clear();
    scene.frame->close();
    EXPECT_THAT(log, ElementsAre("pinch: cancelled"));
    EXPECT_THAT(pinch->touches(), IsEmpty());
    scene.move({{1, 60, 100}});
    scene.lift({1, 2});
    EXPECT_EQ(log.size(), 1U);
}

TEST_F(FingerStoriesTest, aMouseAndAFingerMayPinchTogether) {
    const auto pinch = scene.attach<MVPinchGestureRecognizer>(board, "pinch");
    scene.pointAt(100, 100);
    scene.pointer.press();
    scene.land({{1, 200, 100}});
    EXPECT_EQ(log.back(), "board.touchesCancelled 2");
    scene.pointAt(0, 100);
    EXPECT_FLOAT_EQ(pinch->scale(), 2);
    scene.pointer.release();
    scene.lift({1});
    EXPECT_THAT(log, Contains("pinch: ended"));
}

TEST_F(FingerStoriesTest, aPinchOnATouchpadTellsScaleAngleAndMiddleOfTheViewUnderThePointer) {
    // Too small for the two fingers to land on it where they are.
    const auto card = TouchView::add(scene.window, "card", &log, {180, 130}, {40, 40});
    const auto pinch = scene.attach<MVPinchGestureRecognizer>(card, "pinch");
    const auto rotation = scene.attach<MVRotationGestureRecognizer>(card, "rotation");
    const auto pan = scene.attach<MVPanGestureRecognizer>(card, "pan");
    pinch->setDelegate(yes);
    pan->setDelegate(yes);
    scene.pointAt(200, 150);
    scene.pointer.beginPinch();
    EXPECT_EQ(pinch->locationInView(scene.window), (Point3{200, 150, 0}));
    for (const double scale : {0.9, 0.7, 0.5, 1.0, 1.5, 2.0}) {
        scene.pointer.pinch(scale);
        EXPECT_NEAR(pinch->scale(), scale, 0.01);
    }
    scene.pointer.pinch(2, static_cast<double>(kQuarter));
    EXPECT_NEAR(rotation->rotation(), kQuarter, 0.01) << "clockwise on the screen";
    scene.pointer.pinch(1, 0, 20, -10);
    EXPECT_EQ(pinch->locationInView(scene.window), (Point3{220, 160, 0}));
    scene.pointer.pinch(1, 0, 5, 0);
    EXPECT_EQ(pan->translationInView(card), (Point3{5, 0, 0}));
    log.clear();
    scene.pointer.endPinch();
    EXPECT_THAT(log, ElementsAre("pinch: ended", "rotation: ended", "pan: ended"));
}

TEST_F(FingerStoriesTest, aMouseThatCountsLikeAFingerClicksEvenIfItTrembles) {
    const auto pan = scene.attach<MVPanGestureRecognizer>(board, "pan");
    const auto& mouse = scene.renderView->mouseToTouchDispatcher();
    EXPECT_FALSE(mouse->makesFingerTouches());
    mouse->setMakesFingerTouches(true);
    scene.pointAt(200, 150);
    scene.pointer.press();
    scene.pointAt(201, 150);
    scene.pointer.release();
    EXPECT_THAT(log, Contains("board.touchesEnded 1"));
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    log.clear();
    scene.pointer.press();
    scene.pointAt(210, 150);
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    scene.pointAt(211, 150);
    EXPECT_THAT(log, Contains("pan: began"));
    scene.pointer.release();
    EXPECT_EQ(log.back(), "pan: ended") << "and then the mouse";
}

}  // namespace
