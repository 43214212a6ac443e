#include "MivoraMac/platform/headless/HeadlessPointer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/windows/RecordingOpenGLView.h"

using Mivora::platform::Event;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::Point;
using Mivora::tests::RecordingOpenGLView;
using Mivora::tests::ScopedEnvironment;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HeadlessPointerTest : public testing::Test {
 protected:
    HeadlessPointerTest() {
        view->setFrame({0, 0, 100, 80});
        view->track(view->bounds());
        view->log.clear();
    }

 private:
    // A view asks the host for the scale of the screen.
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};

 protected:
    std::shared_ptr<RecordingOpenGLView> view = std::make_shared<RecordingOpenGLView>();
    HeadlessPointer pointer{view};
};

}  // namespace

TEST_F(HeadlessPointerTest, thePointerEntersMovesAndLeaves) {
    pointer.moveTo(-5, 10);
    EXPECT_THAT(view->taken(), IsEmpty());
    pointer.moveTo(5, 10);
    pointer.moveTo(6, 11);
    pointer.moveTo(100, 80);
    pointer.moveTo(101, 80);
    pointer.moveTo(120, 80);
    EXPECT_THAT(view->log, ElementsAre("mouseEntered 5,10", "mouseMoved 6,11", "mouseMoved 100,80",
                                       "mouseExited 101,80"));
    EXPECT_EQ(pointer.location(), (Point{120, 80}));
}

TEST_F(HeadlessPointerTest, aPressHoldsThePointerWhereverItGoes) {
    pointer.moveTo(5, 10);
    pointer.press(2);
    pointer.moveTo(50, 20);
    pointer.moveTo(-50, 200);
    pointer.release();
    EXPECT_THAT(view->log,
                ElementsAre("mouseEntered 5,10", "mouseDown 5,10", "mouseDragged 50,20",
                            "mouseDragged -50,200", "mouseUp -50,200", "mouseExited -50,200"));
    EXPECT_EQ(view->events[1]->clickCount, 2);
    EXPECT_EQ(view->events[2]->clickCount, 0);
    EXPECT_EQ(view->events[4]->clickCount, 2);
}

TEST_F(HeadlessPointerTest, theSecondaryButtonHasEventsOfItsOwn) {
    pointer.moveTo(5, 10);
    view->log.clear();
    pointer.pressRight();
    pointer.moveTo(6, 11);
    pointer.releaseRight();
    EXPECT_THAT(view->log,
                ElementsAre("rightMouseDown 5,10", "rightMouseDragged 6,11", "rightMouseUp 6,11"));
    EXPECT_EQ(view->events[1]->clickCount, 1);
}

TEST_F(HeadlessPointerTest, theMiddleButtonHasEventsOfItsOwn) {
    pointer.moveTo(5, 10);
    view->log.clear();
    pointer.pressMiddle(2);
    pointer.pressMiddle();
    pointer.pressRight();
    pointer.moveTo(6, 11);
    pointer.releaseRight();
    pointer.moveTo(-6, 11);
    pointer.releaseMiddle();
    pointer.releaseMiddle();
    EXPECT_THAT(view->log, ElementsAre("middleMouseDown 5,10", "rightMouseDown 5,10",
                                       "rightMouseDragged 6,11", "middleMouseDragged 6,11",
                                       "rightMouseUp 6,11", "middleMouseDragged -6,11",
                                       "middleMouseUp -6,11", "mouseExited -6,11"));
    EXPECT_EQ(view->events[1]->clickCount, 2);
    EXPECT_EQ(view->events[7]->clickCount, 2);
}

TEST_F(HeadlessPointerTest, everyEventSaysWhichKeysAreHeld) {
    using Mivora::platform::Modifiers;
    pointer.moveTo(5, 10);
    EXPECT_EQ(view->events.back()->modifiers, Modifiers());
    pointer.setModifiers({.shift = true, .super = true});
    EXPECT_EQ(view->events.size(), 1U) << "a key makes no event";
    pointer.press();
    pointer.scrollLines(0, 1);
    EXPECT_EQ(view->events[1]->modifiers, (Modifiers{.shift = true, .super = true}));
    EXPECT_EQ(view->events[2]->modifiers, (Modifiers{.shift = true, .super = true}));
    pointer.setModifiers({});
    pointer.release();
    EXPECT_EQ(view->events[3]->modifiers, Modifiers());
}

TEST_F(HeadlessPointerTest, withBothButtonsTheViewIsLeftAfterTheLastRelease) {
    pointer.moveTo(5, 10);
    pointer.press();
    pointer.pressRight();
    view->log.clear();
    pointer.moveTo(500, 10);
    pointer.release();
    pointer.releaseRight();
    EXPECT_THAT(view->log,
                ElementsAre("mouseDragged 500,10", "rightMouseDragged 500,10", "mouseUp 500,10",
                            "rightMouseUp 500,10", "mouseExited 500,10"));
}

TEST_F(HeadlessPointerTest, whatIsHeldCannotBePressedNorWhatIsFreeReleased) {
    pointer.release();
    pointer.releaseRight();
    pointer.press();
    pointer.press();
    pointer.pressRight();
    pointer.pressRight();
    EXPECT_THAT(view->log, ElementsAre("mouseDown 0,0", "rightMouseDown 0,0"));
}

TEST_F(HeadlessPointerTest, aReleaseOverTheViewEntersItIfThePointerWasPressedOutside) {
    pointer.moveTo(-5, 10);
    pointer.press();
    pointer.moveTo(5, 10);
    pointer.release();
    EXPECT_THAT(view->log, ElementsAre("mouseDown -5,10", "mouseDragged 5,10", "mouseUp 5,10",
                                       "mouseEntered 5,10"));
}

TEST_F(HeadlessPointerTest, theViewCanBeLeftWhileAButtonIsHeld) {
    pointer.moveTo(5, 10);
    pointer.press();
    view->log.clear();
    pointer.leave();
    pointer.leave();
    EXPECT_THAT(view->log, ElementsAre("mouseExited 5,10"));
}

TEST_F(HeadlessPointerTest, aWheelTurnsByLinesWithoutPhases) {
    pointer.moveTo(5, 10);
    pointer.scrollLines(0, -2);
    const Event& event = *view->events.back();
    EXPECT_EQ(event.type, Event::Type::ScrollWheel);
    EXPECT_EQ(event.scrollingDeltaX, 0);
    EXPECT_EQ(event.scrollingDeltaY, -2);
    EXPECT_FALSE(event.hasPreciseScrollingDeltas);
    EXPECT_EQ(event.phase, Event::PhaseNone);
    EXPECT_EQ(event.momentumPhase, Event::PhaseNone);
    EXPECT_EQ(event.locationInWindow, (Point{5, 10}));
}

TEST_F(HeadlessPointerTest, fingersScrollByPointsWithPhases) {
    pointer.scroll(1.5, -2.5, Event::PhaseChanged);
    EXPECT_EQ(view->events.back()->scrollingDeltaX, 1.5);
    EXPECT_EQ(view->events.back()->scrollingDeltaY, -2.5);
    EXPECT_TRUE(view->events.back()->hasPreciseScrollingDeltas);
    EXPECT_EQ(view->events.back()->phase, Event::PhaseChanged);
    pointer.scroll(0, 0, Event::PhaseNone, Event::PhaseBegan);
    EXPECT_EQ(view->events.back()->phase, Event::PhaseNone);
    EXPECT_EQ(view->events.back()->momentumPhase, Event::PhaseBegan);
}

TEST_F(HeadlessPointerTest, withoutTheViewNothingHappens) {
    pointer.moveTo(5, 10);
    view.reset();
    pointer.moveTo(6, 10);
    pointer.press();
    pointer.scrollLines(1, 1);
    pointer.release();
    pointer.leave();
}

TEST_F(HeadlessPointerTest, aPointerThatAHookDestroysDeliversTheRestOfItsCall) {
    const auto destroyedIn = [this](const char* hook, const auto& act) {
        auto doomed = std::make_unique<HeadlessPointer>(view);
        doomed->moveTo(5, 10);
        doomed->press();
        doomed->pressRight();
        doomed->moveTo(500, 10);
        view->log.clear();
        view->reaction = [&](const std::string& called) {
            if (called == hook) {
                doomed.reset();
            }
        };
        act(*doomed);
        EXPECT_EQ(doomed, nullptr);
        view->reaction = nullptr;
        return view->taken();
    };
    EXPECT_THAT(destroyedIn("mouseDragged", [](auto& doomed) { doomed.moveTo(600, 10); }),
                ElementsAre("mouseDragged 600,10", "rightMouseDragged 600,10"));
    EXPECT_THAT(destroyedIn("mouseUp",
                            [](auto& doomed) {
                                doomed.releaseRight();
                                doomed.release();
                            }),
                ElementsAre("rightMouseUp 500,10", "mouseUp 500,10", "mouseExited 500,10"));
    EXPECT_THAT(destroyedIn("rightMouseUp",
                            [](auto& doomed) {
                                doomed.release();
                                doomed.releaseRight();
                            }),
                ElementsAre("mouseUp 500,10", "rightMouseUp 500,10", "mouseExited 500,10"));
}
