// The keyboard, elements and the pointer's shape between the tree and the host.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/platform/headless/HeadlessFingers.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "MivoraMac/views/MVBridgeView.h"
#include "MivoraMac/views/MVTextView.h"
#include "tests/input/KeyScene.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::Element;
using Mivora::platform::Event;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::KeySymbol;
using Mivora::platform::View;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class MVApplicationRenderViewKeysTest : public testing::Test {
 protected:
    MVApplicationRenderViewKeysTest() { renderView.setPeer(&peer); }
    ~MVApplicationRenderViewKeysTest() override {
        if (scene.renderView) {
            scene.renderView->setPeer(nullptr);
        }
    }

    std::shared_ptr<KeyView> add(const std::string& name, Mivora::Point2 position = {0, 0}) {
        return scene.addFocusable(scene.window, name, position);
    }
    std::shared_ptr<MVView> focused() const { return scene.window->focusedView(); }

    RecordingPeer peer;
    KeyScene scene;
    MVApplicationRenderView& renderView = *scene.renderView;
};

}  // namespace

TEST_F(MVApplicationRenderViewKeysTest, keysReachTheViewsAndWhatNobodyTakesIsTheHosts) {
    const auto view = add("view");
    view->focus();
    scene.taken();
    EXPECT_TRUE(scene.keyboard->press('x'));
    EXPECT_TRUE(scene.keyboard->release('x'));
    view->takesKeys = false;
    EXPECT_FALSE(scene.keyboard->strike(KeySymbol::Escape));
    EXPECT_THAT(scene.taken(), ElementsAre("view.keyBegan x", "view.keyEnded", "view.keyBegan "));
}

TEST_F(MVApplicationRenderViewKeysTest, tabWalksThroughViewsAndNativeViewsInTheOrderOfTheTree) {
    const auto a = add("a");
    const auto bridge = MVBridgeView::initWithBridgeView(View::initWithFrame({0, 0, 10, 10}));
    scene.window->addSubview(bridge);
    const auto b = add("b");
    const auto first = add("first");
    first->setFocusOrder(-1);
    for (const auto& view : {a, b, first}) {
        view->takesKeys = false;
    }
    std::vector<std::shared_ptr<MVView>> walk;
    for (int i = 0; i < 6; ++i) {
        scene.keyboard->strike(KeySymbol::Tab);
        walk.push_back(focused());
    }
    EXPECT_THAT(walk, ElementsAre(first, a, bridge, b, nullptr, first));
    scene.keyboard->setModifiers({.shift = true});
    scene.keyboard->strike(KeySymbol::Tab);
    scene.keyboard->strike(KeySymbol::Tab);
    EXPECT_EQ(focused(), b);
}

// Focus between the tree and the host

TEST_F(MVApplicationRenderViewKeysTest, theHostIsToldWhereTheFocusIs) {
    // There is no application that passes it on.
    const auto view = add("view");
    view->focus();
    renderView.mv_focusDidChange();
    view->blur();
    renderView.mv_focusDidChange();
    EXPECT_THAT(peer.taken(),
                ElementsAre("focus " + std::to_string(view->mv_elementIdentifier()), "focus 0"));
}

TEST_F(MVApplicationRenderViewKeysTest, theHostMovesTheFocusByElement) {
    const auto a = add("a");
    const auto b = add("b");
    const std::vector<Element> elements = renderView.elements();
    renderView.elementDidFocus(elements[1].identifier);
    EXPECT_EQ(focused(), b);
    EXPECT_EQ(renderView.focusedElement(), elements[1].identifier);
    renderView.elementDidBlur(elements[0].identifier);
    EXPECT_EQ(focused(), b) << "it was not there";
    renderView.elementDidFocus(12345678);
    EXPECT_EQ(focused(), b);
    renderView.elementDidBlur(0);
    EXPECT_EQ(focused(), b);
    renderView.elementDidBlur(elements[1].identifier);
    EXPECT_EQ(focused(), nullptr);
    EXPECT_EQ(renderView.focusedElement(), 0U);
    EXPECT_THAT(peer.log, IsEmpty()) << "it knows";
}

TEST_F(MVApplicationRenderViewKeysTest, aHostThatFocusesWhatCannotHaveItIsToldWhereItIs) {
    const auto a = add("a");
    const auto b = add("b");
    const std::vector<Element> elements = renderView.elements();
    a->focus();
    b->setHidden(true);
    renderView.elementDidFocus(elements[1].identifier);
    EXPECT_EQ(focused(), a);
    EXPECT_THAT(peer.taken(), ElementsAre("focus " + std::to_string(elements[0].identifier)));
}

TEST_F(MVApplicationRenderViewKeysTest, theFocusThatLeavesForTheRestOfTheWindowEndsTheKeys) {
    add("a")->focus();
    const std::vector<Element> elements = renderView.elements();
    scene.keyboard->press('x');
    scene.taken();
    renderView.elementDidBlur(elements[0].identifier);
    EXPECT_THAT(scene.taken(), ElementsAre("a.keyEnded", "a.focusEnded"));
}

TEST_F(MVApplicationRenderViewKeysTest, whatHooksOfTheFocusThrowIsLogged) {
    const auto a = add("a");
    const std::vector<Element> elements = renderView.elements();
    a->reaction = [](const std::string&) { throw std::runtime_error("expected"); };
    const Mivora::tests::LogCapture log;
    renderView.elementDidFocus(elements[0].identifier);
    EXPECT_EQ(focused(), a);
    renderView.elementDidBlur(elements[0].identifier);
    EXPECT_EQ(focused(), nullptr);
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_F(MVApplicationRenderViewKeysTest, aHookMayDropEverythingWhileTheHostMovesTheFocus) {
    const auto a = add("a");
    const std::vector<Element> elements = renderView.elements();
    a->reaction = [&](const std::string&) {
        scene.renderView->setPeer(nullptr);
        scene.frame.reset();
        scene.renderView.reset();
        scene.window.reset();
    };
    renderView.elementDidFocus(elements[0].identifier);
    EXPECT_EQ(scene.window, nullptr);
}

// Focus by a press

TEST_F(MVApplicationRenderViewKeysTest, aPressFocusesTheViewThatAsksForIt) {
    const auto a = add("a", {0, 0});
    const auto inner = scene.add(a, "inner", {10, 10}, {20, 20});
    const auto b = add("b", {100, 0});
    a->setFocusesOnPress(true);
    HeadlessPointer pointer(scene.renderView);
    pointer.moveTo(110, 290);
    pointer.press();
    pointer.release();
    EXPECT_EQ(focused(), nullptr) << "it does not ask";
    pointer.moveTo(15, 285);
    pointer.pressRight();
    pointer.releaseRight();
    EXPECT_EQ(focused(), nullptr) << "not with this button";
    pointer.press();
    EXPECT_EQ(focused(), a) << "the view in it asks for nothing";
    pointer.release();
    pointer.moveTo(300, 100);
    pointer.press();
    EXPECT_EQ(focused(), a) << "other presses leave it where it is";
}

TEST_F(MVApplicationRenderViewKeysTest, aFingerFocusesTheViewThatAsksForIt) {
    const auto a = add("a", {0, 0});
    a->setFocusesOnPress(true);
    HeadlessFingers fingers(scene.renderView);
    fingers.land({{1, {300, 100}}});
    EXPECT_EQ(focused(), nullptr);
    fingers.land({{2, {10, 290}}});
    EXPECT_EQ(focused(), a);
    fingers.lift({1, 2});
}

TEST_F(MVApplicationRenderViewKeysTest, whatHooksOfTheFocusDoIsThereWhenThePressComes) {
    const auto a = add("a", {0, 0});
    a->setFocusesOnPress(true);
    std::shared_ptr<MVMouse> pressed;
    a->reaction = [&](const std::string&) { a->removeFromSuperview(); };
    HeadlessPointer pointer(scene.renderView);
    pointer.moveTo(10, 290);
    pointer.press();
    EXPECT_EQ(focused(), nullptr);
    pointer.release();
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusBegan"));
    scene.window->mv_settleFocus();
    EXPECT_THAT(scene.taken(), ElementsAre("a.focusEnded"));
}

// Actions

TEST_F(MVApplicationRenderViewKeysTest, actionsReachTheView) {
    const auto view = add("view");
    std::vector<std::string> done;
    view->setAccessibilityActions({{"flip", [&] { done.emplace_back("flip"); }},
                                   {"nothing", nullptr},
                                   {"fail", [] { throw std::runtime_error("expected"); }}});
    const std::uint64_t identifier = renderView.elements().front().identifier;
    EXPECT_TRUE(renderView.performAction(identifier, 0));
    EXPECT_TRUE(renderView.performAction(identifier, 1));
    EXPECT_FALSE(renderView.performAction(identifier, 3));
    EXPECT_FALSE(renderView.performAction(identifier + 1, 0));
    EXPECT_THAT(done, ElementsAre("flip"));
    const Mivora::tests::LogCapture log;
    EXPECT_TRUE(renderView.performAction(identifier, 2));
    EXPECT_EQ(log.lines().size(), 1U);
}

TEST_F(MVApplicationRenderViewKeysTest, anActionMayTakeItsViewAndItselfAway) {
    auto view = add("view");
    const auto alive = std::make_shared<int>(7);
    view->setAccessibilityActions({{"remove", [&view, alive] {
                                        view->setAccessibilityActions({});
                                        view->removeFromSuperview();
                                        view.reset();
                                        EXPECT_EQ(*alive, 7);
                                    }}});
    const std::uint64_t identifier = renderView.elements().front().identifier;
    EXPECT_TRUE(renderView.performAction(identifier, 0));
    EXPECT_EQ(view, nullptr);
    EXPECT_FALSE(renderView.performAction(identifier, 0));
    EXPECT_THAT(renderView.elements(), IsEmpty());
}

// The pointer's shape

TEST_F(MVApplicationRenderViewKeysTest, theHostIsToldOfThePointersShape) {
    const auto view = add("view", {0, 0});
    view->setCursor(MVCursor::Grab);
    HeadlessPointer pointer(scene.renderView);
    pointer.moveTo(10, 290);
    EXPECT_EQ(renderView.cursorName(), "grab");
    pointer.press();
    pointer.moveTo(200, 100);
    EXPECT_EQ(renderView.cursorName(), "grab");
    pointer.release();
    EXPECT_EQ(renderView.cursorName(), "");
    pointer.moveTo(10, 290);
    pointer.leave();
    EXPECT_EQ(renderView.cursorName(), "");
    EXPECT_THAT(peer.taken(), ElementsAre("cursor", "cursor", "cursor", "cursor"));
    pointer.moveTo(10, 290);
    peer.taken();
    view->setCursor(MVCursor::Pointer);
    renderView.mv_tellOfElements(false);
    EXPECT_EQ(renderView.cursorName(), "pointer");
    EXPECT_THAT(peer.taken(), ElementsAre("cursor", "elements"));
}

// News of elements

TEST_F(MVApplicationRenderViewKeysTest, theHostIsToldOfElementsOnceAFrameAndOnlyIfThereAreAny) {
    scene.add(scene.window, "plain");
    renderView.mv_tellOfElements(true);
    EXPECT_THAT(peer.taken(), IsEmpty()) << "the program has none";
    const auto view = add("view");
    view->setAccessibilityLabel("one");
    view->setAccessibilityLabel("two");
    renderView.mv_tellOfElements(false);
    renderView.mv_tellOfElements(false);
    EXPECT_THAT(peer.taken(), ElementsAre("elements")) << "all changes are one";
    renderView.mv_tellOfElements(true);
    EXPECT_THAT(peer.taken(), ElementsAre("elements")) << "they may have moved";
    view->removeFromSuperview();
    renderView.mv_tellOfElements(true);
    EXPECT_THAT(peer.taken(), ElementsAre("elements"));
    EXPECT_THAT(renderView.elements(), IsEmpty());
    renderView.mv_tellOfElements(true);
    EXPECT_THAT(peer.taken(), ElementsAre("elements")) << "that there are none any more";
    renderView.mv_tellOfElements(true);
    EXPECT_THAT(peer.taken(), IsEmpty());
}
