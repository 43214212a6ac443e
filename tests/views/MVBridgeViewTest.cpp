#include "MivoraMac/views/MVBridgeView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/windows/View.h"
#include "MivoraMac/views/MVBridgeViewHost.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::Point3;
using Mivora::platform::MainThread;
using Mivora::platform::Rect;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr float kPi = std::numbers::pi_v<float>;

using Native = std::shared_ptr<View>;
using Bridge = std::shared_ptr<MVBridgeView>;

/// A host 300 points high that logs what it holds.
struct RecordingHost : MVBridgeViewHost {
    void addBridgeView(const Bridge& bridge) override {
        log.push_back(bridge->bridgeView() ? "add" : "add nothing");
    }
    void removeBridgeView(const Bridge& bridge) override {
        log.push_back(bridge->bridgeView() ? "remove" : "remove nothing");
    }
    double mv_bridgeViewHostHeight() const override { return height; }

    std::vector<std::string> take() { return std::exchange(log, {}); }

    double height = 300;
    std::vector<std::string> log;
};

struct HostOwner : MVWindowOwner {
    std::shared_ptr<MVBridgeViewHost> mv_bridgeViewHost() override { return host; }
    std::shared_ptr<RecordingHost> host = std::make_shared<RecordingHost>();
};

class MVBridgeViewTest : public testing::Test {
 protected:
    /// Runs what was left to the main thread.
    static void turn() {
        MainThread::runUntil([] { return false; }, 0);
    }

    /// A bridge view of 100 x 40 in the window.
    Bridge add(const Native& native) {
        Bridge bridge = MVBridgeView::initWithBridgeView(native);
        bridge->setSize({100.0F, 40.0F});
        window_->addSubview(bridge);
        return bridge;
    }

    static void expectFrame(const Native& native, const Rect& expected) {
        // Rounding of places of some hundred points to 24 bits.
        EXPECT_NEAR(native->frame().x, expected.x, 1e-3);
        EXPECT_NEAR(native->frame().y, expected.y, 1e-3);
        EXPECT_NEAR(native->frame().width, expected.width, 1e-3);
        EXPECT_NEAR(native->frame().height, expected.height, 1e-3);
    }

    std::shared_ptr<HostOwner> owner_ = std::make_shared<HostOwner>();
    std::shared_ptr<MVWindow> window_ = MVWindow::mv_initWithOwner(owner_);
    std::shared_ptr<RecordingHost> host_ = owner_->host;
    Native native_ = View::initWithFrame({5, 6, 7, 8});
};

// Attachment

TEST_F(MVBridgeViewTest, aNewViewStandsForNothing) {
    const Bridge bridge = MVBridgeView::init();
    EXPECT_EQ(bridge->bridgeView(), nullptr);
    bridge->setSize({10.0F, 10.0F});
    bridge->mv_updateBridgeView();
    bridge->mv_sizeBridgeView();
    window_->addSubview(bridge);
    bridge->mv_positionBridgeView();
    bridge->removeFromSuperview();
}

TEST_F(MVBridgeViewTest, aViewThatIsInNoWindowHasNoEffectOnAHost) {
    const Bridge bridge = MVBridgeView::initWithBridgeView(native_);
    EXPECT_EQ(bridge->bridgeView(), native_);
    const auto superview = MVView::init();
    superview->addSubview(bridge);
    bridge->mv_positionBridgeView();
    EXPECT_THAT(host_->take(), IsEmpty());
    EXPECT_EQ(native_->frame(), (Rect{5, 6, 7, 8}));
    EXPECT_EQ(native_->superview(), nullptr);
}

TEST_F(MVBridgeViewTest, theNativeViewIsAddedWithTheWindowAndRemovedWithIt) {
    const auto superview = MVView::init();
    const Bridge bridge = MVBridgeView::initWithBridgeView(native_);
    superview->addSubview(bridge);
    window_->addSubview(superview);
    EXPECT_THAT(host_->take(), ElementsAre("add"));
    superview->removeFromSuperview();
    EXPECT_THAT(host_->take(), ElementsAre("remove"));
}

TEST_F(MVBridgeViewTest, movingBetweenWindowsMovesTheNativeView) {
    const Bridge bridge = add(native_);
    host_->take();
    const auto otherOwner = std::make_shared<HostOwner>();
    const auto otherWindow = MVWindow::mv_initWithOwner(otherOwner);
    otherWindow->addSubview(bridge);
    EXPECT_THAT(host_->take(), ElementsAre("remove"));
    EXPECT_THAT(otherOwner->host->take(), ElementsAre("add"));
}

TEST_F(MVBridgeViewTest, movingWithinAWindowLeavesTheNativeViewWhereItIs) {
    const Bridge bridge = add(native_);
    const auto superview = MVView::init();
    window_->addSubview(superview);
    host_->take();
    superview->addSubview(bridge);
    // It leaves its superview for another of the same window.
    EXPECT_THAT(host_->take(), IsEmpty());
}

TEST_F(MVBridgeViewTest, windowsWithoutAHostShowNothing) {
    const auto window = MVWindow::init();
    const Bridge bridge = MVBridgeView::initWithBridgeView(native_);
    window->addSubview(bridge);
    bridge->setSize({100.0F, 40.0F});
    bridge->mv_updateBridgeView();
    EXPECT_EQ(native_->frame(), (Rect{5, 6, 100, 40})) << "sized, not placed";
    bridge->removeFromSuperview();
}

// Replacing the native view

TEST_F(MVBridgeViewTest, settingTheSameNativeViewDoesNothing) {
    const Bridge bridge = add(native_);
    host_->take();
    native_->setFrame({1, 2, 3, 4});
    native_->setHidden(true);
    bridge->setBridgeView(native_);
    EXPECT_THAT(host_->take(), IsEmpty());
    EXPECT_EQ(native_->frame(), (Rect{1, 2, 3, 4}));
    EXPECT_TRUE(native_->isHidden());
}

TEST_F(MVBridgeViewTest, anotherNativeViewTakesOverPlaceSizeAndVisibility) {
    const Bridge bridge = add(native_);
    bridge->setPosition({20.0F, 30.0F});
    bridge->setHidden(true);
    host_->take();
    const auto next = View::initWithFrame({});
    bridge->setBridgeView(next);
    EXPECT_EQ(bridge->bridgeView(), next);
    EXPECT_THAT(host_->take(), ElementsAre("remove", "add"));
    EXPECT_EQ(next->frame(), (Rect{20, 300 - 40 - 30, 100, 40}));
    EXPECT_TRUE(next->isHidden());
}

TEST_F(MVBridgeViewTest, theNativeViewMayBeTakenAndGivenBack) {
    const Bridge bridge = add(native_);
    host_->take();
    bridge->setBridgeView(nullptr);
    EXPECT_THAT(host_->take(), ElementsAre("remove", "add nothing"));
    bridge->setBridgeView(native_);
    EXPECT_THAT(host_->take(), ElementsAre("remove nothing", "add"));
}

TEST_F(MVBridgeViewTest, aNativeViewThatIsSetOutsideAWindowIsOnlySizedAndHidden) {
    const Bridge bridge = MVBridgeView::init();
    bridge->setSize({100.0F, 40.0F});
    bridge->setBridgeView(native_);
    EXPECT_EQ(native_->frame(), (Rect{5, 6, 100, 40}));
    EXPECT_FALSE(native_->isHidden());
    const auto superview = MVView::init();
    superview->addSubview(bridge);
    bridge->removeFromSuperview();
    bridge->setBridgeView(nullptr);
    bridge->setBridgeView(native_);
    EXPECT_TRUE(native_->isHidden()) << "outside any tree";
}

// Frames

TEST_F(MVBridgeViewTest, theFrameCountsFromTheBottomOfTheHost) {
    add(native_)->transformMatrix();
    EXPECT_EQ(native_->frame(), (Rect{0, 260, 100, 40}));
}

TEST_F(MVBridgeViewTest, theFrameFollowsWhereTheViewIsInTheWindow) {
    const auto superview = MVView::init();
    superview->setPosition({10.0F, 20.0F});
    superview->setUniformScale(2.0F);
    window_->addSubview(superview);
    const Bridge bridge = MVBridgeView::initWithBridgeView(native_);
    bridge->setSize({100.0F, 40.0F});
    bridge->setPosition({3.0F, 4.0F});
    superview->addSubview(bridge);
    bridge->mv_updateBridgeView();
    expectFrame(native_, {16, 300 - 28 - 80, 200, 80});
    superview->setPosition({0.0F, 0.0F});
    bridge->mv_updateBridgeView();
    expectFrame(native_, {6, 300 - 8 - 80, 200, 80});
}

TEST_F(MVBridgeViewTest, theFrameDoesNotFollowTheWindowItself) {
    window_->setSize({400.0F, 300.0F});
    window_->mv_buildProjectionMatrix();
    ASSERT_LT(window_->position3().z, -100.0F);
    add(native_)->transformMatrix();
    expectFrame(native_, {0, 260, 100, 40});
}

TEST_F(MVBridgeViewTest, theFrameIsThatOfTwoCorners) {
    const Bridge bridge = add(native_);
    bridge->setPosition({150.0F, 100.0F});
    bridge->setRotation(kPi / 2);
    bridge->transformMatrix();
    // The far corner (100, 40) is seen at (150 - 40, 100 + 100).
    EXPECT_NEAR(native_->frame().width, 40.0, 1e-3);
    EXPECT_NEAR(native_->frame().height, 100.0, 1e-3);
    EXPECT_NEAR(native_->frame().x, 150.0, 1e-3)
        << "that of the origin, though it lies to the right";
    EXPECT_NEAR(native_->frame().y, 300.0 - 100.0 - 100.0, 1e-3);

    const float diagonal = std::atan2(40.0F, 100.0F);
    bridge->setRotation(-diagonal);
    bridge->transformMatrix();
    EXPECT_NEAR(native_->frame().height, 0.0, 1e-3) << "both corners lie on one line";
    EXPECT_NEAR(native_->frame().width, std::hypot(100.0, 40.0), 1e-3);
}

TEST_F(MVBridgeViewTest, aTurnAboutAnUprightAxisNarrowsTheFrame) {
    const Bridge bridge = add(native_);
    bridge->setRotation3({0.0F, kPi / 3, 0.0F});
    bridge->transformMatrix();
    expectFrame(native_, {0, 260, 50, 40});
    bridge->setRotation3({0.0F, kPi, 0.0F});
    bridge->transformMatrix();
    EXPECT_NEAR(native_->frame().width, 100.0, 1e-3) << "never negative";
    EXPECT_NEAR(native_->frame().x, 0.0, 1e-3);
}

TEST_F(MVBridgeViewTest, depthMakesNoDifference) {
    const Bridge bridge = add(native_);
    bridge->setPosition3({0.0F, 0.0F, -500.0F});
    bridge->setSize3({100.0F, 40.0F, 70.0F});
    bridge->transformMatrix();
    expectFrame(native_, {0, 260, 100, 40});
}

TEST_F(MVBridgeViewTest, aSizeKeepsTheBottomLeftCornerUntilTheViewIsPlaced) {
    const Bridge bridge = add(native_);
    bridge->transformMatrix();
    bridge->setSize({50.0F, 60.0F});
    EXPECT_EQ(native_->frame(), (Rect{0, 260, 50, 60}));
    bridge->transformMatrix();
    EXPECT_EQ(native_->frame(), (Rect{0, 240, 50, 60}));
}

TEST_F(MVBridgeViewTest, placesThatAreNoNumbersDoNoHarm) {
    const Bridge bridge = add(native_);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float bad : {nan, infinity, -infinity}) {
        bridge->setPosition({bad, bad});
        bridge->setSize({bad, bad});
        bridge->mv_updateBridgeView();
        EXPECT_GE(native_->frame().width, 0.0);
    }
    bridge->setPosition({0.0F, 0.0F});
    bridge->setSize({-100.0F, -40.0F});
    bridge->mv_updateBridgeView();
    expectFrame(native_, {0, 260, 100, 40});
}

// Visibility

TEST_F(MVBridgeViewTest, hidingAnAncestorHidesTheNativeViewOnceThatIsRebuilt) {
    const auto superview = MVView::init();
    window_->addSubview(superview);
    const Bridge bridge = MVBridgeView::initWithBridgeView(native_);
    superview->addSubview(bridge);
    bridge->mv_updateBridgeView();
    EXPECT_FALSE(native_->isHidden());
    superview->setHidden(true);
    EXPECT_FALSE(native_->isHidden());
    bridge->isEffectivelyHidden();
    EXPECT_TRUE(native_->isHidden());
    superview->setHidden(false);
    bridge->mv_updateBridgeView();
    EXPECT_FALSE(native_->isHidden());
    bridge->setHidden(true);
    bridge->mv_updateBridgeView();
    EXPECT_TRUE(native_->isHidden());
}

TEST_F(MVBridgeViewTest, drawingIsThatOfThePlainView) {
    const Bridge bridge = add(native_);
    bridge->draw();
    bridge->mv_drawVisit();
    CallLog log;
    const auto below = RecordingView::make("below", &log);
    bridge->addSubview(below);
    log.clear();
    bridge->mv_drawVisit();
    EXPECT_THAT(log, ElementsAre("below.draw"));
}

// Threads

TEST_F(MVBridgeViewTest, changesOnAnotherThreadAreLeftToTheMainThread) {
    const Bridge bridge = add(native_);
    bridge->mv_updateBridgeView();
    std::thread([&] {
        bridge->setSize({70.0F, 50.0F});
        bridge->setPosition({10.0F, 0.0F});
        bridge->setHidden(true);
        bridge->mv_updateBridgeView();
    }).join();
    EXPECT_EQ(native_->frame(), (Rect{0, 260, 100, 40}));
    EXPECT_FALSE(native_->isHidden());
    turn();
    EXPECT_EQ(native_->frame(), (Rect{10, 250, 70, 50}));
    EXPECT_TRUE(native_->isHidden());
}

TEST_F(MVBridgeViewTest, aViewDroppedOnAnotherThreadReleasesTheNativeViewOnTheMainThread) {
    struct Releasing : View {
        ~Releasing() override { *onMainThread = MainThread::isMainThread(); }
        bool* onMainThread = nullptr;
    };
    bool onMainThread = false;
    auto native = std::make_shared<Releasing>();
    native->onMainThread = &onMainThread;
    const std::weak_ptr<View> weak = native;
    Bridge bridge = add(native);
    native.reset();
    bridge->removeFromSuperview();
    std::thread([&] {
        bridge->mv_positionBridgeView();
        bridge.reset();
    }).join();
    EXPECT_FALSE(weak.expired());
    turn();
    EXPECT_TRUE(weak.expired());
    EXPECT_TRUE(onMainThread);
}

TEST_F(MVBridgeViewTest, aViewThatIsDroppedBeforeTheMainThreadTurnsIsPlacedLast) {
    Bridge bridge = add(native_);
    std::thread([&] { bridge->mv_sizeBridgeView(); }).join();
    bridge->removeFromSuperview();
    const std::weak_ptr<MVBridgeView> weak = bridge;
    bridge.reset();
    EXPECT_FALSE(weak.expired()) << "what was left to the main thread keeps it";
    turn();
    EXPECT_TRUE(weak.expired());
}

}  // namespace
