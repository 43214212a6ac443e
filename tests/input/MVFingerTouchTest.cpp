#include "MivoraMac/input/MVFingerTouch.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/input/InputScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;

class MVFingerTouchTest : public testing::Test {
 protected:
    static InputScene::EventPointer eventAt(float x, float y) {
        return InputScene::eventAt(InputScene::at(x, y));
    }

    InputScene scene;
    const std::shared_ptr<MVWindow>& window = scene.window;
};

TEST_F(MVFingerTouchTest, itsScreenPointIsWhereTheFingerIsFromTheFirstMomentOn) {
    const auto view = addInputView(window, "view", nullptr, {100, 50}, {80, 60});
    const auto touch = MVFingerTouch::initWithSystemEventAndWindow(eventAt(110, 70), window);
    EXPECT_EQ(touch->view(), view);
    EXPECT_EQ(touch->trackingView(), view);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(110, 70));
    touch->updateWithSystemEventOnWindow(eventAt(120, 75), window);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(120, 75));
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(touch->locationInView(view), (Point3{20, 25, 0}));
    EXPECT_EQ(touch->previousLocationInView(view), (Point3{10, 20, 0}));
    touch->mv_endWithSystemEventOnWindow(eventAt(121, 75), window);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(121, 75));
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(120, 75));
}

TEST_F(MVFingerTouchTest, theEndOfOneThatNeverMovedIsAnUpdateLikeAnyOther) {
    const auto touch = MVFingerTouch::initWithSystemEventAndWindow(eventAt(110, 70), window);
    touch->mv_endWithSystemEventOnWindow(eventAt(160, 70), window);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(160, 70));
    EXPECT_EQ(touch->previousScreenPoint(), InputScene::at(110, 70));
}

TEST_F(MVFingerTouchTest, itMayBelongToTheViewAtAnotherPlace) {
    const auto view = addInputView(window, "view", nullptr, {100, 50}, {80, 60});
    const auto touch = MVFingerTouch::initWithSystemEventAndWindowLanding(eventAt(10, 70), window,
                                                                          eventAt(110, 70));
    EXPECT_EQ(touch->view(), view);
    EXPECT_EQ(touch->locationInView(view), (Point3{-90, 20, 0}));
    EXPECT_EQ(touch->previousRay(), touch->ray());
    EXPECT_EQ(touch->screenPoint(), InputScene::at(10, 70));
}

TEST_F(MVFingerTouchTest, oneWithALandingOfItsOwnIsOnATouchpad) {
    const auto event = eventAt(10, 70);
    EXPECT_FALSE(MVFingerTouch::initWithSystemEventAndWindow(event, window)->isOnTouchpad());
    EXPECT_FALSE(
        MVFingerTouch::initWithSystemEventAndWindowLanding(event, window, event)->isOnTouchpad());
    EXPECT_TRUE(MVFingerTouch::initWithSystemEventAndWindowLanding(event, window, eventAt(110, 70))
                    ->isOnTouchpad());
}

TEST_F(MVFingerTouchTest, withoutAWindowThereIsNoView) {
    const auto touch = MVFingerTouch::initWithSystemEventAndWindow(eventAt(110, 70), nullptr);
    EXPECT_EQ(touch->view(), nullptr);
    EXPECT_EQ(touch->screenPoint(), InputScene::at(110, 70));
    EXPECT_EQ(MVFingerTouch::initWithSystemEventAndWindow(nullptr, nullptr)->screenPoint(),
              Point2::kZero);
}

}  // namespace
