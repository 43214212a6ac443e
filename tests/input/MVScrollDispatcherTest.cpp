#include "MivoraMac/input/MVScrollDispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "MivoraMac/platform/threads/Clock.h"
#include "tests/input/InputScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::platform::Clock;
using testing::ElementsAre;
using testing::IsEmpty;

using Scroll = std::shared_ptr<MVScroll>;

constinit std::uint64_t ticks = 0;

class MVScrollDispatcherTest : public testing::Test {
 protected:
    MVScrollDispatcherTest() {
        ticks = 1'000'000'000;
        Clock::setSource([] { return ticks; }, {1, 1});
    }
    ~MVScrollDispatcherTest() override { Clock::setSource(nullptr, {1, 1}); }

    void begin(Point2 place, Point2 translation) {
        dispatcher->systemScrollBeganTranslationWithEvent(place, translation, nullptr);
    }
    void move(Point2 place, Point2 translation) {
        dispatcher->systemScrollMovedTranslationWithEvent(place, translation, nullptr);
    }
    void end(Point2 place, Point2 translation) {
        dispatcher->systemScrollEndedTranslationWithEvent(place, translation, nullptr);
    }
    void cancel(Point2 place, Point2 translation) {
        dispatcher->systemScrollCancelledTranslationWithEvent(place, translation, nullptr);
    }
    /// What a press of a button does.
    void cancelActive(Point2 place) {
        dispatcher->cancelActiveScrollEventWithEvent(place, InputScene::eventAt(place));
    }

    std::shared_ptr<InputView> add(const std::shared_ptr<MVView>& superview,
                                   const std::string& name, Point2 position, Mivora::Size2 size) {
        return addInputView(superview, name, &log, position, size);
    }

    /// The lines since the last call.
    CallLog taken() { return std::exchange(log, {}); }

    static Point2 at(float x, float y) { return InputScene::at(x, y); }

    CallLog log;
    InputScene scene;
    std::shared_ptr<MVScrollDispatcher> dispatcher =
        MVScrollDispatcher::initWithWindow(scene.window);
};

TEST_F(MVScrollDispatcherTest, theClickOfAWheelBeginsWithItsTranslationAndEndsWithNone) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {0, 24});
    end(at(110, 70), Point2::kZero);
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 0,24", "view.scrollEnded 10,20 by 0,0"));
    EXPECT_EQ(view->lastScroll->translation(), Point2::kZero);
}

TEST_F(MVScrollDispatcherTest, fingersScrollTheViewTheyBeganOver) {
    add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {1, 2});
    move(at(120, 80), {3, -4});
    move(at(300, 200), {5, -6});
    end(at(301, 200), {0, 0});
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 1,2", "view.scrollMoved 20,30 by 3,-4",
                            "view.scrollMoved 200,150 by 5,-6", "view.scrollEnded 201,150 by 0,0"));
}

TEST_F(MVScrollDispatcherTest, momentumIsAnEpisodeOfItsOwnWithAViewOfItsOwn) {
    const auto a = add(scene.window, "a", {100, 50}, {50, 50});
    const auto b = add(scene.window, "b", {150, 50}, {50, 50});
    begin(at(110, 60), {1, 0});
    move(at(160, 60), {2, 0});
    end(at(160, 60), {0, 0});
    const Scroll fingers = a->lastScroll;
    begin(at(160, 60), {2, 0});
    move(at(160, 60), {1, 0});
    end(at(160, 60), {0, 0});
    EXPECT_THAT(log, ElementsAre("a.scrollBegan 10,10 by 1,0", "a.scrollMoved 60,10 by 2,0",
                                 "a.scrollEnded 60,10 by 0,0", "b.scrollBegan 10,10 by 2,0",
                                 "b.scrollMoved 10,10 by 1,0", "b.scrollEnded 10,10 by 0,0"));
    EXPECT_NE(b->lastScroll, fingers);
}

TEST_F(MVScrollDispatcherTest, theSameRecordComesWithEveryEventOfAnEpisode) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {1, 2});
    const Scroll scroll = view->lastScroll;
    EXPECT_EQ(scroll->view(), view);
    EXPECT_EQ(scroll->ray(), scene.rayThrough(at(110, 70)));
    EXPECT_EQ(scroll->velocity(), Point2::kZero);
    move(at(120, 70), {3, 4});
    EXPECT_EQ(view->lastScroll, scroll);
    EXPECT_EQ(scroll->ray(), scene.rayThrough(at(120, 70)));
    EXPECT_EQ(scroll->translation(), (Point2{3, 4}));
    end(at(120, 70), {0, 0});
    EXPECT_EQ(view->lastScroll, scroll);
}

TEST_F(MVScrollDispatcherTest, aRecordSaysWhichKeysWereHeldAtTheLatestEvent) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    const auto holding = [](Mivora::platform::Modifiers modifiers) {
        Mivora::platform::Event event;
        event.modifiers = modifiers;
        return std::make_shared<const Mivora::platform::Event>(event);
    };
    const auto held = [&] { return view->lastScroll->modifiers(); };
    const Point2 place = at(110, 70);
    dispatcher->systemScrollBeganTranslationWithEvent(place, {1, 2}, holding({.control = true}));
    EXPECT_EQ(held(), (Mivora::platform::Modifiers{.control = true}));
    dispatcher->systemScrollMovedTranslationWithEvent(place, {1, 2}, holding({.shift = true}));
    EXPECT_EQ(held(), (Mivora::platform::Modifiers{.shift = true}));
    dispatcher->systemScrollMovedTranslationWithEvent(place, {1, 2}, nullptr);
    EXPECT_EQ(held(), (Mivora::platform::Modifiers{.shift = true})) << "nothing is known";
    dispatcher->systemScrollEndedTranslationWithEvent(place, {1, 2}, holding({.super = true}));
    EXPECT_EQ(held(), (Mivora::platform::Modifiers{.super = true}));
    begin(place, {1, 2});
    EXPECT_EQ(held(), Mivora::platform::Modifiers());
    dispatcher->systemScrollCancelledTranslationWithEvent(place, {1, 2}, holding({.alt = true}));
    EXPECT_EQ(held(), (Mivora::platform::Modifiers{.alt = true}));
}

TEST_F(MVScrollDispatcherTest, aHookThatThrowsWhenAPressStopsItIsCancelledAllTheSame) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [](const std::string&) { throw std::runtime_error("no"); };
    EXPECT_THROW(cancelActive(at(110, 70)), std::runtime_error);
    EXPECT_THAT(taken(),
                ElementsAre("view.scrollBegan 10,20 by 0,0", "view.scrollCancelled 10,20 by 0,0"));
    end(at(110, 70), {0, 0});
    EXPECT_THAT(taken(), IsEmpty()) << "no episode is left behind";
}

TEST_F(MVScrollDispatcherTest, velocitiesAreThoseOfTheEpisode) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {1, 0});
    ticks += 10'000'000;
    move(at(110, 70), {5, -10});
    EXPECT_FLOAT_EQ(view->lastScroll->velocity().x, 1) << "one point since the beginning of time";
    ticks += 500'000;
    move(at(110, 70), {3, 0});
    EXPECT_FLOAT_EQ(view->lastScroll->velocity().x, 500);
    EXPECT_FLOAT_EQ(view->lastScroll->velocity().y, -1000);
    ticks += 10'000'000;
    end(at(110, 70), {0, 0});
    EXPECT_FLOAT_EQ(view->lastScroll->velocity().x, 360) << "within a millisecond";
}

TEST_F(MVScrollDispatcherTest, thePlaceIsThatOnTheTurnedPlaneOfTheView) {
    const auto outer = add(scene.window, "outer", {200, 150}, {200, 160});
    outer->setAnchorPoint({0.5F, 0.5F});
    outer->setRotation3({0.6F, -0.5F, 0.4F});
    const auto inner = add(outer, "inner", {30, 20}, {100, 80});
    inner->setRotation3({-0.3F, 0.4F, -0.2F});
    inner->setUniformScale(1.2F);
    begin(scene.placeOf(inner, 40, 30), {0, 1});
    move(scene.placeOf(inner, 90, 70), {0, 1});
    EXPECT_THAT(log,
                ElementsAre("inner.scrollBegan 40,30 by 0,1", "inner.scrollMoved 90,70 by 0,1"));
}

TEST_F(MVScrollDispatcherTest, aBeginReplacesAnEpisodeWithoutAWord) {
    add(scene.window, "a", {100, 50}, {50, 50});
    add(scene.window, "b", {150, 50}, {50, 50});
    begin(at(110, 60), {1, 0});
    begin(at(160, 60), {2, 0});
    end(at(160, 60), {0, 0});
    end(at(160, 60), {0, 0});
    EXPECT_THAT(log, ElementsAre("a.scrollBegan 10,10 by 1,0", "b.scrollBegan 10,10 by 2,0",
                                 "b.scrollEnded 10,10 by 0,0"));
}

TEST_F(MVScrollDispatcherTest, withoutABeginNothingHappens) {
    add(scene.window, "view", {100, 50}, {80, 60});
    move(at(110, 70), {1, 1});
    end(at(110, 70), {1, 1});
    cancel(at(110, 70), {1, 1});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVScrollDispatcherTest, aCancelledEpisodeIsOver) {
    add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {1, 1});
    cancel(at(111, 71), {2, 2});
    cancel(at(111, 71), {2, 2});
    move(at(111, 71), {2, 2});
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 1,1", "view.scrollCancelled 11,21 by 2,2"));
}

TEST_F(MVScrollDispatcherTest, aPressCancelsTheEpisodeThatIsUnderWay) {
    add(scene.window, "a", {100, 50}, {50, 50});
    add(scene.window, "b", {150, 50}, {50, 50});
    begin(at(110, 60), {1, 1});
    cancelActive(at(160, 60));
    EXPECT_THAT(log, ElementsAre("a.scrollBegan 10,10 by 1,1", "a.scrollCancelled 60,10 by 0,0"));
}

TEST_F(MVScrollDispatcherTest, aPressWithoutAnEpisodeBeginsAndCancelsOne) {
    add(scene.window, "view", {100, 50}, {80, 60});
    cancelActive(at(110, 70));
    EXPECT_THAT(taken(),
                ElementsAre("view.scrollBegan 10,20 by 0,0", "view.scrollCancelled 10,20 by 0,0"));
    end(at(110, 70), {0, 0});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVScrollDispatcherTest, scrollingReachesTheNearestAncestorThatListens) {
    const auto outer = add(scene.window, "outer", {100, 50}, {80, 60});
    const auto plain = MVView::init();
    plain->setPosition({5, 5});
    plain->setSize({20, 20});
    outer->addSubview(plain);
    begin(at(110, 70), {0, 5});
    EXPECT_THAT(log, ElementsAre("outer.scrollBegan 10,20 by 0,5"));
    EXPECT_EQ(outer->lastScroll->view(), plain);
}

TEST_F(MVScrollDispatcherTest, scrollingDoesNotAskWhoWantsHovers) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    EXPECT_FALSE(view->mouseHoverEnabled());
    begin(at(110, 70), {0, 5});
    EXPECT_EQ(log.size(), 1U);
}

// What happens to views meanwhile

TEST_F(MVScrollDispatcherTest, aViewThatIsHiddenOrMovedKeepsItsEpisode) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {0, 1});
    view->setHidden(true);
    move(at(110, 70), {0, 1});
    view->setPosition({0, 0});
    end(at(110, 70), {0, 0});
    EXPECT_THAT(log, ElementsAre("view.scrollBegan 10,20 by 0,1", "view.scrollMoved 10,20 by 0,1",
                                 "view.scrollEnded 110,70 by 0,0"));
}

TEST_F(MVScrollDispatcherTest, theEpisodeOfAViewThatIsDestroyedGoesNowhere) {
    {
        const auto view = add(scene.window, "view", {100, 50}, {80, 60});
        begin(at(110, 70), {0, 1});
        view->removeFromSuperview();
    }
    log.clear();
    move(at(110, 70), {0, 1});
    end(at(110, 70), {0, 0});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVScrollDispatcherTest, withoutItsWindowADispatcherKnowsNoPlaces) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    begin(at(110, 70), {0, 1});
    scene.window.reset();
    move(at(110, 70), {0, 2});
    EXPECT_EQ(view->lastScroll->ray(), Ray3::kZero);
    EXPECT_EQ(view->lastScroll->translation(), (Point2{0, 2}));
    EXPECT_EQ(dispatcher->mv_unprojectPoint(at(1, 1)), Ray3::kZero);
    begin(at(110, 70), {0, 1});
    EXPECT_EQ(log.size(), 2U);
}

TEST_F(MVScrollDispatcherTest, aDispatcherNeedsNoWindow) {
    dispatcher = MVScrollDispatcher::initWithWindow(nullptr);
    begin(at(110, 70), {0, 1});
    move(at(110, 70), {0, 1});
    cancelActive(at(110, 70));
    cancelActive(at(110, 70));
    EXPECT_THAT(log, IsEmpty());
}

// What hooks do meanwhile

TEST_F(MVScrollDispatcherTest, aHookMayDestroyItsViewTheWindowOrTheDispatcher) {
    for (const char* when : {"scrollBegan", "scrollMoved", "scrollEnded", "scrollCancelled"}) {
        scene.window = InputScene::makeWindow();
        dispatcher = MVScrollDispatcher::initWithWindow(scene.window);
        auto view = add(scene.window, "view", {100, 50}, {80, 60});
        const std::weak_ptr<MVView> weak = view;
        view->reaction = [&](const std::string& hook) {
            if (hook == when) {
                scene.window.reset();
                dispatcher.reset();
                view.reset();
            }
        };
        MVScrollDispatcher* const raw = dispatcher.get();
        raw->systemScrollBeganTranslationWithEvent(at(110, 70), {0, 1}, nullptr);
        if (dispatcher) {
            raw->systemScrollMovedTranslationWithEvent(at(110, 70), {0, 1}, nullptr);
        }
        if (dispatcher) {
            raw->systemScrollEndedTranslationWithEvent(at(110, 70), {0, 1}, nullptr);
        }
        if (dispatcher) {
            raw->cancelActiveScrollEventWithEvent(at(110, 70), nullptr);
        }
        EXPECT_EQ(dispatcher, nullptr) << when;
        EXPECT_TRUE(weak.expired()) << when;
    }
}

TEST_F(MVScrollDispatcherTest, aHookMayDestroyTheDispatcherOfAPress) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string&) { dispatcher.reset(); };
    MVScrollDispatcher* const raw = dispatcher.get();
    raw->cancelActiveScrollEventWithEvent(at(110, 70), nullptr);
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 0,0", "view.scrollCancelled 10,20 by 0,0"));
}

TEST_F(MVScrollDispatcherTest, aHookMayEndOrBeginEpisodes) {
    const auto view = add(scene.window, "view", {100, 50}, {80, 60});
    view->reaction = [&](const std::string& hook) {
        if (hook == "scrollBegan") {
            cancel(at(110, 70), {0, 0});
        } else if (hook == "scrollCancelled") {
            cancel(at(110, 70), {0, 0});
            view->reaction = nullptr;
            begin(at(120, 80), {0, 7});
        }
    };
    begin(at(110, 70), {0, 1});
    end(at(120, 80), {0, 0});
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 0,1", "view.scrollCancelled 10,20 by 0,0",
                            "view.scrollBegan 20,30 by 0,7", "view.scrollEnded 20,30 by 0,0"));
}

// Pieces

TEST_F(MVScrollDispatcherTest, recordsAreMadeAndUpdatedWithRayAndTranslation) {
    const Scroll scroll = dispatcher->mv_newScrollWithPointTranslation(at(110, 70), {1, 2});
    EXPECT_EQ(scroll->view(), scene.window);
    EXPECT_EQ(scroll->ray(), scene.rayThrough(at(110, 70)));
    EXPECT_EQ(scroll->translation(), (Point2{1, 2}));
    EXPECT_EQ(scroll->velocity(), Point2::kZero) << "nothing came before";
    dispatcher->mv_scrollUpdateWithPointTranslation(scroll, at(10, 10), {3, 4});
    EXPECT_EQ(scroll->ray(), scene.rayThrough(at(10, 10)));
    EXPECT_EQ(scroll->translation(), (Point2{3, 4}));
    dispatcher->mv_scrollUpdateWithPointTranslation(nullptr, at(10, 10), {3, 4});
}

TEST_F(MVScrollDispatcherTest, eachDispatchCallsTheHookOfItsName) {
    add(scene.window, "view", {100, 50}, {80, 60});
    const Scroll scroll = dispatcher->mv_newScrollWithPointTranslation(at(110, 70), {1, 2});
    for (const auto dispatch :
         {&MVScrollDispatcher::mv_dispatchScrollBegan, &MVScrollDispatcher::mv_dispatchScrollMoved,
          &MVScrollDispatcher::mv_dispatchScrollEnded,
          &MVScrollDispatcher::mv_dispatchScrollCancelled}) {
        dispatch(nullptr);
        dispatch(MVScroll::init());
        dispatch(scroll);
    }
    EXPECT_THAT(log,
                ElementsAre("view.scrollBegan 10,20 by 1,2", "view.scrollMoved 10,20 by 1,2",
                            "view.scrollEnded 10,20 by 1,2", "view.scrollCancelled 10,20 by 1,2"));
}

TEST_F(MVScrollDispatcherTest, theDebugLogNamesBeginsAndEnds) {
    add(scene.window, "list", {100, 50}, {80, 60});
    const Mivora::tests::LogCapture capture("events");
    begin(at(110, 70), {0, 1});
    move(at(110, 70), {0, 1});
    end(at(111, 70), {0, 0});
    cancelActive(at(-5, 70));
    std::vector<std::string> lines;
    for (const auto& [category, line] : capture.lines()) {
        lines.push_back(line);
    }
    EXPECT_THAT(lines, ElementsAre("scroll began in \"list\" at (10, 20, 0)",
                                   "scroll ended in \"list\" at (11, 20, 0)",
                                   "scroll began over no view", "scroll cancelled over no view"));
}

}  // namespace
