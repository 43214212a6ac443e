// Bridge views in the window of an application.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVBridgeView.h"
#include "MivoraMac/views/MVColorView.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/support/GLTest.h"

namespace {

using Mivora::platform::HeadlessWindow;
using Mivora::platform::Rect;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;

class MVApplicationBridgeTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        application_ = MVApplication::init();
        frame_ = HeadlessWindow::create("", {0, 0, 400, 300});
        frame_->setContentView(application_->renderView());
        frame_->show();
        application_->window()->addSubview(superview_);
        superview_->setPosition({10.0F, 20.0F});
        superview_->addSubview(bridge_);
        bridge_->setSize({100.0F, 40.0F});
    }

    void TearDown() override {
        superview_->removeAllSubviews();
        frame_.reset();
        application_.reset();
        MVRenderContext::mv_setActiveContext(context_);
        GLTest::TearDown();
    }

    void frame() { application_->mv_runLoopFired(nullptr); }

    const std::vector<std::shared_ptr<View>>& shown() const {
        return application_->mv_renderView()->mv_bridgeViewContainer()->subviews();
    }

    Mivora::tests::ScopedEnvironment host_{"MIVORA_HOST", "headless"};
    std::shared_ptr<MVApplication> application_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::shared_ptr<MVView> superview_ = MVView::init();
    std::shared_ptr<View> native_ = View::initWithFrame({});
    std::shared_ptr<MVBridgeView> bridge_ = MVBridgeView::initWithBridgeView(native_);
};

TEST_F(MVApplicationBridgeTest, everyFrameBringsTheNativeViewToWhereItsViewIsSeen) {
    EXPECT_THAT(shown(), ElementsAre(native_));
    frame();
    EXPECT_EQ(native_->frame(), (Rect{10, 240, 100, 40}));
    superview_->setPosition({30.0F, 25.0F});
    frame();
    EXPECT_EQ(native_->frame(), (Rect{30, 235, 100, 40}));
}

TEST_F(MVApplicationBridgeTest, everyFrameHidesAndShowsTheNativeViewWithItsView) {
    superview_->setHidden(true);
    frame();
    EXPECT_TRUE(native_->isHidden());
    superview_->setHidden(false);
    frame();
    EXPECT_FALSE(native_->isHidden());
}

TEST_F(MVApplicationBridgeTest, whatIsPlacedOnTheScreenIsPlacedAsTheTreeSays) {
    superview_->setHidden(true);
    superview_->setPosition({30.0F, 25.0F});
    application_->renderView()->subviewsWillBePlaced();
    EXPECT_TRUE(native_->isHidden());
    EXPECT_EQ(native_->frame(), (Rect{30, 235, 100, 40}));
}

TEST_F(MVApplicationBridgeTest, aResizedWindowKeepsTheNativeViewAtItsPlaceFromTheTop) {
    frame();
    frame_->setContentSize(500, 200);
    EXPECT_EQ(native_->frame(), (Rect{10, 140, 100, 40}));
}

TEST_F(MVApplicationBridgeTest, aViewThatLeavesTakesItsNativeViewAway) {
    superview_->removeFromSuperview();
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(native_->superview(), nullptr);
    application_->window()->addSubview(superview_);
    EXPECT_THAT(shown(), ElementsAre(native_));
}

TEST_F(MVApplicationBridgeTest, theNativeViewMovesWithItsViewToAnotherApplication) {
    auto other = MVApplication::init();
    other->window()->addSubview(superview_);
    EXPECT_THAT(shown(), IsEmpty());
    EXPECT_EQ(native_->superview(), other->mv_renderView()->mv_bridgeViewContainer());
    superview_->removeFromSuperview();
}

TEST_F(MVApplicationBridgeTest, anApplicationThatGoesTakesItsNativeViewsAlong) {
    const auto renderView = application_->renderView();
    application_.reset();
    EXPECT_EQ(native_->superview(), nullptr);
}

TEST_F(MVApplicationBridgeTest, picturesLeaveNativeViewsOut) {
    auto color = MVColorView::initWithColor(Mivora::ColorRGBA::kRed);
    color->setSize({50.0F, 50.0F});
    superview_->addSubview(color);
    const auto with = MVCaptureWindow(application_->window());
    bridge_->removeFromSuperview();
    const auto without = MVCaptureWindow(application_->window());
    EXPECT_FALSE(with.isEmpty());
    EXPECT_EQ(with.rgba, without.rgba);
}

}  // namespace
