#include "MivoraMac/views/MVScrollView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/input/MVScrollDispatcher.h"
#include "MivoraMac/views/MVScrollViewDelegate.h"
#include "tests/input/InputScene.h"
#include "tests/views/ScrollScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point2D;
using Mivora::Point3;
using Mivora::Size2;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A new view

TEST(MVScrollViewTest, aNewViewShowsEmptyContentAtItsOrigin) {
    const auto view = MVScrollView::init();
    ASSERT_NE(view->contentView(), nullptr);
    EXPECT_THAT(*view->subviews(), ElementsAre(view->contentView()));
    EXPECT_EQ(view->contentView()->superview(), view);
    EXPECT_EQ(view->contentView()->position3(), Point3::kZero);
    EXPECT_EQ(view->contentView()->rotation3(), Point3::kZero);
    EXPECT_EQ(view->contentView()->anchorPoint3(), Point3::kZero);
    EXPECT_EQ(view->contentView()->uniformScale(), 1.0F);
    EXPECT_EQ(view->contentOffset(), Point2::kZero);
    EXPECT_EQ(view->contentSize(), Size2::kZero);
    EXPECT_EQ(view->size(), Size2::kZero);
}

TEST(MVScrollViewTest, aNewViewIsIdleWithTheDefaultsOfItsProperties) {
    const auto view = MVScrollView::init();
    EXPECT_EQ(view->zoomScale(), 1.0F);
    EXPECT_EQ(view->minimumZoomScale(), 1.0F);
    EXPECT_EQ(view->maximumZoomScale(), 1.0F);
    EXPECT_EQ(view->decelerationRate(), 0.998F);
    EXPECT_EQ(view->mv_decelerationLnFactor(), -0.002001976827159524F);
    EXPECT_EQ(view->mv_decelerationLnFactor(),
              static_cast<float>(std::log(static_cast<double>(0.998F))));
    EXPECT_EQ(view->mv_fastScrollCount(), 0);
    EXPECT_EQ(view->mv_fastScrollMultiplier(), 1.0F);
    EXPECT_EQ(view->mv_accuracy(), 1.0F);
    EXPECT_EQ(view->delegate(), nullptr);
    EXPECT_FALSE(view->scrollEnabled());
    EXPECT_FALSE(view->isTracking());
    EXPECT_FALSE(view->isDragging());
    EXPECT_FALSE(view->isDecelerating());
    EXPECT_FALSE(view->isZooming());
    EXPECT_FALSE(view->animating());
    EXPECT_EQ(view->mv_offset(), Point2D::kZero);
    EXPECT_EQ(view->mv_velocity(), Point2D::kZero);
}

TEST(MVScrollViewTest, whatTheContentOffsetAnswersIsThePositionOfTheContent) {
    const ScrollScene scene;
    scene.view->setContentOffset({-30.0F, -40.0F});
    EXPECT_EQ(scene.view->contentView()->position(), (Point2{-30.0F, -40.0F}));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-30.0F, -40.0F}));
    EXPECT_EQ(scene.view->mv_offset(), (Point2D{30.0, 40.0}));
}

TEST(MVScrollViewTest, theContentSizeIsThatOfTheContentViewAsItIsSeen) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->setZoomScale(2.0F);
    EXPECT_EQ(scene.view->contentSize(), (Size2{1000.0F, 2000.0F}));
    EXPECT_EQ(scene.view->contentView()->size(), (Size2{500.0F, 1000.0F}));
}

TEST(MVScrollViewTest, propertiesThatAreOnlyStoredMoveNothing) {
    const ScrollScene scene;
    scene.view->setContentOffset({0.0F, -100.0F});
    scene.view->setMinimumZoomScale(2.0F);
    scene.view->setMaximumZoomScale(3.0F);
    scene.view->setScrollEnabled(true);
    scene.view->setDecelerationRate(0.5F);
    EXPECT_EQ(scene.view->zoomScale(), 1.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -100.0F}));
    EXPECT_TRUE(scene.view->scrollEnabled());
    EXPECT_EQ(scene.view->decelerationRate(), 0.5F);
    EXPECT_THAT(scene.takeLog(), IsEmpty());
}

TEST(MVScrollViewTest, anotherDecelerationRateLeavesTheLogarithmAlone) {
    const auto view = MVScrollView::init();
    view->setDecelerationRate(0.5F);
    EXPECT_EQ(view->mv_decelerationLnFactor(), -0.002001976827159524F);
}

TEST(MVScrollViewTest, contentThatOutlivesItsScrollViewMayBeResized) {
    auto view = MVScrollView::init();
    const auto content = view->contentView();
    view.reset();
    content->setSize({1.0F, 2.0F});
    EXPECT_EQ(content->size(), (Size2{1.0F, 2.0F}));
}

// Free functions

TEST(MVScrollViewTest, aPositionIsClampedToWhatShowsContentOnly) {
    const Size2 view = {200.0F, 100.0F};
    const Size2 content = {500.0F, 1000.0F};
    EXPECT_EQ(mv_clampPosition({10.0F, 20.0F}, view, content), Point2::kZero);
    EXPECT_EQ(mv_clampPosition({-50.0F, -60.0F}, view, content), (Point2{-50.0F, -60.0F}));
    EXPECT_EQ(mv_clampPosition({-300.0F, -900.0F}, view, content), (Point2{-300.0F, -900.0F}));
    EXPECT_EQ(mv_clampPosition({-301.0F, -901.0F}, view, content), (Point2{-300.0F, -900.0F}));
    EXPECT_EQ(mv_clampPosition({-1.0F, 1.0F}, view, {200.0F, 50.0F}), Point2::kZero)
        << "content that is not larger than the view";
}

TEST(MVScrollViewTest, aScaleIsClampedWithTheMinimumWinning) {
    EXPECT_EQ(mv_clampScale(2.0F, 1.0F, 3.0F), 2.0F);
    EXPECT_EQ(mv_clampScale(0.5F, 1.0F, 3.0F), 1.0F);
    EXPECT_EQ(mv_clampScale(5.0F, 1.0F, 3.0F), 3.0F);
    EXPECT_EQ(mv_clampScale(2.0F, 3.0F, 1.0F), 3.0F);
}

TEST(MVScrollViewTest, theRubberBandIsInert) {
    for (const double x : {-1e9, -1.0, 0.0, 0.5, 1e9}) {
        EXPECT_EQ(mv_clamp(x, 1.0, 2.0, 3.0), 0.0);
    }
    for (const float x : {-1e9F, -1.0F, 0.0F, 5.0F}) {
        EXPECT_EQ(mv_unclampPosition({x, -x}, {1.0F, 1.0F}, {2.0F, 2.0F}), (Point2{x, -x}));
    }
}

TEST(MVScrollViewTest, unclampingStretchesTheDistance) {
    EXPECT_DOUBLE_EQ(mv_unclamp(13.0, 10.0, 0.5, 9.0), 3.0 * 9.0 / ((9.0 - 3.0) * 0.5));
    EXPECT_DOUBLE_EQ(mv_unclamp(7.0, 10.0, 0.5, 9.0), 3.0 * 9.0 / ((9.0 - 3.0) * 0.5));
    EXPECT_EQ(mv_unclamp(10.0, 10.0, 0.5, 9.0), 0.0);
}

TEST(MVScrollViewTest, theExponentialIsASeriesNearZeroAndExactBeyond) {
    EXPECT_EQ(pow_approx(0.0, 5.0), 1.0);
    EXPECT_DOUBLE_EQ(pow_approx(2.0, 0.1), 1.0 + 0.2 + 0.02);
    EXPECT_DOUBLE_EQ(pow_approx(10.0, -0.05), 1.0 - 0.5 + 0.125) << "-0.5 is still the series";
    EXPECT_DOUBLE_EQ(pow_approx(10.0, -0.0501), std::exp(-0.501));
    EXPECT_DOUBLE_EQ(pow_approx(1.0, 3.0), 1.0 + 3.0 + 4.5) << "above zero always the series";
}

// Drags

TEST(MVScrollViewTest, aDragMovesTheContentByItsTranslations) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(-10.0F, -20.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-10.0F, -20.0F})) << "from the first event on";
    scene.view->scrollMoved(ScrollScene::by(-1.0F, -2.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-11.0F, -22.0F}));
    scene.view->scrollEnded(ScrollScene::by(-100.0F, -100.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-11.0F, -22.0F})) << "the end moves nothing";
}

TEST(MVScrollViewTest, aDragBeyondAnEndPinsTheContentWhileItsOwnPositionAccumulates) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(40.0F, 50.0F));
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
    EXPECT_EQ(scene.view->mv_panPosition(), (Point2{40.0F, 50.0F}));
    scene.view->scrollMoved(ScrollScene::by(-60.0F, -10.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-20.0F, 0.0F}));
    scene.view->scrollMoved(ScrollScene::by(-1000.0F, -5000.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -900.0F}));
    EXPECT_EQ(scene.view->mv_panPosition(), (Point2{-1020.0F, -4960.0F}));
    scene.view->scrollMoved(ScrollScene::by(0.0F, 4000.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -900.0F}))
        << "the way beyond the end has to be gone back first";
    scene.view->scrollMoved(ScrollScene::by(0.0F, 160.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -800.0F}));
}

TEST(MVScrollViewTest, contentSmallerThanTheViewStaysWhereItIs) {
    const ScrollScene scene({150.0F, 1000.0F});
    scene.drag(-50.0F, -50.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -50.0F}));
    scene.drag(50.0F, 10.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -40.0F}));
}

TEST(MVScrollViewTest, theEndOfScrollingEndsTheTrackingButNotTheDrag) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -10.0F));
    EXPECT_TRUE(scene.view->isTracking());
    EXPECT_TRUE(scene.view->isDragging());
    scene.view->scrollEnded(ScrollScene::by(0.0F, 0.0F));
    EXPECT_FALSE(scene.view->isTracking());
    EXPECT_TRUE(scene.view->isDragging());
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, true);
    EXPECT_FALSE(scene.view->isDragging());
}

TEST(MVScrollViewTest, aCancellationDoesWhatAnEndDoes) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -10.0F));
    scene.view->scrollCancelled(ScrollScene::by(0.0F, -100.0F));
    EXPECT_FALSE(scene.view->isTracking());
    EXPECT_TRUE(scene.view->isDragging());
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -10.0F}));
}

TEST(MVScrollViewTest, contentIsMovedWhateverItsFlagForScrollingSays) {
    const ScrollScene scene;
    ASSERT_FALSE(scene.view->scrollEnabled());
    scene.drag(0.0F, -10.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -10.0F}));
}

TEST(MVScrollViewTest, translationsThatAreNotFiniteAreIgnored) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(kNaN, -10.0F));
    scene.view->scrollMoved(ScrollScene::by(-5.0F, kInfinity));
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
    scene.view->scrollMoved(ScrollScene::by(-5.0F, -6.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-5.0F, -6.0F}));
}

// Pixels

class MVScrollViewScaleTest : public testing::TestWithParam<float> {};

TEST_P(MVScrollViewScaleTest, contentMovesByWholePixels) {
    const float scale = GetParam();
    const ScrollScene scene;
    scene.view->setContentScaleFactor(scale);
    const auto expectAligned = [&](const char* when) {
        const Point2 place = scene.view->contentOffset();
        // Rounding of places of up to a thousand to 24 bits.
        EXPECT_NEAR(place.x * scale, std::round(place.x * scale), 1e-3F) << when;
        EXPECT_NEAR(place.y * scale, std::round(place.y * scale), 1e-3F) << when;
    };
    scene.view->scrollBegan(ScrollScene::by(-0.3F, -0.4F));
    expectAligned("begin");
    for (int i = 0; i < 200; ++i) {
        scene.view->scrollMoved(ScrollScene::by(-0.37F, -3.13F));
        expectAligned("drag");
    }
    EXPECT_NEAR(scene.view->contentOffset().x, -74.3F, 0.5F / scale + 1e-3F)
        << "what rounding takes off is not lost";
    scene.view->setContentOffset({-10.26F, -1234.57F});
    expectAligned("set");
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.7, 0.9}, true);
    while (scene.view->animating()) {
        scene.tick();
        expectAligned("deceleration");
    }
    scene.view->setMaximumZoomScale(3.0F);
    scene.view->setZoomScale(1.7F);
    expectAligned("zoom");
}

INSTANTIATE_TEST_SUITE_P(Scales, MVScrollViewScaleTest, testing::Values(1.0F, 1.5F, 2.0F, 3.0F),
                         [](const auto& instance) {
                             return "tenths" +
                                    std::to_string(static_cast<int>(instance.param * 10.0F));
                         });

TEST(MVScrollViewTest, halvesOfPixelsAreRoundedAwayFromZero) {
    const ScrollScene scene;
    scene.view->setContentScaleFactor(2.0F);
    scene.view->setContentOffset({-10.25F, -10.24F});
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-10.5F, -10.0F}));
}

TEST(MVScrollViewTest, outsideAnyTreeContentMovesFreely) {
    const auto window = MVWindow::init();
    const ScrollScene scene;
    window->addSubview(scene.view);
    scene.view->removeFromSuperview();
    ASSERT_EQ(scene.view->contentScaleFactor(), 0.0F);
    scene.view->setContentOffset({-10.25F, -20.5F});
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-10.25F, -20.5F}));
    scene.drag(0.0F, -1.125F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-10.25F, -21.625F}));
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({1.0, 1.0}, true);
    EXPECT_LT(scene.settle(), 1000);
    EXPECT_TRUE(std::isfinite(scene.view->contentOffset().y));
}

// Offsets that are set

TEST(MVScrollViewTest, anOffsetSetDuringADragMovesTheDragAlong) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, 30.0F));
    scene.view->setContentOffset({-50.0F, -100.0F});
    EXPECT_EQ(scene.view->mv_panPosition(), (Point2{-50.0F, -70.0F}));
    scene.view->scrollMoved(ScrollScene::by(0.0F, -40.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-50.0F, -110.0F}));
}

TEST(MVScrollViewTest, settingAnOffsetDoesNotTellTheDelegateThatItScrolled) {
    const ScrollScene scene;
    scene.view->setContentOffset({-50.0F, -100.0F});
    EXPECT_THAT(scene.takeLog(), IsEmpty());
}

TEST(MVScrollViewTest, offsetsThatAreNotFiniteAreIgnored) {
    const ScrollScene scene;
    scene.view->setContentOffset({-50.0F, -100.0F});
    for (const Point2 bad : {Point2{kNaN, 0.0F}, Point2{0.0F, kInfinity}, Point2::kNull}) {
        scene.view->setContentOffset(bad);
        EXPECT_EQ(scene.view->contentOffset(), (Point2{-50.0F, -100.0F}));
        EXPECT_FALSE(scene.view->animating());
    }
}

// Sizes

TEST(MVScrollViewTest, aSizeThatLeavesTheContentOutOfRangePullsItBack) {
    const ScrollScene scene;
    scene.view->setContentOffset({-300.0F, -900.0F});
    scene.view->setSize({200.0F, 150.0F});
    EXPECT_TRUE(scene.view->isDecelerating());
    EXPECT_TRUE(scene.view->animating());
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -850.0F}));
}

TEST(MVScrollViewTest, anEqualSizeOfTheViewPullsNothingBack) {
    const ScrollScene scene;
    scene.view->contentView()->setPosition({0.0F, 50.0F});
    scene.view->setSize(scene.view->size());
    EXPECT_FALSE(scene.view->animating());
}

TEST(MVScrollViewTest, anySizeGivenToTheContentPullsItBack) {
    const ScrollScene scene;
    scene.view->contentView()->setPosition({0.0F, 50.0F});
    scene.view->contentView()->setSize(scene.view->contentView()->size());
    EXPECT_TRUE(scene.view->animating());
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), Point2::kZero);
}

TEST(MVScrollViewTest, contentThatShrinksIsPulledBack) {
    const ScrollScene scene;
    scene.view->setContentOffset({-300.0F, -900.0F});
    scene.view->contentView()->setSize({300.0F, 400.0F});
    EXPECT_TRUE(scene.view->isDecelerating());
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-100.0F, -300.0F}));
}

TEST(MVScrollViewTest, sizesThatKeepTheContentInRangeMoveNothing) {
    const ScrollScene scene;
    scene.view->setContentOffset({-100.0F, -300.0F});
    scene.view->setSize({100.0F, 100.0F});
    scene.view->contentView()->setSize({300.0F, 400.0F});
    EXPECT_FALSE(scene.view->animating());
    EXPECT_THAT(scene.takeLog(), IsEmpty());
}

TEST(MVScrollViewTest, aSizeThatChangesWhileDraggingIsMetByTheNextMove) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -900.0F));
    scene.view->setSize({200.0F, 400.0F});
    scene.view->contentView()->setSize({500.0F, 800.0F});
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -900.0F}));
    EXPECT_FALSE(scene.view->animating());
    scene.view->scrollMoved(ScrollScene::by(0.0F, 0.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -400.0F}));
}

// Zoom

TEST(MVScrollViewTest, whatIsAtTheCentreStaysThereWhenZooming) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->setContentOffset({-100.0F, -250.0F});
    // The centre (100, 50) shows the content's (200, 300).
    scene.view->setZoomScale(2.0F);
    EXPECT_EQ(scene.view->zoomScale(), 2.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{100.0F - 400.0F, 50.0F - 600.0F}));
    EXPECT_THAT(scene.takeLog(), ElementsAre("didScroll -300,-550"));
}

TEST(MVScrollViewTest, zoomStaysWithinItsLimits) {
    const ScrollScene scene;
    scene.view->setMinimumZoomScale(0.5F);
    scene.view->setMaximumZoomScale(2.0F);
    scene.view->setZoomScale(10.0F);
    EXPECT_EQ(scene.view->zoomScale(), 2.0F);
    scene.view->setZoomScale(0.1F);
    EXPECT_EQ(scene.view->zoomScale(), 0.5F);
    scene.view->setMinimumZoomScale(3.0F);
    scene.view->setZoomScale(1.0F);
    EXPECT_EQ(scene.view->zoomScale(), 3.0F) << "the minimum wins";
}

TEST(MVScrollViewTest, anEqualZoomDoesNothingEvenOutsideItsLimits) {
    const ScrollScene scene;
    scene.view->setMinimumZoomScale(2.0F);
    scene.view->setZoomScale(1.0F);
    EXPECT_EQ(scene.view->zoomScale(), 1.0F);
    EXPECT_THAT(scene.takeLog(), IsEmpty());
}

TEST(MVScrollViewTest, aZoomDuringADragMovesTheDragAlong) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->scrollBegan(ScrollScene::by(-100.0F, -250.0F));
    scene.view->setZoomScale(2.0F);
    EXPECT_EQ(scene.view->mv_panPosition(), (Point2{-300.0F, -550.0F}));
    scene.view->scrollMoved(ScrollScene::by(0.0F, -10.0F));
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -560.0F}));
}

TEST(MVScrollViewTest, zoomingDoesNotCallTheDelegatesZoomOperations) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->setZoomScale(2.0F);
    for (const std::string& call : scene.takeLog()) {
        EXPECT_EQ(call.find("oom"), std::string::npos) << call;
    }
}

TEST(MVScrollViewTest, zoomWorksInARotatedTree) {
    const auto window = InputScene::makeWindow();
    const ScrollScene scene;
    window->addSubview(scene.view);
    scene.view->setRotation3({0.4F, 0.5F, 0.6F});
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->setContentOffset({-100.0F, -250.0F});
    scene.view->setZoomScale(2.0F);
    EXPECT_EQ(scene.view->contentOffset(), (Point2{-300.0F, -550.0F}));
}

TEST(MVScrollViewTest, zoomsThatAreNoNumbersAreIgnored) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(4.0F);
    scene.view->setZoomScale(kNaN);
    EXPECT_EQ(scene.view->zoomScale(), 1.0F);
    scene.view->setZoomScale(kInfinity);
    EXPECT_EQ(scene.view->zoomScale(), 4.0F);
    scene.view->setMaximumZoomScale(kInfinity);
    scene.view->setZoomScale(kInfinity);
    EXPECT_EQ(scene.view->zoomScale(), 4.0F);
    scene.view->setMinimumZoomScale(0.0F);
    scene.view->setZoomScale(0.0F);
    scene.view->setZoomScale(1.0F);
    EXPECT_TRUE(std::isfinite(scene.view->contentOffset().x));
}

// In a tree

struct ScrollTree : ScrollScene {
    ScrollTree() {
        input.window->addSubview(view);
        view->setPosition({50.0F, 40.0F});
        clock = MVAnimationClock::init();
        MVAnimationClock::mv_setActiveClock(clock);
    }

    void wheel(Point2 place, float x, float y) {
        dispatcher->systemScrollBeganTranslationWithEvent(place, {x, y}, nullptr);
        dispatcher->systemScrollEndedTranslationWithEvent(place, Point2::kZero, nullptr);
    }

    InputScene input;
    std::shared_ptr<MVScrollDispatcher> dispatcher =
        MVScrollDispatcher::initWithWindow(input.window);
};

TEST(MVScrollViewTest, scrollingOverWhatIsInTheContentMovesIt) {
    ScrollTree tree;
    const auto button = MVView::init();
    button->setSize({100.0F, 30.0F});
    tree.view->contentView()->addSubview(button);
    tree.wheel(InputScene::at(60.0F, 50.0F), 0.0F, -24.0F);
    EXPECT_EQ(tree.view->contentOffset(), (Point2{0.0F, -24.0F}));
}

TEST(MVScrollViewTest, contentThatReachesBeyondTheViewIsNotHitThere) {
    ScrollTree tree;
    tree.wheel(InputScene::at(60.0F, 200.0F), 0.0F, -24.0F);
    EXPECT_EQ(tree.view->contentOffset(), Point2::kZero);
}

TEST(MVScrollViewTest, aScrollViewInAScrollViewKeepsWhatIsOverIt) {
    ScrollTree tree;
    const auto inner = MVScrollView::init();
    inner->setSize({100.0F, 50.0F});
    inner->contentView()->setSize({100.0F, 80.0F});
    tree.view->contentView()->addSubview(inner);
    tree.wheel(InputScene::at(60.0F, 50.0F), 0.0F, -24.0F);
    EXPECT_EQ(inner->contentOffset(), (Point2{0.0F, -24.0F}));
    EXPECT_EQ(tree.view->contentOffset(), Point2::kZero);
    tree.wheel(InputScene::at(60.0F, 50.0F), 0.0F, -24.0F);
    EXPECT_EQ(inner->contentOffset(), (Point2{0.0F, -30.0F}));
    EXPECT_EQ(tree.view->contentOffset(), Point2::kZero) << "also where it is at its end";
    tree.wheel(InputScene::at(200.0F, 50.0F), 0.0F, -24.0F);
    EXPECT_EQ(tree.view->contentOffset(), (Point2{0.0F, -24.0F}));
}

TEST(MVScrollViewTest, aScrollViewThatIsTurnedInSpaceScrollsAlongItself) {
    ScrollTree tree;
    tree.view->setRotation3({0.5F, -0.4F, 0.3F});
    tree.wheel(tree.input.placeOf(tree.view, 150.0F, 90.0F), 0.0F, -24.0F);
    EXPECT_EQ(tree.view->contentOffset(), (Point2{0.0F, -24.0F}));
    tree.wheel(tree.input.placeOf(tree.view, 150.0F, 110.0F), 0.0F, -24.0F);
    EXPECT_EQ(tree.view->contentOffset(), (Point2{0.0F, -24.0F})) << "below it";
}

TEST(MVScrollViewTest, aPressStopsContentThatMovesByItself) {
    ScrollTree tree;
    tree.view->mv_decelerateIfNeededWithVelocityWasDragging({2.0, 2.0}, false);
    tree.tick();
    const Point2 place = tree.view->contentOffset();
    EXPECT_LT(place.y, 0.0F);
    tree.dispatcher->cancelActiveScrollEventWithEvent(InputScene::at(60.0F, 50.0F), nullptr);
    EXPECT_FALSE(tree.view->animating());
    EXPECT_FALSE(tree.view->isDecelerating());
    tree.tick();
    EXPECT_EQ(tree.view->contentOffset(), place);
}

TEST(MVScrollViewTest, aSubclassMayKeepScrollingToItself) {
    struct Fixed : MVScrollView {
        void scrollBegan(const std::shared_ptr<MVScroll>&) override { ++begun; }
        int begun = 0;
    };
    ScrollTree tree;
    const auto view = MVMake<Fixed>();
    view->setSize({100.0F, 100.0F});
    view->contentView()->setSize({100.0F, 1000.0F});
    tree.view->addSubview(view);
    tree.wheel(InputScene::at(60.0F, 50.0F), 0.0F, -24.0F);
    EXPECT_EQ(view->begun, 1);
    EXPECT_EQ(view->contentOffset(), Point2::kZero);
}

TEST(MVScrollViewTest, aSubclassMaySetSizesWhileItIsMade) {
    struct List : MVScrollView {
        List() {
            setSize({200.0F, 100.0F});
            contentView()->setSize({200.0F, 50.0F});
            setContentOffset({0.0F, -10.0F});
        }
    };
    const ScrollScene scene;
    const auto list = MVMake<List>();
    EXPECT_FALSE(list->animating());
    EXPECT_EQ(list->contentOffset(), (Point2{0.0F, -10.0F}));
}

}  // namespace
