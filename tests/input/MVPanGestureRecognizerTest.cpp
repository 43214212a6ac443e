#include "MivoraMac/input/MVPanGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "MivoraMac/platform/threads/Clock.h"
#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::platform::Clock;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

using Touch = std::shared_ptr<ScriptedTouch>;

/// The clock that the tests turn.
std::uint64_t now = 0;

std::uint64_t ticksNow() {
    return now;
}

/// A pan on a view that fills the scene's plane, so that points of the plane are points of the
/// view; a tick is a millisecond.
class MVPanGestureRecognizerTest : public testing::Test {
 protected:
    MVPanGestureRecognizerTest() {
        now = 1000;
        setTimebase({1000000, 1});
        view->setContentScaleFactor(1);
        view->addGestureRecognizer(pan);
        pan->addTargetAction(target, &ScriptedTarget::told);
        target->onTold = [this](const auto&) {
            target->lastRecognizer = nullptr;
            told.push_back(pan->translationInView(view));
        };
    }
    ~MVPanGestureRecognizerTest() override { Clock::setSource(nullptr, {1, 1}); }

    static void setTimebase(Mivora::platform::Timebase timebase) {
        Clock::setSource(&ticksNow, timebase);
    }

    /// A touch that has been where it is for some time.
    Touch touchAt(float x, float y) const {
        const Touch touch = ScriptedTouch::over(view);
        touch->putAt(x, y);
        return touch;
    }
    void begin(const MVTouchSet& touches) const { send(MVTouchPhase::Began, touches); }
    void move(const Touch& touch, float x, float y) const {
        touch->moveTo(x, y);
        send(MVTouchPhase::Moved, {touch});
    }
    /// Ends a touch where it is.
    void end(const Touch& touch) const {
        rest(touch);
        send(MVTouchPhase::Ended, {touch});
    }
    static void rest(const Touch& touch) {
        touch->moveTo(touch->screenPoint().x, touch->screenPoint().y);
    }
    void send(MVTouchPhase phase, const MVTouchSet& touches) const {
        mv_sendTouches(*pan, phase, touches);
        pan->mv_dispatchStateChangesIfNecessary();
    }

    CallLog log;
    std::vector<Point3> told;  ///< the translation whenever the target was told
    std::shared_ptr<MVView> view = MVView::init();
    std::shared_ptr<MVPanGestureRecognizer> pan = MVPanGestureRecognizer::init();
    std::shared_ptr<ScriptedTarget> target = ScriptedTarget::make("ann", &log);
};

TEST_F(MVPanGestureRecognizerTest, tenPointsAlongOneAxisMakeAPan) {
    struct Row {
        Point2 step;
        bool isPan;
    };
    const Row rows[] = {{{10, 0}, true},     {{-10, 0}, true},     {{0, 10}, true},
                        {{0, -10}, true},    {{9.99F, 0}, false},  {{-9.99F, 0}, false},
                        {{0, 9.99F}, false}, {{0, -9.99F}, false}, {{9.9F, 9.9F}, false},
                        {{9.9F, -10}, true}};
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.step.x) + ", " + std::to_string(row.step.y));
        const Touch touch = touchAt(0, 0);
        begin({touch});
        move(touch, row.step.x, row.step.y);
        EXPECT_EQ(pan->mv_panGestureDidOccur(), row.isPan);
        EXPECT_EQ(pan->mv_isPanning(), row.isPan);
        EXPECT_EQ(log, row.isPan ? CallLog{"ann: began"} : CallLog{});
        end(touch);
        runMainLoop();
        log.clear();
    }
}

TEST_F(MVPanGestureRecognizerTest, smallStepsAddUp) {
    const Touch touch = touchAt(100, 100);
    begin({touch});
    move(touch, 104, 100);
    move(touch, 108, 100);
    EXPECT_THAT(log, IsEmpty());
    move(touch, 104, 100);
    move(touch, 110, 100);
    EXPECT_THAT(log, ElementsAre("ann: began")) << "as far as from where it began";
}

TEST_F(MVPanGestureRecognizerTest, thereIsNoTranslationAtFirstAndThenWhatCameAfter) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 6, 0);
    EXPECT_EQ(pan->translationInView(view), (Point3{6, 0, 0}));
    move(touch, 30, 0);
    move(touch, 33, 4);
    move(touch, 33, 4);
    move(touch, 20, 4);
    EXPECT_THAT(log, ElementsAre("ann: began", "ann: changed", "ann: changed", "ann: changed"));
    EXPECT_THAT(told,
                ElementsAre(Point3::kZero, Point3{3, 4, 0}, Point3{3, 4, 0}, Point3{-10, 4, 0}));
    touch->moveTo(21, 5);
    send(MVTouchPhase::Ended, {touch});
    EXPECT_EQ(log.back(), "ann: ended");
    EXPECT_EQ(told.back(), (Point3{-9, 5, 0})) << "the end moves, too";
}

TEST_F(MVPanGestureRecognizerTest, aPressWithoutAMoveStaysPossibleAndTellsNobody) {
    const Touch touch = touchAt(50, 50);
    begin({touch});
    end(touch);
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    EXPECT_THAT(log, IsEmpty());
    begin({touch});
    move(touch, 55, 50);
    end(touch);
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible) << "nor does a short one fail";
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVPanGestureRecognizerTest, aDragThatEndsWithoutAMoveEndsWithoutHavingBegun) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    touch->moveTo(50, 0);
    send(MVTouchPhase::Ended, {touch});
    EXPECT_THAT(log, ElementsAre("ann: ended"));
    EXPECT_THAT(told, ElementsAre(Point3{50, 0, 0}));
    runMainLoop();
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    EXPECT_EQ(pan->translationInView(view), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, aPanThatHasComeBackFinishesLikeAnyOther) {
    for (const bool isEnd : {true, false}) {
        const Touch touch = touchAt(0, 0);
        begin({touch});
        move(touch, 20, 0);
        move(touch, 1, 0);
        rest(touch);
        send(isEnd ? MVTouchPhase::Ended : MVTouchPhase::Cancelled, {touch});
        EXPECT_THAT(log, ElementsAre("ann: began", "ann: changed",
                                     isEnd ? "ann: ended" : "ann: cancelled"));
        runMainLoop();
        log.clear();
    }
}

TEST_F(MVPanGestureRecognizerTest, cancellingTellsOnlyOfWhatHasBegun) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    touch->moveTo(50, 0);
    send(MVTouchPhase::Cancelled, {touch});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible) << "the way is not counted";
    EXPECT_THAT(log, IsEmpty());

    begin({touch});
    move(touch, 100, 0);
    touch->moveTo(150, 0);
    send(MVTouchPhase::Cancelled, {touch});
    EXPECT_THAT(log, ElementsAre("ann: began", "ann: cancelled"));
    EXPECT_EQ(told.back(), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, beyondTheThresholdButNotBegunACancelledPanFails) {
    const Touch first = touchAt(0, 0);
    const Touch second = touchAt(0, 0);
    begin({first, second});
    first->moveTo(30, 0);
    send(MVTouchPhase::Ended, {first});
    EXPECT_TRUE(pan->mv_panGestureDidOccur());
    EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible) << "one touch is left";
    send(MVTouchPhase::Cancelled, {second});
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(log, IsEmpty());
}

// Several touches

TEST_F(MVPanGestureRecognizerTest, theWayIsTheMeanOverAllTouchesThatAreFollowed) {
    const Touch first = touchAt(0, 0);
    const Touch second = touchAt(50, 0);
    begin({first, second});
    move(first, 18, 0);
    EXPECT_FALSE(pan->mv_panGestureDidOccur()) << "9 points each";
    move(second, 52, 0);
    EXPECT_TRUE(pan->mv_panGestureDidOccur());
    move(first, 24, 8);
    EXPECT_EQ(told.back(), (Point3{3, 4, 0}));
    first->moveTo(26, 8);
    second->moveTo(54, 4);
    send(MVTouchPhase::Moved, {first, second});
    EXPECT_EQ(told.back(), (Point3{5, 6, 0}));
}

TEST_F(MVPanGestureRecognizerTest, itEndsWithItsLastTouchWhichCountsAsOneOfThoseBefore) {
    const Touch first = touchAt(0, 0);
    const Touch second = touchAt(50, 0);
    begin({first, second});
    move(first, 40, 0);
    first->moveTo(44, 0);
    send(MVTouchPhase::Ended, {first});
    EXPECT_THAT(log, ElementsAre("ann: began"));
    EXPECT_EQ(pan->translationInView(view), (Point3{2, 0, 0})) << "half of the 4 points";
    move(second, 53, 0);
    EXPECT_EQ(told.back(), (Point3{5, 0, 0}));
    end(second);
    EXPECT_THAT(log, ElementsAre("ann: began", "ann: changed", "ann: ended"));
}

TEST_F(MVPanGestureRecognizerTest, aTouchThatJoinsStartsNothingAnew) {
    const Touch first = touchAt(0, 0);
    begin({first});
    move(first, 20, 0);
    move(first, 26, 0);
    begin({touchAt(80, 80)});
    EXPECT_EQ(pan->translationInView(view), (Point3{6, 0, 0}));
    EXPECT_TRUE(pan->mv_panGestureDidOccur());
}

TEST_F(MVPanGestureRecognizerTest, itsOwnTouchesAreNotThoseItIsBoundTo) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    EXPECT_THAT(pan->touches(), IsEmpty());
    pan->mv_touches().insert(touchAt(7, 7));
    move(touch, 20, 0);
    move(touch, 24, 0);
    EXPECT_EQ(told.back(), (Point3{4, 0, 0})) << "one touch is followed";
    EXPECT_EQ(pan->locationInView(view), (Point3{7, 7, 0}));
    pan->mv_touches().clear();
}

TEST_F(MVPanGestureRecognizerTest, touchesThatItDoesNotFollowMoveItWithoutBound) {
    const Touch touch = touchAt(0, 0);
    move(touch, 1, 0);
    EXPECT_TRUE(pan->mv_panGestureDidOccur());
    EXPECT_THAT(log, ElementsAre("ann: began"));
    runMainLoop();
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateBegan) << "there is no touch to end it";
}

// The next gesture

TEST_F(MVPanGestureRecognizerTest, theNextGestureStartsFromNothing) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    move(touch, 30, 0);
    end(touch);
    runMainLoop();
    log.clear();
    begin({touch});
    EXPECT_EQ(pan->translationInView(view), Point3::kZero);
    move(touch, 35, 0);
    EXPECT_THAT(log, IsEmpty());
    move(touch, 41, 0);
    EXPECT_THAT(log, ElementsAre("ann: began"));
    EXPECT_EQ(told.back(), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, aShortPressLeavesNothingToTheNextOne) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 9, 0);
    end(touch);
    begin({touch});
    EXPECT_EQ(pan->translationInView(view), Point3::kZero);
    move(touch, 18, 0);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVPanGestureRecognizerTest, aTouchFromBeforeItWasDisabledIsNotCounted) {
    begin({touchAt(50, 50)});
    pan->setEnabled(false);
    runMainLoop();
    pan->setEnabled(true);
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 6, 0);
    EXPECT_EQ(pan->translationInView(view), (Point3{6, 0, 0})) << "one touch is followed";
}

TEST_F(MVPanGestureRecognizerTest, whileItWaitsForItsResetNothingHappens) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    end(touch);
    log.clear();
    begin({touch});
    move(touch, 60, 0);
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateEnded);
    runMainLoop();
    EXPECT_THAT(log, IsEmpty());
    EXPECT_FALSE(pan->mv_panGestureDidOccur()) << "and then it has forgotten the touch";
}

// Velocity

TEST_F(MVPanGestureRecognizerTest, theVelocityIsThatOfTheLastTwoMoves) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    now += 100;
    move(touch, 20, 0);
    now += 100;
    move(touch, 23, 4);
    now += 100;
    move(touch, 33, 4);
    // Of three samples, the oldest is from the recognition: nothing, 3 and 13 points.
    EXPECT_EQ(pan->mv_velocityInView(), (Point3{65, 20, 0}));
    now += 300;
    move(touch, 33, 4);
    EXPECT_EQ(pan->velocityInView(view), (Point3{25, 0, 0}));
    now += 1000;
    EXPECT_EQ(pan->velocityInView(view), (Point3{25, 0, 0})) << "resting does not slow it";
}

TEST_F(MVPanGestureRecognizerTest, theVelocityOfTheFirstMoveIsThatSinceThePress) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    now += 100;
    move(touch, 5, 0);
    EXPECT_EQ(pan->mv_velocityInView(), (Point3{50, 0, 0}));
}

TEST_F(MVPanGestureRecognizerTest, aShortPressDoesNotCountInTheVelocityOfTheNextOne) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 4, 0);
    end(touch);
    begin({touch});
    now += 100;
    move(touch, 9, 0);
    EXPECT_EQ(pan->mv_velocityInView(), (Point3{50, 0, 0}));
}

TEST_F(MVPanGestureRecognizerTest, whatWasBeforeAResetDoesNotCountInTheVelocity) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    move(touch, 26, 0);
    move(touch, 28, 0);
    pan->setEnabled(false);
    runMainLoop();
    pan->setEnabled(true);
    // The touch is not followed any more and begins at once, with a translation of zero.
    now += 100;
    move(touch, 29, 0);
    EXPECT_EQ(pan->state(), MVGestureRecognizerStateBegan);
    EXPECT_EQ(pan->mv_velocityInView(), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, theWayThatLedToThePanCountsInTheVelocity) {
    Point3 velocity = Point3::kNull;
    target->onTold = [&](const auto&) {
        target->lastRecognizer = nullptr;
        velocity = pan->mv_velocityInView();
    };
    const Touch touch = touchAt(0, 0);
    begin({touch});
    for (const float x : {4.0F, 8.0F, 20.0F}) {
        now += 100;
        move(touch, x, 0);
    }
    // The samples: 4 points, 8 points, and nothing, because the translation starts anew.
    EXPECT_THAT(log, ElementsAre("ann: began"));
    EXPECT_EQ(velocity, (Point3{-20, 0, 0}));
    now += 100;
    move(touch, 26, 0);
    EXPECT_EQ(velocity, (Point3{-10, 0, 0})) << "and then 8, 0 and 6 points";
}

TEST_F(MVPanGestureRecognizerTest, movesWithinOneTickHaveNoVelocity) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    move(touch, 40, 0);
    EXPECT_EQ(pan->translationInView(view), (Point3{20, 0, 0}));
    EXPECT_EQ(pan->mv_velocityInView(), Point3::kZero);
    EXPECT_EQ(MVPanGestureRecognizer::init()->mv_velocityInView(), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, ticksBecomeNanosecondsByMultiplyingFirst) {
    setTimebase({125, 3});
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    now += 1;
    move(touch, 21, 0);
    now += 1;
    move(touch, 22, 0);
    // Two ticks are 250/3 nanoseconds, in whole ones 83; dividing first would make them 82.
    EXPECT_EQ(pan->mv_velocityInView().x, 2.0F * static_cast<float>(1.0 / (83.0 / 1e9)));
}

TEST_F(MVPanGestureRecognizerTest, theTimebaseIsReadAgainForEveryGesture) {
    setTimebase({2000000, 1});
    const Touch touch = touchAt(0, 0);
    begin({touch});
    now += 100;
    move(touch, 20, 0);
    now += 100;
    move(touch, 30, 0);
    EXPECT_EQ(pan->mv_velocityInView(), (Point3{25, 0, 0}));
}

TEST_F(MVPanGestureRecognizerTest, betweenAResetAndTheNextMoveThereIsNoVelocity) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    now += 100;
    move(touch, 20, 0);
    now += 100;
    move(touch, 28, 0);
    now += 100;
    move(touch, 30, 0);
    now += 100;
    move(touch, 30, 0);
    // The oldest of the three is now 8 points.
    pan->reset();
    EXPECT_EQ(pan->mv_velocityInView(), Point3::kZero);
    now += 100;
    begin({touch});
    EXPECT_EQ(pan->mv_velocityInView(), Point3::kZero);
}

// Views

TEST_F(MVPanGestureRecognizerTest, onALeaningPlaneItMovesInDepthToo) {
    view->setInteractionPlane({{0.6F, 0, 0.8F}, 0});
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 4, 5);
    EXPECT_EQ(pan->translationInView(view), (Point3{4, 5, -3}));
}

TEST_F(MVPanGestureRecognizerTest, otherViewsGetTheirOwnVectors) {
    const auto inner = MVView::init();
    view->addSubview(inner);
    inner->setPosition({30, 40});
    inner->setUniformScale(2);
    inner->setRotation(1.57079633F);
    const Touch touch = touchAt(0, 0);
    begin({touch});
    now += 100;
    move(touch, 20, 0);
    now += 500;
    move(touch, 20, 8);
    now += 500;
    move(touch, 20, 16);
    const Point3 translation = pan->translationInView(inner);
    EXPECT_NEAR(translation.x, 8, 1e-4);
    EXPECT_NEAR(translation.y, 0, 1e-4);
    EXPECT_NEAR(translation.z, 0, 1e-4);
    const Point3 velocity = pan->velocityInView(inner);
    EXPECT_NEAR(velocity.x, 8, 1e-4);
    EXPECT_NEAR(velocity.y, 0, 1e-4);
    EXPECT_EQ(pan->translationInView(nullptr), Point3::kZero);
    EXPECT_EQ(pan->velocityInView(nullptr), Point3::kZero);
}

TEST_F(MVPanGestureRecognizerTest, withoutAViewItBeginsButKnowsNoTranslation) {
    const LogCapture capture;
    view->removeGestureRecognizer(pan);
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, 20, 0);
    move(touch, 25, 0);
    EXPECT_THAT(log, ElementsAre("ann: began", "ann: changed"));
    EXPECT_TRUE(std::isnan(pan->translationInView(nullptr).x));
}

TEST_F(MVPanGestureRecognizerTest, everyPhaseWithoutAViewWarns) {
    const LogCapture capture;
    view->removeGestureRecognizer(pan);
    const Touch touch = touchAt(0, 0);
    std::size_t warnings = 0;
    for (const auto phase :
         {MVTouchPhase::Began, MVTouchPhase::Moved, MVTouchPhase::Ended, MVTouchPhase::Cancelled}) {
        send(phase, {touch});
        EXPECT_EQ(capture.lines().size(), ++warnings);
    }
}

TEST_F(MVPanGestureRecognizerTest, aPointThatIsNoNumberIsNoPan) {
    const Touch touch = touchAt(0, 0);
    begin({touch});
    move(touch, std::numeric_limits<float>::quiet_NaN(), 0);
    EXPECT_FALSE(pan->mv_panGestureDidOccur());
    EXPECT_THAT(log, IsEmpty());
    end(touch);
    runMainLoop();
    const Touch next = touchAt(0, 0);
    begin({next});
    move(next, 20, 0);
    EXPECT_THAT(log, ElementsAre("ann: began"));
}

// The mouse

TEST(MVPanGestureRecognizerMouseTest, theFirstMoveOfTheMouseBeginsUnlessThePressWasInTheCorner) {
    struct Row {
        Point2 press;  // in points from the bottom left of the host
        bool begins;
    };
    for (const Row& row :
         {Row{{200, 150}, true}, Row{{10, 3}, true}, Row{{3, 10}, true}, Row{{9, 9}, false}}) {
        GestureScene scene;
        const auto pan = MVPanGestureRecognizer::init();
        scene.window->addGestureRecognizer(pan);
        scene.press(row.press);
        EXPECT_FALSE(pan->mv_panGestureDidOccur());
        scene.drag({row.press.x + 1, row.press.y});
        EXPECT_EQ(pan->mv_panGestureDidOccur(), row.begins);
        scene.drag({row.press.x + 100, row.press.y});
        EXPECT_EQ(pan->mv_panGestureDidOccur(), row.begins) << "the screen point does not move";
        scene.release({row.press.x + 100, row.press.y});
    }
}

TEST(MVPanGestureRecognizerMouseTest, aClickIsNoPanWhereverItIsAndTheViewHearsOfBothItsEnds) {
    for (const Point2 place : {Point2{200, 150}, Point2{5, 5}, Point2{399, 0}}) {
        GestureScene scene;
        const auto view = addInputView(scene.window, "view", &scene.log, {0, 0}, {400, 300});
        const auto pan = MVPanGestureRecognizer::init();
        const auto target = scene.target(pan, "ann");
        view->addGestureRecognizer(pan);
        scene.press(place);
        scene.release(place);
        EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
        EXPECT_FALSE(pan->mv_panGestureDidOccur());
        EXPECT_THAT(scene.takeLog(), ElementsAre("view.touchesBegan 1", "view.touchesEnded 1"));
        scene.press(place);
        scene.leave(place);
        EXPECT_THAT(scene.log, ElementsAre("view.touchesBegan 1", "view.touchesCancelled 1"));
        EXPECT_EQ(pan->state(), MVGestureRecognizerStatePossible);
    }
}

TEST(MVPanGestureRecognizerMouseTest, aReleaseElsewhereWithoutAMoveIsNoPanEither) {
    GestureScene scene;
    const auto pan = MVPanGestureRecognizer::init();
    const auto target = scene.target(pan, "ann");
    scene.window->addGestureRecognizer(pan);
    scene.press({200, 150});
    scene.release({300, 150});
    EXPECT_THAT(scene.log, IsEmpty()) << "the screen point is that of the press";
}

TEST(MVPanGestureRecognizerMouseTest, afterAMoveTheReleaseAddsNothingToTheWay) {
    GestureScene scene;
    const auto pan = MVPanGestureRecognizer::init();
    const auto target = scene.target(pan, "ann");
    target->onTold = [&](const auto&) { target->lastRecognizer = nullptr; };
    scene.window->addGestureRecognizer(pan);
    scene.press({5, 5});
    scene.drag({6, 5});
    scene.release({7, 5});
    EXPECT_THAT(scene.log, IsEmpty()) << "5 points from the corner";
    scene.press({200, 150});
    scene.drag({201, 150});
    scene.release({201, 150});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: ended"));
}

}  // namespace
