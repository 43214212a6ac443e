#include "MivoraMac/input/MVTouch.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>

#include "MivoraMac/input/MVGestureRecognizer.h"
#include "MivoraMac/input/MVPlatformTouch.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "tests/input/InputScene.h"

namespace {

using Mivora::Point3;
using Mivora::Ray3;

/// A touch that overrides nothing.
class PlainTouch : public MVTouch {
 public:
    static std::shared_ptr<PlainTouch> make(const InputScene::EventPointer& event = nullptr) {
        return MVMake<PlainTouch>(event);
    }

 protected:
    friend struct ::MVMaker;
    explicit PlainTouch(const InputScene::EventPointer& event) : MVTouch(event) {}
};

void expectNotOverridden(const char* operation, const std::function<void()>& call) {
    try {
        call();
        FAIL() << operation << " did not throw";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInternalInconsistency);
        EXPECT_EQ(exception.reason(), std::string("Method must be overridden: ") + operation);
    }
}

TEST(MVTouchTest, aNewTouchIsNowhereOverNoViewAndFollowedByNobody) {
    const auto event = InputScene::eventAt({3, 4});
    const auto touch = PlainTouch::make(event);
    EXPECT_EQ(touch->ray(), Ray3::kZero);
    EXPECT_EQ(touch->previousRay(), Ray3::kZero);
    EXPECT_EQ(touch->view(), nullptr);
    EXPECT_EQ(touch->trackingView(), nullptr);
    EXPECT_TRUE(touch->gestureRecognizers().empty());
    EXPECT_EQ(touch->mv_systemTouch(), event);
    EXPECT_FALSE(touch->mv_isHover());
}

TEST(MVTouchTest, theBaseMeasuresNoForce) {
    const auto touch = PlainTouch::make();
    EXPECT_FALSE(touch->touchForceSupported());
    EXPECT_EQ(touch->touchForce(), 0.0F);
    EXPECT_EQ(touch->maximumPossibleTouchForce(), 0.0F);
}

TEST(MVTouchTest, whatASubclassMustOverrideThrows) {
    const auto touch = PlainTouch::make();
    expectNotOverridden("updateWithSystemEventOnWindow",
                        [&] { touch->updateWithSystemEventOnWindow(nullptr, nullptr); });
    expectNotOverridden("screenPoint", [&] { touch->screenPoint(); });
    expectNotOverridden("previousScreenPoint", [&] { touch->previousScreenPoint(); });
}

TEST(MVTouchTest, theTouchMadeOfAnEventIsAPlatformTouch) {
    const InputScene scene;
    const auto touch = MVTouch::touchWithSystemEventAndWindow(
        InputScene::eventAt(InputScene::at(10, 20)), scene.window);
    EXPECT_NE(std::dynamic_pointer_cast<MVPlatformTouch>(touch), nullptr);
    EXPECT_EQ(touch->view(), scene.window);
}

TEST(MVTouchTest, viewsAreHeldWeakly) {
    const auto touch = PlainTouch::make();
    auto view = MVView::init();
    auto tracking = MVView::init();
    touch->setView(view);
    touch->setTrackingView(tracking);
    EXPECT_EQ(touch->view(), view);
    EXPECT_EQ(touch->trackingView(), tracking);
    view.reset();
    tracking.reset();
    EXPECT_EQ(touch->view(), nullptr);
    EXPECT_EQ(touch->trackingView(), nullptr);
}

TEST(MVTouchTest, locationsFollowTheTwoRays) {
    const InputScene scene;
    const auto view = addInputView(scene.window, "view", nullptr, {100, 50}, {80, 60});
    const auto touch = PlainTouch::make();
    touch->setRay(scene.rayThrough(InputScene::at(110, 70)));
    touch->setPreviousRay(scene.rayThrough(InputScene::at(20, 30)));
    EXPECT_EQ(touch->locationInView(view), (Point3{10, 20, 0}));
    EXPECT_EQ(touch->previousLocationInView(view), (Point3{-80, -20, 0}));
    EXPECT_EQ(touch->locationInView(scene.window), (Point3{110, 70, 0}));
}

TEST(MVTouchTest, noViewIsNowhere) {
    const InputScene scene;
    const auto touch = PlainTouch::make();
    touch->setRay(scene.rayThrough(InputScene::at(110, 70)));
    touch->setPreviousRay(touch->ray());
    EXPECT_EQ(touch->locationInView(nullptr), Point3::kNull);
    EXPECT_EQ(touch->previousLocationInView(nullptr), Point3::kNull);
}

TEST(MVTouchTest, locationsHaveThePixelsOfTheView) {
    const InputScene scene;
    const auto touch = PlainTouch::make();
    touch->setRay(scene.rayThrough(InputScene::at(10.3F, 20)));
    EXPECT_EQ(touch->locationInView(scene.window), (Point3{10, 20, 0}));
    const auto view = addInputView(scene.window, "view", nullptr, {0, 0}, {80, 60});
    view->setContentScaleFactor(2);
    EXPECT_EQ(touch->locationInView(view), (Point3{10.5F, 20, 0}));
}

TEST(MVTouchTest, locationsAreThoseOfThePlaneInTurnedAndScaledViews) {
    const InputScene scene;
    const auto outer = addInputView(scene.window, "outer", nullptr, {200, 150}, {200, 100});
    outer->setAnchorPoint({0.5F, 0.5F});
    outer->setRotation3({0.5F, -0.4F, 0.3F});
    outer->setUniformScale(0.8F);
    const auto inner = addInputView(outer, "inner", nullptr, {20, 10}, {100, 80});
    inner->setRotation3({-0.2F, 0.6F, 0});
    const auto touch = PlainTouch::make();
    for (const auto& [x, y] :
         {std::pair{10.0F, 20.0F}, std::pair{90.0F, 5.0F}, std::pair{-30.0F, 110.0F}}) {
        touch->setRay(scene.rayThrough(scene.placeOf(inner, x, y)));
        EXPECT_EQ(touch->locationInView(inner), (Point3{x, y, 0}));
    }
}

TEST(MVTouchTest, aPlaneAlongTheRayIsMetNowhere) {
    const InputScene scene;
    const auto view = addInputView(scene.window, "view", nullptr, {200, 150}, {80, 60});
    view->setInteractionPlane({{1, 0, 0}, 0});
    const auto touch = PlainTouch::make();
    touch->setRay({{0, 0, -200}, {0, 0, -1}});
    const Point3 place = touch->locationInView(view);
    EXPECT_TRUE(std::isnan(place.x) && std::isnan(place.y) && std::isnan(place.z))
        << "the null point, transformed by a matrix with zeros";
}

TEST(MVTouchTest, nowhereIsTransformedLikeAnyOtherPoint) {
    const InputScene scene;
    const auto view = addInputView(scene.window, "view", nullptr, {200, 150}, {80, 60});
    view->setRotation3({0.5F, -0.4F, 0.3F});
    // Without a direction, the ray of a new touch meets nothing. All axes of the world count
    // towards x in the view, but towards its y and z some count against the others.
    const Point3 place = PlainTouch::make()->locationInView(view);
    EXPECT_EQ(place.x, std::numeric_limits<float>::infinity());
    EXPECT_TRUE(std::isnan(place.y) && std::isnan(place.z));
}

TEST(MVTouchTest, aTouchThatIsOverKnowsItsRecognizersWithoutKeepingThem) {
    const auto touch = PlainTouch::make();
    auto bound = MVGestureRecognizer::init();
    auto boundLate = MVGestureRecognizer::init();
    const std::weak_ptr<MVGestureRecognizer> weak = bound;
    const std::weak_ptr<MVGestureRecognizer> weakLate = boundLate;
    touch->mv_addGestureRecognizer(bound);
    touch->mv_finish();
    touch->mv_finish();
    touch->mv_addGestureRecognizer(boundLate);
    EXPECT_EQ(touch->gestureRecognizers(), (MVGestureRecognizerSet{bound, boundLate}));
    bound.reset();
    boundLate.reset();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(weakLate.expired());
    EXPECT_TRUE(touch->gestureRecognizers().empty());
}

}  // namespace
