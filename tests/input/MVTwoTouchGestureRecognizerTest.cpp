#include "MivoraMac/input/MVTwoTouchGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "MivoraMac/input/MVPinchGestureRecognizer.h"
#include "MivoraMac/input/MVRotationGestureRecognizer.h"
#include "tests/input/TwoTouchScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point3;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

/// Records the moves and says of each that it changes the value, until told otherwise.
class MovesRecognizer : public MVTwoTouchGestureRecognizer {
 public:
    static std::shared_ptr<MovesRecognizer> init() { return MVMake<MovesRecognizer>(); }

    std::vector<std::vector<Point3>> moves;
    bool changes = true;

 protected:
    friend struct ::MVMaker;
    MovesRecognizer() = default;

    bool mv_touchesDidMove(const Move& move) override {
        moves.push_back({move.first, move.second, move.previousFirst, move.previousSecond});
        return changes;
    }
};

using Scene = TwoTouchScene<MovesRecognizer>;

TEST(MVTwoTouchGestureRecognizerTest, itBeginsWithTheSecondTouch) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    EXPECT_THAT(scene.log, IsEmpty());
    const auto b = scene.begin(100, 0);
    EXPECT_THAT(scene.log, ElementsAre("ann: began"));
    EXPECT_EQ(a->trackingView(), nullptr) << "and takes both from the views";
    EXPECT_EQ(b->trackingView(), nullptr);
    scene.end({a, b});
}

TEST(MVTwoTouchGestureRecognizerTest, itBeginsWhenTwoTouchesArriveTogether) {
    Scene scene;
    const auto a = scene.touchAt(0, 0);
    const auto b = scene.touchAt(100, 0);
    scene.begin({a, b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began"));
    scene.end({a, b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: ended"));
}

TEST(MVTwoTouchGestureRecognizerTest, aMoveSaysWhereBothAreAndWhereTheyWere) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    scene.move(a, 1, 1);
    EXPECT_THAT(scene.recognizer->moves, IsEmpty()) << "one touch is not enough";
    const auto b = scene.begin(100, 0);
    scene.move(b, 120, 5);
    EXPECT_THAT(scene.recognizer->moves.back(),
                ElementsAre(Point3{1, 1, 0}, Point3{120, 5, 0}, Point3{1, 1, 0}, Point3{100, 0, 0}))
        << "the one that rests was where it is";
    scene.move(a, 3, 4);
    EXPECT_THAT(scene.recognizer->moves.back(), ElementsAre(Point3{3, 4, 0}, Point3{120, 5, 0},
                                                            Point3{1, 1, 0}, Point3{120, 5, 0}));
    a->moveTo(5, 5);
    b->moveTo(130, 6);
    MVDispatchSelectorToTouches({b, a}, MVTouchPhase::Moved);
    EXPECT_THAT(scene.recognizer->moves.back(),
                ElementsAre(Point3{5, 5, 0}, Point3{130, 6, 0}, Point3{3, 4, 0}, Point3{120, 5, 0}))
        << "first is the one that came first";
    scene.end({a, b});
}

TEST(MVTwoTouchGestureRecognizerTest, onlyMovesThatChangeTheValueAreTold) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.move(a, 1, 0);
    scene.recognizer->changes = false;
    scene.move(a, 2, 0);
    scene.recognizer->changes = true;
    scene.move(a, 3, 0);
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: changed", "ann: changed"));
    scene.end({a, b});
}

TEST(MVTwoTouchGestureRecognizerTest, aThirdTouchIsIgnoredThroughout) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    const auto c = scene.begin(50, 50);
    scene.move(c, 60, 60);
    EXPECT_THAT(scene.recognizer->moves, IsEmpty());
    scene.end({a});
    scene.move(b, 90, 0);
    scene.move(c, 70, 70);
    EXPECT_THAT(scene.recognizer->moves, IsEmpty())
        << "it does not take the place of one that left";
    scene.end({b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: ended"));
    scene.end({c});
}

TEST(MVTwoTouchGestureRecognizerTest, ofThreeThatArriveTogetherTheFirstTwoAreFollowed) {
    Scene scene;
    const auto a = scene.touchAt(0, 0);
    const auto b = scene.touchAt(100, 0);
    const auto c = scene.touchAt(50, 50);
    scene.begin({c, a, b});
    scene.move(b, 60, 60);
    EXPECT_THAT(scene.recognizer->moves, IsEmpty());
    scene.move(a, 1, 0);
    EXPECT_EQ(scene.recognizer->moves.size(), 1U);
    scene.end({a, b, c});
}

TEST(MVTwoTouchGestureRecognizerTest, aTouchMayTakeThePlaceOfOneThatLeft) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.end({a});
    const auto c = scene.begin(50, 50);
    EXPECT_THAT(scene.log, ElementsAre("ann: began")) << "it has begun already";
    scene.move(c, 60, 60);
    EXPECT_THAT(scene.recognizer->moves.back(), ElementsAre(Point3{100, 0, 0}, Point3{60, 60, 0},
                                                            Point3{100, 0, 0}, Point3{50, 50, 0}));
    scene.end({b, c});
}

TEST(MVTwoTouchGestureRecognizerTest, itEndsOrIsCancelledWithTheLastTouch) {
    for (const bool isEnd : {true, false}) {
        Scene scene;
        const auto a = scene.begin(0, 0);
        const auto b = scene.begin(100, 0);
        scene.cancel({a});
        EXPECT_THAT(scene.log, ElementsAre("ann: began"));
        isEnd ? scene.end({b}) : scene.cancel({b});
        EXPECT_THAT(scene.log, ElementsAre("ann: began", isEnd ? "ann: ended" : "ann: cancelled"));
        runMainLoop();
        EXPECT_EQ(scene.recognizer->state(), MVGestureRecognizerStatePossible);
    }
}

TEST(MVTwoTouchGestureRecognizerTest, aSingleTouchThatEndsIsAGestureWithoutABegin) {
    Scene scene;
    scene.end({scene.begin(0, 0)});
    EXPECT_THAT(scene.log, ElementsAre("ann: ended"));
}

TEST(MVTwoTouchGestureRecognizerTest, aSingleTouchThatIsCancelledFailsSilently) {
    Scene scene;
    scene.cancel({scene.begin(0, 0)});
    EXPECT_THAT(scene.log, IsEmpty());
    EXPECT_EQ(scene.recognizer->state(), MVGestureRecognizerStateFailed);
}

TEST(MVTwoTouchGestureRecognizerTest, evenATouchItNeverSawEndsItWhenItHasNone) {
    Scene scene;
    scene.recognizer->mv_touchesEnded({scene.touchAt(0, 0)});
    EXPECT_EQ(scene.recognizer->state(), MVGestureRecognizerStateEnded);
}

TEST(MVTwoTouchGestureRecognizerTest, aResetForgetsTheTouches) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.recognizer->reset();
    scene.move(a, 1, 0);
    EXPECT_THAT(scene.recognizer->moves, IsEmpty());
    scene.end({a, b});
}

TEST(MVTwoTouchGestureRecognizerTest, oneThatWaitsForItsResetProposesInVain) {
    Scene scene;
    scene.recognizer->mv_setStateToFailed();
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    EXPECT_EQ(scene.recognizer->state(), MVGestureRecognizerStateFailed);
    runMainLoop();
    EXPECT_EQ(scene.recognizer->state(), MVGestureRecognizerStatePossible);
    scene.move(a, 1, 0);
    EXPECT_THAT(scene.log, IsEmpty()) << "the reset has forgotten the touches";
    scene.end({a, b});
}

TEST(MVTwoTouchGestureRecognizerTest, everyPhaseWithoutAViewWarns) {
    const LogCapture capture;
    Scene scene;
    scene.view->removeGestureRecognizer(scene.recognizer);
    for (const auto phase :
         {MVTouchPhase::Began, MVTouchPhase::Moved, MVTouchPhase::Ended, MVTouchPhase::Cancelled}) {
        mv_sendTouches(*scene.recognizer, phase, {});
    }
    EXPECT_EQ(capture.lines().size(), 4U);
}

TEST(MVTwoTouchGestureRecognizerTest, theMouseNeverMakesItBegin) {
    GestureScene scene;
    const auto pinch = MVPinchGestureRecognizer::init();
    const auto rotation = MVRotationGestureRecognizer::init();
    const auto ann = scene.target(pinch, "ann");
    const auto ben = scene.target(rotation, "ben");
    const auto yes = ScriptedAdviser::saying(true);
    pinch->setDelegate(yes);
    scene.window->addGestureRecognizer(pinch);
    scene.window->addGestureRecognizer(rotation);
    scene.press({100, 100});
    scene.drag({200, 100});
    scene.release({200, 100});
    EXPECT_THAT(scene.log, ElementsAre("ann: ended", "ben: ended"));
    EXPECT_EQ(pinch->scale(), 1.0F);
    EXPECT_EQ(rotation->rotation(), 0.0F);
    ann->lastRecognizer = ben->lastRecognizer = nullptr;
}

TEST(MVTwoTouchGestureRecognizerTest, pinchAndRotationGoTogetherWhereADelegateAllowsIt) {
    TwoTouchScene<MVPinchGestureRecognizer> scene;
    const auto rotation = MVRotationGestureRecognizer::init();
    const auto ben = scene.target(rotation, "ben");
    const auto yes = ScriptedAdviser::saying(true);
    rotation->setDelegate(yes);
    scene.view->addGestureRecognizer(rotation);
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.move(b, 0, 200);
    EXPECT_EQ(scene.recognizer->scale(), 2.0F);
    EXPECT_FLOAT_EQ(rotation->rotation(), 1.57079633F);
    scene.end({a, b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ben: began", "ann: changed", "ben: changed",
                                       "ann: ended", "ben: ended"));
    ben->lastRecognizer = nullptr;
}

}  // namespace
