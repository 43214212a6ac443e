#include "MivoraMac/views/MVScrollViewDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "MivoraMac/views/MVScrollView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/views/RecordingView.h"
#include "tests/views/ScrollScene.h"

namespace {

using Mivora::Point2;
using Mivora::Point2D;
using Mivora::Size2;
using testing::ElementsAre;
using testing::IsEmpty;

/// The log without what lies between the first and the last of equal calls in a row.
std::vector<std::string> summary(const std::vector<std::string>& log) {
    const auto nameOf = [](const std::string& line) { return line.substr(0, line.find(' ')); };
    std::vector<std::string> result;
    for (std::size_t i = 0; i < log.size(); ++i) {
        const bool isMiddle = i > 0 && i + 1 < log.size() && nameOf(log[i - 1]) == nameOf(log[i]) &&
                              nameOf(log[i + 1]) == nameOf(log[i]);
        if (!isMiddle) {
            result.push_back(log[i]);
        }
    }
    return result;
}

// Stories

TEST(MVScrollViewDelegateTest, aDrag) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -10.0F));
    scene.view->scrollMoved(ScrollScene::by(0.0F, -10.0F));
    scene.view->scrollMoved(ScrollScene::by(0.0F, 0.0F));
    scene.view->scrollEnded(ScrollScene::by(0.0F, -10.0F));
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("willBeginDragging 0,0", "didScroll 0,-10", "didScroll 0,-20"));
}

TEST(MVScrollViewDelegateTest, clicksOfAWheelEachBeginADrag) {
    const ScrollScene scene;
    scene.drag(0.0F, -24.0F);
    scene.drag(0.0F, -24.0F);
    EXPECT_THAT(scene.takeLog(), ElementsAre("willBeginDragging 0,0", "didScroll 0,-24",
                                             "willBeginDragging 0,-24", "didScroll 0,-48"));
}

TEST(MVScrollViewDelegateTest, aDragBeyondTheEnd) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -890.0F));
    scene.view->scrollMoved(ScrollScene::by(0.0F, -20.0F));
    scene.view->scrollMoved(ScrollScene::by(0.0F, -20.0F));
    scene.view->scrollEnded(ScrollScene::by(0.0F, 0.0F));
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("willBeginDragging 0,0", "didScroll 0,-890", "didScroll 0,-900"));
    EXPECT_FALSE(scene.view->animating());
}

TEST(MVScrollViewDelegateTest, aDragThatEndsInAGlide) {
    const ScrollScene scene;
    scene.drag(-10.0F, -10.0F);
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.05, 0.05}, true);
    scene.settle();
    const std::vector<std::string> log = summary(scene.takeLog());
    ASSERT_EQ(log.size(), 7U);
    EXPECT_EQ(log[0], "willBeginDragging 0,0");
    EXPECT_EQ(log[1], "didScroll -10,-10");
    EXPECT_EQ(log[2], "didEndDragging -10,-10 willDecelerate");
    EXPECT_EQ(log[3], "willBeginDecelerating -10,-10");
    EXPECT_EQ(log[4], "didScroll -11,-11");
    EXPECT_EQ(log[5].substr(0, 10), "didScroll ");
    EXPECT_EQ(log[6].substr(0, 19), "didEndDecelerating ");
}

TEST(MVScrollViewDelegateTest, aDragThatEndsInNothing) {
    const ScrollScene scene;
    scene.drag(-10.0F, -10.0F);
    scene.takeLog();
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, true);
    EXPECT_THAT(scene.takeLog(), ElementsAre("didEndDragging -10,-10"));
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, false);
    EXPECT_THAT(scene.takeLog(), IsEmpty());
}

TEST(MVScrollViewDelegateTest, aCorrection) {
    const ScrollScene scene;
    scene.view->setContentOffset({0.0F, 5.0F});
    EXPECT_THAT(scene.takeLog(), ElementsAre("willBeginDecelerating 0,5"));
    scene.settle();
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("didScroll 0,4", "didScroll 0,3", "didScroll 0,2", "didScroll 0,1",
                            "didScroll 0,0", "didEndDecelerating 0,0"));
}

TEST(MVScrollViewDelegateTest, aCorrectionInterruptedByADrag) {
    const ScrollScene scene;
    scene.view->setContentOffset({0.0F, 5.0F});
    scene.tick();
    scene.view->scrollBegan(ScrollScene::by(0.0F, -1.0F));
    scene.tick();
    scene.view->scrollMoved(ScrollScene::by(0.0F, -10.0F));
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("willBeginDecelerating 0,5", "didScroll 0,4", "willBeginDragging 0,4",
                            "didScroll 0,0", "didScroll 0,-7"));
    EXPECT_FALSE(scene.view->isDecelerating());
    EXPECT_FALSE(scene.view->animating());
}

TEST(MVScrollViewDelegateTest, aZoom) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(2.0F);
    scene.view->setContentOffset({-100.0F, -100.0F});
    scene.view->setZoomScale(2.0F);
    scene.view->setZoomScale(1.0F);
    EXPECT_THAT(scene.takeLog(), ElementsAre("didScroll -300,-250", "didScroll -100,-100"));
}

TEST(MVScrollViewDelegateTest, aZoomThatLeavesTheContentOutOfRangeIsNotCorrectedByItself) {
    const ScrollScene scene;
    scene.view->setMaximumZoomScale(2.0F);
    scene.view->setZoomScale(2.0F);
    scene.view->setContentOffset(Point2::kZero);
    scene.takeLog();
    scene.view->setZoomScale(1.0F);
    EXPECT_THAT(scene.takeLog(), ElementsAre("didScroll 50,25"));
    EXPECT_FALSE(scene.view->animating());
    scene.view->contentView()->setSize(scene.view->contentView()->size());
    EXPECT_THAT(scene.takeLog(), ElementsAre("willBeginDecelerating 50,25"));
}

TEST(MVScrollViewDelegateTest, aSizeChangeWhileDragging) {
    const ScrollScene scene;
    scene.view->scrollBegan(ScrollScene::by(0.0F, -900.0F));
    scene.view->setSize({200.0F, 300.0F});
    scene.view->scrollMoved(ScrollScene::by(0.0F, 1.0F));
    scene.view->scrollEnded(ScrollScene::by(0.0F, 0.0F));
    scene.view->setSize({200.0F, 400.0F});
    EXPECT_THAT(scene.takeLog(),
                ElementsAre("willBeginDragging 0,0", "didScroll 0,-900", "didScroll 0,-700"))
        << "the drag goes on until something decelerates";
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, true);
    EXPECT_THAT(scene.takeLog(), ElementsAre("didEndDragging 0,-700 willDecelerate",
                                             "willBeginDecelerating 0,-700"));
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -600.0F}));
}

TEST(MVScrollViewDelegateTest, contentResizedByItsOwnLayout) {
    const ScrollScene scene;
    const auto window = MVWindow::init();
    window->addSubview(scene.view);
    scene.view->setContentScaleFactor(1.0F);
    const auto rows = RecordingView::make("rows", nullptr);
    scene.view->contentView()->addSubview(rows);
    rows->onLayoutSubviews = [&] { scene.view->contentView()->setSize({500.0F, 400.0F}); };
    scene.view->setContentOffset({0.0F, -305.0F});
    scene.takeLog();
    rows->setNeedsLayout();
    window->mv_layoutVisit();
    EXPECT_THAT(scene.takeLog(), ElementsAre("willBeginDecelerating 0,-305"));
    scene.settle();
    EXPECT_EQ(scene.view->contentOffset(), (Point2{0.0F, -300.0F}));
    const std::vector<std::string> log = summary(scene.takeLog());
    ASSERT_EQ(log.size(), 3U);
    EXPECT_EQ(log[2], "didEndDecelerating 0,-300");
}

TEST(MVScrollViewDelegateTest, theBaseClassDoesNothing) {
    const ScrollScene scene;
    const auto delegate = std::make_shared<MVScrollViewDelegate>();
    scene.view->setDelegate(delegate);
    EXPECT_EQ(scene.view->delegate(), delegate);
    scene.drag(-10.0F, -10.0F);
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({1.0, 1.0}, true);
    scene.settle();
    delegate->scrollViewDidZoom(scene.view);
    delegate->scrollViewWillBeginZooming(scene.view);
    delegate->scrollViewDidEndZoomingScale(scene.view, 1.0F);
    scene.view->setDelegate(nullptr);
    EXPECT_EQ(scene.view->delegate(), nullptr);
}

// From within the calls

/// A call, and a story in which it comes.
struct Moment {
    const char* call;
    std::function<void(const ScrollScene&)> story;
};

std::ostream& operator<<(std::ostream& out, const Moment& moment) {
    return out << moment.call;
}

const auto dragStory = [](const ScrollScene& scene) {
    scene.drag(-10.0F, -10.0F);
    scene.view->scrollMoved(ScrollScene::by(-10.0F, -10.0F));
};
const auto glideStory = [](const ScrollScene& scene) {
    scene.drag(-10.0F, -10.0F);
    scene.view->mv_decelerateIfNeededWithVelocityWasDragging({0.5, 0.5}, true);
    for (int i = 0; i < 1000; ++i) {
        scene.tick();
    }
};
const auto zoomStory = [](const ScrollScene& scene) {
    scene.view->setMaximumZoomScale(2.0F);
    scene.view->setZoomScale(2.0F);
};

class MVScrollViewDelegateMomentTest : public testing::TestWithParam<Moment> {
 protected:
    /// Runs the story, with something done within the first of the calls.
    void run(std::function<void()> action) {
        scene_.delegate->reaction = [this, action = std::move(action)](
                                        const std::string& call,
                                        const std::shared_ptr<MVScrollView>&) {
            if (call == GetParam().call && !done_) {
                done_ = true;
                action();
            }
        };
        const auto delegate = scene_.delegate;
        GetParam().story(scene_);
        ASSERT_TRUE(done_);
    }

    ScrollScene scene_;
    bool done_ = false;
};

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayChangeTheOffset) {
    run([&] { scene_.view->setContentOffset({-50.0F, -60.0F}); });
    scene_.settle();
    const Point2 place = scene_.view->contentOffset();
    EXPECT_LE(place.x, -50.0F);
    EXPECT_LE(place.y, -60.0F);
    EXPECT_GE(place.y, -900.0F);
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayTakeTheOffsetOutOfRange) {
    run([&] { scene_.view->setContentOffset({20.0F, 70.0F}); });
    scene_.settle();
    if (!scene_.view->isDragging()) {
        // Where it is dragged, the next move takes it back.
        const Point2 place = scene_.view->contentOffset();
        EXPECT_LE(place.x, 0.0F);
        EXPECT_LE(place.y, 0.0F);
    }
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayAlwaysTakeTheOffsetOutOfRange) {
    int calls = 0;
    scene_.delegate->reaction = [&](const std::string& call, const auto& view) {
        if (call == GetParam().call && ++calls < 50) {
            view->setContentOffset({20.0F, 70.0F});
        }
    };
    GetParam().story(scene_);
    scene_.settle();
    EXPECT_GT(calls, 0);
    EXPECT_FALSE(scene_.view->animating());
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayRemoveTheView) {
    const auto window = MVWindow::init();
    window->addSubview(scene_.view);
    run([&] { scene_.view->removeFromSuperview(); });
    scene_.settle();
    EXPECT_EQ(scene_.view->mv_window(), nullptr);
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayGoAway) {
    const std::weak_ptr<RecordingScrollDelegate> weak = scene_.delegate;
    scene_.delegate->reaction = [&](const std::string& call, const auto&) {
        if (call == GetParam().call) {
            scene_.delegate.reset();
        }
    };
    GetParam().story(scene_);
    scene_.settle();
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(scene_.view->delegate(), nullptr);
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayBeReplaced) {
    const auto next = std::make_shared<RecordingScrollDelegate>();
    run([&] { scene_.view->setDelegate(next); });
    const std::size_t told = scene_.delegate->log.size();
    scene_.drag(-3.0F, -3.0F);
    EXPECT_EQ(scene_.delegate->log.size(), told);
    EXPECT_THAT(next->log, testing::Contains(testing::StartsWith("willBeginDragging")));
}

TEST_P(MVScrollViewDelegateMomentTest, theDelegateMayResizeTheView) {
    run([&] {
        scene_.view->setSize({300.0F, 300.0F});
        scene_.view->contentView()->setSize({310.0F, 310.0F});
    });
    scene_.settle();
    const Point2 place = scene_.view->contentOffset();
    EXPECT_EQ(place, mv_clampPosition(place, scene_.view->size(), scene_.view->contentSize()));
}

TEST_P(MVScrollViewDelegateMomentTest, aDragThatTheDelegateBeginsStands) {
    run([&] { scene_.view->scrollBegan(ScrollScene::by(-1.0F, -1.0F)); });
    scene_.settle();
    EXPECT_TRUE(scene_.view->isTracking() || scene_.view->isDragging());
    EXPECT_TRUE(scene_.view->isDragging());
    EXPECT_FALSE(scene_.view->isDecelerating());
    EXPECT_FALSE(scene_.view->animating());
}

TEST_P(MVScrollViewDelegateMomentTest, aGlideThatTheDelegateBeginsStands) {
    run([&] {
        scene_.view->setContentOffset({-100.0F, -100.0F});
        scene_.view->mv_decelerateIfNeededWithVelocityWasDragging({0.1, 0.1}, false);
    });
    scene_.settle();
    EXPECT_LT(scene_.view->contentOffset().x, -100.0F);
    EXPECT_FALSE(scene_.view->isDecelerating());
}

TEST_P(MVScrollViewDelegateMomentTest, whatTheDelegateThrowsLeavesAViewThatWorks) {
    struct Failure {};
    try {
        run([&] { throw Failure(); });
    } catch (const Failure&) {
    }
    scene_.view->setContentOffset({-100.0F, -100.0F});
    scene_.view->mv_decelerateIfNeededWithVelocityWasDragging(Point2D::kZero, false);
    scene_.settle();
    scene_.view->setContentOffset({0.0F, 70.0F});
    EXPECT_TRUE(scene_.view->isDecelerating());
    scene_.settle();
    EXPECT_EQ(scene_.view->contentOffset(), Point2::kZero);
}

INSTANTIATE_TEST_SUITE_P(Calls, MVScrollViewDelegateMomentTest,
                         testing::Values(Moment{"willBeginDragging", dragStory},
                                         Moment{"didScroll", dragStory},
                                         Moment{"didScroll", zoomStory},
                                         Moment{"didEndDragging", glideStory},
                                         Moment{"willBeginDecelerating", glideStory},
                                         Moment{"didEndDecelerating", glideStory}));

/// The last reference to the view goes within a call.
TEST(MVScrollViewDelegateTest, theViewMayBeDroppedFromWithinEveryCall) {
    for (const char* moment : {"willBeginDragging", "didScroll", "didEndDragging",
                               "willBeginDecelerating", "didEndDecelerating"}) {
        ScrollScene scene;
        MVScrollView* const bare = scene.view.get();
        const std::weak_ptr<MVScrollView> weak = scene.view;
        scene.delegate->reaction = [&](const std::string& call, const auto&) {
            if (call == moment) {
                scene.view.reset();
            }
        };
        if (!weak.expired()) {
            bare->scrollBegan(ScrollScene::by(-10.0F, -10.0F));
        }
        if (!weak.expired()) {
            bare->mv_decelerateIfNeededWithVelocityWasDragging({0.1, 0.1}, true);
        }
        for (int i = 0; i < 500 && !weak.expired(); ++i) {
            scene.tick();
        }
        EXPECT_TRUE(weak.expired()) << moment;
    }
}

}  // namespace
