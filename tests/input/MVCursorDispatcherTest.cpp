#include "MivoraMac/input/MVCursorDispatcher.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>

#include "MivoraMac/input/MVCursor.h"
#include "tests/input/InputScene.h"
#include "tests/platform/base/ScopedEnvironment.h"

namespace {

class MVCursorDispatcherTest : public testing::Test {
 protected:
    std::shared_ptr<MVView> add(const std::shared_ptr<MVView>& superview, Mivora::Point2 position,
                                Mivora::Size2 size, MVCursor shape = MVCursor::Inherit) {
        auto view = MVView::init();
        view->setPosition(position);
        view->setSize(size);
        view->setCursor(shape);
        superview->addSubview(view);
        return view;
    }
    static Mivora::Point2 at(float x, float y) { return InputScene::at(x, y); }

    Mivora::tests::ScopedEnvironment host{"MIVORA_HOST", "headless"};
    InputScene scene;
    std::shared_ptr<MVCursorDispatcher> cursor = MVCursorDispatcher::initWithWindow(scene.window);
};

}  // namespace

TEST(MVCursorTest, everyShapeHasANameOfItsOwn) {
    EXPECT_STREQ(MVCursorName(MVCursor::Inherit), "");
    EXPECT_STREQ(MVCursorName(MVCursor::Default), "default");
    EXPECT_STREQ(MVCursorName(MVCursor::Grabbing), "grabbing");
    EXPECT_STREQ(MVCursorName(MVCursor::ColumnResize), "col-resize");
    EXPECT_STREQ(MVCursorName(MVCursor::NorthWestSouthEastResize), "nwse-resize");
    EXPECT_STREQ(MVCursorName(MVCursor::ZoomOut), "zoom-out");
    EXPECT_STREQ(MVCursorName(static_cast<MVCursor>(200)), "");
    std::set<std::string> names;
    for (int i = 0; i <= static_cast<int>(MVCursor::ZoomOut); ++i) {
        EXPECT_TRUE(names.insert(MVCursorName(static_cast<MVCursor>(i))).second) << i;
    }
}

TEST_F(MVCursorDispatcherTest, theFrontmostViewOrTheNearestAroundItDecides) {
    const auto outer = add(scene.window, {0, 0}, {200, 200}, MVCursor::Grab);
    const auto button = add(outer, {10, 10}, {50, 50}, MVCursor::Pointer);
    add(button, {0, 0}, {20, 20});
    EXPECT_EQ(cursor->name(), "");
    EXPECT_TRUE(cursor->pointerMoved(at(100, 100)));
    EXPECT_EQ(cursor->name(), "grab");
    EXPECT_FALSE(cursor->pointerMoved(at(110, 100)));
    EXPECT_TRUE(cursor->pointerMoved(at(15, 15))) << "without wanting hovers";
    EXPECT_EQ(cursor->name(), "pointer");
    EXPECT_TRUE(cursor->pointerMoved(at(300, 250)));
    EXPECT_EQ(cursor->name(), "");
    cursor->pointerMoved(at(15, 15));
    EXPECT_TRUE(cursor->pointerLeft());
    EXPECT_EQ(cursor->name(), "");
}

TEST_F(MVCursorDispatcherTest, whatCoversAViewWithoutAShapeOfItsOwnTakesThatOfItsSuperview) {
    add(scene.window, {0, 0}, {100, 100}, MVCursor::Pointer);
    add(scene.window, {0, 0}, {100, 100});
    cursor->pointerMoved(at(50, 50));
    EXPECT_EQ(cursor->name(), "");
}

TEST_F(MVCursorDispatcherTest, whileAButtonIsHeldThePressedViewDecides) {
    const auto a = add(scene.window, {0, 0}, {100, 100}, MVCursor::Grab);
    add(scene.window, {200, 0}, {100, 100}, MVCursor::Pointer);
    cursor->buttonPressed(at(50, 50));
    EXPECT_EQ(cursor->name(), "grab");
    a->setCursor(MVCursor::Grabbing);
    EXPECT_TRUE(cursor->update());
    EXPECT_FALSE(cursor->pointerDragged(at(250, 50)));
    cursor->buttonPressed(at(250, 50));
    EXPECT_FALSE(cursor->buttonReleased(at(250, 50))) << "another one is held";
    EXPECT_EQ(cursor->name(), "grabbing");
    EXPECT_TRUE(cursor->buttonReleased(at(250, 50)));
    EXPECT_EQ(cursor->name(), "pointer");
}

TEST_F(MVCursorDispatcherTest, aReleaseThatWasLostIsMadeUpForByAMove) {
    add(scene.window, {0, 0}, {100, 100}, MVCursor::Grab);
    add(scene.window, {200, 0}, {100, 100}, MVCursor::Pointer);
    cursor->buttonPressed(at(50, 50));
    cursor->pointerMoved(at(250, 50));
    EXPECT_EQ(cursor->name(), "pointer");
    cursor->buttonReleased(at(250, 50));
    cursor->buttonPressed(at(50, 50));
    EXPECT_EQ(cursor->name(), "grab");
}

TEST_F(MVCursorDispatcherTest, viewsThatMoveUnderTheRestingPointerAreNoticed) {
    const auto view = add(scene.window, {0, 0}, {100, 100}, MVCursor::Grab);
    cursor->pointerMoved(at(50, 50));
    view->setPosition({200, 0});
    EXPECT_TRUE(cursor->update());
    EXPECT_EQ(cursor->name(), "");
    EXPECT_FALSE(cursor->update());
}

TEST_F(MVCursorDispatcherTest, goneViewsAndWindowsLeaveTheUsualShape) {
    auto view = add(scene.window, {0, 0}, {100, 100}, MVCursor::Grab);
    cursor->buttonPressed(at(50, 50));
    view->removeFromSuperview();
    view.reset();
    EXPECT_TRUE(cursor->update());
    EXPECT_EQ(cursor->name(), "");
    scene.window.reset();
    cursor->pointerMoved(at(50, 50));
    EXPECT_EQ(cursor->name(), "");
}

TEST_F(MVCursorDispatcherTest, itIsKnownWhetherAnyViewNamesAShape) {
    EXPECT_FALSE(MVView::mv_anyCursors());
    {
        const auto view = MVView::init();
        view->setCursor(MVCursor::Grab);
        view->setCursor(MVCursor::Pointer);
        EXPECT_TRUE(MVView::mv_anyCursors());
        view->setCursor(MVCursor::Inherit);
        EXPECT_FALSE(MVView::mv_anyCursors());
        view->setCursor(MVCursor::Grab);
    }
    EXPECT_FALSE(MVView::mv_anyCursors());
}
