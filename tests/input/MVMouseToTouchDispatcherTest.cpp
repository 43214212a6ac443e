#include "MivoraMac/input/MVMouseToTouchDispatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "MivoraMac/input/MVPlatformTouch.h"
#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point3;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto kBegan = MVGestureRecognizerStateBegan;
constexpr auto kEnded = MVGestureRecognizerStateEnded;

class MVMouseToTouchDispatcherTest : public testing::Test {
 protected:
    static GestureScene::Point at(float x, float y) { return GestureScene::at(x, y); }
    std::shared_ptr<MVTouch> current() const { return scene.dispatcher->mv_currentMouseTouch(); }

    GestureScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<InputView> card =
        addInputView(scene.window, "card", &log, {100, 50}, {200, 200});
    std::shared_ptr<InputView> button = addInputView(card, "button", &log, {10, 10}, {50, 50});
};

TEST_F(MVMouseToTouchDispatcherTest, aViewWithoutRecognizersSeesEveryPhaseOfTheTouch) {
    scene.press(at(120, 70));
    scene.drag(at(140, 80));
    scene.drag(at(399, 1));
    scene.release(at(500, 400));
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1",
                                 "button.touchesMoved 1", "button.touchesEnded 1"));
    EXPECT_EQ(current(), nullptr);
}

TEST_F(MVMouseToTouchDispatcherTest, aTouchLastsFromPressToRelease) {
    EXPECT_EQ(current(), nullptr);
    scene.press(at(120, 70));
    const auto touch = current();
    ASSERT_NE(touch, nullptr);
    EXPECT_EQ(touch->view(), button);
    EXPECT_EQ(touch->trackingView(), button);
    EXPECT_EQ(touch->locationInView(button), (Point3{10, 10, 0}));
    scene.drag(at(125, 72));
    EXPECT_EQ(current(), touch);
    EXPECT_EQ(touch->locationInView(button), (Point3{15, 12, 0}));
    EXPECT_EQ(touch->previousLocationInView(button), (Point3{10, 10, 0}));
    scene.release(at(130, 75));
    EXPECT_EQ(touch->locationInView(button), (Point3{20, 15, 0}));
    EXPECT_EQ(touch->previousLocationInView(button), (Point3{15, 12, 0}));
    EXPECT_EQ(current(), nullptr);
}

TEST_F(MVMouseToTouchDispatcherTest, leavingTheHostCancels) {
    scene.press(at(120, 70));
    scene.leave(at(500, 70));
    scene.release(at(500, 70));
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesCancelled 1"));
}

TEST_F(MVMouseToTouchDispatcherTest, withoutAPressNothingHappens) {
    scene.drag(at(120, 70));
    scene.release(at(120, 70));
    scene.leave(at(120, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, aPressOverNothingReachesNobody) {
    const auto it = scene.attach(card, "it");
    card->setInteractionEnabled(false);
    scene.window->setInteractionEnabled(false);
    scene.press(at(120, 70));
    ASSERT_NE(current(), nullptr);
    EXPECT_EQ(current()->view(), nullptr);
    scene.drag(at(130, 70));
    scene.release(at(130, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, aPressIsBoundToTheRecognizersOfAllItsViews) {
    const auto inWindow = scene.attach(scene.window, "window");
    const auto inCard = scene.attach(card, "card");
    const auto inButton = scene.attach(button, "button");
    scene.press(at(120, 70));
    EXPECT_THAT(current()->gestureRecognizers(), ElementsAre(inWindow, inCard, inButton));
    const auto touch = current();
    scene.release(at(120, 70));
    EXPECT_THAT(touch->gestureRecognizers(), IsEmpty());
    for (const auto& recognizer : {inWindow, inCard, inButton}) {
        EXPECT_THAT(recognizer->touches(), IsEmpty());
    }
}

TEST_F(MVMouseToTouchDispatcherTest, recognizersAreUnboundOnlyAfterTheLastPhase) {
    const auto it = scene.attach(card, "it");
    std::size_t touches = 0;
    it->onTouches = [&](MVTouchPhase) { touches = it->touches().size(); };
    scene.press(at(120, 70));
    scene.release(at(120, 70));
    EXPECT_EQ(touches, 1U);
    EXPECT_THAT(it->touches(), IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, aRecognizerOfTheParentTakesTheTouchFromTheView) {
    const auto it = scene.attach(card, "it");
    it->proposeAt(MVTouchPhase::Moved, MVGestureRecognizerStateChanged);
    scene.press(at(120, 70));
    scene.drag(at(121, 70));
    scene.drag(at(122, 70));
    scene.release(at(122, 70));
    EXPECT_THAT(log,
                ElementsAre("it.touchesBegan 1", "button.touchesBegan 1", "it.touchesMoved 1",
                            "button.touchesCancelled 1", "it.touchesMoved 1", "it.touchesEnded 1"));
}

TEST_F(MVMouseToTouchDispatcherTest, aPressDuringAnotherOneDropsThatWithoutAWord) {
    const auto it = scene.attach(card, "it");
    scene.press(at(120, 70));
    const auto first = current();
    log.clear();
    scene.press(at(130, 80));
    EXPECT_NE(current(), first);
    EXPECT_THAT(log, ElementsAre("it.touchesBegan 1", "button.touchesBegan 1"));
    EXPECT_THAT(it->touches(), ElementsAre(first, current()));
    EXPECT_THAT(first->gestureRecognizers(), ElementsAre(it));
    scene.release(at(130, 80));
    EXPECT_THAT(it->touches(), ElementsAre(first)) << "nobody finishes what was dropped";
}

TEST_F(MVMouseToTouchDispatcherTest, aTouchThatWasDroppedKeepsNoRecognizer) {
    auto it = scene.attach(button, "it");
    scene.press(at(120, 70));
    scene.press(at(120, 70));
    scene.release(at(120, 70));
    ASSERT_EQ(it->touches().size(), 1U) << "the first is not unbound";
    button->removeGestureRecognizer(it);
    const std::weak_ptr<ScriptedRecognizer> weak = it;
    it.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVMouseToTouchDispatcherTest, aDelegateThatIsAskedAtAPressKnowsItsTouch) {
    const auto it = scene.attach(card, "it");
    scene.attach(button, "other");
    it->setState(MVGestureRecognizerStateBegan);
    const auto adviser = std::make_shared<ScriptedAdviser>();
    std::shared_ptr<MVTouch> seen;
    adviser->answer = [&](const auto&, const auto&) {
        seen = current();
        return true;
    };
    it->setDelegate(adviser);
    scene.press(at(120, 70));
    ASSERT_NE(seen, nullptr);
    EXPECT_EQ(seen, current());
    adviser->questions.clear();
}

TEST_F(MVMouseToTouchDispatcherTest, aPressDuringAGestureJoinsIt) {
    const auto running = scene.attach(card, "running");
    const auto other = scene.attach(button, "other");
    const auto ally = scene.attach(button, "ally");
    const auto yes = ScriptedAdviser::saying(true);
    ally->setDelegate(yes);
    running->setState(kBegan);
    scene.press(at(120, 70));
    EXPECT_THAT(current()->gestureRecognizers(), ElementsAre(running, ally));
    EXPECT_THAT(
        log, ElementsAre("running.touchesBegan 1", "ally.touchesBegan 1", "button.touchesBegan 1"));
    scene.release(at(120, 70));
}

TEST_F(MVMouseToTouchDispatcherTest, whereverAViewGoesItKeepsTheTouchItTracks) {
    scene.press(at(120, 70));
    button->setHidden(true);
    scene.drag(at(121, 70));
    button->removeFromSuperview();
    scene.drag(at(122, 70));
    scene.release(at(122, 70));
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1",
                                 "button.touchesMoved 1", "button.touchesEnded 1"));
}

TEST_F(MVMouseToTouchDispatcherTest, aViewThatIsDestroyedIsSentNothingMore) {
    const auto it = scene.attach(card, "it");
    scene.press(at(120, 70));
    button->removeFromSuperview();
    button.reset();
    log.clear();
    scene.drag(at(121, 70));
    scene.release(at(122, 70));
    EXPECT_THAT(log, ElementsAre("it.touchesMoved 1", "it.touchesEnded 1"));
    EXPECT_EQ(it->touches().size(), 1U) << "the touch has no view to find it by";
}

TEST_F(MVMouseToTouchDispatcherTest, theRecognizersOfADestroyedViewGoWithTheTouch) {
    auto it = scene.attach(button, "it");
    const std::weak_ptr<ScriptedRecognizer> weak = it;
    it.reset();
    scene.press(at(120, 70));
    button->removeFromSuperview();
    button.reset();
    const LogCapture capture;
    scene.drag(at(121, 70));
    EXPECT_FALSE(weak.expired()) << "until then the touch keeps them";
    scene.release(at(122, 70));
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVMouseToTouchDispatcherTest, aDispatcherThatGoesDropsItsTouchWithoutAWord) {
    auto it = scene.attach(button, "it");
    scene.press(at(120, 70));
    log.clear();
    const std::weak_ptr<ScriptedRecognizer> weak = it;
    scene.dispatcher.reset();
    EXPECT_THAT(log, IsEmpty());
    EXPECT_EQ(it->touches().size(), 1U);
    button->removeAllGestureRecognizers();
    it.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVMouseToTouchDispatcherTest, withoutAWindowTouchesAreOverNoView) {
    scene.dispatcher = MVMouseToTouchDispatcher::initWithWindow(nullptr);
    scene.press(at(120, 70));
    ASSERT_NE(current(), nullptr);
    EXPECT_EQ(current()->view(), nullptr);
    EXPECT_EQ(current()->ray(), Mivora::Ray3::kZero);
    scene.drag(at(120, 70));
    scene.leave(at(120, 70));
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, theWindowIsHeldWeaklyAndMayGoDuringATouch) {
    const std::weak_ptr<MVWindow> weak = scene.window;
    scene.press(at(120, 70));
    scene.window.reset();
    EXPECT_TRUE(weak.expired());
    scene.drag(at(121, 70));
    scene.release(at(121, 70));
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1",
                                 "button.touchesEnded 1"));
}

TEST_F(MVMouseToTouchDispatcherTest, eventsMayBeNull) {
    scene.dispatcher->systemTouchBeganWithEvent(nullptr);
    scene.dispatcher->systemTouchMovedWithEvent(nullptr);
    scene.dispatcher->systemTouchEndedWithEvent(nullptr);
    scene.dispatcher->systemTouchCancelledWithEvent(nullptr);
    EXPECT_EQ(current(), nullptr);
}

TEST_F(MVMouseToTouchDispatcherTest, beginAndEndAreLogged) {
    const LogCapture capture("events");
    scene.press(at(120, 70));
    scene.drag(at(121, 70));
    scene.release(at(121, 70));
    scene.press(at(120, 70));
    scene.leave(at(121, 70));
    std::vector<std::string> texts;
    for (const auto& line : capture.lines()) {
        texts.push_back(line.second);
    }
    EXPECT_THAT(texts, ElementsAre("touch began in \"button\" at (10, 10, 0)",
                                   "touch ended in \"button\" at (11, 10, 0)",
                                   "touch began in \"button\" at (10, 10, 0)",
                                   "touch cancelled in \"button\" at (11, 10, 0)"));
}

// Acting meanwhile

TEST_F(MVMouseToTouchDispatcherTest, anEndingTouchIsDroppedBeforeItsPhaseIsDelivered) {
    button->reaction = [&](const std::string& hook) {
        if (hook == "touchesEnded") {
            EXPECT_EQ(current(), nullptr);
            scene.drag(at(125, 75));
            scene.release(at(125, 75));
            scene.leave(at(125, 75));
        }
    };
    scene.press(at(120, 70));
    scene.release(at(120, 70));
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesEnded 1"));
}

TEST_F(MVMouseToTouchDispatcherTest, aPressFromWithinAnEndStands) {
    button->reaction = [&](const std::string& hook) {
        if (hook == "touchesEnded") {
            button->reaction = nullptr;
            scene.press(at(200, 200));
        }
    };
    scene.press(at(120, 70));
    scene.release(at(120, 70));
    ASSERT_NE(current(), nullptr);
    EXPECT_EQ(current()->view(), card);
    scene.release(at(200, 200));
    EXPECT_EQ(log.back(), "card.touchesEnded 1");
}

TEST_F(MVMouseToTouchDispatcherTest, aReleaseFromWithinAPressIsTheEndOfThatPress) {
    const auto it = scene.attach(card, "it");
    button->reaction = [&](const std::string& hook) {
        if (hook == "touchesBegan") {
            scene.release(at(120, 70));
        }
    };
    scene.press(at(120, 70));
    EXPECT_THAT(log, ElementsAre("it.touchesBegan 1", "button.touchesBegan 1", "it.touchesEnded 1",
                                 "button.touchesEnded 1"));
    EXPECT_EQ(current(), nullptr);
    EXPECT_THAT(it->touches(), IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, anyHookMayDestroyTheDispatcher) {
    for (const char* const when : {"touchesBegan", "touchesMoved", "touchesEnded"}) {
        GestureScene other;
        const auto view = addInputView(other.window, "view", &other.log, {0, 0}, {400, 300});
        const auto it = other.attach(view, "it");
        const auto ann = other.target(it, "ann");
        view->reaction = [&](const std::string& hook) {
            if (hook == when) {
                other.dispatcher.reset();
            }
        };
        other.press(at(120, 70));
        if (other.dispatcher) {
            other.drag(at(130, 70));
        }
        if (other.dispatcher) {
            other.release(at(130, 70));
        }
        EXPECT_EQ(other.dispatcher, nullptr);
        EXPECT_EQ(other.log.back(), std::string("view.") + when + " 1");
    }
}

TEST_F(MVMouseToTouchDispatcherTest, aTouchIsFinishedWhateverItsEndThrows) {
    const auto it = scene.attach(card, "it");
    it->onTouches = [](MVTouchPhase phase) {
        if (phase != MVTouchPhase::Began) {
            throw std::runtime_error("no");
        }
    };
    scene.press(at(120, 70));
    EXPECT_THROW(scene.release(at(120, 70)), std::runtime_error);
    EXPECT_EQ(current(), nullptr);
    EXPECT_THAT(it->touches(), IsEmpty());
}

TEST_F(MVMouseToTouchDispatcherTest, whatADelegateThrowsAtTheEndGoesThrough) {
    const auto it = scene.attach(card, "it");
    auto other = scene.attach(card, "other");
    const auto adviser = std::make_shared<ScriptedAdviser>();
    adviser->answer = [](const auto&, const auto&) -> bool { throw std::runtime_error("no"); };
    scene.press(at(120, 70));
    it->setState(kEnded);
    it->setDelegate(adviser);
    EXPECT_THROW(scene.release(at(120, 70)), std::runtime_error);
    EXPECT_EQ(current(), nullptr);
    EXPECT_THAT(it->touches(), IsEmpty());
    const std::weak_ptr<ScriptedRecognizer> weak = other;
    card->removeAllGestureRecognizers();
    adviser->questions.clear();
    other.reset();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVMouseToTouchDispatcherTest, aPressIsDeliveredEvenIfADelegateThrowsAboutIt) {
    const auto running = scene.attach(card, "running");
    scene.attach(card, "other");
    const auto adviser = std::make_shared<ScriptedAdviser>();
    adviser->answer = [](const auto&, const auto&) -> bool { throw std::runtime_error("no"); };
    running->setState(kBegan);
    running->setDelegate(adviser);
    EXPECT_THROW(scene.press(at(120, 70)), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1"));
    adviser->questions.clear();
    running->setDelegate(nullptr);
    scene.release(at(120, 70));
    EXPECT_EQ(log.back(), "button.touchesEnded 1");
}

}  // namespace
