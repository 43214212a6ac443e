#include "MivoraMac/input/MVTouchDispatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::tests::LogCapture;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr auto kBegan = MVGestureRecognizerStateBegan;
constexpr auto kChanged = MVGestureRecognizerStateChanged;
constexpr auto kEnded = MVGestureRecognizerStateEnded;
constexpr auto kFailed = MVGestureRecognizerStateFailed;

/// A root with a card in it and a button in that; each logs.
class MVTouchDispatchTest : public testing::Test {
 protected:
    std::shared_ptr<ScriptedTouch> begin(const std::shared_ptr<MVView>& view) {
        auto touch = ScriptedTouch::over(view);
        MVBuildGestureRecognizerRelationshipsForTouch(touch);
        return touch;
    }
    static void send(const MVTouchSet& touches, MVTouchPhase phase) {
        MVDispatchSelectorToTouches(touches, phase);
    }
    static void allow(const std::shared_ptr<MVGestureRecognizer>& recognizer,
                      const std::shared_ptr<ScriptedAdviser>& adviser) {
        recognizer->setDelegate(adviser);
    }

    GestureScene scene;
    CallLog& log = scene.log;
    std::shared_ptr<InputView> root = InputView::make("root", &log);
    std::shared_ptr<InputView> card = addInputView(root, "card", &log, {0, 0}, {200, 200});
    std::shared_ptr<InputView> button = addInputView(card, "button", &log, {0, 0}, {50, 50});
    std::shared_ptr<ScriptedAdviser> yes = ScriptedAdviser::saying(true);
    std::shared_ptr<ScriptedAdviser> no = ScriptedAdviser::saying(false);
};

// Views and recognizers of a touch

TEST_F(MVTouchDispatchTest, theViewsOfATouchGoFromItsViewUpToTheRoot) {
    EXPECT_THAT(MVGetViewsForTouch(ScriptedTouch::over(button)), ElementsAre(button, card, root));
    EXPECT_THAT(MVGetViewsForTouch(ScriptedTouch::over(root)), ElementsAre(root));
    EXPECT_THAT(MVGetViewsForTouch(ScriptedTouch::over(nullptr)), IsEmpty());
    EXPECT_THAT(MVGetViewsForTouch(nullptr), IsEmpty());
}

TEST_F(MVTouchDispatchTest, theRecognizersOfATouchComeFromTheRootDownInOrderOfAttachment) {
    const auto inButton = scene.attach(button, "button");
    const auto inCard = scene.attach(card, "card");
    const auto inRoot = scene.attach(root, "root");
    const auto inCardToo = scene.attach(card, "card too");
    EXPECT_THAT(MVGetGestureRecognizersForTouch(ScriptedTouch::over(button)),
                ElementsAre(inRoot, inCard, inCardToo, inButton));
    EXPECT_THAT(MVGetGestureRecognizersForTouch(ScriptedTouch::over(card)),
                ElementsAre(inRoot, inCard, inCardToo));
    EXPECT_THAT(MVGetGestureRecognizersForTouch(ScriptedTouch::over(nullptr)), IsEmpty());
    EXPECT_THAT(MVGetGestureRecognizersForTouch(nullptr), IsEmpty());
}

TEST_F(MVTouchDispatchTest, aTouchThatComesDuringAGestureGoesToItAndToThoseAllowedBesideIt) {
    const auto running = scene.attach(card, "running");
    const auto rival = scene.attach(button, "rival");
    const auto ally = scene.attach(button, "ally");
    const auto touch = ScriptedTouch::over(button);
    allow(ally, yes);
    allow(rival, no);
    running->setState(kBegan);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(touch), ElementsAre(running, ally));
    running->setState(kChanged);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(touch), ElementsAre(running, ally));
    running->setState(kEnded);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(touch), ElementsAre(running, ally))
        << "until it has been reset";
    allow(ally, nullptr);
    allow(running, yes);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(touch), ElementsAre(running, rival, ally))
        << "the delegate of either will do";
    runMainLoop();
    allow(running, nullptr);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(touch), ElementsAre(running, rival, ally));
}

TEST_F(MVTouchDispatchTest, theFirstThatHasRecognizedDecidesWhoElseMay) {
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    const auto third = scene.attach(button, "third");
    first->setState(kBegan);
    second->setState(kBegan);
    allow(second, yes);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(ScriptedTouch::over(button)),
                ElementsAre(first, second));
    EXPECT_THAT(yes->questions, ElementsAre(std::pair(second, first)))
        << "what the second one allows beside itself is not asked";
    EXPECT_FALSE(third->mv_didRecognize());
}

TEST_F(MVTouchDispatchTest, aDisabledOneIsFoundButDecidesNothing) {
    const auto disabled = scene.attach(card, "disabled");
    const auto other = scene.attach(button, "other");
    disabled->setEnabled(false);
    runMainLoop();
    disabled->setState(kBegan);
    EXPECT_THAT(MVGetGestureRecognizersForTouch(ScriptedTouch::over(button)),
                ElementsAre(disabled, other));
}

TEST_F(MVTouchDispatchTest, bindingPutsEachIntoTheSetOfTheOther) {
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    const auto touch = begin(button);
    EXPECT_THAT(touch->gestureRecognizers(), ElementsAre(first, second));
    EXPECT_THAT(first->touches(), ElementsAre(touch));
    EXPECT_THAT(second->touches(), ElementsAre(touch));
    MVBuildGestureRecognizerRelationshipsForTouch(nullptr);
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, unbindingTakesARecognizerAndTouchesFromEachOther) {
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    const auto a = begin(button);
    const auto b = begin(button);
    const auto c = begin(button);
    MVBreakRelationshipBetweenGestureRecognizerAndTouches(first, {a, c});
    EXPECT_THAT(first->touches(), ElementsAre(b));
    EXPECT_THAT(second->touches(), ElementsAre(a, b, c));
    EXPECT_THAT(a->gestureRecognizers(), ElementsAre(second));
    EXPECT_THAT(b->gestureRecognizers(), ElementsAre(first, second));
    MVBreakRelationshipBetweenGestureRecognizerAndTouches(first, first->touches());
    EXPECT_THAT(first->touches(), IsEmpty()) << "also with its own set";
    MVBreakRelationshipBetweenGestureRecognizerAndTouches(nullptr, {a});
    MVFinishTouches({a, b, c});
}

// Views

TEST_F(MVTouchDispatchTest, everyPhaseReachesTheTrackingViewByItsName) {
    const auto touch = begin(button);
    for (const auto phase :
         {MVTouchPhase::Began, MVTouchPhase::Moved, MVTouchPhase::Ended, MVTouchPhase::Cancelled}) {
        send({touch}, phase);
    }
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1",
                                 "button.touchesEnded 1", "button.touchesCancelled 1"));
}

TEST_F(MVTouchDispatchTest, eachTrackingViewIsSentItsTouchesOnceInOrderOfTheFirst) {
    const auto a = ScriptedTouch::over(card);
    const auto b = ScriptedTouch::over(button);
    const auto c = ScriptedTouch::over(card);
    const auto nowhere = ScriptedTouch::over(nullptr);
    MVDispatchTouchSelectorToTrackedViews({a, nowhere, b, c}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("card.touchesMoved 2", "button.touchesMoved 1"));
}

TEST_F(MVTouchDispatchTest, noTouchesReachNobody) {
    send({}, MVTouchPhase::Began);
    MVDispatchTouchSelectorToTrackedViews({}, MVTouchPhase::Began);
    MVFinishTouches({});
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVTouchDispatchTest, aTrackingViewThatAnotherOneDestroysIsSentNothing) {
    auto second = InputView::make("second", &log);
    const auto a = ScriptedTouch::over(button);
    const auto b = ScriptedTouch::over(second);
    button->reaction = [&](const std::string&) { second.reset(); };
    send({a, b}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("button.touchesMoved 1"));
    EXPECT_EQ(b->trackingView(), nullptr);
}

TEST_F(MVTouchDispatchTest, aTrackingViewMayDestroyItself) {
    auto lonely = InputView::make("lonely", &log);
    const auto touch = ScriptedTouch::over(lonely);
    lonely->reaction = [&](const std::string&) { lonely.reset(); };
    send({touch}, MVTouchPhase::Began);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("lonely.touchesBegan 1"));
}

// Recognizers

TEST_F(MVTouchDispatchTest, recognizersSeeAPhaseBeforeTheViewsDo) {
    scene.attach(button, "b");
    scene.attach(root, "a");
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Began);
    EXPECT_THAT(log, ElementsAre("a.touchesBegan 1", "b.touchesBegan 1", "button.touchesBegan 1"));
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, everyRecognizerIsGivenAllTouchesOfTheBatch) {
    scene.attach(button, "it");
    const auto bound = begin(button);
    const auto unbound = begin(card);
    EXPECT_THAT(unbound->gestureRecognizers(), IsEmpty());
    send({unbound, bound}, MVTouchPhase::Began);
    EXPECT_THAT(log,
                ElementsAre("it.touchesBegan 2", "card.touchesBegan 1", "button.touchesBegan 1"));
    MVFinishTouches({bound, unbound});
}

TEST_F(MVTouchDispatchTest, aDisabledOneIsBoundButSeesNothing) {
    const auto disabled = scene.attach(button, "disabled");
    disabled->setEnabled(false);
    const auto touch = begin(button);
    EXPECT_THAT(touch->gestureRecognizers(), ElementsAre(disabled));
    send({touch}, MVTouchPhase::Began);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("button.touchesBegan 1", "button.touchesMoved 1"));
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, targetsAreToldAfterAllRecognizersHaveSeenThePhase) {
    const auto a = scene.attach(card, "a");
    const auto b = scene.attach(button, "b");
    const auto ann = scene.target(a, "ann");
    const auto ben = scene.target(b, "ben");
    allow(a, yes);
    a->proposeAt(MVTouchPhase::Moved, kBegan);
    b->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("a.touchesMoved 1", "b.touchesMoved 1", "ann: began", "ben: began",
                                 "button.touchesCancelled 1"));
    MVFinishTouches({touch});
    ann->lastRecognizer = ben->lastRecognizer = nullptr;
}

// The winner

TEST_F(MVTouchDispatchTest, theViewIsToldOfACancellationInsteadOfThePhaseThatIsRecognized) {
    const auto it = scene.attach(card, "it");
    it->proposeAt(MVTouchPhase::Moved, kChanged);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Began);
    send({touch}, MVTouchPhase::Moved);
    send({touch}, MVTouchPhase::Moved);
    send({touch}, MVTouchPhase::Ended);
    EXPECT_THAT(log,
                ElementsAre("it.touchesBegan 1", "button.touchesBegan 1", "it.touchesMoved 1",
                            "button.touchesCancelled 1", "it.touchesMoved 1", "it.touchesEnded 1"));
    EXPECT_EQ(touch->trackingView(), nullptr);
    EXPECT_EQ(touch->view(), button);
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, recognizingInTheFirstOrInTheLastPhaseCancels) {
    const auto it = scene.attach(button, "it");
    it->proposeAt(MVTouchPhase::Began, kBegan);
    auto touch = begin(button);
    send({touch}, MVTouchPhase::Began);
    EXPECT_THAT(log, ElementsAre("it.touchesBegan 1", "button.touchesCancelled 1"));
    MVFinishTouches({touch});
    log.clear();
    it->setState(kEnded);
    runMainLoop();
    log.clear();
    it->proposeAt(MVTouchPhase::Ended, kEnded);
    touch = begin(button);
    send({touch}, MVTouchPhase::Ended);
    EXPECT_THAT(log, ElementsAre("it.touchesEnded 1", "button.touchesCancelled 1"));
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, rivalsFailSilentlyAndAreUnbound) {
    const auto winner = scene.attach(card, "winner");
    const auto rival = scene.attach(button, "rival");
    const auto ann = scene.target(rival, "ann");
    winner->proposeAt(MVTouchPhase::Moved, kBegan);
    allow(winner, no);
    allow(rival, no);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(no->questions, ElementsAre(std::pair(winner, rival), std::pair(rival, winner)));
    EXPECT_EQ(rival->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(rival->touches(), IsEmpty());
    EXPECT_THAT(touch->gestureRecognizers(), ElementsAre(winner));
    EXPECT_THAT(winner->touches(), ElementsAre(touch));
    log.clear();
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("winner.touchesMoved 1"));
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, oneDelegateThatAllowsItIsEnoughForBothToGoOn) {
    for (const bool winnerAllows : {true, false}) {
        const auto winner = scene.attach(card, "winner");
        const auto ally = scene.attach(card, "ally");
        allow(winner, winnerAllows ? yes : no);
        allow(ally, winnerAllows ? no : yes);
        winner->proposeAt(MVTouchPhase::Moved, kBegan);
        const auto touch = begin(button);
        send({touch}, MVTouchPhase::Moved);
        EXPECT_EQ(ally->state(), MVGestureRecognizerStatePossible);
        EXPECT_THAT(ally->touches(), ElementsAre(touch));
        log.clear();
        send({touch}, MVTouchPhase::Moved);
        EXPECT_THAT(log, ElementsAre("winner.touchesMoved 1", "ally.touchesMoved 1"));
        MVFinishTouches({touch});
        card->removeAllGestureRecognizers();
    }
}

TEST_F(MVTouchDispatchTest, ofSeveralThatRecognizeAtOnceTheFirstWinsAndTheOthersAreSilent) {
    const auto second = scene.attach(button, "second");
    const auto first = scene.attach(card, "first");
    const auto ann = scene.target(first, "ann");
    const auto ben = scene.target(second, "ben");
    first->proposeAt(MVTouchPhase::Moved, kBegan);
    second->proposeAt(MVTouchPhase::Moved, kEnded);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("first.touchesMoved 1", "second.touchesMoved 1", "ann: began",
                                 "button.touchesCancelled 1"));
    EXPECT_EQ(second->state(), MVGestureRecognizerStateFailed);
    MVFinishTouches({touch});
    ann->lastRecognizer = nullptr;
}

TEST_F(MVTouchDispatchTest, aRivalThatHasBegunFailsAsWell) {
    const auto begun = scene.attach(card, "begun");
    const auto late = scene.attach(button, "late");
    const auto ann = scene.target(begun, "ann");
    const auto touch = begin(button);
    begun->setState(kBegan);
    begun->mv_dispatchStateChangesIfNecessary();
    begun->proposeAt(MVTouchPhase::Moved, kChanged);
    late->proposeAt(MVTouchPhase::Moved, kBegan);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_EQ(begun->state(), MVGestureRecognizerStateFailed);
    EXPECT_EQ(late->state(), kBegan);
    EXPECT_THAT(log, ElementsAre("ann: began", "begun.touchesMoved 1", "late.touchesMoved 1",
                                 "button.touchesCancelled 1"));
    MVFinishTouches({touch});
    ann->lastRecognizer = nullptr;
}

TEST_F(MVTouchDispatchTest, goingOnIsNotWinning) {
    const auto running = scene.attach(card, "running");
    const auto other = scene.attach(button, "other");
    const auto touch = begin(button);
    running->setState(kBegan);
    running->proposeAt(MVTouchPhase::Moved, kChanged);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_EQ(other->state(), MVGestureRecognizerStatePossible);
    EXPECT_THAT(log, ElementsAre("running.touchesMoved 1", "other.touchesMoved 1",
                                 "button.touchesMoved 1"));
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, failingWinsNothing) {
    const auto it = scene.attach(card, "it");
    const auto other = scene.attach(button, "other");
    it->proposeAt(MVTouchPhase::Moved, MVGestureRecognizerStateFailed);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_EQ(other->state(), MVGestureRecognizerStatePossible);
    EXPECT_EQ(touch->trackingView(), button);
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, theWinnerTakesAllItsTouchesAlsoThoseThatAreNotInTheBatch) {
    const auto winner = scene.attach(card, "winner");
    const auto a = begin(button);
    const auto b = begin(card);
    const auto elsewhere = begin(root);
    const auto rival = scene.attach(button, "rival");
    rival->mv_touches().insert(b);
    b->mv_addGestureRecognizer(rival);
    winner->proposeAt(MVTouchPhase::Moved, kBegan);
    send({a, elsewhere}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("winner.touchesMoved 2", "root.touchesMoved 1",
                                 "button.touchesCancelled 1", "card.touchesCancelled 1"));
    EXPECT_EQ(a->trackingView(), nullptr);
    EXPECT_EQ(b->trackingView(), nullptr);
    EXPECT_EQ(elsewhere->trackingView(), root);
    EXPECT_EQ(rival->state(), MVGestureRecognizerStateFailed)
        << "it competes for the touch that did not move";
    EXPECT_THAT(rival->touches(), IsEmpty());
    MVFinishTouches({a, b, elsewhere});
}

TEST_F(MVTouchDispatchTest, theLogNamesTheWinner) {
    const LogCapture capture("gestures");
    const auto winner = scene.attach(card, "winner");
    winner->proposeAt(MVTouchPhase::Began, kBegan);
    const auto touch = begin(card);
    send({touch}, MVTouchPhase::Began);
    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0].second, HasSubstr("ScriptedRecognizer [0x"));
    EXPECT_THAT(lines[0].second, HasSubstr("]: began"));
    EXPECT_THAT(lines[1].second, HasSubstr("] wins"));
    MVFinishTouches({touch});
}

// The end

TEST_F(MVTouchDispatchTest, finishedTouchesAreUnboundFromTheRecognizersFoundByThen) {
    const auto inRoot = scene.attach(root, "root");
    const auto inButton = scene.attach(button, "button");
    const auto a = begin(button);
    const auto b = begin(card);
    MVFinishTouches({a, b});
    EXPECT_THAT(inRoot->touches(), IsEmpty());
    EXPECT_THAT(inButton->touches(), IsEmpty());
    EXPECT_THAT(a->gestureRecognizers(), IsEmpty());
}

TEST_F(MVTouchDispatchTest, eachRecognizerThatOneTouchFindsIsUnboundFromAllOfThem) {
    const auto it = scene.attach(button, "it");
    const auto a = begin(button);
    const auto b = begin(button);
    a->setView(nullptr);
    MVFinishTouches({a, b});
    EXPECT_THAT(it->touches(), IsEmpty());
}

TEST_F(MVTouchDispatchTest, aRecognizerDetachedMeanwhileKeepsTheFinishedTouch) {
    const auto stays = scene.attach(root, "stays");
    auto goes = scene.attach(button, "goes");
    const auto touch = begin(button);
    button->removeGestureRecognizer(goes);
    MVFinishTouches({touch});
    EXPECT_THAT(stays->touches(), IsEmpty());
    EXPECT_THAT(goes->touches(), ElementsAre(touch));
    EXPECT_THAT(touch->gestureRecognizers(), ElementsAre(goes));
    const std::weak_ptr<ScriptedRecognizer> weak = goes;
    goes.reset();
    EXPECT_TRUE(weak.expired()) << "the touch no longer keeps it";
    EXPECT_THAT(touch->gestureRecognizers(), IsEmpty());
}

TEST_F(MVTouchDispatchTest, aTouchKeepsItsRecognizersUntilItIsFinished) {
    auto goes = scene.attach(button, "goes");
    const auto touch = begin(button);
    button->removeGestureRecognizer(goes);
    const std::weak_ptr<ScriptedRecognizer> weak = goes;
    goes.reset();
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("goes.touchesMoved 1", "button.touchesMoved 1"));
    EXPECT_FALSE(weak.expired());
    MVFinishTouches({touch});
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVTouchDispatchTest, aRecognizerThatAGestureExcludesByThenKeepsTheFinishedTouch) {
    const auto it = scene.attach(card, "it");
    const auto other = scene.attach(button, "other");
    const auto touch = begin(button);
    it->setState(kBegan);
    MVFinishTouches({touch});
    EXPECT_THAT(it->touches(), IsEmpty());
    EXPECT_THAT(other->touches(), ElementsAre(touch));
}

TEST_F(MVTouchDispatchTest, aFinishedTouchThatIsKeptTakesPartInTheNextGesture) {
    const auto it = scene.attach(card, "it");
    const auto other = scene.attach(card, "other");
    const auto old = begin(button);
    button->removeFromSuperview();
    MVFinishTouches({old});
    EXPECT_THAT(it->touches(), ElementsAre(old));
    card->removeGestureRecognizer(other);
    log.clear();

    it->proposeAt(MVTouchPhase::Began, kBegan);
    const auto touch = begin(card);
    send({touch}, MVTouchPhase::Began);
    EXPECT_THAT(log, ElementsAre("it.touchesBegan 1", "button.touchesCancelled 1",
                                 "card.touchesCancelled 1"));
    EXPECT_EQ(other->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(other->touches(), IsEmpty());
    MVFinishTouches({touch});
}

// Acting meanwhile

TEST_F(MVTouchDispatchTest, aTargetThatFinishesTheTouchItselfLeavesNothingToTellTheView) {
    const auto it = scene.attach(card, "it");
    const auto ann = scene.target(it, "ann");
    it->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto touch = begin(button);
    ann->onTold = [&](const auto&) {
        ann->onTold = nullptr;
        send({touch}, MVTouchPhase::Cancelled);
        MVFinishTouches({touch});
    };
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("it.touchesMoved 1", "ann: began", "it.touchesCancelled 1",
                                 "button.touchesCancelled 1"));
    ann->lastRecognizer = nullptr;
}

TEST_F(MVTouchDispatchTest, nothingOfATouchComesAfterItsEndFromWithinAHook) {
    const auto it = scene.attach(card, "it");
    scene.attach(button, "other");
    const auto touch = begin(button);
    it->onTouches = [&](MVTouchPhase phase) {
        if (phase == MVTouchPhase::Moved) {
            send({touch}, MVTouchPhase::Cancelled);
            MVFinishTouches({touch});
        }
    };
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, ElementsAre("it.touchesMoved 1", "it.touchesCancelled 1",
                                 "other.touchesCancelled 1", "button.touchesCancelled 1"));
}

TEST_F(MVTouchDispatchTest, theOtherTouchesOfABatchGoOnWhenAHookEndsOne) {
    const auto it = scene.attach(card, "it");
    scene.attach(button, "other");
    const auto a = begin(button);
    const auto b = begin(button);
    it->onTouches = [&](MVTouchPhase) { MVFinishTouches({a}); };
    send({a, b}, MVTouchPhase::Moved);
    EXPECT_THAT(log,
                ElementsAre("it.touchesMoved 2", "other.touchesMoved 1", "button.touchesMoved 1"));
    MVFinishTouches({b});
}

TEST_F(MVTouchDispatchTest, aTouchThatIsOverGoesNowhere) {
    const auto it = scene.attach(card, "it");
    const auto touch = begin(button);
    card->removeGestureRecognizer(it);
    MVFinishTouches({touch});
    ASSERT_THAT(touch->gestureRecognizers(), ElementsAre(it));
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVTouchDispatchTest, theTouchesOfARecognizerAreDeliveredAndFinishedAsTheyWere) {
    const auto it = scene.attach(card, "it");
    const auto other = scene.attach(button, "other");
    it->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto a = begin(button);
    const auto b = begin(button);
    MVDispatchSelectorToTouches(other->touches(), MVTouchPhase::Moved);
    EXPECT_THAT(other->touches(), IsEmpty()) << "it was beaten";
    EXPECT_THAT(
        log, ElementsAre("it.touchesMoved 2", "other.touchesMoved 2", "button.touchesCancelled 2"));
    MVFinishTouches(it->touches());
    EXPECT_THAT(it->touches(), IsEmpty());
    EXPECT_TRUE(a->mv_isFinished());
    EXPECT_TRUE(b->mv_isFinished());
}

TEST_F(MVTouchDispatchTest, aTargetThatRunsTheMainLoopKeepsNobodyFromHearingOfTheEnd) {
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    const auto ann = scene.target(first, "ann");
    const auto ben = scene.target(first, "ben");
    const auto cem = scene.target(second, "cem");
    allow(second, yes);
    first->proposeAt(MVTouchPhase::Ended, kEnded);
    second->proposeAt(MVTouchPhase::Ended, kEnded);
    ann->onTold = [](const auto&) { runMainLoop(); };
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Ended);
    EXPECT_THAT(log, ElementsAre("first.touchesEnded 1", "second.touchesEnded 1", "ann: ended",
                                 "ben: ended", "cem: ended", "button.touchesCancelled 1"));
    MVFinishTouches({touch});
    log.clear();
    runMainLoop();
    EXPECT_THAT(log, UnorderedElementsAre("first.reset", "second.reset"));
    EXPECT_EQ(first->state(), MVGestureRecognizerStatePossible);
    EXPECT_EQ(second->state(), MVGestureRecognizerStatePossible);
    ann->lastRecognizer = ben->lastRecognizer = cem->lastRecognizer = nullptr;
}

TEST_F(MVTouchDispatchTest, aRecognizerThatIsDestroyedMeanwhileLivesUntilTheDeliveryIsOver) {
    auto first = scene.attach(card, "first");
    auto second = scene.attach(button, "second");
    const std::weak_ptr<ScriptedRecognizer> weak = second;
    const auto touch = begin(button);
    first->onTouches = [&](MVTouchPhase) {
        MVBreakRelationshipBetweenGestureRecognizerAndTouches(second, {touch});
        button->removeGestureRecognizer(second);
        second.reset();
    };
    send({touch}, MVTouchPhase::Moved);
    EXPECT_THAT(
        log, ElementsAre("first.touchesMoved 1", "second.touchesMoved 1", "button.touchesMoved 1"));
    EXPECT_TRUE(weak.expired());
    MVFinishTouches({touch});
}

TEST_F(MVTouchDispatchTest, aDelegateMayChangeTheTreeWhileItIsAsked) {
    const auto winner = scene.attach(card, "winner");
    const auto rival = scene.attach(button, "rival");
    winner->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto adviser = std::make_shared<ScriptedAdviser>();
    adviser->answer = [&](const auto&, const auto&) {
        card->removeAllGestureRecognizers();
        button->removeFromSuperview();
        return false;
    };
    allow(winner, adviser);
    const auto touch = begin(button);
    send({touch}, MVTouchPhase::Moved);
    EXPECT_EQ(rival->state(), MVGestureRecognizerStateFailed);
    EXPECT_THAT(log, ElementsAre("winner.touchesMoved 1", "rival.touchesMoved 1",
                                 "button.touchesCancelled 1"));
    MVFinishTouches({touch});
    winner->mv_touches().clear();
}

TEST_F(MVTouchDispatchTest, whatAHookThrowsGoesThroughAfterAllOthersHaveBeenTold) {
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    const auto ann = scene.target(first, "ann");
    first->proposeAt(MVTouchPhase::Moved, kBegan);
    second->onTouches = [](MVTouchPhase) { throw std::runtime_error("no"); };
    const auto touch = begin(button);
    EXPECT_THROW(send({touch}, MVTouchPhase::Moved), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("first.touchesMoved 1", "second.touchesMoved 1", "ann: began",
                                 "button.touchesCancelled 1"));
    EXPECT_EQ(second->state(), kFailed);
    EXPECT_EQ(touch->trackingView(), nullptr);
    log.clear();
    send({touch}, MVTouchPhase::Ended);
    EXPECT_THAT(log, ElementsAre("first.touchesEnded 1")) << "and the other is out";
    MVFinishTouches({touch});
    ann->lastRecognizer = nullptr;
}

TEST_F(MVTouchDispatchTest, whoeverThrowsAtTheEndNobodyMissesIt) {
    const LogCapture capture;
    const auto first = scene.attach(card, "first");
    const auto second = scene.attach(button, "second");
    allow(first, yes);
    const auto ann = scene.target(first, "ann");
    const auto ben = scene.target(first, "ben");
    const auto cid = scene.target(second, "cid");
    for (const auto& target : {ann, ben, cid}) {
        target->onTold = [target = target.get()](const auto& sender) {
            target->lastRecognizer = nullptr;
            if (sender->state() == MVGestureRecognizerStateEnded) {
                throw std::runtime_error("no");
            }
        };
    }
    for (const auto& recognizer : {first, second}) {
        recognizer->onTouches = [recognizer = recognizer.get()](MVTouchPhase phase) {
            recognizer->setState(phase == MVTouchPhase::Ended ? MVGestureRecognizerStateEnded
                                                              : kBegan);
            if (phase == MVTouchPhase::Ended) {
                throw std::runtime_error("no");
            }
        };
    }
    const auto touch = begin(button);
    const auto other = begin(card);
    send({touch, other}, MVTouchPhase::Moved);
    EXPECT_THROW(send({touch, other}, MVTouchPhase::Ended), std::runtime_error);
    EXPECT_THAT(log, Contains("ann: ended"));
    EXPECT_THAT(log, Contains("ben: ended"));
    EXPECT_THAT(log, Contains("cid: ended"));
    MVFinishTouches({touch, other});
    EXPECT_THAT(first->touches(), IsEmpty());
    EXPECT_THAT(second->touches(), IsEmpty());
    runMainLoop();
    EXPECT_TRUE(first->mv_canRecognize() && second->mv_canRecognize());
    EXPECT_GE(capture.lines().size(), 4U) << "all but one of five are logged";
}

TEST_F(MVTouchDispatchTest, aViewThatThrowsKeepsNothingFromOtherViews) {
    const auto a = begin(button);
    const auto b = begin(card);
    button->reaction = [](const std::string&) { throw std::runtime_error("no"); };
    EXPECT_THROW(send({a, b}, MVTouchPhase::Ended), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("button.touchesEnded 1", "card.touchesEnded 1"));
    MVFinishTouches({a, b});
}

TEST_F(MVTouchDispatchTest, aDelegateThatThrowsHasNotSaidYes) {
    const auto winner = scene.attach(card, "winner");
    const auto rival = scene.attach(button, "rival");
    const auto adviser = std::make_shared<ScriptedAdviser>();
    adviser->answer = [](const auto&, const auto&) -> bool { throw std::runtime_error("no"); };
    rival->setDelegate(adviser);
    winner->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto touch = begin(button);
    EXPECT_THROW(send({touch}, MVTouchPhase::Moved), std::runtime_error);
    EXPECT_EQ(rival->state(), kFailed);
    EXPECT_THAT(touch->gestureRecognizers(), ElementsAre(winner));
    EXPECT_EQ(log.back(), "button.touchesCancelled 1");
    adviser->questions.clear();
    EXPECT_THROW(MVFinishTouches({touch}), std::runtime_error);
    EXPECT_THAT(winner->touches(), IsEmpty()) << "the bound ones are unbound where none are found";
    adviser->questions.clear();
}

TEST_F(MVTouchDispatchTest, aViewThatThrowsWhenItsTouchIsTakenTracksItNoMore) {
    const auto it = scene.attach(card, "it");
    it->proposeAt(MVTouchPhase::Moved, kBegan);
    const auto touch = begin(button);
    button->reaction = [](const std::string&) { throw std::runtime_error("no"); };
    EXPECT_THROW(send({touch}, MVTouchPhase::Moved), std::runtime_error);
    EXPECT_EQ(touch->trackingView(), nullptr);
    MVFinishTouches({touch});
}

}  // namespace
