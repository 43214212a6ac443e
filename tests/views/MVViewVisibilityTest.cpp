// Hidden state, opacity and content scale.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "MivoraMac/views/MVView.h"
#include "tests/views/RecordingView.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using View = std::shared_ptr<MVView>;

/// A window with a chain of three views.
struct Chain {
    std::shared_ptr<CountingWindow> window = CountingWindow::make();
    CallLog log;
    std::shared_ptr<RecordingView> root = RecordingView::make("root", &log);
    std::shared_ptr<RecordingView> middle = RecordingView::make("middle", &log);
    std::shared_ptr<RecordingView> leaf = RecordingView::make("leaf", &log);

    Chain() {
        window->addSubview(root);
        root->addSubview(middle);
        middle->addSubview(leaf);
        settle();
    }

    void settle() {
        leaf->isEffectivelyHidden();
        leaf->effectiveOpacity();
        leaf->transformMatrix();
        window->redrawRequests = 0;
        window->mv_setDrawClean();
        log.clear();
    }

    std::vector<View> views() const { return {root, middle, leaf}; }
};

// Hidden

TEST(MVViewVisibilityTest, aNewViewIsNeitherHiddenNorEffectivelyHidden) {
    const View view = MVView::init();
    EXPECT_FALSE(view->isHidden());
    EXPECT_FALSE(view->isEffectivelyHidden());
}

TEST(MVViewVisibilityTest, aHiddenViewHidesEverythingBelowIt) {
    Chain chain;
    chain.middle->setHidden(true);
    EXPECT_FALSE(chain.root->isEffectivelyHidden());
    EXPECT_TRUE(chain.middle->isEffectivelyHidden());
    EXPECT_TRUE(chain.leaf->isEffectivelyHidden());
    EXPECT_FALSE(chain.leaf->isHidden());
    chain.middle->setHidden(false);
    EXPECT_FALSE(chain.leaf->isEffectivelyHidden());
}

TEST(MVViewVisibilityTest, aRootIsEffectivelyHiddenOnceItHasBeenMarked) {
    const auto window = MVWindow::init();
    const View view = MVView::init();
    window->addSubview(view);
    EXPECT_FALSE(window->isEffectivelyHidden());
    EXPECT_FALSE(view->isEffectivelyHidden());
    window->setHidden(true);
    EXPECT_TRUE(window->isEffectivelyHidden());
    window->setHidden(false);
    EXPECT_TRUE(window->isEffectivelyHidden());
    EXPECT_TRUE(view->isEffectivelyHidden());
}

TEST(MVViewVisibilityTest, hidingMarksTheHiddenStateBelowAndNothingElse) {
    Chain chain;
    chain.root->setHidden(true);
    for (const View& view : chain.views()) {
        EXPECT_TRUE(isMarked(view, "effectivelyHiddenDirty"));
        EXPECT_FALSE(isMarked(view, "effectiveOpacityDirty"));
        EXPECT_FALSE(isMarked(view, "transformMatrixDirty"));
    }
    EXPECT_FALSE(isMarked(chain.window, "effectivelyHiddenDirty"));
    EXPECT_EQ(chain.window->redrawRequests, 3) << "one for each view";
    EXPECT_TRUE(chain.window->mv_windowNeedsDraw());
}

TEST(MVViewVisibilityTest, anEqualHiddenFlagDoesNothing) {
    Chain chain;
    chain.root->setHidden(false);
    EXPECT_FALSE(isMarked(chain.root, "effectivelyHiddenDirty"));
    EXPECT_FALSE(chain.window->mv_windowNeedsDraw());
}

TEST(MVViewVisibilityTest, theHiddenStateIsRebuiltWhenItIsReadAndItsHookCalledOnceFromTheTop) {
    Chain chain;
    chain.root->setHidden(true);
    chain.root->setHidden(false);
    EXPECT_THAT(chain.log, IsEmpty());
    chain.leaf->isEffectivelyHidden();
    EXPECT_THAT(chain.log,
                ElementsAre("root.effectivelyHiddenDidBuild", "middle.effectivelyHiddenDidBuild",
                            "leaf.effectivelyHiddenDidBuild"));
    for (const View& view : chain.views()) {
        EXPECT_FALSE(isMarked(view, "effectivelyHiddenDirty"));
        view->isEffectivelyHidden();
    }
    EXPECT_EQ(chain.log.size(), 3U);
}

TEST(MVViewVisibilityTest, aHiddenViewAnswersWithoutAskingItsSuperview) {
    Chain chain;
    chain.leaf->setHidden(true);
    chain.root->setHidden(true);
    EXPECT_TRUE(chain.leaf->isEffectivelyHidden());
    EXPECT_THAT(chain.log, ElementsAre("leaf.effectivelyHiddenDidBuild"));
    EXPECT_TRUE(isMarked(chain.middle, "effectivelyHiddenDirty"));
    EXPECT_TRUE(isMarked(chain.root, "effectivelyHiddenDirty"));
}

TEST(MVViewVisibilityTest, markingTheHiddenStateDoesNotStopAtAViewThatIsMarkedAlready) {
    Chain chain;
    chain.leaf->setHidden(true);
    chain.root->setHidden(true);
    chain.leaf->isEffectivelyHidden();
    ASSERT_TRUE(isMarked(chain.middle, "effectivelyHiddenDirty"));
    ASSERT_FALSE(isMarked(chain.leaf, "effectivelyHiddenDirty"));
    chain.window->redrawRequests = 0;
    chain.root->setHidden(false);
    EXPECT_TRUE(isMarked(chain.leaf, "effectivelyHiddenDirty"));
    EXPECT_EQ(chain.window->redrawRequests, 3);
}

TEST(MVViewVisibilityTest, theHookSeesTheRebuiltState) {
    Chain chain;
    bool seen = false;
    chain.leaf->onEffectivelyHiddenDidBuild = [&] { seen = chain.leaf->isEffectivelyHidden(); };
    chain.root->setHidden(true);
    chain.leaf->isEffectivelyHidden();
    EXPECT_TRUE(seen);
    EXPECT_EQ(chain.log.back(), "leaf.effectivelyHiddenDidBuild");
    EXPECT_EQ(chain.log.size(), 3U);
}

TEST(MVViewVisibilityTest, aDetachedViewIsHiddenUntilItIsAttachedAgain) {
    Chain chain;
    chain.middle->removeFromSuperview();
    EXPECT_TRUE(chain.leaf->isEffectivelyHidden());
    chain.window->addSubview(chain.middle);
    EXPECT_FALSE(chain.leaf->isEffectivelyHidden());
}

// Opacity

TEST(MVViewVisibilityTest, opacitiesMultiplyDownTheTree) {
    Chain chain;
    chain.root->setOpacity(0.5F);
    chain.middle->setOpacity(0.5F);
    EXPECT_EQ(chain.middle->effectiveOpacity(), 0.25F);
    EXPECT_EQ(chain.leaf->effectiveOpacity(), 0.25F);
    EXPECT_EQ(chain.leaf->opacity(), 1.0F);
    chain.window->setOpacity(0.0F);
    EXPECT_EQ(chain.leaf->effectiveOpacity(), 0.0F);
}

TEST(MVViewVisibilityTest, aRootHasItsOwnOpacity) {
    const View view = MVView::init();
    EXPECT_EQ(view->effectiveOpacity(), 1.0F);
    view->setOpacity(0.75F);
    EXPECT_EQ(view->effectiveOpacity(), 0.75F);
}

TEST(MVViewVisibilityTest, opacityMarksTheOpacityBelowAndNothingElse) {
    Chain chain;
    chain.root->setOpacity(0.5F);
    for (int i = 1; i <= 2; ++i) {
        for (const View& view : chain.views()) {
            EXPECT_TRUE(isMarked(view, "effectiveOpacityDirty"));
            EXPECT_FALSE(isMarked(view, "effectivelyHiddenDirty"));
            EXPECT_FALSE(isMarked(view, "transformMatrixDirty"));
        }
        EXPECT_EQ(chain.window->redrawRequests, 3 * i) << "marked or not";
        chain.root->setOpacity(0.25F);
    }
    EXPECT_FALSE(isMarked(chain.window, "effectiveOpacityDirty"));
}

TEST(MVViewVisibilityTest, opacityIsRebuiltWhenItIsReadAndNotBelow) {
    Chain chain;
    chain.root->setOpacity(0.5F);
    EXPECT_EQ(chain.middle->effectiveOpacity(), 0.5F);
    EXPECT_FALSE(isMarked(chain.root, "effectiveOpacityDirty"));
    EXPECT_FALSE(isMarked(chain.middle, "effectiveOpacityDirty"));
    EXPECT_TRUE(isMarked(chain.leaf, "effectiveOpacityDirty"));
}

TEST(MVViewVisibilityTest, anEqualOpacityDoesNothing) {
    Chain chain;
    chain.root->setOpacity(1.0F);
    EXPECT_FALSE(isMarked(chain.root, "effectiveOpacityDirty"));
    EXPECT_FALSE(chain.window->mv_windowNeedsDraw());
}

TEST(MVViewVisibilityTest, opacityIsNotClampedAndNaNPassesOn) {
    Chain chain;
    chain.root->setOpacity(3.0F);
    chain.middle->setOpacity(-1.0F);
    EXPECT_EQ(chain.leaf->effectiveOpacity(), -3.0F);
    chain.root->setOpacity(std::numeric_limits<float>::quiet_NaN());
    EXPECT_TRUE(std::isnan(chain.leaf->effectiveOpacity()));
}

TEST(MVViewVisibilityTest, leavingASuperviewTakesItsOpacityOut) {
    Chain chain;
    chain.root->setOpacity(0.5F);
    chain.middle->setOpacity(0.5F);
    chain.middle->removeFromSuperview();
    EXPECT_EQ(chain.leaf->effectiveOpacity(), 0.5F);
}

// Content scale

TEST(MVViewVisibilityTest, theContentScaleFactorIsOnlyStored) {
    Chain chain;
    const float before = chain.leaf->contentScaleFactor();
    chain.root->setContentScaleFactor(before + 1.0F);
    EXPECT_EQ(chain.root->contentScaleFactor(), before + 1.0F);
    EXPECT_EQ(chain.leaf->contentScaleFactor(), before);
    EXPECT_FALSE(chain.window->mv_windowNeedsDraw());
}

}  // namespace
