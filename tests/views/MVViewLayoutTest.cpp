// Wishes for a layout, the two layout visits, and layouts at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <thread>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/views/MVView.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::platform::MainThread;
using testing::ElementsAre;
using testing::IsEmpty;

using Recorded = std::shared_ptr<RecordingView>;

/// A superview with two subviews, of which the first has one of its own; everything wants a layout.
struct Family {
    CallLog log;
    Recorded parent = RecordingView::make("parent", &log);
    Recorded a = RecordingView::make("a", &log);
    Recorded inA = RecordingView::make("inA", &log);
    Recorded b = RecordingView::make("b", &log);

    Family() {
        parent->addSubview(a);
        a->addSubview(inA);
        parent->addSubview(b);
        for (const Recorded& view : {parent, a, inA, b}) {
            view->setNeedsLayout();
        }
        log.clear();
    }
};

// Wishes

TEST(MVViewLayoutTest, aNewViewWantsNoLayout) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    EXPECT_FALSE(view->mv_isLayoutDirty());
    view->mv_prepareForLayoutVisit();
    view->mv_layoutVisit();
    view->layoutSubviewsIfNeeded();
    EXPECT_THAT(log, IsEmpty());
}

TEST(MVViewLayoutTest, aRequestIsKeptUntilTheLayout) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    view->setNeedsLayout();
    view->setNeedsLayout();
    EXPECT_TRUE(view->mv_isLayoutDirty());
    view->mv_layoutVisit();
    EXPECT_FALSE(view->mv_isLayoutDirty());
    view->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("view.layoutSubviews"));
}

TEST(MVViewLayoutTest, aChangeOfTheSizeWantsALayout) {
    const auto view = MVView::init();
    view->setSize({10.0F, 20.0F});
    EXPECT_TRUE(view->mv_isLayoutDirty());
    view->mv_layoutVisit();
    view->setSize3({10.0F, 20.0F, 0.0F});
    EXPECT_FALSE(view->mv_isLayoutDirty()) << "an equal size";
    view->setSize3({10.0F, 20.0F, 1.0F});
    EXPECT_TRUE(view->mv_isLayoutDirty()) << "the depth alone";
}

TEST(MVViewLayoutTest, aLayoutThatAsksForItselfEnds) {
    struct Insisting : MVView {
        int layouts = 0;
        void layoutSubviews() override {
            ++layouts;
            layoutSubviewsIfNeeded();
            for (const auto& subview : *subviews()) {
                subview->layoutSubviewsIfNeeded();
            }
        }
    };
    const auto view = MVMake<Insisting>();
    const auto inner = MVMake<Insisting>();
    view->addSubview(inner);
    view->setNeedsLayout();
    inner->setNeedsLayout();
    view->layoutSubviewsIfNeeded();
    EXPECT_EQ(view->layouts, 1);
    EXPECT_EQ(inner->layouts, 1);
    EXPECT_FALSE(view->mv_isLayoutDirty());
    view->setNeedsLayout();
    view->mv_layoutVisit();
    EXPECT_EQ(view->layouts, 2);
}

TEST(MVViewLayoutTest, noOtherPlacementWantsALayout) {
    const auto parent = MVView::init();
    const auto view = MVView::init();
    parent->addSubview(view);
    view->setPosition({1.0F, 2.0F});
    view->setRotation(1.0F);
    view->setUniformScale(2.0F);
    view->setAnchorPoint({0.5F, 0.5F});
    view->setLocalOrigin({3.0F, 4.0F});
    view->setCoordinateSystem(1);
    view->setOpacity(0.5F);
    view->setHidden(true);
    EXPECT_FALSE(view->mv_isLayoutDirty());
    EXPECT_FALSE(parent->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aSizeThatIsNaNWantsALayoutWhenSetAgain) {
    const auto view = MVView::init();
    const float nan = std::numeric_limits<float>::quiet_NaN();
    view->setSize({nan, 1.0F});
    view->mv_layoutVisit();
    view->setSize({nan, 1.0F});
    EXPECT_TRUE(view->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aRequestMarksNeitherTheSuperviewNorTheSubviews) {
    const auto parent = MVView::init();
    const auto view = MVView::init();
    const auto child = MVView::init();
    parent->addSubview(view);
    view->addSubview(child);
    view->setNeedsLayout();
    EXPECT_FALSE(parent->mv_isLayoutDirty());
    EXPECT_FALSE(child->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aRequestAsksForNoRedraw) {
    const auto window = CountingWindow::make();
    const auto view = MVView::init();
    window->addSubview(view);
    window->redrawRequests = 0;
    view->setNeedsLayout();
    view->mv_layoutVisit();
    EXPECT_EQ(window->redrawRequests, 0);
}

TEST(MVViewLayoutTest, aRequestMayComeFromAnotherThread) {
    const auto view = MVView::init();
    std::thread([&] { view->setNeedsLayout(); }).join();
    EXPECT_TRUE(view->mv_isLayoutDirty());
    MainThread::runUntil([] { return false; }, 0);
    view->mv_layoutVisit();
    EXPECT_FALSE(view->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, theConstructorOfAViewMayWantALayout) {
    struct Eager : MVView {
        Eager() { setSize({1.0F, 2.0F}); }
    };
    EXPECT_TRUE(MVMake<Eager>()->mv_isLayoutDirty());
}

// Visits

TEST(MVViewLayoutTest, thePreparationCallsTheHooksOfTheMarkedFromTheTopAndKeepsTheMarks) {
    Family family;
    family.parent->mv_prepareForLayoutVisit();
    EXPECT_THAT(family.log,
                ElementsAre("parent.prepareForLayoutSubviews", "a.prepareForLayoutSubviews",
                            "inA.prepareForLayoutSubviews", "b.prepareForLayoutSubviews"));
    EXPECT_TRUE(family.parent->mv_isLayoutDirty());
    EXPECT_TRUE(family.b->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, theLayoutGoesFromTheTopAndEndsTheWishes) {
    Family family;
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.layoutSubviews", "a.layoutSubviews",
                                        "inA.layoutSubviews", "b.layoutSubviews"));
    for (const Recorded& view : {family.parent, family.a, family.inA, family.b}) {
        EXPECT_FALSE(view->mv_isLayoutDirty());
    }
}

TEST(MVViewLayoutTest, viewsBelowOneThatWantsNothingAreStillVisited) {
    Family family;
    family.parent->mv_layoutVisit();
    family.log.clear();
    family.inA->setNeedsLayout();
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log, ElementsAre("inA.prepareForLayoutSubviews", "inA.layoutSubviews"));
}

TEST(MVViewLayoutTest, aHiddenViewKeepsItsWishAndThoseBelowUntilItIsShown) {
    Family family;
    family.a->setHidden(true);
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log,
                ElementsAre("parent.prepareForLayoutSubviews", "b.prepareForLayoutSubviews",
                            "parent.layoutSubviews", "b.layoutSubviews"));
    EXPECT_TRUE(family.a->mv_isLayoutDirty());
    EXPECT_TRUE(family.inA->mv_isLayoutDirty());
    family.log.clear();
    family.a->setHidden(false);
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log,
                ElementsAre("a.prepareForLayoutSubviews", "inA.prepareForLayoutSubviews",
                            "a.layoutSubviews", "inA.layoutSubviews"));
}

TEST(MVViewLayoutTest, aHiddenRootStopsTheWholeVisit) {
    Family family;
    family.parent->setHidden(true);
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log, IsEmpty());
}

TEST(MVViewLayoutTest, onlyTheViewsOwnFlagHidesItFromAVisitThatBeginsWithIt) {
    Family family;
    family.parent->setHidden(true);
    ASSERT_TRUE(family.a->isEffectivelyHidden());
    family.log.clear();
    family.a->mv_layoutVisit();
    EXPECT_THAT(family.log, ElementsAre("a.layoutSubviews", "inA.layoutSubviews"));
}

TEST(MVViewLayoutTest, anInvisibleViewIsLaidOut) {
    Family family;
    family.parent->setOpacity(0.0F);
    family.parent->mv_layoutVisit();
    EXPECT_FALSE(family.inA->mv_isLayoutDirty());
}

// Changes during the visits

TEST(MVViewLayoutTest, aSubviewThatIsResizedByALayoutIsLaidOutInTheSameVisit) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    parent->addSubview(child);
    parent->onLayoutSubviews = [&] { child->setSize({5.0F, 5.0F}); };
    parent->setNeedsLayout();
    parent->mv_prepareForLayoutVisit();
    parent->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("parent.prepareForLayoutSubviews", "parent.layoutSubviews",
                                 "child.setSize3", "child.layoutSubviews"));
    EXPECT_FALSE(child->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aSubviewThatIsResizedByThePreparationIsPreparedInTheSameVisit) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    parent->addSubview(child);
    parent->onPrepareForLayoutSubviews = [&] { child->setNeedsLayout(); };
    parent->setNeedsLayout();
    parent->mv_prepareForLayoutVisit();
    EXPECT_THAT(log,
                ElementsAre("parent.prepareForLayoutSubviews", "child.prepareForLayoutSubviews"));
}

TEST(MVViewLayoutTest, aSuperviewThatIsResizedByALayoutIsLaidOutInTheNextVisit) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    parent->addSubview(child);
    child->onLayoutSubviews = [&] { parent->setSize({5.0F, 5.0F}); };
    child->setNeedsLayout();
    parent->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("child.layoutSubviews", "parent.setSize3"));
    log.clear();
    parent->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("parent.layoutSubviews"));
}

TEST(MVViewLayoutTest, aWishThatAViewMakesInItsOwnLayoutEndsWithThatLayout) {
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    bool marked = false;
    view->onLayoutSubviews = [&] {
        marked = view->mv_isLayoutDirty();
        view->setNeedsLayout();
    };
    view->setNeedsLayout();
    view->mv_layoutVisit();
    EXPECT_TRUE(marked) << "the wish is taken back after the layout, not before";
    EXPECT_FALSE(view->mv_isLayoutDirty());
    view->setNeedsLayout();
    view->layoutSubviewsIfNeeded();
    EXPECT_FALSE(view->mv_isLayoutDirty());
    EXPECT_THAT(log, ElementsAre("view.layoutSubviews", "view.layoutSubviews"));
}

TEST(MVViewLayoutTest, aSubviewThatIsAddedByALayoutIsLaidOutInTheSameVisit) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    parent->onLayoutSubviews = [&] {
        const auto child = RecordingView::make("child", nullptr);
        child->onLayoutSubviews = [&] { log.emplace_back("child"); };
        child->setSize({1.0F, 1.0F});
        parent->addSubview(child);
    };
    parent->setNeedsLayout();
    parent->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("parent.layoutSubviews", "child"));
}

TEST(MVViewLayoutTest, aViewMayDestroyItsSiblingsInALayout) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto first = RecordingView::make("first", &log);
    auto second = RecordingView::make("second", &log);
    parent->addSubview(first);
    parent->addSubview(second);
    second->setNeedsLayout();
    const std::weak_ptr<MVView> watched = second;
    second.reset();
    first->onLayoutSubviews = [&] { parent->removeAllSubviews(); };
    first->setNeedsLayout();
    parent->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("first.layoutSubviews", "second.layoutSubviews"))
        << "those that were subviews when their turn began";
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(*parent->subviews(), IsEmpty());
}

TEST(MVViewLayoutTest, aLayoutThatThrowsKeepsTheWish) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    const auto child = RecordingView::make("child", &log);
    parent->addSubview(child);
    parent->onLayoutSubviews = [] { throw std::runtime_error("no"); };
    parent->setNeedsLayout();
    child->setNeedsLayout();
    EXPECT_THROW(parent->mv_layoutVisit(), std::runtime_error);
    EXPECT_THROW(child->layoutSubviewsIfNeeded(), std::runtime_error);
    EXPECT_TRUE(parent->mv_isLayoutDirty());
    EXPECT_TRUE(child->mv_isLayoutDirty());
    parent->onLayoutSubviews = nullptr;
    parent->mv_layoutVisit();
    EXPECT_FALSE(parent->mv_isLayoutDirty());
    EXPECT_FALSE(child->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aTreeOfTenThousandLevelsIsLaidOut) {
    const auto root = MVView::init();
    std::shared_ptr<MVView> leaf = root;
    for (int i = 0; i < 10000; ++i) {
        auto next = MVView::init();
        leaf->addSubview(next);
        leaf = std::move(next);
    }
    leaf->setNeedsLayout();
    root->mv_prepareForLayoutVisit();
    root->mv_layoutVisit();
    EXPECT_FALSE(leaf->mv_isLayoutDirty());
    leaf->setNeedsLayout();
    leaf->layoutSubviewsIfNeeded();
    EXPECT_FALSE(leaf->mv_isLayoutDirty());
}

// Layout at once

TEST(MVViewLayoutTest, aLayoutAtOnceGoesFromTheRootDownToTheView) {
    Family family;
    family.inA->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log,
                ElementsAre("parent.layoutSubviews", "a.layoutSubviews", "inA.layoutSubviews"));
    EXPECT_FALSE(family.parent->mv_isLayoutDirty());
    EXPECT_FALSE(family.a->mv_isLayoutDirty());
    EXPECT_FALSE(family.inA->mv_isLayoutDirty());
    EXPECT_TRUE(family.b->mv_isLayoutDirty()) << "not above the view";
}

TEST(MVViewLayoutTest, aLayoutAtOnceLeavesOutWhatWantsNone) {
    Family family;
    family.parent->mv_layoutVisit();
    family.log.clear();
    family.inA->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log, IsEmpty());
    family.parent->setNeedsLayout();
    family.inA->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log, ElementsAre("parent.layoutSubviews"));
}

TEST(MVViewLayoutTest, aLayoutAtOnceLaysOutAViewThatItsSuperviewResizesJustThen) {
    Family family;
    family.parent->mv_layoutVisit();
    family.log.clear();
    family.parent->onLayoutSubviews = [&] { family.a->setSize({5.0F, 5.0F}); };
    family.parent->setNeedsLayout();
    family.a->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log, ElementsAre("parent.layoutSubviews", "a.setSize3", "a.layoutSubviews"));
}

TEST(MVViewLayoutTest, aLayoutAtOnceLeavesTheSubviewsAlone) {
    Family family;
    family.parent->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log, ElementsAre("parent.layoutSubviews"));
    EXPECT_TRUE(family.a->mv_isLayoutDirty());
}

TEST(MVViewLayoutTest, aLayoutAtOnceReachesHiddenViewsToo) {
    Family family;
    family.parent->setHidden(true);
    family.a->setHidden(true);
    family.a->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log, ElementsAre("parent.layoutSubviews", "a.layoutSubviews"));
}

TEST(MVViewLayoutTest, aLayoutAtOnceMayTakeTheViewOutOfTheTree) {
    Family family;
    family.parent->onLayoutSubviews = [&] { family.parent->removeAllSubviews(); };
    family.inA->layoutSubviewsIfNeeded();
    EXPECT_THAT(family.log,
                ElementsAre("parent.layoutSubviews", "a.layoutSubviews", "inA.layoutSubviews"))
        << "what was above the view when the layout began";
}

TEST(MVViewLayoutTest, aLayoutAtOnceMayDropTheRoot) {
    CallLog log;
    auto root = RecordingView::make("root", &log);
    const auto view = RecordingView::make("view", &log);
    root->addSubview(view);
    root->setNeedsLayout();
    view->setNeedsLayout();
    const std::weak_ptr<MVView> watched = root;
    root->onLayoutSubviews = [&] { root.reset(); };
    view->layoutSubviewsIfNeeded();
    EXPECT_TRUE(watched.expired());
    EXPECT_THAT(log, ElementsAre("root.layoutSubviews", "view.layoutSubviews"));
}

}  // namespace
