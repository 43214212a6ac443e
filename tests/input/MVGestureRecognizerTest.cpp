#include "MivoraMac/input/MVGestureRecognizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <stdexcept>
#include <string>

#include "MivoraMac/input/MVPanGestureRecognizer.h"
#include "MivoraMac/platform/base/MVException.h"
#include "tests/input/GestureScene.h"
#include "tests/platform/base/LogCapture.h"

namespace {

using Mivora::Point3;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using State = MVGestureRecognizerState;

constexpr State kPossible = MVGestureRecognizerStatePossible;
constexpr State kBegan = MVGestureRecognizerStateBegan;
constexpr State kChanged = MVGestureRecognizerStateChanged;
constexpr State kEnded = MVGestureRecognizerStateEnded;
constexpr State kCancelled = MVGestureRecognizerStateCancelled;
constexpr State kFailed = MVGestureRecognizerStateFailed;

constexpr std::array<State, 6> kStates = {kPossible, kBegan, kChanged, kEnded, kCancelled, kFailed};

class MVGestureRecognizerTest : public testing::Test {
 protected:
    /// A recognizer brought to a state, of which its target knows.
    std::shared_ptr<ScriptedRecognizer> recognizerIn(State state) {
        auto it = ScriptedRecognizer::make("it", nullptr);
        it->addTargetAction(target, &ScriptedTarget::told);
        if (state == kChanged || state == kCancelled) {
            it->setState(kBegan);
        }
        it->setState(state);
        it->mv_dispatchStateChangesIfNecessary();
        log.clear();
        return it;
    }

    CallLog log;
    std::shared_ptr<ScriptedTarget> target = ScriptedTarget::make("target", &log);
    std::shared_ptr<ScriptedRecognizer> recognizer = ScriptedRecognizer::make("it", &log);
};

// States

TEST_F(MVGestureRecognizerTest, theStatesHaveTheirNumbers) {
    for (std::size_t i = 0; i < kStates.size(); ++i) {
        EXPECT_EQ(static_cast<std::int32_t>(kStates[i]), static_cast<std::int32_t>(i));
    }
    static_assert(sizeof(State) == 4);
}

TEST_F(MVGestureRecognizerTest, aNewOneIsPossibleEnabledAndAlone) {
    const auto plain = MVGestureRecognizer::init();
    EXPECT_EQ(plain->state(), kPossible);
    EXPECT_TRUE(plain->enabled());
    EXPECT_EQ(plain->view(), nullptr);
    EXPECT_EQ(plain->delegate(), nullptr);
    EXPECT_TRUE(plain->touches().empty());
    EXPECT_TRUE(plain->mv_canRecognize());
    plain->mv_dispatchStateChangesIfNecessary();
    const auto touch = ScriptedTouch::over(nullptr);
    plain->mv_touchesBegan({touch});
    plain->mv_touchesMoved({touch});
    plain->mv_touchesEnded({touch});
    plain->mv_touchesCancelled({touch});
    plain->reset();
    EXPECT_EQ(plain->state(), kPossible) << "the hooks of the base do nothing";
}

TEST_F(MVGestureRecognizerTest, everyProposalComesToWhatTheTableSaysAndIsToldAccordingly) {
    struct Row {
        State from;
        std::array<State, 6> results;  // by proposal
        std::array<bool, 6> areTold;   // whether targets are told
        std::array<bool, 6> areReset;  // whether it becomes Possible by itself
    };
    constexpr bool n = false;
    constexpr bool y = true;
    const std::array<Row, 6> table = {{
        {kPossible,
         {kPossible, kBegan, kBegan, kEnded, kFailed, kFailed},
         {n, y, y, y, n, n},
         {n, n, n, y, y, y}},
        {kBegan,
         {kBegan, kBegan, kChanged, kEnded, kCancelled, kCancelled},
         {n, n, y, y, y, y},
         {n, n, n, y, y, y}},
        {kChanged,
         {kChanged, kChanged, kChanged, kEnded, kCancelled, kCancelled},
         {y, y, y, y, y, y},
         {n, n, n, y, y, y}},
        {kEnded,
         {kEnded, kEnded, kEnded, kEnded, kEnded, kEnded},
         {n, n, n, n, n, n},
         {y, y, y, y, y, y}},
        {kCancelled,
         {kCancelled, kCancelled, kCancelled, kCancelled, kCancelled, kCancelled},
         {n, n, n, n, n, n},
         {y, y, y, y, y, y}},
        {kFailed,
         {kFailed, kFailed, kFailed, kFailed, kFailed, kFailed},
         {n, n, n, n, n, n},
         {y, y, y, y, y, y}},
    }};
    for (const Row& row : table) {
        for (std::size_t p = 0; p < kStates.size(); ++p) {
            SCOPED_TRACE(textOf(row.from) + " <- " + textOf(kStates[p]));
            const auto it = recognizerIn(row.from);
            ASSERT_EQ(it->state(), row.from);
            const State result = row.results[p];
            EXPECT_EQ(it->mv_validStateForProposedState(kStates[p]), result);
            EXPECT_EQ(it->state(), row.from) << "asking changes nothing";

            it->setState(kStates[p]);
            EXPECT_EQ(it->state(), result);
            EXPECT_THAT(log, IsEmpty()) << "targets are told later";
            it->mv_dispatchStateChangesIfNecessary();
            EXPECT_EQ(log, row.areTold[p] ? CallLog{"target: " + textOf(result)} : CallLog{});
            log.clear();
            it->mv_dispatchStateChangesIfNecessary();
            EXPECT_THAT(log, IsEmpty()) << "and once";

            runMainLoop();
            EXPECT_EQ(it->state(), row.areReset[p] ? kPossible : result);
            EXPECT_THAT(log, IsEmpty()) << "of the reset nobody is told";
        }
    }
}

TEST_F(MVGestureRecognizerTest, questionsAboutTheStateAnswerForEachState) {
    for (const State state : kStates) {
        SCOPED_TRACE(textOf(state));
        const auto it = recognizerIn(state);
        EXPECT_EQ(it->mv_canRecognize(), state == kPossible);
        EXPECT_EQ(it->mv_didRecognize(), state == kBegan || state == kChanged || state == kEnded);
        EXPECT_EQ(it->mv_didFinishGesture(),
                  state == kEnded || state == kCancelled || state == kFailed);
    }
}

TEST_F(MVGestureRecognizerTest, aStateOutsideTheTableMayBecomeAnything) {
    const auto unknown = static_cast<State>(9);
    const auto it = recognizerIn(kPossible);
    it->setState(unknown);
    EXPECT_EQ(it->state(), unknown);
    for (const State state : kStates) {
        EXPECT_EQ(it->mv_validStateForProposedState(state), state);
    }
    it->setState(kPossible);
    EXPECT_EQ(it->state(), kPossible);
}

TEST_F(MVGestureRecognizerTest, changedAtFirstIsBeganAndThenToldEveryTime) {
    const auto it = recognizerIn(kPossible);
    for (int i = 0; i < 3; ++i) {
        it->setState(kChanged);
        it->mv_dispatchStateChangesIfNecessary();
    }
    EXPECT_THAT(log, ElementsAre("target: began", "target: changed", "target: changed"));
}

TEST_F(MVGestureRecognizerTest, severalChangesUntilTargetsAreToldAreOne) {
    const auto it = recognizerIn(kPossible);
    it->setState(kBegan);
    it->setState(kChanged);
    it->setState(kEnded);
    it->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, ElementsAre("target: ended"));
}

TEST_F(MVGestureRecognizerTest, failingTellsNobodyEvenOfWhatWasToBeTold) {
    for (const State state : kStates) {
        SCOPED_TRACE(textOf(state));
        const auto it = recognizerIn(state);
        it->setState(kChanged);
        it->mv_setStateToFailed();
        EXPECT_EQ(it->state(), kFailed);
        it->mv_dispatchStateChangesIfNecessary();
        EXPECT_THAT(log, IsEmpty());
        runMainLoop();
        EXPECT_EQ(it->state(), kPossible);
    }
}

// Resets

TEST_F(MVGestureRecognizerTest, aFinishedOneKeepsItsStateUntilTheMainLoopTurns) {
    recognizer->onReset = [&] { log.push_back("while " + textOf(recognizer->state())); };
    recognizer->setState(kEnded);
    EXPECT_EQ(recognizer->state(), kEnded);
    EXPECT_THAT(log, IsEmpty());
    runMainLoop();
    EXPECT_EQ(recognizer->state(), kPossible);
    EXPECT_THAT(log, ElementsAre("it.reset", "while ended"));
    recognizer->onReset = nullptr;
}

TEST_F(MVGestureRecognizerTest, ofWhatNobodyWasToldBeforeTheResetNobodyIsToldAfterIt) {
    const auto it = recognizerIn(kPossible);
    it->setState(kEnded);
    runMainLoop();
    ASSERT_EQ(it->state(), kPossible);
    it->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, IsEmpty()) << "of Possible nobody is ever told";
}

TEST_F(MVGestureRecognizerTest, everyProposalToAFinishedOneHasItResetOnceMore) {
    for (const State state : {kEnded, kBegan, kCancelled}) {
        recognizer->setState(state);
    }
    EXPECT_EQ(recognizer->state(), kEnded);
    runMainLoop();
    EXPECT_THAT(log, ElementsAre("it.reset", "it.reset", "it.reset"));
    EXPECT_EQ(recognizer->state(), kPossible);
}

TEST_F(MVGestureRecognizerTest, oneThatGoesBeforeItsResetIsNotKept) {
    const std::weak_ptr<ScriptedRecognizer> weak = recognizer;
    recognizer->setState(kEnded);
    recognizer.reset();
    EXPECT_TRUE(weak.expired());
    runMainLoop();
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVGestureRecognizerTest, oneMayGoInItsReset) {
    const std::weak_ptr<ScriptedRecognizer> weak = recognizer;
    recognizer->onReset = [&] { recognizer.reset(); };
    recognizer->setState(kEnded);
    runMainLoop();
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVGestureRecognizerTest, aResetThatThrowsLeavesItPossible) {
    const LogCapture capture;
    recognizer->onReset = [] { throw std::runtime_error("no"); };
    recognizer->setState(kEnded);
    runMainLoop();
    EXPECT_EQ(recognizer->state(), kPossible);
}

TEST_F(MVGestureRecognizerTest, aResetForgetsWhatNobodyWasToldOfInTime) {
    const auto it = recognizerIn(kPossible);
    it->setState(kEnded);
    runMainLoop();
    it->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, IsEmpty());
}

class DisabledAtFirst : public MVGestureRecognizer {
 protected:
    friend struct ::MVMaker;
    DisabledAtFirst() { setEnabled(false); }
};

TEST_F(MVGestureRecognizerTest, oneThatDisablesItselfWhileItIsMadeIsPossibleSoonAfter) {
    const auto it = MVMake<DisabledAtFirst>();
    EXPECT_EQ(it->state(), kFailed);
    runMainLoop();
    EXPECT_EQ(it->state(), kPossible);
}

// Enabling

TEST_F(MVGestureRecognizerTest, disablingAPossibleOneMakesItFailAndTellsNobody) {
    const auto it = recognizerIn(kPossible);
    it->setEnabled(false);
    EXPECT_FALSE(it->enabled());
    EXPECT_EQ(it->state(), kFailed);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVGestureRecognizerTest, disablingOneThatHasBegunCancelsItAndTellsAtOnce) {
    for (const State state : {kBegan, kChanged}) {
        const auto it = recognizerIn(state);
        it->setEnabled(false);
        EXPECT_EQ(it->state(), kCancelled);
        EXPECT_THAT(log, ElementsAre("target: cancelled"));
        log.clear();
    }
}

TEST_F(MVGestureRecognizerTest, whoeverIsToldOfTheCancellationFindsItDisabled) {
    const auto it = recognizerIn(kBegan);
    bool wasEnabled = true;
    target->onTold = [&](const auto& sender) { wasEnabled = sender->enabled(); };
    it->setEnabled(false);
    EXPECT_FALSE(wasEnabled);
}

TEST_F(MVGestureRecognizerTest, disablingADisabledOneDoesNothing) {
    recognizer->setEnabled(false);
    runMainLoop();
    log.clear();
    recognizer->setEnabled(false);
    EXPECT_EQ(recognizer->state(), kPossible);
    runMainLoop();
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVGestureRecognizerTest, enablingChangesNothingButThat) {
    recognizer->setEnabled(false);
    recognizer->setEnabled(true);
    EXPECT_TRUE(recognizer->enabled());
    EXPECT_EQ(recognizer->state(), kFailed);
}

TEST_F(MVGestureRecognizerTest, touchesReachTheHooksWhileItIsEnabled) {
    const MVTouchSet touches = {ScriptedTouch::over(nullptr), ScriptedTouch::over(nullptr)};
    const auto sendAll = [&] {
        for (const MVTouchPhase phase : {MVTouchPhase::Began, MVTouchPhase::Moved,
                                         MVTouchPhase::Ended, MVTouchPhase::Cancelled}) {
            mv_sendTouches(*recognizer, phase, touches);
        }
    };
    sendAll();
    EXPECT_THAT(log, ElementsAre("it.touchesBegan 2", "it.touchesMoved 2", "it.touchesEnded 2",
                                 "it.touchesCancelled 2"));
    log.clear();
    recognizer->setEnabled(false);
    sendAll();
    EXPECT_THAT(log, IsEmpty());
}

// Targets

void tell(const std::shared_ptr<ScriptedRecognizer>& recognizer) {
    recognizer->setState(kChanged);
    recognizer->mv_dispatchStateChangesIfNecessary();
}

TEST_F(MVGestureRecognizerTest, targetsAreToldInTheOrderInWhichTheyCame) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    recognizer->addTargetAction(target, &ScriptedTarget::toldOtherwise);
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began", "second: began", "target otherwise: began"));
    EXPECT_EQ(target->lastRecognizer, recognizer);
    target->lastRecognizer = second->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, theSameTargetWithTheSameActionIsToldOnce) {
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began"));
    recognizer->removeTargetAction(target, &ScriptedTarget::told);
    log.clear();
    tell(recognizer);
    EXPECT_THAT(log, IsEmpty());
    target->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, aNullTargetIsRefusedSilently) {
    recognizer->addTargetAction(std::shared_ptr<ScriptedTarget>(), &ScriptedTarget::told);
    tell(recognizer);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVGestureRecognizerTest, aTargetThatHasGoneIsNotTold) {
    const std::weak_ptr<ScriptedTarget> weak = target;
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    target.reset();
    EXPECT_TRUE(weak.expired()) << "it is held weakly";
    tell(recognizer);
    EXPECT_THAT(log, IsEmpty());
}

TEST_F(MVGestureRecognizerTest, removingTakesWhatMatches) {
    const auto second = ScriptedTarget::make("second", &log);
    const auto addAll = [&] {
        for (const auto& each : {target, second}) {
            recognizer->addTargetAction(each, &ScriptedTarget::told);
            recognizer->addTargetAction(each, &ScriptedTarget::toldOtherwise);
        }
    };
    const auto left = [&] {
        log.clear();
        tell(recognizer);
        recognizer->removeTargetAction(nullptr, nullptr);
        CallLog names;
        for (const std::string& line : log) {
            names.push_back(line.substr(0, line.find(':')));
        }
        return names;
    };
    addAll();
    recognizer->removeTargetAction(target, &ScriptedTarget::told);
    EXPECT_THAT(left(), ElementsAre("target otherwise", "second", "second otherwise"));
    addAll();
    recognizer->removeTargetAction(nullptr, &ScriptedTarget::told);
    EXPECT_THAT(left(), ElementsAre("target otherwise", "second otherwise"));
    addAll();
    recognizer->removeTargetAction(target, nullptr);
    EXPECT_THAT(left(), ElementsAre("second", "second otherwise"));
    addAll();
    recognizer->removeTargetAction(nullptr, nullptr);
    EXPECT_THAT(left(), IsEmpty());
    target->lastRecognizer = second->lastRecognizer = nullptr;
}

/// A target of several classes, the second of which does not begin where the object does.
struct FirstPart {
    virtual ~FirstPart() = default;
    int number = 0;
};
struct SecondPart {
    virtual ~SecondPart() = default;
    int calls = 0;
    void told(const std::shared_ptr<MVGestureRecognizer>&) { ++calls; }
};
struct WholeTarget : FirstPart, SecondPart {};

TEST_F(MVGestureRecognizerTest, anActionOfABaseOfTheTargetIsToldAndRemoved) {
    const auto whole = std::make_shared<WholeTarget>();
    recognizer->addTargetAction(whole, &SecondPart::told);
    recognizer->addTargetAction(std::shared_ptr<SecondPart>(whole), &SecondPart::told);
    tell(recognizer);
    EXPECT_EQ(whole->calls, 1);
    recognizer->removeTargetAction(whole, &SecondPart::told);
    tell(recognizer);
    EXPECT_EQ(whole->calls, 1);
    recognizer->addTargetAction(whole, &SecondPart::told);
    recognizer->removeTargetAction(std::shared_ptr<FirstPart>(whole), nullptr);
    tell(recognizer);
    EXPECT_EQ(whole->calls, 1);
}

struct PanTarget {
    std::shared_ptr<MVPanGestureRecognizer> told;
    int scriptedCalls = 0;
    void panned(const std::shared_ptr<MVPanGestureRecognizer>& pan) { told = pan; }
    void happened(const std::shared_ptr<ScriptedRecognizer>&) { ++scriptedCalls; }
};

TEST_F(MVGestureRecognizerTest, anActionMayTakeTheClassThatTheRecognizerIs) {
    const auto panTarget = std::make_shared<PanTarget>();
    const auto pan = MVPanGestureRecognizer::initWithTargetAction(panTarget, &PanTarget::panned);
    const auto view = MVView::init();
    view->addGestureRecognizer(pan);
    const auto touch = ScriptedTouch::over(view);
    pan->mv_touchesBegan({touch});
    touch->moveTo(20, 0);
    pan->mv_touchesMoved({touch});
    pan->mv_dispatchStateChangesIfNecessary();
    EXPECT_EQ(panTarget->told, pan);
    panTarget->told = nullptr;

    recognizer->addTargetAction(panTarget, &PanTarget::happened);
    tell(recognizer);
    EXPECT_EQ(panTarget->scriptedCalls, 1);
    recognizer->removeTargetAction(panTarget, &PanTarget::happened);
    tell(recognizer);
    EXPECT_EQ(panTarget->scriptedCalls, 1);
}

TEST_F(MVGestureRecognizerTest, anActionForAnotherClassOfRecognizerIsAnError) {
    const auto panTarget = std::make_shared<PanTarget>();
    try {
        recognizer->addTargetAction(panTarget, &PanTarget::panned);
        FAIL() << "no exception";
    } catch (const MVException& exception) {
        EXPECT_EQ(exception.name(), MVException::kInvalidArgument);
    }
}

TEST_F(MVGestureRecognizerTest, theInitialisersTakeAFirstTarget) {
    const auto plain = MVGestureRecognizer::initWithTargetAction(target, &ScriptedTarget::told);
    plain->mv_touchesBegan({});
    EXPECT_EQ(plain->state(), kPossible);
    EXPECT_THAT(log, IsEmpty());
    const auto pan = MVPanGestureRecognizer::initWithTargetAction(target, &ScriptedTarget::told);
    pan->setEnabled(false);
    EXPECT_EQ(pan->state(), kFailed);
    EXPECT_THAT(log, IsEmpty());
}

// Targets that act

TEST_F(MVGestureRecognizerTest, aTargetRemovedByAnotherOneIsNotToldAnyMore) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    target->onTold = [&](const auto& sender) {
        sender->removeTargetAction(second, &ScriptedTarget::told);
        sender->removeTargetAction(target, &ScriptedTarget::told);
    };
    tell(recognizer);
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began"));
    target->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, aTargetAddedWhileAnotherOneIsToldIsToldTheNextTime) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    target->onTold = [&](const auto& sender) {
        sender->addTargetAction(second, &ScriptedTarget::told);
    };
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began"));
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began", "target: changed", "second: changed"));
    target->lastRecognizer = second->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, aTargetMayDisableTheRecognizer) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    target->onTold = [](const auto& sender) { sender->setEnabled(false); };
    tell(recognizer);
    EXPECT_EQ(recognizer->state(), kCancelled);
    EXPECT_THAT(log, ElementsAre("target: began", "target: cancelled", "second: cancelled"));
    log.clear();
    recognizer->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, IsEmpty());
    target->lastRecognizer = second->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, aTargetMaySwitchItOnAndOffWheneverItIsTold) {
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    target->onTold = [](const auto& sender) {
        sender->setEnabled(true);
        sender->setEnabled(false);
    };
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began", "target: cancelled"));
    target->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, aTargetThatMakesItFailSilencesTheRound) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    target->onTold = [](const auto& sender) { sender->mv_setStateToFailed(); };
    tell(recognizer);
    EXPECT_THAT(log, ElementsAre("target: began"));
    target->lastRecognizer = nullptr;
}

TEST_F(MVGestureRecognizerTest, theRecognizerLivesAsLongAsItTellsItsTargets) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    const std::weak_ptr<ScriptedRecognizer> weak = recognizer;
    target->onTold = [&](const auto&) {
        target->lastRecognizer = nullptr;
        recognizer.reset();
    };
    second->onTold = [&](const auto&) { second->lastRecognizer = nullptr; };
    recognizer->setState(kBegan);
    recognizer->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, ElementsAre("target: began", "second: began"));
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVGestureRecognizerTest, aTargetThatThrowsKeepsNothingFromTheOthers) {
    const auto second = ScriptedTarget::make("second", &log);
    recognizer->addTargetAction(target, &ScriptedTarget::told);
    recognizer->addTargetAction(second, &ScriptedTarget::told);
    target->onTold = [](const auto&) { throw std::runtime_error("no"); };
    recognizer->setState(kBegan);
    EXPECT_THROW(recognizer->mv_dispatchStateChangesIfNecessary(), std::runtime_error);
    EXPECT_THAT(log, ElementsAre("target: began", "second: began"));
    recognizer->mv_dispatchStateChangesIfNecessary();
    EXPECT_THAT(log, ElementsAre("target: began", "second: began")) << "and nobody hears twice";
    target->lastRecognizer = nullptr;
    second->lastRecognizer = nullptr;
}

// Delegate

TEST_F(MVGestureRecognizerTest, theDelegateSaysWhetherTwoMayRecognizeTogether) {
    const auto other = MVGestureRecognizer::init();
    EXPECT_FALSE(recognizer->mv_shouldRecognizeWithGestureRecognizer(other)) << "without one";
    auto adviser = ScriptedAdviser::saying(true);
    recognizer->setDelegate(adviser);
    EXPECT_EQ(recognizer->delegate(), adviser);
    EXPECT_TRUE(recognizer->mv_shouldRecognizeWithGestureRecognizer(other));
    ASSERT_EQ(adviser->questions.size(), 1U);
    EXPECT_EQ(adviser->questions[0].first, recognizer);
    EXPECT_EQ(adviser->questions[0].second, other);
    adviser->questions.clear();
    adviser->answer = nullptr;
    EXPECT_FALSE(recognizer->mv_shouldRecognizeWithGestureRecognizer(other));
    adviser.reset();
    EXPECT_EQ(recognizer->delegate(), nullptr) << "it is held weakly";
    EXPECT_FALSE(recognizer->mv_shouldRecognizeWithGestureRecognizer(other));
}

TEST_F(MVGestureRecognizerTest, aDelegateThatOverridesNothingSaysNo) {
    const auto adviser = std::make_shared<MVGestureRecognizerDelegate>();
    recognizer->setDelegate(adviser);
    EXPECT_FALSE(recognizer->mv_shouldRecognizeWithGestureRecognizer(MVGestureRecognizer::init()));
}

// Location

TEST_F(MVGestureRecognizerTest, itIsInTheMiddleOfItsTouches) {
    const auto view = MVView::init();
    view->setContentScaleFactor(1);
    const auto first = ScriptedTouch::over(view);
    const auto second = ScriptedTouch::over(view);
    first->putAt(0, 0);
    second->putAt(2, 4);
    recognizer->mv_touches() = {first, second};
    EXPECT_EQ(recognizer->locationInView(view), (Point3{1, 2, 0}));
    recognizer->mv_touches() = {second};
    EXPECT_EQ(recognizer->locationInView(view), (Point3{2, 4, 0}));
}

TEST_F(MVGestureRecognizerTest, withoutTouchesItIsNowhere) {
    const Point3 place = recognizer->locationInView(MVView::init());
    EXPECT_TRUE(std::isnan(place.x) && std::isnan(place.y) && std::isnan(place.z));
}

TEST_F(MVGestureRecognizerTest, inNoViewItIsInfinitelyFar) {
    recognizer->mv_touches() = {ScriptedTouch::over(nullptr)};
    EXPECT_EQ(recognizer->locationInView(nullptr), Point3::kNull);
}

// View

TEST_F(MVGestureRecognizerTest, theViewIsHeldWeakly) {
    auto view = MVView::init();
    recognizer->setView(view);
    EXPECT_EQ(recognizer->view(), view);
    recognizer->setView(nullptr);
    EXPECT_EQ(recognizer->view(), nullptr);
    recognizer->setView(view);
    view.reset();
    EXPECT_EQ(recognizer->view(), nullptr);
}

TEST_F(MVGestureRecognizerTest, onlyWithoutAViewIsItReported) {
    const LogCapture capture;
    const auto view = MVView::init();
    const auto pan = MVPanGestureRecognizer::init();
    view->addGestureRecognizer(pan);
    pan->touchesBegan({});
    EXPECT_THAT(capture.lines(), IsEmpty());
    view->removeGestureRecognizer(pan);
    pan->touchesBegan({});
    char address[32];
    std::snprintf(address, sizeof(address), "%p", static_cast<const void*>(pan.get()));
    EXPECT_THAT(
        capture.lines(),
        ElementsAre(LogCapture::Line{
            LogCapture::Category::Gestures,
            std::string("Warning: Gesture recognizer does not have a valid view associated. "
                        "(MVPanGestureRecognizer [") +
                address + "])"}));
}

// Log

TEST_F(MVGestureRecognizerTest, theLogTellsOfEveryStateByName) {
    const LogCapture capture("gestures");
    const auto pan = MVGestureRecognizer::init();
    pan->mv_setStateToFailed();
    pan->mv_resetStateToPossible();
    const auto lines = capture.lines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0].second, HasSubstr("MVGestureRecognizer [0x"));
    EXPECT_THAT(lines[0].second, HasSubstr("]: failed"));
    EXPECT_THAT(lines[1].second, HasSubstr("]: possible"));
}

}  // namespace
