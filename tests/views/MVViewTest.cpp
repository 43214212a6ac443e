// The view tree: joining, leaving, windows, lifetimes.

#include "MivoraMac/views/MVView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/windows/Screen.h"
#include "tests/views/RecordingView.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using View = std::shared_ptr<MVView>;

/// A superview with three subviews.
struct Family {
    View parent = MVView::init();
    View a = MVView::init();
    View b = MVView::init();
    View c = MVView::init();

    Family() {
        parent->addSubview(a);
        parent->addSubview(b);
        parent->addSubview(c);
    }
};

std::string nameOfException(const std::function<void()>& operation) {
    try {
        operation();
    } catch (const MVException& exception) {
        EXPECT_FALSE(exception.reason().empty());
        return exception.name();
    }
    return "";
}

/// A view with `depth` views below it, each the only subview of the one above; returns the ends.
std::pair<View, View> makeChain(int depth) {
    const View root = MVView::init();
    View leaf = root;
    for (int i = 0; i < depth; ++i) {
        View next = MVView::init();
        leaf->addSubview(next);
        leaf = std::move(next);
    }
    return {root, leaf};
}

// Lists

TEST(MVViewTest, aNewViewIsARootWithoutSubviewsOrWindow) {
    const View view = MVView::init();
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->mv_window(), nullptr);
    ASSERT_NE(view->subviews(), nullptr);
    EXPECT_THAT(*view->subviews(), IsEmpty());
}

TEST(MVViewTest, aNewViewHasTheContentScaleFactorOfTheMainScreen) {
    const auto expected =
        static_cast<float>(Mivora::platform::Screen::mainScreen()->backingScaleFactor());
    EXPECT_EQ(MVView::init()->contentScaleFactor(), expected);
    EXPECT_EQ(MVView::init()->contentScaleFactor(), expected);
}

TEST(MVViewTest, addedViewsAreListedFromBackToFront) {
    const Family family;
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, family.b, family.c));
    EXPECT_EQ(family.a->superview(), family.parent);
}

TEST(MVViewTest, addingAViewToTheParentItHasLeavesTheOrderUnchanged) {
    const Family family;
    const auto before = family.parent->subviews();
    family.parent->addSubview(family.a);
    EXPECT_EQ(family.parent->subviews(), before);
    EXPECT_THAT(*before, ElementsAre(family.a, family.b, family.c));
}

TEST(MVViewTest, insertingASubviewAtIndexZeroMovesItToTheBack) {
    const Family family;
    family.parent->insertSubviewAtIndex(family.c, 0);
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.c, family.a, family.b));
}

TEST(MVViewTest, theIndexOfASubviewCountsPositionsAfterItsRemoval) {
    const Family family;
    family.parent->insertSubviewAtIndex(family.a, 1);
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.b, family.a, family.c));
    family.parent->insertSubviewAtIndex(family.b, 2);
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, family.c, family.b));
}

TEST(MVViewTest, insertingANewViewPutsItBetweenTheOthers) {
    const Family family;
    const View first = MVView::init();
    const View middle = MVView::init();
    const View last = MVView::init();
    family.parent->insertSubviewAtIndex(first, 0);
    family.parent->insertSubviewAtIndex(middle, 2);
    family.parent->insertSubviewAtIndex(last, 5);
    EXPECT_THAT(*family.parent->subviews(),
                ElementsAre(first, family.a, middle, family.b, family.c, last));
    EXPECT_EQ(middle->superview(), family.parent);
}

TEST(MVViewTest, addingAViewThatHasAnotherParentRemovesItFromThatParentsListFirst) {
    const auto window = MVWindow::init();
    const Family family;
    const auto view = RecordingView::make("view", nullptr);
    family.parent->addSubview(view);
    int calls = 0;
    view->onWindowWillChange = [&] {
        ++calls;
        EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, family.b, family.c));
        EXPECT_EQ(view->superview(), window);
        EXPECT_THAT(*window->subviews(), IsEmpty());
    };
    window->addSubview(view);
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, family.b, family.c));
    EXPECT_THAT(*window->subviews(), ElementsAre(view));
}

TEST(MVViewTest, insertingAViewThatHasAnotherParentTakesItFromThere) {
    const Family family;
    const Family other;
    family.parent->insertSubviewAtIndex(other.b, 1);
    EXPECT_THAT(*other.parent->subviews(), ElementsAre(other.a, other.c));
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, other.b, family.b, family.c));
    EXPECT_EQ(other.b->superview(), family.parent);
}

TEST(MVViewTest, aRemovedViewLeavesTheListAndHasNoSuperview) {
    const Family family;
    family.b->removeFromSuperview();
    EXPECT_THAT(*family.parent->subviews(), ElementsAre(family.a, family.c));
    EXPECT_EQ(family.b->superview(), nullptr);
}

TEST(MVViewTest, removingAViewWithoutSuperviewDoesNothing) {
    const View view = MVView::init();
    const float scale = view->contentScaleFactor();
    view->removeFromSuperview();
    EXPECT_EQ(view->contentScaleFactor(), scale);
    EXPECT_FALSE(view->isEffectivelyHidden());
}

TEST(MVViewTest, removingAllSubviewsDetachesThemFromTheBackToTheFront) {
    CallLog log;
    const auto window = MVWindow::init();
    for (const char* name : {"a", "b", "c"}) {
        window->addSubview(RecordingView::make(name, &log));
    }
    const auto views = window->subviews();
    log.clear();
    window->removeAllSubviews();
    EXPECT_THAT(*window->subviews(), IsEmpty());
    EXPECT_THAT(log, ElementsAre("a.windowWillChange", "a.windowDidChange", "b.windowWillChange",
                                 "b.windowDidChange", "c.windowWillChange", "c.windowDidChange"));
    for (const View& view : *views) {
        EXPECT_EQ(view->superview(), nullptr);
    }
}

TEST(MVViewTest, theListIsRightAfterEachOfManyRemovals) {
    const View parent = MVView::init();
    std::vector<View> left;
    for (int i = 0; i < 12; ++i) {
        left.push_back(MVView::init());
        parent->addSubview(left.back());
    }
    const auto remove = [&](std::size_t index) {
        left[index]->removeFromSuperview();
        left.erase(left.begin() + static_cast<std::ptrdiff_t>(index));
    };
    remove(0);
    remove(0);
    remove(3);  // with empty places at the front
    remove(0);
    const View last = MVView::init();
    parent->addSubview(last);
    left.push_back(last);
    remove(0);
    const View first = MVView::init();
    parent->insertSubviewAtIndex(first, 0);
    left.insert(left.begin(), first);
    remove(0);
    remove(0);
    // The walk over the tree is the first to look at the list.
    const std::string description = parent->describe();
    EXPECT_EQ(std::count(description.begin(), description.end(), '\n'), left.size() + 1);
    EXPECT_THAT(*parent->subviews(), testing::ElementsAreArray(left));
    while (!left.empty()) {
        remove(0);
    }
    EXPECT_THAT(*parent->subviews(), IsEmpty());
    parent->addSubview(last);
    EXPECT_THAT(*parent->subviews(), ElementsAre(last));
}

TEST(MVViewTest, aViewThatIsRemovedFromTheFrontIsNotKept) {
    const Family family;
    std::weak_ptr<MVView> watched;
    {
        const View view = MVView::init();
        watched = view;
        family.parent->insertSubviewAtIndex(view, 0);
        const auto held = family.parent->subviews();
        view->removeFromSuperview();
    }
    EXPECT_TRUE(watched.expired());
    auto front = MVView::init();
    watched = front;
    family.parent->insertSubviewAtIndex(front, 0);
    front->removeFromSuperview();
    front = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST(MVViewTest, whileAllSubviewsAreRemovedHooksSeeThoseThatAreLeft) {
    CallLog log;
    const auto window = MVWindow::init();
    std::vector<std::size_t> counts;
    std::vector<std::shared_ptr<RecordingView>> views;
    for (int i = 0; i < 4; ++i) {
        views.push_back(RecordingView::make("view", nullptr));
        window->addSubview(views.back());
        views.back()->onWindowDidChange = [&] { counts.push_back(window->subviews()->size()); };
    }
    views[1]->onWindowDidChange = [&] {
        counts.push_back(window->subviews()->size());
        views[2]->removeFromSuperview();
        window->addSubview(MVView::init());
    };
    window->removeAllSubviews();
    EXPECT_THAT(counts, ElementsAre(3, 2, 1, 1));
    EXPECT_EQ(window->subviews()->size(), 1U) << "what was added meanwhile stays";
}

TEST(MVViewTest, aSnapshotOfTheSubviewsOutlivesEveryChange) {
    const Family family;
    const auto three = family.parent->subviews();
    family.parent->addSubview(MVView::init());
    const auto four = family.parent->subviews();
    family.parent->insertSubviewAtIndex(family.c, 0);
    family.parent->removeAllSubviews();
    EXPECT_THAT(*three, ElementsAre(family.a, family.b, family.c));
    EXPECT_EQ(four->size(), 4U);
    EXPECT_THAT(*family.parent->subviews(), IsEmpty());
}

TEST(MVViewTest, appendingReusesTheListThatNobodyElseHolds) {
    const Family family;
    const MVViewArray* const list = family.parent->subviews().get();
    family.parent->addSubview(MVView::init());
    EXPECT_EQ(family.parent->subviews().get(), list);
    const auto held = family.parent->subviews();
    family.parent->addSubview(MVView::init());
    EXPECT_NE(family.parent->subviews().get(), list);
    EXPECT_EQ(held->size(), 4U);
}

// Bad input

struct BadInput {
    const char* name;
    const char* exception;
    std::function<void(Family&)> operation;
};

class MVViewBadInputTest : public testing::TestWithParam<BadInput> {};

TEST_P(MVViewBadInputTest, isRefusedAndChangesNothing) {
    Family family;
    const auto window = MVWindow::init();
    window->addSubview(family.parent);
    const auto before = family.parent->subviews();
    window->mv_setDrawClean();
    EXPECT_EQ(nameOfException([&] { GetParam().operation(family); }), GetParam().exception);
    EXPECT_EQ(family.parent->subviews(), before);
    EXPECT_THAT(*family.a->subviews(), IsEmpty());
    EXPECT_EQ(family.parent->superview(), window);
    EXPECT_EQ(family.a->superview(), family.parent);
    EXPECT_FALSE(window->mv_windowNeedsDraw());
}

const char* const kInvalid = MVException::kInvalidArgument;
const char* const kRange = MVException::kRange;

INSTANTIATE_TEST_SUITE_P(
    All, MVViewBadInputTest,
    testing::Values(
        BadInput{"addingNull", kInvalid, [](Family& f) { f.parent->addSubview(nullptr); }},
        BadInput{"insertingNull", kInvalid,
                 [](Family& f) { f.parent->insertSubviewAtIndex(nullptr, 0); }},
        BadInput{"addingItself", kInvalid, [](Family& f) { f.a->addSubview(f.a); }},
        BadInput{"insertingItself", kInvalid, [](Family& f) { f.a->insertSubviewAtIndex(f.a, 0); }},
        BadInput{"addingTheSuperview", kInvalid, [](Family& f) { f.a->addSubview(f.parent); }},
        BadInput{"insertingTheSuperview", kInvalid,
                 [](Family& f) { f.a->insertSubviewAtIndex(f.parent, 0); }},
        BadInput{"addingTheWindowAbove", kInvalid,
                 [](Family& f) { f.a->addSubview(f.a->mv_window()); }},
        BadInput{"addingAnotherWindow", kInvalid,
                 [](Family& f) { f.parent->addSubview(MVWindow::init()); }},
        BadInput{"aNegativeIndex", kRange,
                 [](Family& f) { f.parent->insertSubviewAtIndex(MVView::init(), -1); }},
        BadInput{"anIndexBeyondTheEnd", kRange,
                 [](Family& f) { f.parent->insertSubviewAtIndex(MVView::init(), 4); }},
        BadInput{"anIndexBeyondTheOtherSubviews", kRange,
                 [](Family& f) { f.parent->insertSubviewAtIndex(f.a, 3); }}),
    [](const auto& instance) { return instance.param.name; });

TEST(MVViewTest, aViewDeepInsideIsRefusedAsASuperview) {
    const auto [root, leaf] = makeChain(50);
    const View top = root;
    const View bottom = leaf;
    EXPECT_EQ(nameOfException([&] { bottom->addSubview(top); }), MVException::kInvalidArgument);
    EXPECT_EQ(top->superview(), nullptr);
}

TEST(MVViewTest, aSuperviewThatDoesNotListAViewIsRefusedAsItsSubview) {
    const View owner = MVView::init();
    const View attached = MVView::init();
    attached->mv_setSuperview(owner.get());
    EXPECT_EQ(nameOfException([&] { attached->addSubview(owner); }), MVException::kInvalidArgument);
}

TEST(MVViewTest, aRefusedViewStaysWithItsOldParent) {
    const Family family;
    const Family other;
    EXPECT_EQ(nameOfException([&] { family.parent->insertSubviewAtIndex(other.a, 9); }),
              MVException::kRange);
    EXPECT_EQ(other.a->superview(), other.parent);
    EXPECT_THAT(*other.parent->subviews(), ElementsAre(other.a, other.b, other.c));
}

TEST(MVViewTest, anExceptionNamesTheOperationAndTheIndex) {
    try {
        MVView::init()->insertSubviewAtIndex(MVView::init(), 7);
        FAIL();
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.reason(), "insertSubviewAtIndex: index 7 is not in 0 to 0");
    }
}

// Windows

TEST(MVViewTest, joiningATreeGivesTheWindowToTheWholeSubtree) {
    const auto window = MVWindow::init();
    const Family family;
    const View below = MVView::init();
    family.b->addSubview(below);
    window->addSubview(family.parent);
    for (const View& view : {family.parent, family.a, family.b, family.c, below}) {
        EXPECT_EQ(view->mv_window(), window);
    }
}

TEST(MVViewTest, afterRemovalTheWholeSubtreeIsEffectivelyHiddenAndWithoutWindow) {
    const auto window = MVWindow::init();
    const Family family;
    window->addSubview(family.parent);
    family.b->setContentScaleFactor(3.0F);
    EXPECT_FALSE(family.a->isEffectivelyHidden());
    family.parent->removeFromSuperview();
    for (const View& view : {family.parent, family.a, family.b, family.c}) {
        EXPECT_TRUE(view->isEffectivelyHidden());
        EXPECT_EQ(view->mv_window(), nullptr);
        EXPECT_EQ(view->contentScaleFactor(), 0.0F);
    }
}

TEST(MVViewTest, aSubtreeThatComesBackTakesTheFactorOverAgain) {
    const auto window = MVWindow::init();
    window->setContentScaleFactor(2.0F);
    const Family family;
    const View below = MVView::init();
    const View mask = MVView::init();
    family.a->addSubview(below);
    family.b->setStencilView(mask);
    window->addSubview(family.parent);
    family.parent->removeFromSuperview();
    EXPECT_EQ(below->contentScaleFactor(), 0.0F);
    EXPECT_EQ(mask->contentScaleFactor(), 0.0F);
    const View added = MVView::init();
    family.c->addSubview(added);
    EXPECT_EQ(added->contentScaleFactor(), 0.0F) << "that of the view it joined";
    window->setContentScaleFactor(3.0F);
    window->addSubview(family.parent);
    for (const View& view : {family.parent, family.a, family.b, family.c, below, mask, added}) {
        EXPECT_EQ(view->contentScaleFactor(), 3.0F);
    }
}

TEST(MVViewTest, aSubtreeBuiltBeforeItsRootJoinsTakesTheFactorOverExceptWhereItWasSet) {
    const auto window = MVWindow::init();
    window->setContentScaleFactor(2.0F);
    const Family family;
    const View belowSet = MVView::init();
    const View belowZero = MVView::init();
    family.parent->setContentScaleFactor(5.0F);
    family.b->setContentScaleFactor(4.0F);
    family.b->addSubview(belowSet);
    family.c->setContentScaleFactor(0.0F);
    family.c->addSubview(belowZero);
    window->addSubview(family.parent);
    EXPECT_EQ(family.parent->contentScaleFactor(), 2.0F) << "the view that joins";
    EXPECT_EQ(family.a->contentScaleFactor(), 2.0F);
    EXPECT_EQ(family.b->contentScaleFactor(), 4.0F) << "set";
    EXPECT_EQ(belowSet->contentScaleFactor(), 4.0F) << "taken over from there";
    EXPECT_EQ(family.c->contentScaleFactor(), 2.0F) << "0 is no value";
    EXPECT_EQ(belowZero->contentScaleFactor(), 2.0F);

    family.b->setContentScaleFactor(2.0F);
    const auto other = MVWindow::init();
    other->setContentScaleFactor(1.5F);
    other->addSubview(family.parent);
    EXPECT_EQ(family.a->contentScaleFactor(), 1.5F);
    EXPECT_EQ(family.b->contentScaleFactor(), 2.0F) << "set, though to what it had";
}

TEST(MVViewTest, joiningASuperviewTakesOverItsContentScaleFactor) {
    const Family family;
    const View view = MVView::init();
    family.parent->setContentScaleFactor(3.0F);
    family.parent->addSubview(view);
    EXPECT_EQ(view->contentScaleFactor(), 3.0F);
    family.parent->setContentScaleFactor(1.5F);
    EXPECT_EQ(view->contentScaleFactor(), 3.0F);
}

TEST(MVViewTest, joiningDoesItsStepsInOrder) {
    const auto oldWindow = CountingWindow::make();
    const auto window = CountingWindow::make();
    window->setContentScaleFactor(5.0F);
    const auto view = RecordingView::make("view", nullptr);
    const auto child = RecordingView::make("child", nullptr);
    view->addSubview(child);
    oldWindow->addSubview(view);
    view->transformMatrix();
    child->transformMatrix();
    const float oldScale = view->contentScaleFactor();
    CallLog log;

    const auto nothingIsMarked = [&] {
        return !isMarked(view, "transformMatrixDirty") && !isMarked(child, "transformMatrixDirty");
    };
    view->onWindowWillChange = [&] {
        log.push_back("will");
        EXPECT_THAT(*oldWindow->subviews(), IsEmpty());
        EXPECT_EQ(view->superview(), window);
        EXPECT_EQ(view->MVView::mv_window(), oldWindow);
        EXPECT_TRUE(nothingIsMarked());
    };
    view->onWindowDidChange = [&] {
        log.push_back("did");
        EXPECT_EQ(view->mv_window(), window);
        EXPECT_EQ(child->mv_window(), oldWindow);
        EXPECT_TRUE(nothingIsMarked());
    };
    child->onWindowWillChange = [&] {
        log.push_back("child will");
        EXPECT_EQ(child->mv_window(), oldWindow);
    };
    child->onWindowDidChange = [&] {
        log.push_back("child did");
        EXPECT_EQ(child->mv_window(), window);
        EXPECT_TRUE(nothingIsMarked());
        EXPECT_EQ(view->contentScaleFactor(), oldScale);
        EXPECT_THAT(*window->subviews(), IsEmpty());
        window->redrawRequests = 0;
    };
    window->addSubview(view);

    EXPECT_THAT(log, ElementsAre("will", "did", "child will", "child did"));
    for (const View& marked : {View(view), View(child)}) {
        EXPECT_TRUE(isMarked(marked, "transformMatrixDirty"));
        EXPECT_TRUE(isMarked(marked, "effectivelyHiddenDirty"));
        EXPECT_TRUE(isMarked(marked, "effectiveOpacityDirty"));
        EXPECT_FALSE(isMarked(marked, "localTransformMatrixDirty"));
    }
    EXPECT_EQ(view->contentScaleFactor(), 5.0F);
    EXPECT_THAT(*window->subviews(), ElementsAre(view));
    EXPECT_EQ(window->redrawRequests, 3 * 2 + 1) << "three marks of two views, and the list";
}

TEST(MVViewTest, theHooksRunOnlyWhenTheWindowChanges) {
    CallLog log;
    const auto window = MVWindow::init();
    const auto view = RecordingView::make("view", &log);
    const View first = MVView::init();
    const View second = MVView::init();
    first->addSubview(view);
    second->addSubview(view);
    EXPECT_THAT(log, IsEmpty()) << "no window before or after";
    window->addSubview(first);
    window->addSubview(second);
    EXPECT_THAT(log, ElementsAre("view.windowWillChange", "view.windowDidChange"));
    log.clear();
    first->addSubview(view);
    EXPECT_THAT(log, IsEmpty()) << "the same window before and after";
}

TEST(MVViewTest, aWindowCanBeStoredWithoutTellingTheSubviews) {
    const auto window = MVWindow::init();
    const Family family;
    family.parent->mv_setWindowUpdateSubviews(window.get(), false);
    EXPECT_EQ(family.parent->mv_window(), window);
    EXPECT_EQ(family.a->mv_window(), nullptr);
    family.parent->mv_setWindow(window.get());
    EXPECT_EQ(family.a->mv_window(), nullptr) << "an equal window is not passed on";
    family.parent->mv_setWindow(nullptr);
    family.parent->mv_setWindow(window.get());
    EXPECT_EQ(family.a->mv_window(), window);
}

TEST(MVViewTest, subviewsTakeTheWindowThatTheSuperviewAnswers) {
    struct Island : MVView {
        std::shared_ptr<MVWindow> mv_window() const override { return inner; }
        std::shared_ptr<MVWindow> inner = MVWindow::init();
    };
    const auto window = MVWindow::init();
    const auto island = MVMake<Island>();
    const View view = MVView::init();
    window->addSubview(island);
    island->addSubview(view);
    EXPECT_EQ(view->mv_window(), island->inner);
    window->mv_setDrawClean();
    island->inner->mv_setDrawClean();
    view->setNeedsDraw();
    EXPECT_TRUE(island->inner->mv_windowNeedsDraw());
    EXPECT_FALSE(window->mv_windowNeedsDraw());
    island->setNeedsDraw();
    EXPECT_TRUE(window->mv_windowNeedsDraw());
}

TEST(MVViewTest, everyChangeOfAListAsksForARedrawAndNoChangeDoesNot) {
    const auto window = MVWindow::init();
    const Family family;
    window->addSubview(family.parent);
    const auto asks = [&](const std::function<void()>& operation) {
        window->mv_setDrawClean();
        operation();
        return window->mv_windowNeedsDraw();
    };
    EXPECT_TRUE(asks([&] { family.parent->addSubview(MVView::init()); }));
    EXPECT_FALSE(asks([&] { family.parent->addSubview(family.a); }));
    EXPECT_TRUE(asks([&] { family.parent->insertSubviewAtIndex(family.a, 1); }));
    EXPECT_TRUE(asks([&] { family.a->removeFromSuperview(); }));
    EXPECT_FALSE(asks([&] { family.a->removeFromSuperview(); }));
    EXPECT_TRUE(asks([&] { family.parent->removeAllSubviews(); }));
    EXPECT_FALSE(asks([&] { family.parent->removeAllSubviews(); }));
    EXPECT_TRUE(asks([&] { family.parent->setNeedsDraw(); }));
}

TEST(MVViewTest, reorderingMarksNothing) {
    const Family family;
    family.a->transformMatrix();
    family.parent->insertSubviewAtIndex(family.a, 2);
    EXPECT_FALSE(isMarked(family.a, "transformMatrixDirty"));
}

// Lifetimes

TEST(MVViewTest, aSuperviewKeepsItsSubviewsAliveAndNotTheOtherWayRound) {
    View parent = MVView::init();
    View child = MVView::init();
    const std::weak_ptr<MVView> weakParent = parent;
    const std::weak_ptr<MVView> weakChild = child;
    parent->addSubview(child);
    child = nullptr;
    EXPECT_FALSE(weakChild.expired());
    child = weakChild.lock();
    parent = nullptr;
    EXPECT_TRUE(weakParent.expired());
    EXPECT_EQ(child->superview(), nullptr);
}

TEST(MVViewTest, aSubviewHeldElsewhereGoesOnAsARootWhenItsParentDies) {
    Family family;
    const View below = MVView::init();
    family.a->addSubview(below);
    family.parent->setPosition({5.0F, 0.0F});
    below->transformMatrix();
    family.parent = nullptr;
    EXPECT_EQ(family.a->superview(), nullptr);
    EXPECT_EQ(below->superview(), family.a);
    family.a->setPosition({1.0F, 2.0F});
    EXPECT_EQ(below->convertPoint2FFromView({1.0F, 2.0F}, below), (Mivora::Point2{1.0F, 2.0F}));
    EXPECT_EQ(below->transformMatrix()[3].x, 1.0F);
    family.a->removeFromSuperview();
    const View parent = MVView::init();
    parent->addSubview(family.a);
    EXPECT_EQ(family.a->superview(), parent);
}

TEST(MVViewTest, viewsForgetAWindowThatIsDestroyed) {
    auto window = MVWindow::init();
    const Family family;
    window->addSubview(family.parent);
    window = nullptr;
    EXPECT_EQ(family.parent->superview(), nullptr);
    EXPECT_EQ(family.a->mv_window(), nullptr);
    family.a->setNeedsDraw();
    family.parent->setPosition({1.0F, 0.0F});
}

TEST(MVViewTest, aViewThatIsOnNobodysListForgetsItsSuperviewToo) {
    auto window = MVWindow::init();
    View owner = MVView::init();
    window->addSubview(owner);
    const View attached = MVView::init();
    attached->mv_setSuperview(owner.get());
    EXPECT_EQ(attached->superview(), owner);
    EXPECT_EQ(attached->mv_window(), window);
    EXPECT_THAT(*owner->subviews(), IsEmpty());
    window->removeAllSubviews();
    window = nullptr;
    owner = nullptr;
    EXPECT_EQ(attached->superview(), nullptr);
    EXPECT_EQ(attached->mv_window(), nullptr);
    attached->setHidden(true);
}

TEST(MVViewTest, aConstructorMayAddSubviews) {
    struct Card : MVView {
        Card() {
            addSubview(content);
            content->setPosition({3.0F, 4.0F});
        }
        View content = MVView::init();
    };
    const auto card = MVMake<Card>();
    const auto window = MVWindow::init();
    window->addSubview(card);
    EXPECT_EQ(card->content->superview(), card);
    EXPECT_EQ(card->content->mv_window(), window);
}

TEST(MVViewTest, theConstructorOfAWindowMayAddSubviews) {
    struct Stage : MVWindow {
        Stage() { addSubview(content); }
        View content = MVView::init();
    };
    const auto stage = MVMake<Stage>();
    EXPECT_EQ(stage->content->mv_window(), stage);
    stage->mv_setDrawClean();
    stage->content->setNeedsDraw();
    EXPECT_TRUE(stage->mv_windowNeedsDraw());
}

TEST(MVViewTest, aDestructorMayUseTheTree) {
    struct Tidy : MVView {
        ~Tidy() override {
            EXPECT_EQ(subviews()->size(), 1U);
            setNeedsDraw();
            EXPECT_EQ(subviews()->front()->superview(), nullptr) << "nobody can own this view";
            subviews()->front()->setPosition({1.0F, 1.0F});
            removeAllSubviews();
        }
    };
    const View child = MVView::init();
    auto window = MVWindow::init();
    auto tidy = MVMake<Tidy>();
    tidy->addSubview(child);
    window->addSubview(tidy);
    tidy = nullptr;
    window = nullptr;
    EXPECT_EQ(child->superview(), nullptr);
    EXPECT_EQ(child->contentScaleFactor(), 0.0F);
}

TEST(MVViewTest, aTreeOfTenThousandLevelsJoinsAndLeavesAWindow) {
    auto [root, leaf] = makeChain(10000);
    const auto window = MVWindow::init();
    window->addSubview(root);
    EXPECT_EQ(leaf->mv_window(), window);
    EXPECT_FALSE(leaf->isEffectivelyHidden());
    root->removeFromSuperview();
    EXPECT_EQ(leaf->mv_window(), nullptr);
    EXPECT_TRUE(leaf->isEffectivelyHidden());
}

TEST(MVViewTest, aTreeOfAHundredThousandLevelsIsMarkedBuiltAndDestroyed) {
    constexpr int kDepth = 100000;
    auto [root, leaf] = makeChain(kDepth);
    root->setPosition({7.0F, 0.0F});
    root->setOpacity(0.5F);
    root->setHidden(true);
    EXPECT_EQ(leaf->transformMatrix()[3].x, 7.0F);
    EXPECT_EQ(leaf->effectiveOpacity(), 0.5F);
    EXPECT_TRUE(leaf->isEffectivelyHidden());
    const std::weak_ptr<MVView> weakLeaf = leaf;
    leaf = nullptr;
    root = nullptr;
    EXPECT_TRUE(weakLeaf.expired());
}

TEST(MVViewTest, aSubtreeHeldInTheMiddleSurvivesTheDestructionAroundIt) {
    auto [root, leaf] = makeChain(100);
    View middle = leaf;
    for (int i = 0; i < 50; ++i) {
        middle = middle->superview();
    }
    root = nullptr;
    EXPECT_EQ(middle->superview(), nullptr);
    EXPECT_EQ(middle->subviews()->size(), 1U);
    EXPECT_NE(leaf->superview(), nullptr);
}

// Hooks that change the tree

TEST(MVViewTest, aViewMayRemoveASiblingWhileTheWindowIsPassedOn) {
    const auto window = MVWindow::init();
    const View parent = MVView::init();
    const auto remover = RecordingView::make("remover", nullptr);
    const View victim = MVView::init();
    const View last = MVView::init();
    parent->addSubview(remover);
    parent->addSubview(victim);
    parent->addSubview(last);
    remover->onWindowDidChange = [&] { victim->removeFromSuperview(); };
    window->addSubview(parent);
    EXPECT_THAT(*parent->subviews(), ElementsAre(remover, last));
    EXPECT_EQ(victim->mv_window(), nullptr);
    EXPECT_EQ(last->mv_window(), window);
}

TEST(MVViewTest, aViewMayAddASiblingWhileTheWindowIsPassedOn) {
    const auto window = MVWindow::init();
    const View parent = MVView::init();
    const auto adder = RecordingView::make("adder", nullptr);
    const View added = MVView::init();
    parent->addSubview(adder);
    adder->onWindowDidChange = [&] { parent->addSubview(added); };
    window->addSubview(parent);
    EXPECT_THAT(*parent->subviews(), ElementsAre(adder, added));
    EXPECT_EQ(added->mv_window(), window);
}

class MVViewLeavingTest : public testing::TestWithParam<bool> {};

TEST_P(MVViewLeavingTest, aViewThatLeavesAsItJoinsStaysOut) {
    const auto window = MVWindow::init();
    const auto view = RecordingView::make("view", nullptr);
    const View child = MVView::init();
    view->addSubview(child);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] {
        hook = nullptr;
        view->removeFromSuperview();
    };
    window->addSubview(view);
    EXPECT_THAT(*window->subviews(), IsEmpty());
    EXPECT_EQ(view->superview(), nullptr);
    EXPECT_EQ(view->mv_window(), nullptr);
    EXPECT_EQ(child->mv_window(), nullptr);
    EXPECT_EQ(view->contentScaleFactor(), 0.0F);
    EXPECT_TRUE(child->isEffectivelyHidden());
}

TEST_P(MVViewLeavingTest, aViewMayTakeTheWholeTreeOutOfTheWindow) {
    const auto window = MVWindow::init();
    const View root = MVView::init();
    const View parent = MVView::init();
    const auto view = RecordingView::make("view", nullptr);
    const View before = MVView::init();
    const View after = MVView::init();
    root->addSubview(parent);
    parent->addSubview(before);
    parent->addSubview(view);
    parent->addSubview(after);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] {
        hook = nullptr;
        root->removeFromSuperview();
    };
    window->addSubview(root);
    EXPECT_THAT(*window->subviews(), IsEmpty());
    for (const View& each : {root, parent, View(view), before, after}) {
        EXPECT_EQ(each->mv_window(), nullptr);
    }
}

TEST_P(MVViewLeavingTest, aViewMayMoveTheParentItJoinsToAnotherWindow) {
    const auto window = MVWindow::init();
    const auto other = MVWindow::init();
    const View parent = MVView::init();
    const auto view = RecordingView::make("view", nullptr);
    window->addSubview(parent);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] {
        hook = nullptr;
        other->addSubview(parent);
    };
    parent->addSubview(view);
    EXPECT_THAT(*parent->subviews(), ElementsAre(view));
    EXPECT_EQ(parent->mv_window(), other);
    EXPECT_EQ(view->mv_window(), other);
}

TEST_P(MVViewLeavingTest, aViewMayPlaceItselfInTheOrderAsItJoins) {
    const auto window = MVWindow::init();
    const View sibling = MVView::init();
    window->addSubview(sibling);
    const auto view = RecordingView::make("view", nullptr);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] {
        hook = nullptr;
        window->insertSubviewAtIndex(view, 0);
    };
    window->addSubview(view);
    EXPECT_THAT(*window->subviews(), ElementsAre(view, sibling));
    EXPECT_EQ(view->mv_window(), window);
}

TEST_P(MVViewLeavingTest, aViewMayRemoveTheSiblingsItIsInsertedBetween) {
    const auto window = MVWindow::init();
    window->addSubview(MVView::init());
    window->addSubview(MVView::init());
    const auto view = RecordingView::make("view", nullptr);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] { window->removeAllSubviews(); };
    window->insertSubviewAtIndex(view, 2);
    EXPECT_THAT(*window->subviews(), ElementsAre(view));
}

TEST_P(MVViewLeavingTest, aViewMayDestroyTheWindowItJoins) {
    auto window = MVWindow::init();
    const auto view = RecordingView::make("view", nullptr);
    auto& hook = GetParam() ? view->onWindowWillChange : view->onWindowDidChange;
    hook = [&] {
        hook = nullptr;
        window = nullptr;
    };
    window->addSubview(view);
    EXPECT_EQ(view->mv_window(), nullptr);
    EXPECT_EQ(view->superview(), nullptr);
    view->setNeedsDraw();
}

INSTANTIATE_TEST_SUITE_P(All, MVViewLeavingTest, testing::Bool(), [](const auto& instance) {
    return instance.param ? "beforeTheWindowChanges" : "afterTheWindowChanged";
});

TEST(MVViewTest, aViewThatMovesItsTreeOnTellsTheViewsBelowOfTheLastWindowOnly) {
    CallLog log;
    const auto window = MVWindow::init();
    const auto other = MVWindow::init();
    const View root = MVView::init();
    const auto view = RecordingView::make("view", nullptr);
    const auto child = RecordingView::make("child", &log);
    root->addSubview(view);
    view->addSubview(child);
    view->onWindowDidChange = [&] {
        view->onWindowDidChange = nullptr;
        other->addSubview(root);
    };
    window->addSubview(root);
    EXPECT_THAT(*window->subviews(), IsEmpty());
    EXPECT_THAT(*other->subviews(), ElementsAre(root));
    EXPECT_EQ(child->mv_window(), other);
    EXPECT_THAT(log, ElementsAre("child.windowWillChange", "child.windowDidChange"));
}

TEST(MVViewTest, aViewThatOnlyItsSuperviewOwnsMayRemoveItself) {
    const auto window = MVWindow::init();
    window->addSubview(MVView::init());
    const std::weak_ptr<MVView> weak = window->subviews()->front();
    window->subviews()->front()->removeFromSuperview();
    EXPECT_TRUE(weak.expired());
    auto view = RecordingView::make("view", nullptr);
    RecordingView* const raw = view.get();
    window->addSubview(std::move(view));
    raw->removeFromSuperview();
    EXPECT_THAT(*window->subviews(), IsEmpty());
}

TEST(MVViewTest, removingAllSubviewsSurvivesAHookThatAddsOne) {
    const auto window = MVWindow::init();
    const auto view = RecordingView::make("view", nullptr);
    const View added = MVView::init();
    window->addSubview(view);
    view->onWindowDidChange = [&] { window->addSubview(added); };
    window->removeAllSubviews();
    EXPECT_THAT(*window->subviews(), ElementsAre(added));
}

// Descriptions

TEST(MVViewTest, aDescriptionShowsTheSubtreeWithWhatDiffersFromANewView) {
    const View view = MVView::init();
    EXPECT_EQ(view->describe(), "MVView\n");
    view->setDebugName("root");
    view->setPosition3({1.0F, 2.0F, 3.0F});
    view->setSize({30.0F, 20.0F});
    view->transformMatrix();
    const View child = MVView::init();
    child->setHidden(true);
    child->setOpacity(0.5F);
    child->isEffectivelyHidden();
    child->effectiveOpacity();
    child->setUniformScale(2.0F);
    view->addSubview(child);
    EXPECT_EQ(view->describe(),
              "MVView \"root\" position (1, 2, 3) size (30, 20, 0)"
              " world [1 0 0 1 | 0 1 0 2 | 0 0 1 3]\n"
              "  MVView scale (2, 2, 2) opacity 0.5 hidden localTransformMatrixDirty"
              " transformMatrixDirty effectivelyHiddenDirty effectiveOpacityDirty\n");
}

TEST(MVViewTest, aDebugNameCanBeTakenAway) {
    const View view = MVView::init();
    view->setDebugName("name");
    EXPECT_EQ(view->debugName(), "name");
    view->setDebugName("");
    EXPECT_EQ(view->debugName(), "");
    EXPECT_EQ(view->describe(), "MVView\n");
}

}  // namespace
