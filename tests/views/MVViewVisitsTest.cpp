// The draw preparation and draw visits without GL, and the order of all four.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "MivoraMac/views/MVView.h"
#include "tests/views/RecordingView.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Recorded = std::shared_ptr<RecordingView>;

/// A superview with two subviews, of which the first has one of its own.
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
        log.clear();
    }
};

// Order

TEST(MVViewVisitsTest, theDrawPreparationVisitsEveryViewFromTheTop) {
    Family family;
    family.parent->mv_prepareForDrawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.prepareForDraw", "a.prepareForDraw",
                                        "inA.prepareForDraw", "b.prepareForDraw"));
}

TEST(MVViewVisitsTest, aViewIsDrawnBelowItsSubviewsAndThoseFromBackToFront) {
    Family family;
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw", "b.draw"));
    family.log.clear();
    family.parent->insertSubviewAtIndex(family.b, 0);
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "b.draw", "a.draw", "inA.draw"));
}

TEST(MVViewVisitsTest, aHiddenViewIsNeitherPreparedNorDrawnNorWhatIsBelowIt) {
    Family family;
    family.a->setHidden(true);
    family.parent->mv_prepareForDrawVisit();
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.prepareForDraw", "b.prepareForDraw",  //
                                        "parent.draw", "b.draw"));
    family.log.clear();
    family.parent->setHidden(true);
    family.parent->mv_prepareForDrawVisit();
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, IsEmpty());
}

TEST(MVViewVisitsTest, onlyTheViewsOwnFlagHidesItFromAVisitThatBeginsWithIt) {
    Family family;
    family.parent->setHidden(true);
    ASSERT_TRUE(family.a->isEffectivelyHidden());
    family.log.clear();
    family.a->mv_prepareForDrawVisit();
    family.a->mv_drawVisit();
    EXPECT_THAT(family.log,
                ElementsAre("a.prepareForDraw", "inA.prepareForDraw", "a.draw", "inA.draw"));
}

TEST(MVViewVisitsTest, aTransparentViewIsVisitedAndDrawn) {
    Family family;
    family.a->setOpacity(0.0F);
    family.a->mv_prepareForDrawVisit();
    family.a->mv_drawVisit();
    EXPECT_THAT(family.log,
                ElementsAre("a.prepareForDraw", "inA.prepareForDraw", "a.draw", "inA.draw"));
}

TEST(MVViewVisitsTest, drawingDoesNotDependOnAWishForALayout) {
    Family family;
    family.parent->setNeedsLayout();
    family.parent->mv_drawVisit();
    EXPECT_TRUE(family.parent->mv_isLayoutDirty());
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw", "b.draw"));
}

TEST(MVViewVisitsTest, theFourVisitsMeetHiddenViewsAndStencilViewsInOrder) {
    CallLog log;
    const auto window = RecordingWindow::make(&log);
    const auto owner = RecordingView::make("owner", &log);
    const auto stencil = RecordingView::make("stencil", &log);
    const auto inStencil = RecordingView::make("inStencil", &log);
    const auto child = RecordingView::make("child", &log);
    const auto hidden = RecordingView::make("hidden", &log);
    const auto inHidden = RecordingView::make("inHidden", &log);
    const auto hiddenStencil = RecordingView::make("hiddenStencil", &log);
    window->addSubview(owner);
    owner->addSubview(child);
    owner->setStencilView(stencil);
    stencil->addSubview(inStencil);
    child->setStencilView(hiddenStencil);
    hiddenStencil->setHidden(true);
    window->addSubview(hidden);
    hidden->addSubview(inHidden);
    hidden->setHidden(true);
    window->setNeedsLayout();
    for (const Recorded& view :
         {owner, stencil, inStencil, child, hidden, inHidden, hiddenStencil}) {
        view->setNeedsLayout();
    }

    log.clear();
    window->mv_prepareForLayoutVisit();
    EXPECT_THAT(
        log, ElementsAre("window.prepareForLayoutSubviews", "owner.prepareForLayoutSubviews",
                         "stencil.prepareForLayoutSubviews", "inStencil.prepareForLayoutSubviews",
                         "child.prepareForLayoutSubviews"));
    log.clear();
    window->mv_layoutVisit();
    EXPECT_THAT(
        log, ElementsAre("window.layoutSubviews", "owner.layoutSubviews", "stencil.layoutSubviews",
                         "inStencil.layoutSubviews", "child.layoutSubviews"));
    EXPECT_TRUE(hidden->mv_isLayoutDirty());
    EXPECT_TRUE(inHidden->mv_isLayoutDirty());
    EXPECT_TRUE(hiddenStencil->mv_isLayoutDirty());
    log.clear();
    window->mv_prepareForDrawVisit();
    EXPECT_THAT(
        log, ElementsAre("window.prepareForDraw", "owner.prepareForDraw", "stencil.prepareForDraw",
                         "inStencil.prepareForDraw", "child.prepareForDraw"));
    log.clear();
    window->mv_drawVisit();
    EXPECT_THAT(log, ElementsAre("window.draw", "owner.draw", "child.draw"))
        << "without a surface there is no stencil to draw into";
}

TEST(MVViewVisitsTest, aStencilViewThatIsASubviewTooIsVisitedOnceInItsPlace) {
    Family family;
    family.parent->setStencilView(family.b);
    for (const Recorded& view : {family.a, family.b}) {
        view->setNeedsLayout();
    }
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    EXPECT_THAT(family.log, ElementsAre("a.prepareForLayoutSubviews", "b.prepareForLayoutSubviews",
                                        "a.layoutSubviews", "b.layoutSubviews"));
    family.log.clear();
    family.parent->mv_prepareForDrawVisit();
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.prepareForDraw", "a.prepareForDraw",
                                        "inA.prepareForDraw", "b.prepareForDraw",  //
                                        "parent.draw", "a.draw", "inA.draw", "b.draw"));
}

TEST(MVViewVisitsTest, aStencilViewThatIsPlacedElsewhereIsVisitedThere) {
    CallLog log;
    const auto owner = RecordingView::make("owner", &log);
    const auto elsewhere = RecordingView::make("elsewhere", &log);
    const auto stencil = RecordingView::make("stencil", &log);
    elsewhere->addSubview(stencil);
    owner->setStencilView(stencil);
    stencil->setNeedsLayout();
    log.clear();
    owner->mv_prepareForLayoutVisit();
    owner->mv_layoutVisit();
    owner->mv_prepareForDrawVisit();
    EXPECT_THAT(log, ElementsAre("owner.prepareForDraw"));
    elsewhere->mv_layoutVisit();
    EXPECT_THAT(log, ElementsAre("owner.prepareForDraw", "stencil.layoutSubviews"));
}

TEST(MVViewVisitsTest, aStencilViewThatWasReplacedIsVisitedNoMore) {
    CallLog log;
    const auto owner = RecordingView::make("owner", &log);
    const auto first = RecordingView::make("first", &log);
    const auto second = RecordingView::make("second", &log);
    owner->setStencilView(first);
    owner->setStencilView(second);
    log.clear();
    owner->mv_prepareForDrawVisit();
    EXPECT_THAT(log, ElementsAre("owner.prepareForDraw", "second.prepareForDraw"));
}

// Changes during the visits

TEST(MVViewVisitsTest, aViewThatIsAddedWhileItsSuperviewIsDrawnIsDrawnInTheSameVisit) {
    Family family;
    const auto late = RecordingView::make("late", &family.log);
    family.parent->onDraw = [&] { family.parent->addSubview(late); };
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log,
                ElementsAre("parent.draw", "a.draw", "inA.draw", "b.draw", "late.draw"));
}

TEST(MVViewVisitsTest, aViewThatIsRemovedWhileItsSiblingIsDrawnIsStillDrawn) {
    Family family;
    family.a->onDraw = [&] { family.parent->removeAllSubviews(); };
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw", "b.draw"));
    family.log.clear();
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw"));
}

TEST(MVViewVisitsTest, aViewThatOnlyTheTreeOwnsMayRemoveItselfWhileItIsDrawn) {
    CallLog log;
    const auto parent = RecordingView::make("parent", &log);
    auto view = RecordingView::make("view", &log);
    parent->addSubview(view);
    RecordingView* const unowned = view.get();
    const std::weak_ptr<MVView> watched = view;
    view.reset();
    unowned->onDraw = [unowned] { unowned->removeFromSuperview(); };
    parent->mv_drawVisit();
    EXPECT_THAT(log, ElementsAre("parent.draw", "view.draw"));
    EXPECT_TRUE(watched.expired());
}

TEST(MVViewVisitsTest, aViewThatHidesASiblingFurtherInFrontKeepsItFromBeingDrawn) {
    Family family;
    family.a->onDraw = [&] { family.b->setHidden(true); };
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw"));
}

TEST(MVViewVisitsTest, theStencilViewMayBeReplacedDuringThePreparation) {
    CallLog log;
    const auto owner = RecordingView::make("owner", &log);
    const auto first = RecordingView::make("first", &log);
    const auto child = RecordingView::make("child", &log);
    owner->setStencilView(first);
    owner->addSubview(child);
    first->onPrepareForDraw = [&] { owner->setStencilView(nullptr); };
    log.clear();
    owner->mv_prepareForDrawVisit();
    EXPECT_THAT(
        log, ElementsAre("owner.prepareForDraw", "first.prepareForDraw", "child.prepareForDraw"));
}

TEST(MVViewVisitsTest, aTreeOfTenThousandLevelsIsPreparedAndDrawn) {
    CallLog log;
    const auto root = MVView::init();
    std::shared_ptr<MVView> leaf = root;
    for (int i = 0; i < 10000; ++i) {
        auto next = MVView::init();
        leaf->addSubview(next);
        leaf = std::move(next);
    }
    leaf->addSubview(RecordingView::make("leaf", &log));
    root->mv_prepareForDrawVisit();
    root->mv_drawVisit();
    EXPECT_THAT(log, ElementsAre("leaf.prepareForDraw", "leaf.draw"));
}

// The view being drawn

TEST(MVViewVisitsTest, theCurrentDrawingViewIsTheOneWhoseDrawRuns) {
    Family family;
    std::vector<std::shared_ptr<MVView>> seen;
    for (const Recorded& view : {family.parent, family.a, family.inA, family.b}) {
        view->onDraw = [&] { seen.push_back(MVView::currentDrawingView()); };
    }
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
    family.parent->mv_drawVisit();
    EXPECT_THAT(seen, ElementsAre(family.parent, family.a, family.inA, family.b));
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
}

TEST(MVViewVisitsTest, nothingIsBeingDrawnInTheOtherThreeVisits) {
    Family family;
    const auto expectNone = [] { EXPECT_EQ(MVView::currentDrawingView(), nullptr); };
    family.parent->onPrepareForLayoutSubviews = expectNone;
    family.parent->onLayoutSubviews = expectNone;
    family.parent->onPrepareForDraw = expectNone;
    family.parent->setNeedsLayout();
    family.parent->mv_prepareForLayoutVisit();
    family.parent->mv_layoutVisit();
    family.parent->mv_prepareForDrawVisit();
    EXPECT_EQ(family.log.size(), 6U);
}

TEST(MVViewVisitsTest, aDrawThatThrowsEndsTheVisitAndNothingIsBeingDrawn) {
    Family family;
    family.inA->onDraw = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(family.parent->mv_drawVisit(), std::runtime_error);
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw"));
    family.log.clear();
    family.inA->onDraw = nullptr;
    family.parent->mv_drawVisit();
    EXPECT_THAT(family.log, ElementsAre("parent.draw", "a.draw", "inA.draw", "b.draw"));
}

TEST(MVViewVisitsTest, theCurrentDrawingViewIsForgottenWhenItIsDestroyed) {
    auto view = MVView::init();
    MVView::mv_setCurrentDrawingView(view.get());
    EXPECT_EQ(MVView::currentDrawingView(), view);
    MVView::init();
    EXPECT_EQ(MVView::currentDrawingView(), view) << "another view's end makes no difference";
    view.reset();
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
}

TEST(MVViewVisitsTest, theCurrentDrawingViewIsNotKeptAlive) {
    const auto view = MVView::init();
    MVView::mv_setCurrentDrawingView(view.get());
    EXPECT_EQ(view.use_count(), 1);
    MVView::mv_setCurrentDrawingView(nullptr);
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
}

TEST(MVViewVisitsTest, aViewThatIsBeingDestroyedIsNotTheOneBeingDrawn) {
    struct Curious : MVView {
        ~Curious() override { *seen = MVView::currentDrawingView() != nullptr; }
        bool* seen = nullptr;
    };
    bool seen = true;
    auto view = MVMake<Curious>();
    view->seen = &seen;
    MVView::mv_setCurrentDrawingView(view.get());
    view.reset();
    EXPECT_FALSE(seen);
}

TEST(MVViewVisitsTest, theCurrentDrawingViewIsWhatShadersAskForMatrices) {
    struct NoView final : MVShaderMatrixSource {
        MVShaderMatrices mv_shaderMatrices() override { return {}; }
    } noView;
    const auto view = MVView::init();
    MVView::mv_setCurrentDrawingView(view.get());
    EXPECT_EQ(MVShader::mv_matrixSource(), view.get());
    MVShader::mv_setMatrixSource(&noView);
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
    MVShader::mv_setMatrixSource(view.get());
    EXPECT_EQ(MVView::currentDrawingView(), view);
    MVShader::mv_setMatrixSource(nullptr);
    EXPECT_EQ(MVView::currentDrawingView(), nullptr);
}

// Redraws

TEST(MVViewVisitsTest, aRequestForARedrawReachesTheWindow) {
    const auto window = CountingWindow::make();
    const auto parent = MVView::init();
    const auto view = MVView::init();
    window->addSubview(parent);
    parent->addSubview(view);
    window->mv_setDrawClean();
    window->redrawRequests = 0;
    view->setNeedsDraw();
    EXPECT_EQ(window->redrawRequests, 1);
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}

TEST(MVViewVisitsTest, aRequestForARedrawOutsideAnyWindowDoesNothing) {
    const auto view = MVView::init();
    view->setNeedsDraw();
    view->mv_setDrawDirty();
    EXPECT_EQ(view->mv_window(), nullptr);
}

TEST(MVViewVisitsTest, theVisitsThemselvesAskForNoRedraw) {
    const auto window = CountingWindow::make();
    const auto view = MVView::init();
    window->addSubview(view);
    view->setNeedsLayout();
    window->mv_setDrawClean();
    window->mv_prepareForLayoutVisit();
    window->mv_layoutVisit();
    window->mv_prepareForDrawVisit();
    window->mv_drawVisit();
    EXPECT_FALSE(window->mv_windowNeedsDraw());
}

}  // namespace
