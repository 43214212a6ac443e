// The keyboard's focus in the tree of a window.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "MivoraMac/views/MVWindow.h"
#include "tests/input/KeyScene.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::DebugLog;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class MVWindowFocusTest : public testing::Test {
 protected:
    std::shared_ptr<KeyView> add(const std::string& name) {
        return scene.addFocusable(scene.window, name);
    }

    KeyScene scene;
    std::shared_ptr<MVWindow>& window = scene.window;
};

}  // namespace

TEST_F(MVWindowFocusTest, atFirstNoViewHasItAndNoneCan) {
    const auto view = scene.add(window, "view");
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_FALSE(view->focusable());
    EXPECT_FALSE(view->focus());
    EXPECT_FALSE(view->isFocused());
    view->blur();
    EXPECT_TRUE(window->setFocusedView(nullptr));
    EXPECT_THAT(scene.log, IsEmpty());
}

TEST_F(MVWindowFocusTest, itMovesFromViewToViewAndTheHooksAreCalledOnce) {
    const auto a = add("a");
    const auto b = add("b");
    EXPECT_TRUE(a->focus());
    EXPECT_TRUE(a->focus());
    EXPECT_TRUE(a->isFocused());
    EXPECT_TRUE(window->setFocusedView(b));
    EXPECT_EQ(window->focusedView(), b);
    a->blur();
    EXPECT_TRUE(b->isFocused());
    b->blur();
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_THAT(scene.log,
                ElementsAre("a.focusBegan", "a.focusEnded", "b.focusBegan", "b.focusEnded"));
}

TEST_F(MVWindowFocusTest, viewsThatCannotHaveItLeaveItWhereItIs) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    scene.taken();
    b->setHidden(true);
    EXPECT_FALSE(b->focus());
    b->setHidden(false);
    b->setInteractionEnabled(false);
    EXPECT_FALSE(b->focus());
    b->setInteractionEnabled(true);
    b->removeFromSuperview();
    EXPECT_FALSE(b->focus());
    EXPECT_FALSE(window->setFocusedView(b));
    EXPECT_FALSE(MVView::init()->focus());
    const auto other = MVWindow::init();
    other->addSubview(b);
    EXPECT_FALSE(window->setFocusedView(b)) << "a view of another window";
    EXPECT_TRUE(b->focus());
    EXPECT_EQ(window->focusedView(), a) << "each window has one of its own";
    EXPECT_THAT(scene.taken(), ElementsAre("b.focusBegan"));
}

// Views that lose it

namespace {

/// A way for a focused view to become one that cannot have the focus.
struct Loss {
    const char* name;
    std::function<void(KeyView& holder, KeyView& view)> happen;
};

class MVWindowFocusLossTest : public MVWindowFocusTest, public testing::WithParamInterface<Loss> {};

const Loss kLosses[] = {
    {"isHidden", [](KeyView&, KeyView& view) { view.setHidden(true); }},
    {"isHiddenFromAbove", [](KeyView& holder, KeyView&) { holder.setHidden(true); }},
    {"isRemoved", [](KeyView&, KeyView& view) { view.removeFromSuperview(); }},
    {"isRemovedFromAbove", [](KeyView& holder, KeyView&) { holder.removeFromSuperview(); }},
    {"isNotFocusable", [](KeyView&, KeyView& view) { view.setFocusable(false); }},
    {"isDisabled", [](KeyView&, KeyView& view) { view.setInteractionEnabled(false); }},
    {"isDisabledFromAbove", [](KeyView& holder, KeyView&) { holder.setInteractionEnabled(false); }},
};

}  // namespace

TEST_P(MVWindowFocusLossTest, itGoesToTheNearestViewAroundThatCanHaveItAtOnceAndIsToldLater) {
    const auto outer = add("outer");
    const auto plain = scene.add(outer, "plain");
    const auto view = scene.addFocusable(plain, "view");
    view->focus();
    scene.taken();
    GetParam().happen(*plain, *view);
    EXPECT_EQ(window->focusedView(), outer);
    EXPECT_FALSE(view->isFocused());
    EXPECT_THAT(scene.taken(), IsEmpty());
    window->mv_settleFocus();
    window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("view.focusEnded", "outer.focusBegan"));
}

TEST_P(MVWindowFocusLossTest, itGoesNowhereWhereNoViewAroundCanHaveIt) {
    const auto outer = scene.add(window, "outer");
    const auto plain = scene.add(outer, "plain");
    const auto view = scene.addFocusable(plain, "view");
    scene.addFocusable(window, "elsewhere");
    view->focus();
    scene.taken();
    GetParam().happen(*plain, *view);
    EXPECT_EQ(window->focusedView(), nullptr);
    window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("view.focusEnded"));
}

TEST_P(MVWindowFocusLossTest, theNextKeyGoesWhereItIsThen) {
    const auto outer = add("outer");
    const auto plain = scene.add(outer, "plain");
    const auto view = scene.addFocusable(plain, "view");
    view->focus();
    scene.taken();
    GetParam().happen(*plain, *view);
    scene.keyboard->press('x');
    EXPECT_THAT(scene.taken(),
                ElementsAre("view.focusEnded", "outer.focusBegan", "outer.keyBegan x"));
}

INSTANTIATE_TEST_SUITE_P(MVWindowFocus, MVWindowFocusLossTest, testing::ValuesIn(kLosses),
                         [](const auto& loss) { return loss.param.name; });

TEST_F(MVWindowFocusTest, aViewThatIsDestroyedLeavesItToTheViewAround) {
    const auto outer = add("outer");
    auto view = scene.addFocusable(outer, "view");
    view->focus();
    scene.taken();
    view->removeFromSuperview();
    view.reset();
    EXPECT_EQ(window->focusedView(), outer);
    window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("outer.focusBegan"));
}

TEST_F(MVWindowFocusTest, aViewThatMovesWithinTheWindowKeepsIt) {
    const auto a = add("a");
    const auto b = add("b");
    const auto view = scene.addFocusable(a, "view");
    view->focus();
    scene.taken();
    b->addSubview(view);
    window->mv_settleFocus();
    EXPECT_TRUE(view->isFocused());
    EXPECT_THAT(scene.taken(), IsEmpty());
    view->setHidden(true);
    EXPECT_EQ(window->focusedView(), b) << "where it is by then";
}

TEST_F(MVWindowFocusTest, aViewThatIsBackBeforeAnybodyIsToldHasNeverLostIt) {
    const auto view = add("view");
    view->focus();
    scene.taken();
    view->setHidden(true);
    view->setHidden(false);
    window->mv_settleFocus();
    EXPECT_TRUE(view->isFocused());
    EXPECT_THAT(scene.taken(), IsEmpty());
}

TEST_F(MVWindowFocusTest, leavingTheNativeWindowTakesItOffAndEndsTheKeys) {
    const auto view = add("view");
    view->focus();
    scene.keyboard->press('x');
    scene.taken();
    scene.frame->close();
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_THAT(scene.taken(), ElementsAre("view.keyEnded", "view.focusEnded"));
}

TEST_F(MVWindowFocusTest, aWindowMayGoWhileAViewHasIt) {
    const auto view = add("view");
    view->focus();
    scene.renderView.reset();
    scene.frame.reset();
    scene.taken();
    window.reset();
    EXPECT_FALSE(view->isFocused());
    EXPECT_THAT(scene.taken(), IsEmpty());
}

// Hooks that do something

TEST_F(MVWindowFocusTest, aHookThatMovesItElsewhereWins) {
    const auto a = add("a");
    const auto b = add("b");
    const auto c = add("c");
    a->focus();
    scene.taken();
    a->reaction = [&](const std::string& hook) {
        if (hook == "focusEnded") {
            EXPECT_TRUE(c->focus());
        }
    };
    EXPECT_FALSE(b->focus());
    EXPECT_TRUE(c->isFocused());
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded", "c.focusBegan"));
}

TEST_F(MVWindowFocusTest, aHookThatHasItSettledTellsNobodyTwice) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    scene.taken();
    a->reaction = [&](const std::string&) { window->mv_settleFocus(); };
    EXPECT_TRUE(b->focus());
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded", "b.focusBegan"));
}

TEST_F(MVWindowFocusTest, aViewThatGetsItInAnotherWindowLosesItInTheOneThatItLeft) {
    const auto a = add("a");
    a->focus();
    scene.taken();
    const auto other = MVWindow::init();
    other->addSubview(a);
    EXPECT_TRUE(a->focus());
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded", "a.focusBegan"));
    window->mv_settleFocus();
    EXPECT_TRUE(a->isFocused());
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_THAT(scene.taken(), IsEmpty());
}

TEST_F(MVWindowFocusTest, aViewMayRefuseItByGivingItUp) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    scene.taken();
    b->reaction = [&](const std::string& hook) {
        if (hook == "focusBegan") {
            a->focus();
        }
    };
    EXPECT_FALSE(b->focus());
    EXPECT_TRUE(a->isFocused());
    EXPECT_THAT(scene.taken(),
                ElementsAre("a.focusEnded", "b.focusBegan", "b.focusEnded", "a.focusBegan"));
}

TEST_F(MVWindowFocusTest, aHookMayRemoveTheViewThatItIsGoingTo) {
    const auto a = add("a");
    auto b = add("b");
    a->focus();
    scene.taken();
    a->reaction = [&](const std::string&) { b->removeFromSuperview(); };
    EXPECT_FALSE(b->focus());
    EXPECT_EQ(window->focusedView(), nullptr);
    window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded")) << "what never began does not end";
}

TEST_F(MVWindowFocusTest, aViewThatIsBackAfterItCouldNotHaveItIsToldThatItHas) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    scene.taken();
    a->reaction = [&](const std::string&) { b->setHidden(true); };
    EXPECT_FALSE(b->focus());
    b->setHidden(false);
    EXPECT_TRUE(b->isFocused());
    window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded", "b.focusBegan"));
}

TEST_F(MVWindowFocusTest, aHookMayRemoveAndDropItsView) {
    auto a = add("a");
    const auto b = add("b");
    a->reaction = [&](const std::string& hook) {
        if (hook == "focusBegan") {
            a->removeFromSuperview();
        } else {
            a.reset();
        }
    };
    a->focus();
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_TRUE(b->focus());
    EXPECT_EQ(a, nullptr);
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusBegan", "a.focusEnded", "b.focusBegan"));
}

TEST_F(MVWindowFocusTest, aHookMayDropTheWindow) {
    const auto a = add("a");
    auto b = add("b");
    a->focus();
    a->reaction = [&](const std::string&) {
        scene.renderView.reset();
        scene.frame.reset();
        window.reset();
    };
    b->focus();
    EXPECT_EQ(window, nullptr);
    EXPECT_EQ(b->superview(), nullptr);
}

TEST_F(MVWindowFocusTest, aHookMayCloseTheNativeWindow) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    scene.taken();
    a->reaction = [&](const std::string&) { scene.frame->close(); };
    EXPECT_FALSE(b->focus());
    EXPECT_EQ(window->focusedView(), nullptr);
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded"));
}

TEST_F(MVWindowFocusTest, whatHooksThrowComesOutOnceTheFocusIsThere) {
    const auto a = add("a");
    const auto b = add("b");
    a->focus();
    a->reaction = [](const std::string&) { throw std::runtime_error("expected"); };
    EXPECT_THROW(b->focus(), std::runtime_error);
    EXPECT_TRUE(b->isFocused());
    EXPECT_EQ(scene.taken().back(), "b.focusBegan");
}

TEST_F(MVWindowFocusTest, viewsThatHandItToEachOtherWithoutEndAreStopped) {
    const auto a = add("a");
    const auto b = add("b");
    a->reaction = [&](const std::string& hook) {
        if (hook == "focusBegan") {
            b->focus();
        }
    };
    b->reaction = [&](const std::string& hook) {
        if (hook == "focusBegan") {
            a->focus();
        }
    };
    const Mivora::tests::LogCapture log;
    DebugLog::enable("events");
    a->focus();
    EXPECT_THAT(log.lines().back().second, HasSubstr("refused"));
    EXPECT_NE(window->focusedView(), nullptr);
}

TEST_F(MVWindowFocusTest, itIsLogged) {
    const auto card = add("card");
    const Mivora::tests::LogCapture log;
    DebugLog::enable("events");
    card->focus();
    card->blur();
    ASSERT_EQ(log.lines().size(), 2U);
    EXPECT_EQ(log.lines()[0].second, "focus in \"card\"");
    EXPECT_EQ(log.lines()[1].second, "focus nowhere");
}
