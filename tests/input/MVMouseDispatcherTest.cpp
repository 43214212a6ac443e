#include "MivoraMac/input/MVMouseDispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/input/InputScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;
using testing::ElementsAre;
using testing::IsEmpty;

using Dispatcher = std::shared_ptr<MVMouseDispatcher>;
using Mouse = std::shared_ptr<MVMouse>;

/// What a button does; the same for all.
struct Button {
    using Operation = void (MVMouseDispatcher::*)(Point2, const InputScene::EventPointer&);
    std::int32_t code;
    Operation began;
    Operation moved;
    Operation ended;
};

constexpr Button kButtons[] = {
    {MVMouseButtonLeft, &MVMouseDispatcher::systemMouseBeganWithEvent,
     &MVMouseDispatcher::systemMouseMovedWithEvent, &MVMouseDispatcher::systemMouseEndedWithEvent},
    {MVMouseButtonRight, &MVMouseDispatcher::systemRightMouseBeganWithEvent,
     &MVMouseDispatcher::systemRightMouseMovedWithEvent,
     &MVMouseDispatcher::systemRightMouseEndedWithEvent},
    {MVMouseButtonMiddle, &MVMouseDispatcher::systemMiddleMouseBeganWithEvent,
     &MVMouseDispatcher::systemMiddleMouseMovedWithEvent,
     &MVMouseDispatcher::systemMiddleMouseEndedWithEvent},
};

InputScene::EventPointer eventHolding(Mivora::platform::Modifiers modifiers) {
    Mivora::platform::Event event;
    event.modifiers = modifiers;
    return std::make_shared<const Mivora::platform::Event>(event);
}

class MVMouseDispatcherTest : public testing::Test {
 protected:
    void press(Point2 place, std::int32_t clickCount = 1) {
        dispatcher->systemMouseBeganWithEvent(place, InputScene::eventAt(place, clickCount));
    }
    void drag(Point2 place) {
        dispatcher->systemMouseMovedWithEvent(place, InputScene::eventAt(place));
    }
    void release(Point2 place) {
        dispatcher->systemMouseEndedWithEvent(place, InputScene::eventAt(place));
    }
    void enter(Point2 place) {
        dispatcher->systemMouseHoverBeganWithEvent(place, InputScene::eventAt(place));
    }
    void hover(Point2 place) {
        dispatcher->systemMouseHoverMovedWithEvent(place, InputScene::eventAt(place));
    }
    void leave(Point2 place) {
        dispatcher->systemMouseHoverEndedWithEvent(place, InputScene::eventAt(place));
    }

    std::shared_ptr<InputView> add(const std::shared_ptr<MVView>& superview,
                                   const std::string& name, Point2 position, Mivora::Size2 size) {
        return addInputView(superview, name, &log, position, size);
    }
    std::shared_ptr<InputView> addHoverable(const std::string& name, Point2 position,
                                            Mivora::Size2 size) {
        auto view = add(scene.window, name, position, size);
        view->setMouseHoverEnabled(true);
        return view;
    }

    /// The lines since the last call.
    CallLog taken() { return std::exchange(log, {}); }

    static Point2 at(float x, float y) { return InputScene::at(x, y); }

    CallLog log;
    InputScene scene;
    Dispatcher dispatcher = MVMouseDispatcher::initWithWindow(scene.window);
};

// Buttons

TEST_F(MVMouseDispatcherTest, aPressIsFollowedToItsReleaseWhereverThePointerGoes) {
    add(scene.window, "view", {100, 50}, {80, 60});
    for (const Button& button : kButtons) {
        (dispatcher.get()->*button.began)(at(110, 70), nullptr);
        (dispatcher.get()->*button.moved)(at(120, 75), nullptr);
        (dispatcher.get()->*button.moved)(at(300, 20), nullptr);
        (dispatcher.get()->*button.moved)(at(-50, 400), nullptr);
        (dispatcher.get()->*button.ended)(at(105, 55), nullptr);
        EXPECT_THAT(taken(), ElementsAre("view.mouseBegan 10,20", "view.mouseMoved 20,25",
                                         "view.mouseMoved 200,-30", "view.mouseMoved -150,350",
                                         "view.mouseEnded 5,5"));
    }
}

TEST_F(MVMouseDispatcherTest, thePlaceDuringADragIsThatOnTheTurnedPlaneOfTheView) {
    const auto outer = add(scene.window, "outer", {200, 150}, {200, 160});
    outer->setAnchorPoint({0.5F, 0.5F});
    outer->setRotation3({0.6F, -0.5F, 0.4F});
    outer->setUniformScale(0.7F);
    const auto inner = add(outer, "inner", {30, 20}, {100, 80});
    inner->setRotation3({-0.3F, 0.4F, -0.2F});
    inner->setUniformScale(1.2F);
    press(scene.placeOf(inner, 40, 30));
    drag(scene.placeOf(inner, 90, 70));
    drag(scene.placeOf(inner, 130, -40));
    release(scene.placeOf(inner, 0, 80));
    EXPECT_THAT(log, ElementsAre("inner.mouseBegan 40,30", "inner.mouseMoved 90,70",
                                 "inner.mouseMoved 130,-40", "inner.mouseEnded 0,80"));
}

TEST_F(MVMouseDispatcherTest, aDragOfAMovingViewStaysAtItsPlace) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string& hook) {
        if (hook == "mouseMoved") {
            const Point3 here = view->lastMouse->locationInView(scene.window);
            const Point3 before = view->lastMouse->previousLocationInView(scene.window);
            const Point2 position = view->position();
            view->setPosition({position.x + here.x - before.x, position.y + here.y - before.y});
        }
    };
    press(at(110, 70));
    drag(at(130, 80));
    drag(at(200, 200));
    EXPECT_EQ(view->position(), (Point2{190, 180}));
    release(at(200, 200));
    EXPECT_EQ(log.back(), "view.mouseEnded 10,20");
}

TEST_F(MVMouseDispatcherTest, theSameRecordComesWithEveryEventOfAPress) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    press(at(110, 70));
    const Mouse mouse = view->lastMouse;
    EXPECT_EQ(mouse->button(), MVMouseButtonLeft);
    EXPECT_EQ(mouse->view(), view);
    EXPECT_EQ(mouse->ray(), mouse->previousRay());
    const Ray3 first = mouse->ray();
    drag(at(120, 75));
    EXPECT_EQ(view->lastMouse, mouse);
    EXPECT_EQ(mouse->previousRay(), first);
    EXPECT_EQ(mouse->previousLocationInView(view), (Point3{10, 20, 0}));
    EXPECT_EQ(mouse->ray(), scene.rayThrough(at(120, 75)));
    release(at(130, 80));
    EXPECT_EQ(view->lastMouse, mouse);
    EXPECT_EQ(mouse->previousLocationInView(view), (Point3{20, 25, 0}));
    press(at(110, 70));
    EXPECT_NE(view->lastMouse, mouse);
}

TEST_F(MVMouseDispatcherTest, theSecondPressOfADoubleClickHasAClickCountOfTwo) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    std::vector<std::int32_t> counts;
    view->reaction = [&](const std::string& hook) {
        if (hook == "mouseBegan") {
            counts.push_back(view->lastMouse->clickCount());
        }
    };
    press(at(110, 70), 1);
    release(at(110, 70));
    press(at(110, 70), 2);
    release(at(110, 70));
    EXPECT_THAT(counts, ElementsAre(1, 2));
    EXPECT_THAT(taken(), ElementsAre("view.mouseBegan 10,20", "view.mouseEnded 10,20",
                                     "view.mouseBegan 10,20", "view.mouseEnded 10,20"));
    dispatcher->systemRightMouseBeganWithEvent(at(110, 70), InputScene::eventAt({0, 0}, 3));
    EXPECT_EQ(counts.back(), 3);
    EXPECT_EQ(view->lastMouse->button(), MVMouseButtonRight);
}

TEST_F(MVMouseDispatcherTest, aPressWithoutAnEventIsOneClick) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    for (const Button& button : kButtons) {
        (dispatcher.get()->*button.began)(at(110, 70), nullptr);
        EXPECT_EQ(view->lastMouse->clickCount(), 1);
        EXPECT_EQ(view->lastMouse->button(), button.code);
    }
}

TEST_F(MVMouseDispatcherTest, aSecondBeginEndsTheFirstPressWhereItWas) {
    add(scene.window, "a", {100, 50}, {80, 60});
    add(scene.window, "b", {200, 50}, {80, 60});
    for (const Button& button : kButtons) {
        (dispatcher.get()->*button.began)(at(110, 70), nullptr);
        (dispatcher.get()->*button.began)(at(210, 80), nullptr);
        (dispatcher.get()->*button.ended)(at(210, 80), nullptr);
        EXPECT_THAT(taken(), ElementsAre("a.mouseBegan 10,20", "a.mouseEnded 10,20",
                                         "b.mouseBegan 10,30", "b.mouseEnded 10,30"));
    }
}

TEST_F(MVMouseDispatcherTest, theButtonsDoNotDisturbEachOther) {
    add(scene.window, "a", {100, 50}, {80, 60});
    add(scene.window, "b", {200, 50}, {80, 60});
    press(at(110, 70));
    dispatcher->systemRightMouseBeganWithEvent(at(210, 80), nullptr);
    drag(at(111, 71));
    dispatcher->systemRightMouseMovedWithEvent(at(211, 81), nullptr);
    release(at(112, 72));
    dispatcher->systemRightMouseEndedWithEvent(at(212, 82), nullptr);
    EXPECT_THAT(taken(),
                ElementsAre("a.mouseBegan 10,20", "b.mouseBegan 10,30", "a.mouseMoved 11,21",
                            "b.mouseMoved 11,31", "a.mouseEnded 12,22", "b.mouseEnded 12,32"));
    dispatcher->systemRightMouseBeganWithEvent(at(110, 70), nullptr);
    dispatcher->systemMiddleMouseBeganWithEvent(at(210, 80), nullptr);
    dispatcher->systemRightMouseEndedWithEvent(at(110, 70), nullptr);
    dispatcher->systemMiddleMouseEndedWithEvent(at(210, 80), nullptr);
    EXPECT_THAT(taken(), ElementsAre("a.mouseBegan 10,20", "b.mouseBegan 10,30",
                                     "a.mouseEnded 10,20", "b.mouseEnded 10,30"));
}

TEST_F(MVMouseDispatcherTest, aRecordSaysWhichKeysWereHeldAtTheLatestEvent) {
    using Mivora::platform::Modifiers;
    const auto view = addHoverable("view", {100, 50}, {80, 60});
    const auto held = [&] { return view->lastMouse->modifiers(); };
    const Point2 place = at(110, 70);
    for (const Button& button : kButtons) {
        (dispatcher.get()->*button.began)(place, eventHolding({.shift = true}));
        EXPECT_EQ(held(), (Modifiers{.shift = true}));
        (dispatcher.get()->*button.moved)(place, eventHolding({.control = true, .alt = true}));
        EXPECT_EQ(held(), (Modifiers{.control = true, .alt = true}));
        (dispatcher.get()->*button.moved)(place, nullptr);
        EXPECT_EQ(held(), (Modifiers{.control = true, .alt = true})) << "nothing is known";
        (dispatcher.get()->*button.ended)(place, eventHolding({.super = true}));
        EXPECT_EQ(held(), (Modifiers{.super = true}));
        (dispatcher.get()->*button.began)(place, nullptr);
        EXPECT_EQ(held(), Modifiers());
        (dispatcher.get()->*button.ended)(place, nullptr);
    }
    dispatcher->systemMouseHoverBeganWithEvent(place, eventHolding({.alt = true}));
    EXPECT_EQ(held(), (Modifiers{.alt = true}));
    dispatcher->systemMouseHoverMovedWithEvent(place, eventHolding({}));
    EXPECT_EQ(held(), Modifiers());
    dispatcher->systemMouseHoverEndedWithEvent(place, eventHolding({.shift = true}));
    EXPECT_EQ(held(), (Modifiers{.shift = true}));
}

TEST_F(MVMouseDispatcherTest, movesAndEndsWithoutABeginDoNothing) {
    addHoverable("view", {100, 50}, {80, 60});
    for (const Button& button : kButtons) {
        (dispatcher.get()->*button.moved)(at(110, 70), nullptr);
        (dispatcher.get()->*button.ended)(at(110, 70), nullptr);
    }
    hover(at(110, 70));
    leave(at(110, 70));
    EXPECT_THAT(log, IsEmpty());
    press(at(110, 70));
    release(at(110, 70));
    release(at(110, 70));
    drag(at(110, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseEnded 10,20"));
}

TEST_F(MVMouseDispatcherTest, aPressOnNothingGoesNowhere) {
    add(scene.window, "view", {100, 50}, {80, 60});
    press(at(-10, 20));
    drag(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseDispatcherTest, aPressReachesTheNearestAncestorThatListens) {
    const auto outer = add(scene.window, "outer", {100, 50}, {80, 60});
    const auto plain = MVView::init();
    plain->setPosition({5, 5});
    plain->setSize({20, 20});
    outer->addSubview(plain);
    press(at(110, 70));
    EXPECT_THAT(log, ElementsAre("outer.mouseBegan 10,20"));
    EXPECT_EQ(outer->lastMouse->view(), plain);
}

// Hover

TEST_F(MVMouseDispatcherTest, aHoverMovesFromSiblingToSibling) {
    addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    hover(at(120, 65));
    hover(at(160, 70));
    hover(at(161, 71));
    leave(at(170, 75));
    EXPECT_THAT(log, ElementsAre("a.mouseHoverBegan 10,10", "a.mouseHoverMoved 20,15",
                                 "a.mouseHoverEnded 60,20", "b.mouseHoverBegan 10,20",
                                 "b.mouseHoverMoved 11,21", "b.mouseHoverEnded 20,25"));
}

TEST_F(MVMouseDispatcherTest, theRecordOfAHoverCarriesOnFromViewToView) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    const auto b = addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    const Mouse mouse = a->lastMouse;
    EXPECT_EQ(mouse->button(), MVMouseButtonHover);
    EXPECT_EQ(mouse->clickCount(), 0);
    EXPECT_EQ(mouse->view(), a);
    hover(at(160, 70));
    EXPECT_EQ(a->lastMouse, mouse);
    EXPECT_EQ(b->lastMouse, mouse);
    EXPECT_EQ(mouse->view(), b);
    EXPECT_EQ(mouse->previousRay(), scene.rayThrough(at(110, 60)));
}

TEST_F(MVMouseDispatcherTest, theViewThatAHoverLeavesIsStillTheRecordsViewWhenItIsTold) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    std::shared_ptr<MVView> told;
    a->reaction = [&](const std::string&) { told = a->lastMouse->view(); };
    enter(at(110, 60));
    told = nullptr;
    hover(at(160, 70));
    EXPECT_EQ(told, a);
}

TEST_F(MVMouseDispatcherTest, aHoverGoesInAndOutOfNestedViews) {
    const auto outer = addHoverable("outer", {100, 50}, {100, 100});
    const auto inner = add(outer, "inner", {20, 20}, {40, 40});
    inner->setMouseHoverEnabled(true);
    enter(at(105, 55));
    hover(at(130, 80));
    hover(at(195, 145));
    hover(at(300, 200));
    EXPECT_THAT(log, ElementsAre("outer.mouseHoverBegan 5,5", "outer.mouseHoverEnded 30,30",
                                 "inner.mouseHoverBegan 10,10", "inner.mouseHoverEnded 75,75",
                                 "outer.mouseHoverBegan 95,95", "outer.mouseHoverEnded 200,150"));
}

TEST_F(MVMouseDispatcherTest, aHoverOverNothingTellsNobodyUntilAViewIsEntered) {
    addHoverable("view", {100, 50}, {50, 50});
    enter(at(10, 10));
    hover(at(20, 20));
    EXPECT_THAT(log, IsEmpty());
    hover(at(110, 60));
    EXPECT_THAT(taken(), ElementsAre("view.mouseHoverBegan 10,10"));
    hover(at(20, 20));
    EXPECT_THAT(taken(), ElementsAre("view.mouseHoverEnded -80,-30"));
    leave(at(20, 20));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseDispatcherTest, aSecondBeginEndsTheFirstHoverWhereItWas) {
    addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    enter(at(160, 70));
    EXPECT_THAT(log, ElementsAre("a.mouseHoverBegan 10,10", "a.mouseHoverEnded 10,10",
                                 "b.mouseHoverBegan 10,20"));
}

TEST_F(MVMouseDispatcherTest, hoverAndPressGoOnSideBySide) {
    addHoverable("view", {100, 50}, {50, 50});
    enter(at(110, 60));
    press(at(110, 60));
    hover(at(111, 61));
    release(at(112, 62));
    leave(at(113, 63));
    EXPECT_THAT(log, ElementsAre("view.mouseHoverBegan 10,10", "view.mouseBegan 10,10",
                                 "view.mouseHoverMoved 11,11", "view.mouseEnded 12,12",
                                 "view.mouseHoverEnded 13,13"));
}

TEST_F(MVMouseDispatcherTest, aHoverFollowsTurnedViews) {
    const auto card = addHoverable("card", {200, 150}, {100, 80});
    card->setAnchorPoint({0.5F, 0.5F});
    card->setRotation3({0, 1, 0});
    // Turned away, the card no longer reaches where its right edge would be.
    enter(at(240, 150));
    EXPECT_THAT(taken(), IsEmpty());
    hover(scene.placeOf(card, 95, 40));
    EXPECT_THAT(taken(), ElementsAre("card.mouseHoverBegan 95,40"));
}

TEST_F(MVMouseDispatcherTest, aViewThatMovesAwayLosesTheHoverAtTheNextMove) {
    const auto view = addHoverable("view", {100, 50}, {50, 50});
    enter(at(110, 60));
    view->setPosition({300, 200});
    EXPECT_EQ(log.size(), 1U);
    hover(at(110, 60));
    EXPECT_EQ(log.back(), "view.mouseHoverEnded -190,-140");
}

// What happens to views meanwhile

TEST_F(MVMouseDispatcherTest, aViewThatIsHiddenDisabledOrMovedKeepsItsPress) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    press(at(110, 70));
    view->setHidden(true);
    drag(at(111, 70));
    view->setInteractionEnabled(false);
    drag(at(112, 70));
    view->setPosition({0, 0});
    release(at(113, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseMoved 11,20",
                                 "view.mouseMoved 12,20", "view.mouseEnded 113,70"));
}

TEST_F(MVMouseDispatcherTest, aViewThatIsRemovedKeepsItsPress) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    press(at(110, 70));
    view->removeFromSuperview();
    log.clear();
    drag(at(111, 70));
    release(at(111, 70));
    // Without a superview it has no pixels that a place could be rounded to.
    EXPECT_EQ(log.size(), 2U);
    EXPECT_EQ(log.back().substr(0, 15), "view.mouseEnded");
}

TEST_F(MVMouseDispatcherTest, thePressOfAViewThatIsDestroyedGoesNowhere) {
    press(at(110, 70));
    release(at(110, 70));
    {
        auto view = add(scene.window, "view", {100, 50}, {80, 60});
        press(at(110, 70));
        view->removeFromSuperview();
    }
    log.clear();
    drag(at(111, 70));
    release(at(111, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseDispatcherTest, aHoverLeavesAViewThatIsDestroyedWithoutAWord) {
    addHoverable("below", {100, 50}, {80, 60});
    {
        const auto view = addHoverable("view", {100, 50}, {80, 60});
        enter(at(110, 70));
        view->removeFromSuperview();
    }
    log.clear();
    hover(at(111, 70));
    EXPECT_THAT(log, ElementsAre("below.mouseHoverBegan 11,20"));
}

TEST_F(MVMouseDispatcherTest, withoutItsWindowADispatcherKnowsNoPlaces) {
    const auto view = addHoverable("view", {100, 50}, {80, 60});
    press(at(110, 70));
    enter(at(110, 70));
    const Mouse mouse = view->lastMouse;
    log.clear();
    scene.window.reset();
    EXPECT_EQ(dispatcher->mv_unprojectPoint(at(110, 70)), Ray3::kZero);
    drag(at(110, 70));
    hover(at(110, 70));
    release(at(110, 70));
    EXPECT_EQ(mouse->ray(), Ray3::kZero);
    EXPECT_EQ(log.size(), 3U) << "the view that is left hears of its press and of the hover's end";
    press(at(110, 70));
    enter(at(110, 70));
    EXPECT_EQ(log.size(), 3U);
}

TEST_F(MVMouseDispatcherTest, aDispatcherNeedsNoWindow) {
    dispatcher = MVMouseDispatcher::initWithWindow(nullptr);
    press(at(110, 70));
    drag(at(110, 70));
    enter(at(110, 70));
    hover(at(110, 70));
    leave(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseDispatcherTest, aDispatcherDoesNotKeepItsWindow) {
    const std::weak_ptr<MVWindow> weak = scene.window;
    press(at(110, 70));
    scene.window.reset();
    EXPECT_TRUE(weak.expired());
}

// What hooks do meanwhile

TEST_F(MVMouseDispatcherTest, aHookMayRemoveItsOwnViewAndLetGoOfIt) {
    auto view = add(scene.window, "view", {100, 50}, {80, 60});
    const std::weak_ptr<MVView> weak = view;
    view->reaction = [&](const std::string&) {
        if (view) {
            view->removeFromSuperview();
            view.reset();
        }
    };
    press(at(110, 70));
    EXPECT_TRUE(weak.expired());
    drag(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20"));
}

TEST_F(MVMouseDispatcherTest, aHookMayDestroyTheWindow) {
    const auto view = addHoverable("view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string&) { scene.window.reset(); };
    enter(at(110, 70));
    EXPECT_EQ(scene.window, nullptr);
    hover(at(111, 70));
    leave(at(111, 70));
}

TEST_F(MVMouseDispatcherTest, aHookMayDestroyTheDispatcher) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    const auto b = addHoverable("b", {150, 50}, {50, 50});
    std::string when;
    const auto destroy = [&](const std::string& hook) {
        if (hook == when) {
            dispatcher.reset();
        }
    };
    a->reaction = destroy;
    b->reaction = destroy;
    for (const char* hook : {"mouseBegan", "mouseMoved", "mouseEnded"}) {
        dispatcher = MVMouseDispatcher::initWithWindow(scene.window);
        when = hook;
        Dispatcher kept = dispatcher;
        const std::weak_ptr<MVMouseDispatcher> weak = kept;
        press(at(110, 60));
        if (dispatcher) {
            drag(at(110, 60));
        }
        if (dispatcher) {
            kept.reset();
            release(at(110, 60));
        }
        kept.reset();
        EXPECT_TRUE(weak.expired()) << hook;
    }
    for (const char* hook : {"mouseHoverBegan", "mouseHoverMoved", "mouseHoverEnded"}) {
        dispatcher = MVMouseDispatcher::initWithWindow(scene.window);
        when = hook;
        MVMouseDispatcher* const raw = dispatcher.get();
        raw->systemMouseHoverBeganWithEvent(at(110, 60), nullptr);
        if (dispatcher) {
            raw->systemMouseHoverMovedWithEvent(at(111, 60), nullptr);
        }
        if (dispatcher) {
            raw->systemMouseHoverMovedWithEvent(at(160, 60), nullptr);
        }
        EXPECT_EQ(dispatcher, nullptr) << hook;
    }
    dispatcher = MVMouseDispatcher::initWithWindow(scene.window);
    when = "mouseEnded";
    press(at(110, 60));
    press(at(160, 60));
    EXPECT_EQ(dispatcher, nullptr) << "by the end of the first press";
}

TEST_F(MVMouseDispatcherTest, aHookMayEndThePressThatIsBeginning) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string& hook) {
        if (hook == "mouseBegan") {
            release(at(110, 70));
        }
    };
    press(at(110, 70));
    drag(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseEnded 10,20"));
}

TEST_F(MVMouseDispatcherTest, aHookThatEndsAnEndingPressAgainEndsNothing) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string& hook) {
        if (hook == "mouseEnded") {
            release(at(110, 70));
            drag(at(110, 70));
        }
    };
    press(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseEnded 10,20"));
}

TEST_F(MVMouseDispatcherTest, aPressThatAHookBeginsStandsAndTheOneInHandIsLeftOut) {
    const auto a = add(scene.window, "a", {100, 50}, {50, 50});
    add(scene.window, "b", {150, 50}, {50, 50});
    add(scene.window, "c", {200, 50}, {50, 50});
    press(at(110, 60));
    a->reaction = [&](const std::string& hook) {
        if (hook == "mouseEnded") {
            press(at(160, 60));
        }
    };
    press(at(210, 60));
    release(at(160, 60));
    EXPECT_THAT(log, ElementsAre("a.mouseBegan 10,10", "a.mouseEnded 10,10", "b.mouseBegan 10,10",
                                 "b.mouseEnded 10,10"));
}

TEST_F(MVMouseDispatcherTest, everyBeginHasItsEndEvenIfEveryEndBeginsAnew) {
    const auto view = add(scene.window, "view", {100, 50}, {50, 50});
    view->reaction = [&](const std::string& hook) {
        if (hook == "mouseEnded") {
            press(at(110, 60));
        }
    };
    press(at(110, 60));
    press(at(110, 60));
    press(at(110, 60));
    view->reaction = nullptr;
    release(at(110, 60));
    const auto count = [&](const char* line) { return std::count(log.begin(), log.end(), line); };
    EXPECT_EQ(count("view.mouseBegan 10,10"), count("view.mouseEnded 10,10"));
}

TEST_F(MVMouseDispatcherTest, aHoverThatTheLeftViewEndsDoesNotBeginInTheNext) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    a->reaction = [&](const std::string&) { leave(at(160, 60)); };
    hover(at(160, 60));
    hover(at(161, 60));
    EXPECT_THAT(log, ElementsAre("a.mouseHoverBegan 10,10", "a.mouseHoverEnded 60,10"));
}

TEST_F(MVMouseDispatcherTest, aHoverThatMovesOnWhileAViewIsLeftBeginsWhereItIsThen) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    addHoverable("c", {200, 50}, {50, 50});
    enter(at(110, 60));
    a->reaction = [&](const std::string&) { hover(at(210, 60)); };
    hover(at(160, 60));
    a->reaction = nullptr;
    leave(at(220, 60));
    EXPECT_THAT(log, ElementsAre("a.mouseHoverBegan 10,10", "a.mouseHoverEnded 60,10",
                                 "c.mouseHoverBegan 10,10", "c.mouseHoverEnded 20,10"));
}

TEST_F(MVMouseDispatcherTest, aHoverThatBeginsWhileAViewIsLeftStands) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    addHoverable("c", {200, 50}, {50, 50});
    enter(at(110, 60));
    a->reaction = [&](const std::string&) { enter(at(210, 60)); };
    hover(at(160, 60));
    hover(at(215, 60));
    EXPECT_THAT(log, ElementsAre("a.mouseHoverBegan 10,10", "a.mouseHoverEnded 60,10",
                                 "c.mouseHoverBegan 10,10", "c.mouseHoverMoved 15,10"));
}

TEST_F(MVMouseDispatcherTest, aViewThatThrowsWhenItIsLeftIsLeftAllTheSame) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    a->reaction = [](const std::string&) { throw std::runtime_error("no"); };
    EXPECT_THROW(hover(at(160, 60)), std::runtime_error);
    EXPECT_EQ(taken().back(), "b.mouseHoverBegan 10,10");
    a->reaction = nullptr;
    hover(at(161, 60));
    EXPECT_THAT(taken(), ElementsAre("b.mouseHoverMoved 11,10"));
}

TEST_F(MVMouseDispatcherTest, theNextViewMayBeRemovedByTheViewThatIsLeft) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    auto b = addHoverable("b", {150, 50}, {50, 50});
    enter(at(110, 60));
    const std::weak_ptr<MVView> weak = b;
    a->reaction = [&](const std::string&) {
        if (b) {
            b->removeFromSuperview();
            b.reset();
        }
    };
    hover(at(160, 60));
    EXPECT_TRUE(weak.expired());
    hover(at(161, 60));
    leave(at(161, 60));
}

TEST_F(MVMouseDispatcherTest, anExceptionOfAHookLeavesTheRecordsInOrder) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [](const std::string& hook) {
        if (hook == "mouseEnded") {
            throw std::runtime_error("no");
        }
    };
    press(at(110, 70));
    EXPECT_THROW(release(at(110, 70)), std::runtime_error);
    release(at(110, 70));
    press(at(110, 70));
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseEnded 10,20",
                                 "view.mouseBegan 10,20"));
}

TEST_F(MVMouseDispatcherTest, aPressOrHoverThatReplacesAnotherBeginsWhateverTheEndOfThatThrows) {
    const auto a = addHoverable("a", {100, 50}, {50, 50});
    addHoverable("b", {150, 50}, {50, 50});
    a->reaction = [](const std::string& hook) {
        if (hook == "mouseEnded" || hook == "mouseHoverEnded") {
            throw std::runtime_error("no");
        }
    };
    press(at(110, 60));
    EXPECT_THROW(press(at(160, 60)), std::runtime_error);
    release(at(160, 60));
    enter(at(110, 60));
    EXPECT_THROW(enter(at(160, 60)), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("a.mouseBegan 10,10", "a.mouseEnded 10,10", "b.mouseBegan 10,10",
                                 "b.mouseEnded 10,10", "a.mouseHoverBegan 10,10",
                                 "a.mouseHoverEnded 10,10", "b.mouseHoverBegan 10,10"));
}

// Pieces

TEST_F(MVMouseDispatcherTest, recordsAreUpdatedFromTheRayTheyHave) {
    const auto mouse = dispatcher->mv_newMouseWithPointButton(at(110, 70), MVMouseButtonRight);
    EXPECT_EQ(mouse->button(), MVMouseButtonRight);
    EXPECT_EQ(mouse->clickCount(), 0);
    EXPECT_EQ(mouse->view(), scene.window);
    EXPECT_EQ(mouse->ray(), scene.rayThrough(at(110, 70)));
    EXPECT_EQ(mouse->previousRay(), mouse->ray());
    dispatcher->mv_mouseUpdateWithPoint(mouse, at(10, 10));
    EXPECT_EQ(mouse->previousRay(), scene.rayThrough(at(110, 70)));
    EXPECT_EQ(mouse->ray(), scene.rayThrough(at(10, 10)));
    dispatcher->mv_mouseUpdateWithPoint(nullptr, at(10, 10));
}

TEST_F(MVMouseDispatcherTest, recordsWithoutAViewGoNowhere) {
    for (const auto dispatch :
         {&MVMouseDispatcher::mv_dispatchMouseBegan, &MVMouseDispatcher::mv_dispatchMouseMoved,
          &MVMouseDispatcher::mv_dispatchMouseEnded, &MVMouseDispatcher::mv_dispatchMouseHoverBegan,
          &MVMouseDispatcher::mv_dispatchMouseHoverMoved,
          &MVMouseDispatcher::mv_dispatchMouseHoverEnded}) {
        dispatch(nullptr);
        dispatch(MVMouse::init());
    }
}

TEST_F(MVMouseDispatcherTest, eachDispatchCallsTheHookOfItsName) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    const auto mouse = dispatcher->mv_newMouseWithPointButton(at(110, 70), MVMouseButtonLeft);
    MVMouseDispatcher::mv_dispatchMouseBegan(mouse);
    MVMouseDispatcher::mv_dispatchMouseMoved(mouse);
    MVMouseDispatcher::mv_dispatchMouseEnded(mouse);
    MVMouseDispatcher::mv_dispatchMouseHoverBegan(mouse);
    MVMouseDispatcher::mv_dispatchMouseHoverMoved(mouse);
    MVMouseDispatcher::mv_dispatchMouseHoverEnded(mouse);
    EXPECT_THAT(log, ElementsAre("view.mouseBegan 10,20", "view.mouseMoved 10,20",
                                 "view.mouseEnded 10,20", "view.mouseHoverBegan 10,20",
                                 "view.mouseHoverMoved 10,20", "view.mouseHoverEnded 10,20"));
}

// Debug log

TEST_F(MVMouseDispatcherTest, theDebugLogNamesBeginsAndEndsWithViewAndPlace) {
    const auto view = addHoverable("card", {100, 50}, {80, 60});
    const auto plain = MVView::init();
    plain->setPosition({200, 200});
    plain->setSize({50, 50});
    scene.window->addSubview(plain);
    const Mivora::tests::LogCapture capture("events");
    press(at(110, 70));
    drag(at(120, 70));
    release(at(130, 70));
    enter(at(110, 70));
    leave(at(111, 70));
    dispatcher->systemRightMouseBeganWithEvent(at(210, 220), nullptr);
    press(at(-10, 0));
    std::vector<std::string> lines;
    for (const auto& [category, line] : capture.lines()) {
        EXPECT_EQ(category, Mivora::tests::LogCapture::Category::Events);
        lines.push_back(line);
    }
    EXPECT_THAT(lines, ElementsAre("press began in \"card\" at (10, 20, 0)",
                                   "press ended in \"card\" at (30, 20, 0)",
                                   "hover began in \"card\" at (10, 20, 0)",
                                   "hover ended in \"card\" at (11, 20, 0)",
                                   "secondary press began in MVView at (10, 20, 0)",
                                   "press began over no view"));
}

TEST_F(MVMouseDispatcherTest, nothingIsLoggedUnlessAskedFor) {
    const Mivora::tests::LogCapture capture("gestures");
    press(at(110, 70));
    release(at(110, 70));
    EXPECT_THAT(capture.lines(), IsEmpty());
}

}  // namespace
