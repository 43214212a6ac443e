#include "MivoraMac/input/MVPlatformTouch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

#include "MivoraMac/platform/base/MVException.h"
#include "tests/input/InputScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;

using Touch = std::shared_ptr<MVPlatformTouch>;

class MVPlatformTouchTest : public testing::Test {
 protected:
    Touch touchAt(float x, float y) const {
        return MVPlatformTouch::initWithSystemEventAndWindow(
            InputScene::eventAt(InputScene::at(x, y)), window);
    }
    void move(const Touch& touch, float x, float y) const {
        touch->updateWithSystemEventOnWindow(InputScene::eventAt(InputScene::at(x, y)), window);
    }

    InputScene scene;
    const std::shared_ptr<MVWindow>& window = scene.window;
};

void expectNotUpdated(Point2 (MVPlatformTouch::*point)() const, const Touch& touch) {
    try {
        (touch.get()->*point)();
        FAIL() << "no exception";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), "MVTouch not updated");
        EXPECT_EQ(exception.reason(),
                  "Attempt to retrieve MVTouch.screenPoint prior to first update.");
    }
}

TEST_F(MVPlatformTouchTest, aNewTouchIsAtTheEventAndTrackedByTheViewItIsOver) {
    const auto view = addInputView(window, "view", nullptr, {100, 50}, {80, 60});
    const Touch touch = touchAt(110, 70);
    EXPECT_EQ(touch->view(), view);
    EXPECT_EQ(touch->trackingView(), view);
    EXPECT_EQ(touch->ray(), touch->previousRay());
    EXPECT_EQ(touch->ray(), scene.rayThrough(InputScene::at(110, 70)));
    EXPECT_EQ(touch->locationInView(view), (Point3{10, 20, 0}));
}

TEST_F(MVPlatformTouchTest, aTouchOverNothingHasNoView) {
    const Touch touch = touchAt(-100, 70);
    EXPECT_EQ(touch->view(), nullptr);
    EXPECT_EQ(touch->trackingView(), nullptr);
}

TEST_F(MVPlatformTouchTest, withoutAWindowThereIsNeitherRayNorView) {
    const Touch touch = MVPlatformTouch::initWithSystemEventAndWindow(
        InputScene::eventAt(InputScene::at(110, 70)), nullptr);
    EXPECT_EQ(touch->ray(), Ray3::kZero);
    EXPECT_EQ(touch->view(), nullptr);
    touch->updateWithSystemEventOnWindow(InputScene::eventAt({1, 2}), nullptr);
    EXPECT_EQ(touch->ray(), Ray3::kZero);
}

TEST_F(MVPlatformTouchTest, updatesMoveTheRayAndKeepTheViews) {
    const auto view = addInputView(window, "view", nullptr, {100, 50}, {80, 60});
    const Touch touch = touchAt(110, 70);
    move(touch, 300, 200);
    move(touch, 310, 220);
    EXPECT_EQ(touch->previousLocationInView(window), (Point3{300, 200, 0}));
    EXPECT_EQ(touch->locationInView(window), (Point3{310, 220, 0}));
    EXPECT_EQ(touch->locationInView(view), (Point3{210, 170, 0}));
    EXPECT_EQ(touch->view(), view);
    EXPECT_EQ(touch->trackingView(), view);
}

TEST_F(MVPlatformTouchTest, thereIsNoScreenPointBeforeTheFirstUpdate) {
    const Touch touch = touchAt(110, 70);
    expectNotUpdated(&MVPlatformTouch::screenPoint, touch);
    expectNotUpdated(&MVPlatformTouch::previousScreenPoint, touch);
}

TEST_F(MVPlatformTouchTest, screenPointsStayWhereTheTouchBeganWhileTheRaysFollowThePointer) {
    const Point2 begin = InputScene::at(110, 70);
    const Touch touch = touchAt(110, 70);
    move(touch, 130, 90);
    EXPECT_EQ(touch->screenPoint(), begin);
    EXPECT_EQ(touch->previousScreenPoint(), Point2::kZero);
    const Point2 afterTheFirst = touch->screenPoint();
    const Ray3 first = touch->ray();
    move(touch, 150, 110);
    EXPECT_EQ(touch->previousScreenPoint(), afterTheFirst);
    EXPECT_EQ(touch->screenPoint(), begin);
    EXPECT_EQ(touch->previousRay(), first);
    EXPECT_EQ(touch->ray(), scene.rayThrough(InputScene::at(150, 110)));
}

TEST_F(MVPlatformTouchTest, theEndOfATouchThatNeverMovedIsNoWay) {
    const Touch touch = touchAt(110, 70);
    touch->mv_endWithSystemEventOnWindow(InputScene::eventAt(InputScene::at(130, 90)), window);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->ray(), scene.rayThrough(InputScene::at(130, 90)));
    EXPECT_EQ(touch->previousRay(), scene.rayThrough(InputScene::at(110, 70)));
}

TEST_F(MVPlatformTouchTest, theEndOfATouchThatHasMovedIsAnUpdateLikeAnyOther) {
    const Touch touch = touchAt(110, 70);
    move(touch, 120, 80);
    EXPECT_EQ(touch->previousScreenPoint(), Point2::kZero);
    touch->mv_endWithSystemEventOnWindow(InputScene::eventAt(InputScene::at(130, 90)), window);
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->screenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->previousRay(), scene.rayThrough(InputScene::at(120, 80)));
}

TEST_F(MVPlatformTouchTest, theEventOfTheBeginLivesAsLongAsTheTouch) {
    auto event = InputScene::eventAt(InputScene::at(5, 6));
    const std::weak_ptr<const Mivora::platform::Event> weak = event;
    Touch touch = MVPlatformTouch::initWithSystemEventAndWindow(event, window);
    EXPECT_EQ(touch->mv_systemTouch(), event);
    event.reset();
    move(touch, 7, 8);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(5, 6));
    touch.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVPlatformTouchTest, noEventIsTheBottomLeftCorner) {
    const Touch touch = MVPlatformTouch::initWithSystemEventAndWindow(nullptr, window);
    EXPECT_EQ(touch->ray(), scene.rayThrough({0, 0}));
    EXPECT_EQ(touch->view(), window);
    touch->updateWithSystemEventOnWindow(nullptr, window);
    EXPECT_EQ(touch->screenPoint(), Point2::kZero);
}

TEST_F(MVPlatformTouchTest, theForceIsAlwaysFullAndNeverMeasured) {
    const Touch touch = touchAt(1, 1);
    EXPECT_EQ(touch->touchForce(), 1.0F);
    EXPECT_EQ(touch->maximumPossibleTouchForce(), 1.0F);
    EXPECT_FALSE(touch->touchForceSupported());
}

TEST_F(MVPlatformTouchTest, placesAreInPointsWhateverTheScale) {
    for (const float scale : {1.0F, 1.5F, 2.0F}) {
        const auto scaled = InputScene::makeWindow(scale);
        const Touch touch = MVPlatformTouch::initWithSystemEventAndWindow(
            InputScene::eventAt(InputScene::at(110, 70)), scaled);
        EXPECT_EQ(touch->view(), scaled);
        EXPECT_EQ(touch->locationInView(scaled), (Point3{110, 70, 0})) << scale;
    }
}

TEST_F(MVPlatformTouchTest, theViewportIsTruncatedToWholePixels) {
    window->setSize({400.9F, 300.9F});
    const auto place = Point2{100, 100};
    EXPECT_EQ(MVPlatformTouch::mv_unprojectSystemEventOnWindow(InputScene::eventAt(place), window),
              window->mv_unprojectScreenPointViewport(place, {0, 0, 400, 300}));
    window->setContentScaleFactor(1.5F);
    EXPECT_EQ(MVPlatformTouch::mv_unprojectSystemEventOnWindow(InputScene::eventAt(place), window),
              window->mv_unprojectScreenPointViewport(place, {0, 0, 601, 451}));
}

TEST_F(MVPlatformTouchTest, sizesThatAreNoNumbersHitNothing) {
    for (const float size : {std::numeric_limits<float>::quiet_NaN(),
                             std::numeric_limits<float>::infinity(), 1e20F, -1e20F, 0.0F}) {
        window->setSize({size, 300});
        EXPECT_EQ(touchAt(10, 10)->locationInView(nullptr), Point3::kNull) << size;
    }
}

}  // namespace
