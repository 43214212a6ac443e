#include "MivoraMac/input/MVFingerDispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point2;
using Mivora::Point3;
using Mivora::platform::Event;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

class MVFingerDispatcherTest : public testing::Test {
 protected:
    struct Finger {
        std::uint64_t identifier;
        float x;
        float y;
    };

    /// An event of fingers at places in the window's plane.
    static MVFingerDispatcher::EventPointer eventOf(const std::vector<Finger>& fingers) {
        auto event = std::make_shared<Event>();
        for (const Finger& finger : fingers) {
            const Point2 at = GestureScene::at(finger.x, finger.y);
            event->touches.push_back(
                {finger.identifier, {static_cast<double>(at.x), static_cast<double>(at.y)}});
        }
        return event;
    }
    void land(const std::vector<Finger>& fingers) const {
        dispatcher->systemTouchesBeganWithEvent(eventOf(fingers));
    }
    void move(const std::vector<Finger>& fingers) const {
        dispatcher->systemTouchesMovedWithEvent(eventOf(fingers));
    }
    void lift(const std::vector<Finger>& fingers) const {
        dispatcher->systemTouchesEndedWithEvent(eventOf(fingers));
    }
    void cancel(const std::vector<Finger>& fingers) const {
        dispatcher->systemTouchesCancelledWithEvent(eventOf(fingers));
    }
    std::vector<std::shared_ptr<MVTouch>> touches() const {
        const MVTouchSet all = dispatcher->mv_touches();
        return {all.begin(), all.end()};
    }

    GestureScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<MVFingerDispatcher> dispatcher =
        MVFingerDispatcher::initWithWindow(scene.window);
    std::shared_ptr<InputView> card =
        addInputView(scene.window, "card", &log, {100, 50}, {200, 200});
    std::shared_ptr<InputView> button = addInputView(card, "button", &log, {10, 10}, {50, 50});
};

TEST_F(MVFingerDispatcherTest, theFingersOfAnEventAreDeliveredTogether) {
    land({{1, 120, 70}, {2, 130, 80}, {3, 200, 200}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("button.touchesBegan 2", "card.touchesBegan 1"));
    move({{2, 131, 80}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("button.touchesMoved 1"));
    move({{1, 121, 70}, {2, 132, 80}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("button.touchesMoved 2"));
    lift({{2, 132, 80}, {3, 200, 200}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("button.touchesEnded 1", "card.touchesEnded 1"));
    EXPECT_TRUE(dispatcher->hasTouches());
    cancel({{1, 121, 70}});
    EXPECT_THAT(scene.takeLog(), ElementsAre("button.touchesCancelled 1"));
    EXPECT_FALSE(dispatcher->hasTouches());
}

TEST_F(MVFingerDispatcherTest, aTouchIsTheSameFromLandingToLifting) {
    land({{1, 120, 70}});
    const auto touch = touches().at(0);
    EXPECT_EQ(touch->view(), button);
    move({{1, 250, 70}});
    EXPECT_THAT(touches(), ElementsAre(touch));
    EXPECT_EQ(touch->locationInView(button), (Point3{140, 10, 0})) << "wherever it goes";
    EXPECT_EQ(touch->previousLocationInView(button), (Point3{10, 10, 0}));
    lift({{1, 251, 70}});
    EXPECT_EQ(touch->locationInView(button), (Point3{141, 10, 0}));
    EXPECT_THAT(touches(), IsEmpty());
    EXPECT_TRUE(touch->mv_isFinished());
}

TEST_F(MVFingerDispatcherTest, recognizersAreBoundAndUnboundFingerByFinger) {
    const auto it = scene.attach(card, "it");
    land({{1, 120, 70}});
    land({{2, 200, 200}});
    EXPECT_EQ(it->touches().size(), 2U);
    lift({{1, 120, 70}});
    EXPECT_THAT(it->touches(), testing::ElementsAreArray(touches()));
    lift({{2, 200, 200}});
    EXPECT_THAT(it->touches(), IsEmpty());
}

TEST_F(MVFingerDispatcherTest, fingersThatDidNotLandDoNothing) {
    move({{1, 120, 70}});
    lift({{1, 120, 70}});
    cancel({{1, 120, 70}});
    dispatcher->cancelAllTouches();
    land({});
    EXPECT_THAT(log, IsEmpty());
    land({{2, 120, 70}});
    log.clear();
    move({{1, 120, 70}, {3, 120, 70}});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVFingerDispatcherTest, aFingerThatLandsTwiceIsCancelledFirst) {
    land({{1, 120, 70}});
    const auto first = touches().at(0);
    land({{1, 200, 200}});
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesCancelled 1",
                                 "card.touchesBegan 1"));
    EXPECT_TRUE(first->mv_isFinished());
    EXPECT_EQ(touches().size(), 1U);
}

TEST_F(MVFingerDispatcherTest, allCanBeCancelledWhereTheyAre) {
    land({{1, 120, 70}, {2, 200, 200}});
    move({{1, 125, 70}});
    const auto first = touches().at(0);
    log.clear();
    dispatcher->cancelAllTouches();
    EXPECT_THAT(log, ElementsAre("button.touchesCancelled 1", "card.touchesCancelled 1"));
    EXPECT_EQ(first->locationInView(button), (Point3{15, 10, 0}));
    EXPECT_EQ(first->previousLocationInView(button), (Point3{15, 10, 0}));
    EXPECT_FALSE(dispatcher->hasTouches());
}

TEST_F(MVFingerDispatcherTest, eventsAndTheWindowMayBeNull) {
    dispatcher->systemTouchesBeganWithEvent(nullptr);
    dispatcher->systemTouchesMovedWithEvent(nullptr);
    dispatcher->systemTouchesEndedWithEvent(nullptr);
    dispatcher->systemTouchesCancelledWithEvent(nullptr);
    dispatcher = MVFingerDispatcher::initWithWindow(nullptr);
    land({{1, 120, 70}});
    EXPECT_EQ(touches().at(0)->view(), nullptr);
    lift({{1, 120, 70}});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVFingerDispatcherTest, theWindowMayGoWhileFingersAreDown) {
    land({{1, 120, 70}});
    scene.window.reset();
    move({{1, 121, 70}});
    lift({{1, 121, 70}});
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1",
                                 "button.touchesEnded 1"));
}

TEST_F(MVFingerDispatcherTest, aDispatcherThatGoesDropsItsTouchesWithoutAWord) {
    auto it = scene.attach(button, "it");
    land({{1, 120, 70}});
    log.clear();
    const std::weak_ptr<ScriptedRecognizer> weak = it;
    dispatcher.reset();
    EXPECT_THAT(log, IsEmpty());
    button->removeAllGestureRecognizers();
    it.reset();
    EXPECT_TRUE(weak.expired()) << "the recognizer keeps the touch, not the other way round";
}

TEST_F(MVFingerDispatcherTest, hooksMayDoAnythingToTheDispatcher) {
    button->reaction = [&](const std::string& hook) {
        button->reaction = nullptr;
        if (hook == "touchesBegan") {
            lift({{1, 120, 70}});
            land({{1, 200, 200}});
            dispatcher.reset();
        }
    };
    land({{1, 120, 70}, {2, 130, 70}});
    EXPECT_THAT(
        log, ElementsAre("button.touchesBegan 2", "button.touchesEnded 1", "card.touchesBegan 1"));
}

TEST_F(MVFingerDispatcherTest, aFingerIsFinishedWhateverItsEndThrows) {
    const auto it = scene.attach(card, "it");
    land({{1, 120, 70}, {2, 200, 200}});
    button->reaction = [](const std::string&) { throw std::runtime_error("no"); };
    it->onTouches = [](MVTouchPhase) { throw std::runtime_error("no"); };
    log.clear();
    const LogCapture capture;
    EXPECT_THROW(lift({{1, 120, 70}, {2, 200, 200}}), std::runtime_error);
    EXPECT_THAT(log,
                ElementsAre("it.touchesEnded 2", "button.touchesEnded 1", "card.touchesEnded 1"));
    EXPECT_THAT(it->touches(), IsEmpty());
    EXPECT_FALSE(dispatcher->hasTouches());
    EXPECT_EQ(capture.lines().size(), 1U);
}

TEST_F(MVFingerDispatcherTest, beginAndEndAreLogged) {
    const LogCapture capture("events");
    land({{1, 120, 70}});
    move({{1, 121, 70}});
    lift({{1, 121, 70}});
    land({{1, 120, 70}});
    dispatcher->cancelAllTouches();
    std::vector<std::string> texts;
    for (const auto& line : capture.lines()) {
        texts.push_back(line.second);
    }
    EXPECT_THAT(texts, ElementsAre("finger began in \"button\" at (10, 10, 0)",
                                   "finger ended in \"button\" at (11, 10, 0)",
                                   "finger began in \"button\" at (10, 10, 0)",
                                   "finger cancelled in \"button\" at (10, 10, 0)"));
}

}  // namespace
