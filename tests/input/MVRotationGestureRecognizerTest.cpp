#include "MivoraMac/input/MVRotationGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/input/TwoTouchScene.h"

namespace {

using testing::ElementsAre;

using Scene = TwoTouchScene<MVRotationGestureRecognizer>;

constexpr double kTurn = 6.283185307179586;

/// Turns the second touch to an angle about the first one, which is at the origin.
void turnTo(const Scene& scene, const Scene::Touch& touch, double radians) {
    scene.move(touch, static_cast<float>(1e6 * std::cos(radians)),
               static_cast<float>(1e6 * std::sin(radians)));
}

TEST(MVRotationGestureRecognizerTest, theRotationIsZeroAtFirstAndWhatItIsSetTo) {
    const auto rotation = MVRotationGestureRecognizer::init();
    EXPECT_EQ(rotation->rotation(), 0.0F);
    rotation->setRotation(-7.5F);
    EXPECT_EQ(rotation->rotation(), -7.5F);
    rotation->reset();
    EXPECT_EQ(rotation->rotation(), -7.5F);
}

TEST(MVRotationGestureRecognizerTest, turnsAddUpOverGestures) {
    Scene scene;
    auto a = scene.begin(0, 0);
    auto b = scene.begin(1e6F, 0);
    turnTo(scene, b, 0.25);
    turnTo(scene, b, 1.0);
    EXPECT_NEAR(scene.recognizer->rotation(), 1.0, 1e-5);
    scene.end({a, b});
    runMainLoop();
    a = scene.begin(0, 0);
    b = scene.begin(1e6F, 0);
    EXPECT_NEAR(scene.recognizer->rotation(), 1.0, 1e-5);
    turnTo(scene, b, 0.5);
    EXPECT_NEAR(scene.recognizer->rotation(), 1.5, 1e-5);
    scene.end({a, b});
    EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: changed", "ann: changed", "ann: ended",
                                       "ann: began", "ann: changed", "ann: ended"));
}

TEST(MVRotationGestureRecognizerTest, turnsTooSmallForAFloatAddUp) {
    Scene scene;
    scene.recognizer->setRotation(3.0F);
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(1e7F, 0);
    for (int y = 1; y <= 100; ++y) {
        scene.move(b, 1e7F, static_cast<float>(y));
    }
    EXPECT_NEAR(scene.recognizer->rotation(), 3.00001, 3e-7);
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, theDirectionsAreFinerThanFloats) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(-1e7F, 1);
    scene.move(b, -1e7F, 0);
    EXPECT_NEAR(scene.recognizer->rotation(), 1e-7, 1e-12) << "near pi floats are 2e-7 apart";
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, exactlyAFullTurnIsNone) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    // So far away that one below is exactly -pi, and one above exactly pi.
    const auto b = scene.begin(-1e20F, -1);
    scene.move(b, -1e20F, 1);
    EXPECT_EQ(scene.recognizer->rotation(), 0.0F);
    EXPECT_THAT(scene.log, ElementsAre("ann: began"));
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, turningBackBeyondZeroComesInFromAFullTurn) {
    Scene scene;
    scene.recognizer->setRotation(0.05F);
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(1e6F, 0);
    turnTo(scene, b, -0.1);
    EXPECT_NEAR(scene.recognizer->rotation(), kTurn - 0.05, 1e-5);
    turnTo(scene, b, 0.0);
    EXPECT_NEAR(scene.recognizer->rotation(), 0.05, 1e-5) << "and the other way";
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, acrossTheDirectionWhereAnglesJumpItTurnsOn) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.touchAt(-1e6F, 1e5F);
    scene.begin({b});
    const double before = std::atan2(1e5, -1e6);
    turnTo(scene, b, before + 0.3);
    EXPECT_NEAR(scene.recognizer->rotation(), 0.3, 1e-5);
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, onlyTheDirectionCounts) {
    Scene scene;
    const auto a = scene.begin(0, 0);
    const auto b = scene.begin(100, 0);
    scene.move(b, 300, 0);
    a->moveTo(10, 20);
    b->moveTo(60, 20);
    MVDispatchSelectorToTouches({a, b}, MVTouchPhase::Moved);
    EXPECT_THAT(scene.log, ElementsAre("ann: began"));
    scene.move(a, 60, 120);
    EXPECT_NEAR(scene.recognizer->rotation(), kTurn * 0.75, 1e-5)
        << "the first one turns, too: from east to north of it";
    scene.end({a, b});
}

TEST(MVRotationGestureRecognizerTest, whatAClientSetsIsBroughtIntoRange) {
    struct Row {
        float set;
        double expected;
    };
    const Row rows[] = {
        {7.0F, 7.0 - kTurn + 0.5},
        {-1.0F, kTurn - 0.5},
        {-20.0F, 4 * kTurn - 19.5},
        {static_cast<float>(kTurn), 0.5},
        {1e30F, std::fmod(static_cast<double>(1e30F), kTurn)},
    };
    for (const Row& row : rows) {
        Scene scene;
        scene.recognizer->setRotation(row.set);
        const auto a = scene.begin(0, 0);
        const auto b = scene.begin(1e6F, 0);
        turnTo(scene, b, 0.5);
        EXPECT_NEAR(scene.recognizer->rotation(), row.expected, 1e-5) << row.set;
        scene.end({a, b});
    }
}

TEST(MVRotationGestureRecognizerTest, whatIsNoAngleBecomesNoNumberAndIsTold) {
    for (const float set :
         {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
          std::numeric_limits<float>::quiet_NaN()}) {
        Scene scene;
        scene.recognizer->setRotation(set);
        const auto a = scene.begin(0, 0);
        const auto b = scene.begin(100, 0);
        scene.move(b, 100, 1);
        EXPECT_TRUE(std::isnan(scene.recognizer->rotation()));
        scene.move(b, 100, 1);
        EXPECT_THAT(scene.log, ElementsAre("ann: began", "ann: changed", "ann: changed"));
        scene.end({a, b});
    }
}

TEST(MVRotationGestureRecognizerTest, touchesInOnePlacePointNowhereWhichIsEast) {
    Scene scene;
    const auto a = scene.begin(50, 50);
    const auto b = scene.begin(50, 50);
    scene.move(b, 50, 60);
    EXPECT_NEAR(scene.recognizer->rotation(), kTurn / 4, 1e-5);
    scene.end({a, b});
}

}  // namespace
