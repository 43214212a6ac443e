#include "MivoraMac/input/MVMouse.h"

#include <gtest/gtest.h>

#include "tests/input/InputScene.h"

namespace {

using Mivora::Point3;
using Mivora::Ray3;

TEST(MVMouseTest, theButtonsHaveTheirNumbers) {
    EXPECT_EQ(MVMouseButtonLeft, 1);
    EXPECT_EQ(MVMouseButtonRight, 2);
    EXPECT_EQ(MVMouseButtonHover, 3);
    EXPECT_EQ(MVMouseButtonMiddle, 4);
}

TEST(MVMouseTest, aNewRecordIsEmptyWhateverItsEvent) {
    for (const auto& mouse : {MVMouse::init(), MVMouse::initWithEvent(nullptr),
                              MVMouse::initWithEvent(InputScene::eventAt({3, 4}, 2))}) {
        EXPECT_EQ(mouse->ray(), Ray3::kZero);
        EXPECT_EQ(mouse->previousRay(), Ray3::kZero);
        EXPECT_EQ(mouse->view(), nullptr);
        EXPECT_EQ(mouse->clickCount(), 0);
        EXPECT_EQ(mouse->button(), 0);
        EXPECT_EQ(mouse->modifiers(), Mivora::platform::Modifiers());
    }
}

TEST(MVMouseTest, propertiesReadAsTheyWereSet) {
    const auto mouse = MVMouse::init();
    const Ray3 ray = {{1, 2, 3}, {4, 5, 6}};
    const Ray3 previous = {{7, 8, 9}, {1, 0, 0}};
    auto view = MVView::init();
    mouse->setRay(ray);
    mouse->setPreviousRay(previous);
    mouse->setView(view);
    mouse->setClickCount(3);
    mouse->setButton(MVMouseButtonRight);
    EXPECT_EQ(mouse->ray(), ray);
    EXPECT_EQ(mouse->previousRay(), previous);
    EXPECT_EQ(mouse->view(), view);
    EXPECT_EQ(mouse->clickCount(), 3);
    EXPECT_EQ(mouse->button(), MVMouseButtonRight);
    view.reset();
    EXPECT_EQ(mouse->view(), nullptr) << "it is held weakly";
}

TEST(MVMouseTest, onlyTheHoverHovers) {
    const auto mouse = MVMouse::init();
    for (const std::int32_t button : {0, 1, 2, 3, 4}) {
        mouse->setButton(button);
        EXPECT_EQ(mouse->mv_isHover(), button == MVMouseButtonHover) << button;
    }
}

TEST(MVMouseTest, locationsFollowTheTwoRays) {
    const InputScene scene;
    const auto view = addInputView(scene.window, "view", nullptr, {100, 50}, {80, 60});
    view->setContentScaleFactor(2);
    const auto mouse = scene.mouseAt(InputScene::at(110.3F, 70));
    mouse->setPreviousRay(scene.rayThrough(InputScene::at(20, 30)));
    EXPECT_EQ(mouse->locationInView(view), (Point3{10.5F, 20, 0}));
    EXPECT_EQ(mouse->previousLocationInView(view), (Point3{-80, -20, 0}));
    EXPECT_EQ(mouse->locationInView(nullptr), Point3::kNull);
    EXPECT_EQ(mouse->previousLocationInView(nullptr), Point3::kNull);
}

}  // namespace
