// What a window knows of the wishes for a layout in its tree, and that the visits find them all.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <stdexcept>
#include <thread>
#include <vector>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::platform::MainThread;
using testing::ElementsAre;
using testing::IsEmpty;

/// Counts how often its tree came to want a layout.
class CountingOwner : public MVWindowOwner {
 public:
    void mv_windowDidBecomeLayoutDirty() override { ++wishes; }

    int wishes = 0;
};

struct Tree {
    std::shared_ptr<CountingOwner> owner = std::make_shared<CountingOwner>();
    std::shared_ptr<MVWindow> window = MVWindow::mv_initWithOwner(owner);
    CallLog log;
    std::shared_ptr<RecordingView> outer = RecordingView::make("outer", &log);
    std::shared_ptr<RecordingView> inner = RecordingView::make("inner", &log);

    Tree() {
        window->addSubview(outer);
        outer->addSubview(inner);
        log.clear();
    }

    void visit() const {
        window->mv_prepareForLayoutVisit();
        window->mv_layoutVisit();
    }
};

}  // namespace

TEST(MVWindowLayoutVisitTest, aTreeInWhichNobodyWantsALayoutNeedsNoVisit) {
    const Tree tree;
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    EXPECT_THAT(tree.log, IsEmpty());
    EXPECT_EQ(tree.owner->wishes, 0);
}

TEST(MVWindowLayoutVisitTest, aWishAnywhereNeedsAVisitAndTellsTheOwnerOnce) {
    const Tree tree;
    tree.inner->setNeedsLayout();
    tree.outer->setNeedsLayout();
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    EXPECT_EQ(tree.owner->wishes, 1);
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    EXPECT_THAT(tree.log,
                ElementsAre("outer.prepareForLayoutSubviews", "inner.prepareForLayoutSubviews",
                            "outer.layoutSubviews", "inner.layoutSubviews"));
    tree.inner->setNeedsLayout();
    EXPECT_EQ(tree.owner->wishes, 2);
}

TEST(MVWindowLayoutVisitTest, theWindowsOwnSizeNeedsAVisit) {
    const Tree tree;
    tree.window->setSize({10.0F, 20.0F});
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
}

TEST(MVWindowLayoutVisitTest, aWishOfAHiddenViewNeedsNoVisitUntilItIsShown) {
    Tree tree;
    tree.outer->setHidden(true);
    tree.inner->setNeedsLayout();
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    EXPECT_THAT(tree.log, IsEmpty());
    tree.outer->setHidden(false);
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    tree.visit();
    EXPECT_THAT(tree.log, ElementsAre("inner.prepareForLayoutSubviews", "inner.layoutSubviews"));
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
}

TEST(MVWindowLayoutVisitTest, aHiddenWindowNeedsNoVisitUntilItIsShown) {
    Tree tree;
    tree.window->setHidden(true);
    tree.inner->setNeedsLayout();
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    tree.window->setHidden(false);
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    tree.visit();
    EXPECT_FALSE(tree.inner->mv_isLayoutDirty());
}

TEST(MVWindowLayoutVisitTest, aWishJoinsTheTreeWithItsView) {
    Tree tree;
    const auto root = MVView::init();
    const auto leaf = RecordingView::make("leaf", &tree.log);
    root->addSubview(leaf);
    leaf->setNeedsLayout();
    tree.visit();
    tree.inner->addSubview(root);
    tree.log.clear();
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    tree.visit();
    EXPECT_THAT(tree.log, ElementsAre("leaf.prepareForLayoutSubviews", "leaf.layoutSubviews"));
}

TEST(MVWindowLayoutVisitTest, aStencilViewsWishIsFound) {
    Tree tree;
    const auto stencil = RecordingView::make("stencil", &tree.log);
    tree.inner->setStencilView(stencil);
    stencil->setNeedsLayout();
    tree.visit();
    EXPECT_FALSE(stencil->mv_isLayoutDirty());
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
}

TEST(MVWindowLayoutVisitTest, aWishOfAFormerStencilViewIsFoundWhenItIsVisitedAgain) {
    for (const bool asSubview : {false, true}) {
        Tree tree;
        const auto former = RecordingView::make("former", &tree.log);
        tree.outer->setStencilView(former);
        tree.outer->setStencilView(MVView::init());
        former->setNeedsLayout();
        tree.visit();
        tree.visit();
        ASSERT_FALSE(tree.window->mv_needsLayoutVisit());
        if (asSubview) {
            tree.outer->insertSubviewAtIndex(former, 0);
        } else {
            tree.outer->setStencilView(former);
        }
        tree.log.clear();
        EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
        tree.visit();
        EXPECT_THAT(tree.log,
                    ElementsAre("former.prepareForLayoutSubviews", "former.layoutSubviews"));
    }
}

TEST(MVWindowLayoutVisitTest, aWishMadeWhereTheVisitHasBeenNeedsAnotherVisit) {
    Tree tree;
    const auto last = RecordingView::make("last", &tree.log);
    tree.window->addSubview(last);
    last->onLayoutSubviews = [&] { tree.inner->setNeedsLayout(); };
    last->setNeedsLayout();
    tree.visit();
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    EXPECT_TRUE(tree.inner->mv_isLayoutDirty());
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
    EXPECT_FALSE(tree.inner->mv_isLayoutDirty());
}

TEST(MVWindowLayoutVisitTest, aLayoutThatThrowsStillNeedsAVisit) {
    Tree tree;
    tree.inner->onLayoutSubviews = [] { throw std::runtime_error("expected"); };
    tree.inner->setNeedsLayout();
    EXPECT_THROW(tree.visit(), std::runtime_error);
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    tree.inner->onLayoutSubviews = nullptr;
    tree.visit();
    EXPECT_FALSE(tree.window->mv_needsLayoutVisit());
}

TEST(MVWindowLayoutVisitTest, aWishFromAnotherThreadIsKnownOnceTheMainLoopTurns) {
    const Tree tree;
    std::thread([&] { tree.inner->setNeedsLayout(); }).join();
    MainThread::runUntil([] { return false; }, 0);
    EXPECT_TRUE(tree.window->mv_needsLayoutVisit());
    tree.visit();
    EXPECT_FALSE(tree.inner->mv_isLayoutDirty());
}

// Against the plain rule: a visit lays out every marked view that no hidden one keeps it from.
TEST(MVWindowLayoutVisitTest, randomTreesAreLaidOutAsIfEveryViewWereVisited) {
    std::mt19937 random(7);
    const auto pick = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    for (int program = 0; program < 200; ++program) {
        const auto window = MVWindow::init();
        std::vector<std::shared_ptr<RecordingView>> views;
        for (int i = 0; i < 12; ++i) {
            views.push_back(RecordingView::make("view", nullptr));
        }
        const auto isShown = [&](const MVView* view) {
            for (; view != nullptr; view = view->superview().get()) {
                if (view->isHidden()) {
                    return false;
                }
                if (view == window.get()) {
                    return true;
                }
            }
            return false;
        };
        for (int step = 0; step < 60; ++step) {
            const auto& view = views[pick(views.size())];
            const auto& other = views[pick(views.size())];
            switch (pick(7)) {
                case 0:
                    try {
                        other->addSubview(view);
                    } catch (const std::exception&) {
                        // one inside the other
                    }
                    break;
                case 1:
                    window->addSubview(view);
                    break;
                case 2:
                    view->removeFromSuperview();
                    break;
                case 3:
                    view->setHidden(!view->isHidden());
                    break;
                case 4:
                    view->setNeedsLayout();
                    break;
                case 5:
                    view->onLayoutSubviews = [&other] { other->setNeedsLayout(); };
                    view->setNeedsLayout();
                    break;
                default:
                    for (const auto& each : views) {
                        each->onLayoutSubviews = nullptr;
                    }
                    window->mv_prepareForLayoutVisit();
                    window->mv_layoutVisit();
                    for (const auto& each : views) {
                        EXPECT_FALSE(each->mv_isLayoutDirty() && isShown(each.get()));
                    }
                    EXPECT_FALSE(window->mv_needsLayoutVisit());
                    break;
            }
            bool wanted = false;
            for (const auto& each : views) {
                wanted = wanted || (each->mv_isLayoutDirty() && isShown(each.get()));
            }
            EXPECT_TRUE(window->mv_needsLayoutVisit() || !wanted);
        }
    }
}
