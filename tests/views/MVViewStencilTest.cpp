// Stencil views in the tree: where they are placed, what reaches them, how they go.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/views/MVView.h"
#include "tests/views/RecordingView.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using View = std::shared_ptr<MVView>;

/// An owner in a window, with a subview and a stencil view that is none.
struct Masked {
    std::shared_ptr<CountingWindow> window = CountingWindow::make();
    View owner = MVView::init();
    View child = MVView::init();
    View stencil = MVView::init();

    Masked() {
        window->addSubview(owner);
        owner->addSubview(child);
        owner->setStencilView(stencil);
        window->mv_setDrawClean();
        window->redrawRequests = 0;
    }
};

// Setting

TEST(MVViewStencilTest, aNewViewHasNone) {
    EXPECT_EQ(MVView::init()->stencilView(), nullptr);
}

TEST(MVViewStencilTest, aViewWithoutASuperviewIsPlacedInTheOwnerButNotOnItsList) {
    const Masked masked;
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
    EXPECT_EQ(masked.stencil->mv_window(), masked.window);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.child));
}

TEST(MVViewStencilTest, joiningTheOwnerTakesOverItsContentScaleFactor) {
    const auto owner = MVView::init();
    const auto stencil = MVView::init();
    owner->setContentScaleFactor(3.0F);
    owner->setStencilView(stencil);
    EXPECT_EQ(stencil->contentScaleFactor(), 3.0F);
    owner->setStencilView(nullptr);
    EXPECT_EQ(stencil->contentScaleFactor(), 0.0F);
}

TEST(MVViewStencilTest, aSubviewMayBecomeTheStencilViewAndStaysASubview) {
    Masked masked;
    masked.owner->setStencilView(masked.child);
    EXPECT_EQ(masked.owner->stencilView(), masked.child);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.child));
}

TEST(MVViewStencilTest, aViewThatIsPlacedElsewhereStaysThere) {
    const auto owner = MVView::init();
    const auto elsewhere = MVView::init();
    const auto stencil = MVView::init();
    elsewhere->addSubview(stencil);
    owner->setStencilView(stencil);
    EXPECT_EQ(stencil->superview(), elsewhere);
    EXPECT_THAT(*elsewhere->subviews(), ElementsAre(stencil));
    owner->setStencilView(nullptr);
    EXPECT_EQ(owner->stencilView(), nullptr);
    EXPECT_EQ(stencil->superview(), elsewhere);
}

TEST(MVViewStencilTest, settingReplacingAndClearingAskForARedraw) {
    Masked masked;
    masked.owner->setStencilView(masked.stencil);
    EXPECT_EQ(masked.window->redrawRequests, 0) << "the same view";
    const auto elsewhere = MVView::init();
    const auto placed = MVView::init();
    elsewhere->addSubview(placed);
    masked.owner->setStencilView(placed);
    EXPECT_EQ(masked.window->redrawRequests, 1) << "a view that need not be placed";
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.window->redrawRequests, 2);
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.window->redrawRequests, 2) << "none again";
}

TEST(MVViewStencilTest, clearingDetachesTheView) {
    Masked masked;
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.owner->stencilView(), nullptr);
    EXPECT_EQ(masked.stencil->superview(), nullptr);
    EXPECT_EQ(masked.stencil->mv_window(), nullptr);
    EXPECT_TRUE(masked.stencil->isEffectivelyHidden());
    EXPECT_TRUE(masked.window->mv_windowNeedsDraw());
}

TEST(MVViewStencilTest, clearingLeavesASubviewWhereItIs) {
    Masked masked;
    masked.owner->setStencilView(masked.child);
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.child->superview(), masked.owner);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.child));
}

TEST(MVViewStencilTest, aViewThatWasReplacedStaysPlacedUntilItIsRemoved) {
    Masked masked;
    const auto next = MVView::init();
    masked.owner->setStencilView(next);
    EXPECT_EQ(masked.owner->stencilView(), next);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
    EXPECT_EQ(masked.stencil->mv_window(), masked.window);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.child));
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.stencil->superview(), masked.owner) << "the end of its successor is not its";
    masked.stencil->removeFromSuperview();
    EXPECT_EQ(masked.stencil->superview(), nullptr);
    EXPECT_EQ(masked.stencil->mv_window(), nullptr);
}

TEST(MVViewStencilTest, aViewThatWasReplacedForgetsTheOwnerThatIsDestroyed) {
    auto owner = MVView::init();
    const auto first = MVView::init();
    const auto second = MVView::init();
    owner->setStencilView(first);
    owner->setStencilView(second);
    owner.reset();
    EXPECT_EQ(first->superview(), nullptr);
    EXPECT_EQ(second->superview(), nullptr);
}

TEST(MVViewStencilTest, aViewThatWasReplacedMayComeBack) {
    Masked masked;
    masked.owner->setStencilView(MVView::init());
    masked.owner->setStencilView(masked.stencil);
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.stencil->superview(), nullptr);
}

TEST(MVViewStencilTest, oneViewMayMaskSeveralOwners) {
    Masked masked;
    const auto second = MVView::init();
    second->setStencilView(masked.stencil);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
    second->setStencilView(nullptr);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
}

struct Refused {
    const char* name;
    std::function<View(const View& root, const View& owner)> view;
};

class MVViewStencilRefusalTest : public testing::TestWithParam<Refused> {};

TEST_P(MVViewStencilRefusalTest, isRefusedAndChangesNothing) {
    const auto root = MVView::init();
    const auto owner = MVView::init();
    const auto stencil = MVView::init();
    root->addSubview(owner);
    owner->setStencilView(stencil);
    try {
        owner->setStencilView(GetParam().view(root, owner));
        ADD_FAILURE() << "nothing was thrown";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInvalidArgument);
        EXPECT_THAT(exception.reason(), HasSubstr("setStencilView"));
    }
    EXPECT_EQ(owner->stencilView(), stencil);
    EXPECT_EQ(stencil->superview(), owner);
    EXPECT_EQ(owner->superview(), root);
}

INSTANTIATE_TEST_SUITE_P(
    All, MVViewStencilRefusalTest,
    testing::Values(Refused{"itself", [](const View&, const View& owner) { return owner; }},
                    Refused{"oneAbove", [](const View& root, const View&) { return root; }},
                    Refused{"aWindow", [](const View&, const View&) { return MVWindow::init(); }}),
    [](const auto& instance) { return instance.param.name; });

// Cycles

/// Three relations between some of three views, the last of which closes a cycle.
struct Cycle {
    const char* name;
    struct Step {
        enum { Subview, Stencil } relation;
        int above;
        int below;
    };
    std::vector<Step> steps;
};

class MVViewStencilCycleTest : public testing::TestWithParam<Cycle> {};

TEST_P(MVViewStencilCycleTest, isRefusedByItsLastStepWhicheverThatIs) {
    const std::vector<Cycle::Step>& steps = GetParam().steps;
    for (std::size_t last = 0; last < steps.size(); ++last) {
        const auto root = MVView::init();
        const std::vector<View> views = {MVView::init(), MVView::init(), MVView::init()};
        // So that a stencil view stays where it is and a cycle is one of stencils alone.
        for (const View& view : views) {
            root->addSubview(view);
        }
        const auto apply = [&](const Cycle::Step& step) {
            const View& above = views[static_cast<std::size_t>(step.above)];
            const View& below = views[static_cast<std::size_t>(step.below)];
            if (step.relation == Cycle::Step::Subview) {
                above->addSubview(below);
            } else {
                above->setStencilView(below);
            }
        };
        for (std::size_t i = 1; i < steps.size(); ++i) {
            apply(steps[(last + i) % steps.size()]);
        }
        const std::string before = root->describe();
        EXPECT_THROW(apply(steps[last]), MVException) << "closed by step " << last;
        EXPECT_EQ(root->describe(), before);
    }
}

INSTANTIATE_TEST_SUITE_P(All, MVViewStencilCycleTest,
                         testing::Values(Cycle{"twoThatMaskEachOther",
                                               {{Cycle::Step::Stencil, 0, 1},  //
                                                {Cycle::Step::Stencil, 1, 0}}},
                                         Cycle{"threeThatMaskEachOther",
                                               {{Cycle::Step::Stencil, 0, 1},
                                                {Cycle::Step::Stencil, 1, 2},
                                                {Cycle::Step::Stencil, 2, 0}}},
                                         Cycle{"anOwnerInItsStencilView",
                                               {{Cycle::Step::Stencil, 0, 1},  //
                                                {Cycle::Step::Subview, 1, 0}}},
                                         Cycle{"anOwnerDeepInItsStencilView",
                                               {{Cycle::Step::Stencil, 0, 1},
                                                {Cycle::Step::Subview, 1, 2},
                                                {Cycle::Step::Subview, 2, 0}}},
                                         Cycle{"aStencilViewThatIsMaskedByWhatContainsTheOwner",
                                               {{Cycle::Step::Stencil, 0, 1},
                                                {Cycle::Step::Stencil, 1, 2},
                                                {Cycle::Step::Subview, 2, 0}}}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(MVViewStencilTest, relationsThatWereGivenUpCloseNoCycle) {
    const auto first = MVView::init();
    const auto second = MVView::init();
    const auto root = MVView::init();
    root->addSubview(first);
    root->addSubview(second);
    first->setStencilView(second);
    first->setStencilView(nullptr);
    second->setStencilView(first);
    second->setStencilView(MVView::init());
    first->addSubview(second);
    second->removeFromSuperview();
    second->addSubview(first);
    EXPECT_EQ(first->superview(), second);
    {
        const auto owner = MVView::init();
        owner->setStencilView(second);
    }
    root->addSubview(second);
    EXPECT_EQ(second->superview(), root);
}

TEST(MVViewStencilTest, manyMasksOfManyOwnersAreCheckedOnce) {
    // Each of 60 layers masks both views of the one above: 2^60 ways from the bottom to the top.
    std::vector<View> layer = {MVView::init(), MVView::init()};
    const std::vector<View> top = layer;
    std::vector<View> kept = layer;
    const auto root = MVView::init();
    for (int i = 0; i < 60; ++i) {
        const auto shared = MVView::init();
        root->addSubview(shared);
        layer[0]->setStencilView(shared);
        layer[1]->setStencilView(shared);
        layer = {MVView::init(), MVView::init()};
        for (const View& view : layer) {
            shared->addSubview(view);
            kept.push_back(view);
        }
    }
    EXPECT_THROW(layer[0]->setStencilView(top[0]), MVException);
    EXPECT_THROW(layer[0]->addSubview(top[1]), MVException);
    const auto free = MVView::init();
    const auto above = MVView::init();
    above->addSubview(free);
    layer[0]->setStencilView(above);
    EXPECT_EQ(layer[0]->stencilView(), above);
}

// Lists

TEST(MVViewStencilTest, addingTheStencilViewDoesNotPutItOnTheList) {
    Masked masked;
    masked.owner->addSubview(masked.stencil);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.child));
}

TEST(MVViewStencilTest, insertingTheStencilViewPutsItOnTheListToo) {
    Masked masked;
    masked.owner->insertSubviewAtIndex(masked.stencil, 0);
    EXPECT_THAT(*masked.owner->subviews(), ElementsAre(masked.stencil, masked.child));
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
    masked.owner->setStencilView(nullptr);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
}

TEST(MVViewStencilTest, removingAllSubviewsLeavesAStencilViewThatIsNone) {
    Masked masked;
    masked.owner->removeAllSubviews();
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
    EXPECT_EQ(masked.stencil->superview(), masked.owner);
}

TEST(MVViewStencilTest, removingTheStencilViewClearsIt) {
    Masked masked;
    masked.stencil->removeFromSuperview();
    EXPECT_EQ(masked.owner->stencilView(), nullptr);
    EXPECT_EQ(masked.stencil->superview(), nullptr);
    EXPECT_TRUE(masked.window->mv_windowNeedsDraw());
}

TEST(MVViewStencilTest, removingAStencilViewThatIsASubviewTakesItOutAltogether) {
    Masked masked;
    masked.owner->setStencilView(masked.child);
    masked.child->removeFromSuperview();
    EXPECT_EQ(masked.owner->stencilView(), nullptr);
    EXPECT_EQ(masked.child->superview(), nullptr);
    EXPECT_THAT(*masked.owner->subviews(), IsEmpty());
}

TEST(MVViewStencilTest, aStencilViewThatOnlyItsOwnerHoldsMayRemoveItself) {
    const auto owner = MVView::init();
    owner->setStencilView(MVView::init());
    const std::weak_ptr<MVView> watched = owner->stencilView();
    watched.lock()->removeFromSuperview();
    EXPECT_EQ(owner->stencilView(), nullptr);
    EXPECT_TRUE(watched.expired());
}

TEST(MVViewStencilTest, removingAViewFromElsewhereLeavesItTheStencilView) {
    const auto owner = MVView::init();
    const auto elsewhere = MVView::init();
    const auto stencil = MVView::init();
    elsewhere->addSubview(stencil);
    owner->setStencilView(stencil);
    stencil->removeFromSuperview();
    EXPECT_EQ(owner->stencilView(), stencil);
    EXPECT_EQ(stencil->superview(), nullptr);
}

TEST(MVViewStencilTest, movingTheStencilViewToAnotherSuperviewLeavesItTheStencilView) {
    Masked masked;
    const auto elsewhere = MVView::init();
    elsewhere->addSubview(masked.stencil);
    EXPECT_EQ(masked.owner->stencilView(), masked.stencil);
    EXPECT_EQ(masked.stencil->superview(), elsewhere);
    EXPECT_EQ(masked.stencil->mv_window(), nullptr);
}

// What reaches it

TEST(MVViewStencilTest, theWindowReachesTheStencilViewBeforeTheSubviews) {
    CallLog log;
    const auto window = MVWindow::init();
    const auto owner = RecordingView::make("owner", &log);
    const auto child = RecordingView::make("child", &log);
    const auto stencil = RecordingView::make("stencil", &log);
    const auto inStencil = RecordingView::make("inStencil", &log);
    owner->addSubview(child);
    owner->setStencilView(stencil);
    stencil->addSubview(inStencil);
    window->addSubview(owner);
    EXPECT_THAT(log, ElementsAre("owner.windowWillChange", "owner.windowDidChange",
                                 "stencil.windowWillChange", "stencil.windowDidChange",
                                 "inStencil.windowWillChange", "inStencil.windowDidChange",
                                 "child.windowWillChange", "child.windowDidChange"));
    EXPECT_EQ(inStencil->mv_window(), window);
    owner->removeFromSuperview();
    EXPECT_EQ(stencil->mv_window(), nullptr);
    EXPECT_EQ(inStencil->mv_window(), nullptr);
}

TEST(MVViewStencilTest, theWindowReachesAStencilViewThatIsASubviewOnceInItsPlace) {
    CallLog log;
    const auto window = MVWindow::init();
    const auto owner = RecordingView::make("owner", &log);
    const auto child = RecordingView::make("child", &log);
    const auto stencil = RecordingView::make("stencil", &log);
    owner->addSubview(child);
    owner->addSubview(stencil);
    owner->setStencilView(stencil);
    window->addSubview(owner);
    EXPECT_THAT(log, ElementsAre("owner.windowWillChange", "owner.windowDidChange",
                                 "child.windowWillChange", "child.windowDidChange",
                                 "stencil.windowWillChange", "stencil.windowDidChange"));
}

TEST(MVViewStencilTest, changesOfTheOwnerMarkTheStencilViewAndWhatIsBelowIt) {
    Masked masked;
    const auto inside = MVView::init();
    masked.stencil->addSubview(inside);
    for (const View& view : {masked.stencil, inside}) {
        view->transformMatrix();
        view->isEffectivelyHidden();
        view->effectiveOpacity();
    }
    masked.owner->setPosition({10.0F, 20.0F});
    masked.owner->setHidden(true);
    masked.owner->setOpacity(0.5F);
    for (const View& view : {masked.stencil, inside}) {
        EXPECT_TRUE(isMarked(view, "transformMatrixDirty"));
        EXPECT_TRUE(isMarked(view, "effectivelyHiddenDirty"));
        EXPECT_TRUE(isMarked(view, "effectiveOpacityDirty"));
        EXPECT_TRUE(view->isEffectivelyHidden());
        EXPECT_EQ(view->effectiveOpacity(), 0.5F);
        EXPECT_EQ(view->transformMatrix()[3], glm::vec4(10.0F, 20.0F, 0.0F, 1.0F));
    }
}

TEST(MVViewStencilTest, changesOfTheOwnerDoNotReachAStencilViewThatIsPlacedElsewhere) {
    Masked masked;
    const auto elsewhere = MVView::init();
    elsewhere->addSubview(masked.stencil);
    masked.stencil->transformMatrix();
    masked.owner->setPosition({10.0F, 20.0F});
    EXPECT_FALSE(isMarked(masked.stencil, "transformMatrixDirty"));
}

TEST(MVViewStencilTest, changesOfTheOwnerDoNotReachAViewThatWasReplaced) {
    Masked masked;
    masked.owner->setStencilView(MVView::init());
    masked.stencil->transformMatrix();
    masked.owner->setPosition({10.0F, 20.0F});
    EXPECT_FALSE(isMarked(masked.stencil, "transformMatrixDirty"));
    masked.owner->removeFromSuperview();
    EXPECT_EQ(masked.stencil->mv_window(), masked.window);
}

TEST(MVViewStencilTest, changesOfTheStencilViewAskTheOwnersWindowForARedraw) {
    Masked masked;
    masked.stencil->setPosition({1.0F, 1.0F});
    EXPECT_TRUE(masked.window->mv_windowNeedsDraw());
}

TEST(MVViewStencilTest, aLayoutAtOnceOfAStencilViewGoesThroughItsOwner) {
    CallLog log;
    const auto owner = RecordingView::make("owner", &log);
    const auto stencil = RecordingView::make("stencil", &log);
    owner->setStencilView(stencil);
    owner->setNeedsLayout();
    stencil->setNeedsLayout();
    stencil->layoutSubviewsIfNeeded();
    EXPECT_THAT(log, ElementsAre("owner.layoutSubviews", "stencil.layoutSubviews"));
}

TEST(MVViewStencilTest, aDescriptionShowsTheStencilViewBelowItsOwner) {
    Masked masked;
    masked.owner->setDebugName("owner");
    masked.stencil->setDebugName("mask");
    masked.child->setDebugName("child");
    EXPECT_THAT(masked.owner->describe(),
                testing::MatchesRegex(".*\"owner\".*\n +[^\n]*\"mask\".*\n +[^\n]*\"child\".*\n"));
}

// Lifetimes

TEST(MVViewStencilTest, anOwnerKeepsItsStencilViewAliveAndNotTheOtherWayRound) {
    auto owner = MVView::init();
    owner->setStencilView(MVView::init());
    const std::weak_ptr<MVView> watched = owner->stencilView();
    const std::weak_ptr<MVView> watchedOwner = owner;
    EXPECT_FALSE(watched.expired());
    {
        const auto held = watched.lock();
        owner.reset();
        EXPECT_TRUE(watchedOwner.expired());
        EXPECT_EQ(held->superview(), nullptr);
    }
    EXPECT_TRUE(watched.expired());
}

TEST(MVViewStencilTest, aHundredThousandStencilViewsWithinEachOtherAreMarkedAndDestroyed) {
    auto owner = MVView::init();
    View innermost = owner;
    for (int i = 0; i < 100000; ++i) {
        auto next = MVView::init();
        innermost->setStencilView(next);
        innermost = std::move(next);
    }
    innermost->transformMatrix();
    owner->setPosition({1.0F, 1.0F});
    EXPECT_TRUE(isMarked(innermost, "transformMatrixDirty"));
    const std::weak_ptr<MVView> watched = innermost;
    innermost.reset();
    owner.reset();
    EXPECT_TRUE(watched.expired());
}

}  // namespace
