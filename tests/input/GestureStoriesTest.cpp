// What a user does with the mouse, from the host's events to the targets and views: on views that
// are turned in space, scaled and nested.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/input/MVPanGestureRecognizer.h"
#include "MivoraMac/input/MVPinchGestureRecognizer.h"
#include "MivoraMac/input/MVRotationGestureRecognizer.h"
#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point3;
using Mivora::tests::LogCapture;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// A board that leans back in space, a card on it that is turned and scaled, and a knob on that.
/// Places are points of the knob's plane, on which it is 40 x 40 points.
class GestureStoriesTest : public testing::Test {
 protected:
    GestureStoriesTest() {
        board->setRotation3({0.5F, -0.3F, 0.1F});
        board->setPosition3({60, 40, -30});
        card->setAnchorPoint({0.5F, 0.5F});
        card->setRotation3({0.2F, 0.4F, 0.9F});
        card->setUniformScale(1.5F);
        knob->setUniformScale(0.8F);
    }

    GestureScene::Point at(float x, float y) const { return scene.placeOf(knob, x, y); }

    std::shared_ptr<MVPanGestureRecognizer> addPan(const std::shared_ptr<MVView>& view,
                                                   const std::shared_ptr<ScriptedTarget>& target) {
        const auto pan =
            MVPanGestureRecognizer::initWithTargetAction(target, &ScriptedTarget::told);
        view->addGestureRecognizer(pan);
        target->onTold = [target = target.get()](const auto&) { target->lastRecognizer = nullptr; };
        return pan;
    }

    GestureScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<InputView> board =
        addInputView(scene.window, "board", &log, {60, 40}, {260, 200});
    std::shared_ptr<InputView> card = addInputView(board, "card", &log, {120, 100}, {100, 80});
    std::shared_ptr<InputView> knob = addInputView(card, "knob", &log, {20, 20}, {40, 40});
    std::shared_ptr<ScriptedTarget> ann = ScriptedTarget::make("ann", &log);
    std::shared_ptr<ScriptedTarget> ben = ScriptedTarget::make("ben", &log);
};

TEST_F(GestureStoriesTest, pressDragReleaseWithoutRecognizers) {
    std::vector<Point3> places;
    knob->reaction = [&](const std::string&) {
        if (const auto touch = scene.dispatcher->mv_currentMouseTouch()) {
            places.push_back(touch->locationInView(knob));
        }
    };
    scene.press(at(10, 20));
    scene.drag(at(30, 5));
    scene.drag(at(70, -10));
    scene.release(at(80, -10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "knob.touchesMoved 1",
                                 "knob.touchesMoved 1", "knob.touchesEnded 1"));
    EXPECT_THAT(places, ElementsAre(Point3{10, 20, 0}, Point3{30, 5, 0}, Point3{70, -10, 0}));
}

TEST_F(GestureStoriesTest, aPanOnTheCardTakesTheTouchFromTheKnob) {
    const auto pan = addPan(card, ann);
    std::vector<Point3> ways;
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        ways.push_back(pan->translationInView(knob));
    };
    scene.press(at(10, 10));
    scene.drag(at(14, 10));
    scene.drag(at(24, 30));
    scene.release(at(24, 30));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1",
                                 "ann: changed", "ann: ended"));
    ASSERT_EQ(ways.size(), 3U);
    EXPECT_EQ(ways[0], Point3::kZero);
    for (std::size_t i = 1; i < ways.size(); ++i) {
        // The card's plane is rounded to points of the card.
        EXPECT_NEAR(ways[i].x, 10, 1.3);
        EXPECT_NEAR(ways[i].y, 20, 1.3);
        EXPECT_NEAR(ways[i].z, 0, 1e-3);
    }
    runMainLoop();
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    log.clear();
    scene.press(at(10, 10));
    scene.release(at(10, 10));
    EXPECT_EQ(log.front(), "knob.touchesBegan 1") << "and the next press starts anew";
}

TEST_F(GestureStoriesTest, aTargetThatMovesTheViewDragsItAlong) {
    const auto pan = addPan(knob, ann);
    const Point3 home = knob->position3();
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        // In the card's space, which does not move.
        const Point3 way = pan->translationInView(card);
        knob->setPosition3({home.x + way.x, home.y + way.y, home.z});
    };
    const auto press = at(25, 25);
    const auto firstDrag = at(26, 25);
    const auto secondDrag = at(36, 25);
    scene.press(press);
    scene.drag(firstDrag);
    scene.drag(secondDrag);
    EXPECT_NEAR(knob->position3().x, home.x + 8, 1.0) << "ten of the knob's points";
    EXPECT_NEAR(knob->position3().y, home.y, 1.0);
    scene.release(secondDrag);
    EXPECT_EQ(log.back(), "ann: ended");
}

TEST_F(GestureStoriesTest, ofTwoRivalsTheOneAttachedFirstOnTheOuterViewWins) {
    const auto outer = addPan(board, ann);
    const auto inner = addPan(knob, ben);
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_EQ(inner->state(), MVGestureRecognizerStateFailed);
    scene.drag(at(30, 10));
    scene.release(at(30, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1",
                                 "ann: changed", "ann: ended"));
    runMainLoop();
    EXPECT_TRUE(outer->mv_canRecognize() && inner->mv_canRecognize());
}

TEST_F(GestureStoriesTest, rivalsThatAgreePanTogether) {
    const auto outer = addPan(board, ann);
    const auto inner = addPan(knob, ben);
    const auto yes = ScriptedAdviser::saying(true);
    inner->setDelegate(yes);
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    scene.drag(at(30, 10));
    scene.release(at(30, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "ben: began",
                                 "knob.touchesCancelled 1", "ann: changed", "ben: changed",
                                 "ann: ended", "ben: ended"));
    EXPECT_THAT(outer->touches(), IsEmpty());
    EXPECT_THAT(inner->touches(), IsEmpty());
}

TEST_F(GestureStoriesTest, aRecognizerDisabledInItsOwnCallbackIsCancelledAndStaysOut) {
    const auto pan = addPan(card, ann);
    ann->onTold = [&](const auto& sender) {
        ann->lastRecognizer = nullptr;
        sender->setEnabled(false);
    };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    scene.drag(at(30, 10));
    scene.release(at(30, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "ann: cancelled",
                                 "knob.touchesCancelled 1"));
    EXPECT_THAT(pan->touches(), IsEmpty()) << "disabled ones are unbound like others";
    pan->setEnabled(true);
    runMainLoop();
    log.clear();
    ann->onTold = [&](const auto&) { ann->lastRecognizer = nullptr; };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_THAT(log, Contains("ann: began"));
    scene.release(at(20, 10));
}

TEST_F(GestureStoriesTest, aRecognizerRemovedInItsOwnCallbackFollowsTheTouchToItsEnd) {
    const LogCapture capture;
    const auto pan = addPan(card, ann);
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        card->removeGestureRecognizer(pan);
    };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    scene.drag(at(30, 10));
    scene.release(at(30, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1",
                                 "ann: changed", "ann: ended"));
    EXPECT_EQ(pan->touches().size(), 1U) << "and keeps it";
    EXPECT_EQ(capture.lines().size(), 2U) << "but warns";
    pan->mv_touches().clear();
}

TEST_F(GestureStoriesTest, aRecognizerDestroyedInItsOwnCallbackLivesUntilTheTouchEnds) {
    const LogCapture capture;
    auto pan = addPan(card, ann);
    const std::weak_ptr<MVGestureRecognizer> weak = pan;
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        card->removeGestureRecognizer(pan);
        pan.reset();
    };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_FALSE(weak.expired());
    scene.release(at(20, 10));
    EXPECT_TRUE(weak.expired());
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1",
                                 "ann: ended"));
    runMainLoop();
}

TEST_F(GestureStoriesTest, aTargetMayDestroyTheViewsAndTheWindow) {
    const auto pan = addPan(card, ann);
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        if (!knob) {
            return;
        }
        card->removeFromSuperview();
        knob->removeFromSuperview();
        knob.reset();
        card.reset();
        board.reset();
        scene.window.reset();
    };
    const LogCapture capture;
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began"));
    scene.drag({100, 100});
    scene.release({100, 100});
    EXPECT_THAT(log,
                ElementsAre("knob.touchesBegan 1", "ann: began", "ann: changed", "ann: ended"));
    EXPECT_EQ(pan->view(), nullptr);
    pan->mv_touches().clear();
}

TEST_F(GestureStoriesTest, aTargetMayDestroyTheDispatcher) {
    const auto pan = addPan(card, ann);
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        scene.dispatcher.reset();
    };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1"));
    EXPECT_EQ(pan->touches().size(), 1U);
}

TEST_F(GestureStoriesTest, aPressFromWithinACallbackStartsATouchOfItsOwn) {
    const auto pan = addPan(card, ann);
    ann->onTold = [&](const auto&) {
        ann->lastRecognizer = nullptr;
        ann->onTold = [&](const auto&) { ann->lastRecognizer = nullptr; };
        scene.press(at(12, 12));
    };
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesBegan 1",
                                 "knob.touchesCancelled 2"))
        << "the pan has both";
    scene.drag(at(30, 10));
    EXPECT_EQ(log.back(), "ann: changed");
    scene.release(at(30, 10));
    EXPECT_EQ(pan->touches().size(), 1U) << "the first one was dropped";
    pan->mv_touches().clear();
}

TEST_F(GestureStoriesTest, whileItTracksAViewMayBeHiddenRemovedOrDestroyed) {
    const auto pan = addPan(board, ann);
    const std::vector<GestureScene::Point> way = {at(10, 10), at(11, 10), at(20, 10)};
    pan->setEnabled(false);
    runMainLoop();
    scene.press(way[0]);
    knob->setHidden(true);
    scene.drag(way[1]);
    card->removeFromSuperview();
    scene.drag(way[2]);
    EXPECT_THAT(log,
                ElementsAre("knob.touchesBegan 1", "knob.touchesMoved 1", "knob.touchesMoved 1"));
    knob->removeFromSuperview();
    knob.reset();
    scene.release(way[2]);
    EXPECT_EQ(log.size(), 3U);
    EXPECT_EQ(pan->touches().size(), 1U);
    pan->mv_touches().clear();
}

TEST_F(GestureStoriesTest, aPressWhileAGestureRunsOnlyReachesThatGesture) {
    const auto pan = addPan(board, ann);
    const auto other = scene.attach(knob, "other");
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    const auto first = scene.dispatcher->mv_currentMouseTouch();
    log.clear();
    runMainLoop();  // the other one, which has failed, is ready again
    ASSERT_TRUE(other->mv_canRecognize());
    log.clear();
    scene.press(at(15, 15));
    EXPECT_THAT(scene.dispatcher->mv_currentMouseTouch()->gestureRecognizers(), ElementsAre(pan));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1"));
    scene.drag(at(25, 15));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: changed", "knob.touchesMoved 1"))
        << "a gesture that had begun before takes nothing from the view";
    scene.release(at(25, 15));
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateChanged) << "it still follows the first touch";
    EXPECT_THAT(pan->touches(), ElementsAre(first));
    pan->mv_touches().clear();
}

TEST_F(GestureStoriesTest, leavingTheHostCancelsThePan) {
    const auto pan = addPan(card, ann);
    scene.press(at(10, 10));
    scene.drag(at(20, 10));
    scene.leave(at(500, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ann: began", "knob.touchesCancelled 1",
                                 "ann: cancelled"));
    scene.drag(at(20, 10));
    scene.release(at(20, 10));
    EXPECT_EQ(log.size(), 4U);
    runMainLoop();
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    EXPECT_THAT(pan->touches(), IsEmpty());
}

TEST_F(GestureStoriesTest, leavingBeforeAnythingMovedTellsTheViewAlone) {
    addPan(card, ann);
    scene.press(at(10, 10));
    scene.leave(at(500, 10));
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "knob.touchesCancelled 1"));
}

TEST_F(GestureStoriesTest, aViewUnderneathTakesTouchesThatNobodyElseOverrides) {
    const auto plain = MVView::init();
    plain->setSize({40, 40});
    card->addSubview(plain);
    scene.press(scene.placeOf(plain, 3, 3));
    scene.release(scene.placeOf(plain, 3, 3));
    EXPECT_THAT(log, ElementsAre("card.touchesBegan 1", "card.touchesEnded 1"));
}

// Several touches at once, from another source than the mouse

class TwoFingerStoriesTest : public GestureStoriesTest {
 protected:
    using Touch = std::shared_ptr<ScriptedTouch>;

    Touch touchAt(float x, float y) const {
        Touch touch = ScriptedTouch::over(knob);
        touch->setRay(scene.rayThrough(at(x, y)));
        touch->setPreviousRay(touch->ray());
        return touch;
    }
    void moveTo(const Touch& touch, float x, float y) const {
        touch->setPreviousRay(touch->ray());
        touch->setRay(scene.rayThrough(at(x, y)));
    }
    static void begin(const MVTouchSet& touches) {
        for (const auto& touch : touches) {
            MVBuildGestureRecognizerRelationshipsForTouch(touch);
        }
        MVDispatchSelectorToTouches(touches, MVTouchPhase::Began);
    }
    static void finish(const MVTouchSet& touches, MVTouchPhase phase) {
        MVDispatchSelectorToTouches(touches, phase);
        MVFinishTouches(touches);
    }
};

TEST_F(TwoFingerStoriesTest, pinchAndRotationOnAPlaneThatLeansBack) {
    const auto pinch = MVPinchGestureRecognizer::initWithTargetAction(ann, &ScriptedTarget::told);
    const auto rotation =
        MVRotationGestureRecognizer::initWithTargetAction(ben, &ScriptedTarget::told);
    const auto yes = ScriptedAdviser::saying(true);
    pinch->setDelegate(yes);
    knob->addGestureRecognizer(pinch);
    knob->addGestureRecognizer(rotation);
    const Touch a = touchAt(0, 0);
    const Touch b = touchAt(30, 0);
    begin({a, b});
    EXPECT_THAT(log, ElementsAre("ann: began", "ben: began", "knob.touchesCancelled 2"));
    moveTo(b, 0, 60);
    MVDispatchSelectorToTouches({b}, MVTouchPhase::Moved);
    EXPECT_FLOAT_EQ(pinch->scale(), 2.0F);
    EXPECT_FLOAT_EQ(rotation->rotation(), 1.57079633F);
    moveTo(a, 10, 10);
    moveTo(b, 10, 40);
    MVDispatchSelectorToTouches({a, b}, MVTouchPhase::Moved);
    EXPECT_FLOAT_EQ(pinch->scale(), 1.0F);
    EXPECT_FLOAT_EQ(rotation->rotation(), 1.57079633F);
    log.clear();
    finish({a}, MVTouchPhase::Ended);
    EXPECT_THAT(log, IsEmpty());
    finish({b}, MVTouchPhase::Ended);
    EXPECT_THAT(log, ElementsAre("ann: ended", "ben: ended"));
    EXPECT_THAT(pinch->touches(), IsEmpty());
    ann->lastRecognizer = ben->lastRecognizer = nullptr;
}

TEST_F(TwoFingerStoriesTest, aSecondFingerMakesThePinchWinOverAPanThatWaits) {
    const auto pan = addPan(card, ann);
    const auto pinch = MVPinchGestureRecognizer::initWithTargetAction(ben, &ScriptedTarget::told);
    knob->addGestureRecognizer(pinch);
    const Touch a = touchAt(0, 0);
    const Touch b = touchAt(30, 0);
    begin({a});
    begin({b});
    EXPECT_THAT(log, ElementsAre("knob.touchesBegan 1", "ben: began", "knob.touchesCancelled 2"));
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(pan->touches(), IsEmpty());
    finish({a, b}, MVTouchPhase::Cancelled);
    EXPECT_EQ(log.back(), "ben: cancelled");
    ben->lastRecognizer = nullptr;
}

TEST_F(TwoFingerStoriesTest, touchesOnTwoViewsReachEachOnce) {
    const Touch a = touchAt(0, 0);
    const Touch b = ScriptedTouch::over(board);
    const Touch c = touchAt(5, 5);
    begin({a, b, c});
    MVDispatchSelectorToTouches({b, c}, MVTouchPhase::Moved);
    finish({a, b, c}, MVTouchPhase::Ended);
    EXPECT_THAT(log,
                ElementsAre("knob.touchesBegan 2", "board.touchesBegan 1", "board.touchesMoved 1",
                            "knob.touchesMoved 1", "knob.touchesEnded 2", "board.touchesEnded 1"));
}

}  // namespace
