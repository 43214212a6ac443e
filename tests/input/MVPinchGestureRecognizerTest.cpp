#include "MivoraMac/input/MVPinchGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "tests/input/TwoTouchScene.h"

namespace {

using testing::ElementsAre;

using Scene = TwoTouchScene<MVPinchGestureRecognizer>;

TEST(MVPinchGestureRecognizerTest, theScaleIsOneAtFirstAndWhatItIsSetTo) {
    const auto pinch = MVPinchGestureRecognizer::init();
    EXPECT_EQ(pinch->scale(), 1.0F);
    pinch->setScale(2.5F);
    EXPECT_EQ(pinch->scale(), 2.5F);
    pinch->reset();
    EXPECT_EQ(pinch->scale(), 2.5F);
}

TEST(MVPinchGestureRecognizerTest, theInitialiserTakesAFirstTarget) {
    CallLog log;
    const auto ann = ScriptedTarget::make("ann", &log);
    const auto pinch = MVPinchGestureRecognizer::initWithTargetAction(ann, &ScriptedTarget::told);
    const auto view = MVView::init();
    view->addGestureRecognizer(pinch);
    pinch->mv_touchesEnded({});
    pinch->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, ElementsAre("ann: ended"));
    ann->lastRecognizer = nullptr;
}

TEST(MVPinchGestureRecognizerTest, twiceTheDistanceIsTwiceTheScaleWhichTheNextPinchTakesUp) {
    Scene scene;
    auto a = scene.begin(0, 0);
    auto b = scene.begin(100, 0);
    scene.move(b, 200, 0);
    EXPECT_EQ(scene.recognizer->scale(), 2.0F);
    scene.end({a, b});
    runMainLoop();
    a = scene.begin(0, 0);
    b = scene.begin(200, 0);
    EXPECT_EQ(scene.recognizer->scale(), 2.0F);
    scene.move(b, 100, 0);
    EXPECT_EQ(scene.recognizer->scale(), 1.0F);
    scene.end({a, b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: changed", "ann: ended", "ann: began",
                                       "ann: changed", "ann: ended"));
}

TEST(MVPinchGestureRecognizerTest, stepsMultiplyToTheWholeWay) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(60, 80);
    scene.move(b, 90, 120);
    scene.move(a, -30, -40);
    scene.move(b, 0, 160);
    const float distance = std::hypot(30.0F, 200.0F);
    EXPECT_NEAR(scene.recognizer->scale(), distance / 100.0F, 1e-5);
    scene.end({a, b});
}

TEST(MVPinchGestureRecognizerTest, depthCountsInTheDistance) {
    Scene scene;
    scene.view->setInteractionPlane({{0.6F, 0, 0.8F}, 0});
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(80, 0);
    ASSERT_EQ(b->locationInView(scene.view), (Mivora::Point3{80, 0, -60}));
    scene.move(b, 0, 200);
    EXPECT_EQ(scene.recognizer->scale(), 2.0F);
    scene.end({a, b});
}

TEST(MVPinchGestureRecognizerTest, theScaleIsMultipliedBeforeItIsDivided) {
    Scene scene;
    scene.recognizer->setScale(7);
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(90, 0);
    scene.move(b, 30, 0);
    // In any other order the last bit is another one.
    EXPECT_EQ(scene.recognizer->scale(), 30.0F * 7.0F / 90.0F);
    scene.end({a, b});
}

TEST(MVPinchGestureRecognizerTest, aMoveThatLeavesTheScaleAsItIsIsNotTold) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.move(b, 100, 0);
    scene.move(b, 0, 100);
    a->moveTo(10, 10);
    b->moveTo(10, 110);
    MVDispatchSelectorToTouches({a, b}, MVTouchPhase::Moved);
    EXPECT_THAT(scene.log, ElementsAre("ann: began"));
    EXPECT_EQ(scene.recognizer->scale(), 1.0F);
    scene.end({a, b});
}

TEST(MVPinchGestureRecognizerTest, touchesThatWereInOnePlaceMakeTheScaleInfiniteOrNoNumber) {
    Scene scene;
    const auto a = scene.begin(50, 50);
    const auto b = scene.begin(50, 50);
    scene.move(b, 60, 50);
    EXPECT_TRUE(std::isinf(scene.recognizer->scale()));
    scene.move(b, 70, 50);
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: changed"))
        << "twice infinity is the same";
    scene.move(b, 50, 50);
    scene.move(b, 50, 50);
    EXPECT_TRUE(std::isnan(scene.recognizer->scale()));
    scene.move(b, 51, 50);
    EXPECT_EQ(scene.log.size(), 5U) << "and what is no number changes with every move";
    scene.recognizer->setScale(1);
    scene.move(b, 53, 50);
    EXPECT_EQ(scene.recognizer->scale(), 3.0F);
    scene.end({a, b});
}

}  // namespace
