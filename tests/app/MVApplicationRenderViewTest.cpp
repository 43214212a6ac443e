#include "MivoraMac/app/MVApplicationRenderView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/input/MVFingerDispatcher.h"
#include "MivoraMac/input/MVMouse.h"
#include "MivoraMac/input/MVMouseDispatcher.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/input/MVScroll.h"
#include "MivoraMac/input/MVTouch.h"
#include "MivoraMac/platform/headless/HeadlessFingers.h"
#include "MivoraMac/platform/headless/HeadlessPointer.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/windows/NativeWindow.h"
#include "MivoraMac/views/MVBridgeView.h"
#include "MivoraMac/views/MVWindow.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"

using Mivora::Point2;
using Mivora::platform::Event;
using Mivora::platform::HeadlessFingers;
using Mivora::platform::HeadlessPointer;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::PixelSize;
using Mivora::platform::Rect;
using Mivora::platform::TrackingArea;
using Mivora::platform::View;
using Mivora::tests::ScopedEnvironment;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

using Lines = std::vector<std::string>;

std::string text(Point2 point) {
    return std::to_string(static_cast<int>(point.x)) + "," +
           std::to_string(static_cast<int>(point.y));
}

/// A view that writes down what reaches it.
class InputView : public MVView {
 public:
    explicit InputView(Lines* lines) : lines_(lines) {}

    /// The hook that throws, as it is written down; empty for none.
    std::string throwing;
    /// Those of the latest record.
    Mivora::platform::Modifiers modifiers;

    void touchesBegan(const MVTouchSet& touches) override { touched("began", touches); }
    void touchesMoved(const MVTouchSet& touches) override { touched("moved", touches); }
    void touchesEnded(const MVTouchSet& touches) override { touched("ended", touches); }
    void touchesCancelled(const MVTouchSet& touches) override { touched("cancelled", touches); }
    void mouseBegan(const std::shared_ptr<MVMouse>& mouse) override { pressed("began", *mouse); }
    void mouseMoved(const std::shared_ptr<MVMouse>& mouse) override { pressed("moved", *mouse); }
    void mouseEnded(const std::shared_ptr<MVMouse>& mouse) override { pressed("ended", *mouse); }
    void mouseHoverBegan(const std::shared_ptr<MVMouse>&) override { add("hover began"); }
    void mouseHoverMoved(const std::shared_ptr<MVMouse>&) override { add("hover moved"); }
    void mouseHoverEnded(const std::shared_ptr<MVMouse>&) override { add("hover ended"); }
    void scrollBegan(const std::shared_ptr<MVScroll>& scroll) override {
        scrolled("began", *scroll);
    }
    void scrollMoved(const std::shared_ptr<MVScroll>& scroll) override {
        scrolled("moved", *scroll);
    }
    void scrollEnded(const std::shared_ptr<MVScroll>& scroll) override {
        scrolled("ended", *scroll);
    }
    void scrollCancelled(const std::shared_ptr<MVScroll>& scroll) override {
        scrolled("cancelled", *scroll);
    }

 private:
    void add(const std::string& line) {
        lines_->push_back(line);
        if (line == throwing) {
            throw std::runtime_error("expected");
        }
    }
    void touched(const std::string& phase, const MVTouchSet& touches) {
        add("touches " + phase + " " + std::to_string(touches.size()));
    }
    void pressed(const std::string& phase, const MVMouse& mouse) {
        modifiers = mouse.modifiers();
        add("mouse " + phase + " button " + std::to_string(mouse.button()) + " clicks " +
            std::to_string(mouse.clickCount()));
    }
    void scrolled(const std::string& phase, const MVScroll& scroll) {
        modifiers = scroll.modifiers();
        add("scroll " + phase + " " + text(scroll.translation()));
    }

    Lines* lines_;
};

/// A bridge view that notes when its native view is to be positioned.
class Bridge : public MVBridgeView {
 public:
    Bridge() : MVBridgeView(View::initWithFrame({0, 0, 10, 10})), native(bridgeView()) {}

    void mv_positionBridgeView() override {
        ++positioned;
        if (onPosition) {
            onPosition();
        }
    }

    std::shared_ptr<View> native;
    int positioned = 0;
    std::function<void()> onPosition;
};

/// Makes a hook callable that hosts would call.
struct Hooks : Mivora::platform::OpenGLView {
    static void callRenewGState(OpenGLView& view) { (view.*(&Hooks::renewGState))(); }
};

/// A desktop's window that notes when its updates are held back.
struct HoldingWindow : Mivora::platform::NativeWindow {
    double backingScaleFactor() const override { return 1; }
    bool isMainWindow() const override { return true; }
    void disableScreenUpdatesUntilFlush() override { ++held; }

    int held = 0;
};

class MVApplicationRenderViewTest : public testing::Test {
 protected:
    MVApplicationRenderViewTest() {
        window_->setContentScaleFactor(1.0F);
        window_->setSize({100.0F, 50.0F});
        view_ = MVMake<InputView>(&lines_);
        view_->setSize({100.0F, 50.0F});
        view_->setMouseHoverEnabled(true);
        window_->addSubview(view_);
        view_->setContentScaleFactor(1.0F);
        renderView_ = MVApplicationRenderView::initWithApplicationAndWindow(nullptr, window_);
        frame_ = HeadlessWindow::create("", {0, 0, 100, 50});
        frame_->setContentView(renderView_);
        frame_->show();
    }

    /// What reaches the view while `action` runs.
    template <class Action>
    Lines linesOf(Action action) {
        lines_.clear();
        action();
        return lines_;
    }

    Lines scroll(Event::Phase phase, Event::Phase momentum, double x = 3, double y = -2) {
        return linesOf([&] { pointer_->scroll(x, y, phase, momentum); });
    }

    ScopedEnvironment host_{"MIVORA_HOST", "headless"};
    ScopedEnvironment scale_{"MIVORA_SCALE", "1"};
    Lines lines_;
    std::shared_ptr<MVWindow> window_ = MVWindow::init();
    std::shared_ptr<InputView> view_;
    std::shared_ptr<MVApplicationRenderView> renderView_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::unique_ptr<HeadlessPointer> pointer_;
    std::unique_ptr<HeadlessFingers> fingers_;

    void SetUp() override {
        pointer_ = std::make_unique<HeadlessPointer>(renderView_);
        fingers_ = std::make_unique<HeadlessFingers>(renderView_);
        pointer_->moveTo(20, 30);
        lines_.clear();
    }
};

}  // namespace

TEST_F(MVApplicationRenderViewTest, hasItsThreeDispatchersAndIsOpaque) {
    EXPECT_NE(renderView_->mouseDispatcher(), nullptr);
    EXPECT_NE(renderView_->scrollDispatcher(), nullptr);
    EXPECT_NE(renderView_->mouseToTouchDispatcher(), nullptr);
    EXPECT_TRUE(renderView_->isOpaque());
    EXPECT_TRUE(renderView_->wantsBestResolutionOpenGLSurface());
}

TEST_F(MVApplicationRenderViewTest, anEventsPointIsItsPlaceFromTheBottomLeftCornerInPoints) {
    frame_->setBackingScaleFactor(2);
    Event event;
    event.locationInWindow = {12.5, 40.25};
    EXPECT_EQ(renderView_->mv_pointForEvent(event), (Point2{12.5F, 40.25F}));
}

// Buttons

TEST_F(MVApplicationRenderViewTest,
       thePrimaryButtonGoesToTouchesThenCancelsScrollingThenToTheMouse) {
    EXPECT_THAT(linesOf([&] { pointer_->press(); }),
                ElementsAre("touches began 1", "scroll began 0,0", "scroll cancelled 0,0",
                            "mouse began button 1 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(40, 20); }),
                ElementsAre("touches moved 1", "mouse moved button 1 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->release(); }),
                ElementsAre("touches ended 1", "mouse ended button 1 clicks 1"));
}

TEST_F(MVApplicationRenderViewTest, theSecondaryButtonMakesNoTouchAndCancelsScrolling) {
    scroll(Event::PhaseBegan, Event::PhaseNone);
    EXPECT_THAT(linesOf([&] { pointer_->pressRight(); }),
                ElementsAre("scroll cancelled 0,0", "mouse began button 2 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(40, 20); }),
                ElementsAre("mouse moved button 2 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->releaseRight(); }),
                ElementsAre("mouse ended button 2 clicks 1"));
}

TEST_F(MVApplicationRenderViewTest, theMiddleButtonGoesTheWayOfTheSecondary) {
    scroll(Event::PhaseBegan, Event::PhaseNone);
    EXPECT_THAT(linesOf([&] { pointer_->pressMiddle(2); }),
                ElementsAre("scroll cancelled 0,0", "mouse began button 4 clicks 2"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(40, 20); }),
                ElementsAre("mouse moved button 4 clicks 2"));
    EXPECT_THAT(linesOf([&] { pointer_->releaseMiddle(); }),
                ElementsAre("mouse ended button 4 clicks 2"));
}

TEST_F(MVApplicationRenderViewTest, modifierKeysReachMouseAndScrolling) {
    pointer_->setModifiers({.control = true});
    pointer_->pressRight();
    EXPECT_TRUE(view_->modifiers.control);
    pointer_->setModifiers({.shift = true});
    pointer_->scroll(1, 1, Event::PhaseBegan);
    EXPECT_EQ(view_->modifiers, (Mivora::platform::Modifiers{.shift = true}));
}

TEST_F(MVApplicationRenderViewTest, whateverAHookThrowsNoPressEpisodeOrTouchIsLeftBehind) {
    const Lines down = {"touches began 1", "scroll began 0,0", "scroll cancelled 0,0",
                        "mouse began button 1 clicks 1"};
    const Lines dragged = {"touches moved 1", "mouse moved button 1 clicks 1"};
    const Lines up = {"touches ended 1", "mouse ended button 1 clicks 1"};
    const Lines click = {"scroll began 0,24", "scroll ended 0,0"};
    Lines all;
    for (const Lines* lines : {&down, &dragged, &up, &click}) {
        all.insert(all.end(), lines->begin(), lines->end());
    }
    for (const std::string& throwing : all) {
        view_->throwing = throwing;
        EXPECT_EQ(linesOf([&] { pointer_->press(); }), down) << throwing;
        EXPECT_EQ(linesOf([&] { pointer_->moveTo(21, 30); }), dragged) << throwing;
        EXPECT_EQ(linesOf([&] { pointer_->release(); }), up) << throwing;
        EXPECT_EQ(linesOf([&] { pointer_->scrollLines(0, 1); }), click) << throwing;
        view_->throwing.clear();
        EXPECT_EQ(renderView_->mouseToTouchDispatcher()->mv_currentMouseTouch(), nullptr);
        EXPECT_THAT(scroll(Event::PhaseChanged, Event::PhaseNone), IsEmpty()) << throwing;
        pointer_->moveTo(20, 30);
    }
}

TEST_F(MVApplicationRenderViewTest, theOtherButtonsCancelScrollingWhateverThatThrows) {
    for (const char* const throwing : {"scroll began 0,0", "scroll cancelled 0,0"}) {
        view_->throwing = throwing;
        EXPECT_THAT(linesOf([&] { pointer_->pressRight(); }),
                    ElementsAre("scroll began 0,0", "scroll cancelled 0,0",
                                "mouse began button 2 clicks 1"));
        EXPECT_THAT(linesOf([&] { pointer_->pressMiddle(); }),
                    ElementsAre("scroll began 0,0", "scroll cancelled 0,0",
                                "mouse began button 4 clicks 1"));
        pointer_->releaseRight();
        pointer_->releaseMiddle();
        EXPECT_THAT(scroll(Event::PhaseChanged, Event::PhaseNone), IsEmpty());
    }
}

TEST_F(MVApplicationRenderViewTest, aDoubleClickReachesTheMouseWithItsCount) {
    pointer_->press(1);
    pointer_->release();
    EXPECT_THAT(linesOf([&] { pointer_->press(2); }),
                testing::Contains("mouse began button 1 clicks 2"));
}

// Hover

TEST_F(MVApplicationRenderViewTest, aHoverBeginsMovesAndEndsWhileTheWindowIsTheMainOne) {
    pointer_->leave();
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(10, 10); }), ElementsAre("hover began"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(11, 10); }), ElementsAre("hover moved"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(-1, 10); }), ElementsAre("hover ended"));
}

TEST_F(MVApplicationRenderViewTest, inAWindowThatIsNotMainNothingHovers) {
    pointer_->leave();
    frame_->setMainWindow(false);
    EXPECT_THAT(linesOf([&] {
                    pointer_->moveTo(10, 10);
                    pointer_->moveTo(12, 10);
                }),
                IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, aWindowThatBecomesMainBeginsTheHoverAtTheNextMove) {
    pointer_->leave();
    frame_->setMainWindow(false);
    pointer_->moveTo(10, 10);
    frame_->setMainWindow(true);
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(12, 10); }), ElementsAre("hover began"));
}

TEST_F(MVApplicationRenderViewTest, aWindowThatIsNoLongerMainEndsTheHoverAtTheNextMove) {
    frame_->setMainWindow(false);
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(12, 10); }), ElementsAre("hover ended"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(13, 10); }), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, enteringAgainWithoutHavingLeftDoesNothing) {
    Event event;
    event.type = Event::Type::MouseEntered;
    EXPECT_THAT(linesOf([&] { renderView_->deliver(std::make_shared<Event>(event)); }), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, enteringAWindowThatIsNoLongerMainEndsTheHover) {
    frame_->setMainWindow(false);
    Event event;
    event.type = Event::Type::MouseEntered;
    const auto enter = [&] { renderView_->deliver(std::make_shared<Event>(event)); };
    EXPECT_THAT(linesOf(enter), ElementsAre("hover ended"));
    EXPECT_THAT(linesOf(enter), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, leavingAWindowThatIsNoLongerMainEndsTheHover) {
    frame_->setMainWindow(false);
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }), ElementsAre("hover ended"));
}

TEST_F(MVApplicationRenderViewTest, aHoverWhoseBeginningThrowsHasBegun) {
    pointer_->leave();
    view_->throwing = "hover began";
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(10, 10); }), ElementsAre("hover began"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(11, 10); }), ElementsAre("hover moved"));
}

TEST_F(MVApplicationRenderViewTest, aHoverWhoseEndThrowsHasEnded) {
    view_->throwing = "hover ended";
    frame_->setMainWindow(false);
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(12, 10); }), ElementsAre("hover ended"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(13, 10); }), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, leavingCancelsWhateverTheHooksBeforeThrow) {
    for (const char* throwing : {"hover ended", "scroll cancelled 0,0", "touches cancelled 1"}) {
        pointer_->moveTo(20, 30);
        pointer_->press();
        scroll(Event::PhaseBegan, Event::PhaseNone);
        view_->throwing = throwing;
        EXPECT_THAT(linesOf([&] { pointer_->leave(); }),
                    ElementsAre("hover ended", "scroll cancelled 0,0", "touches cancelled 1"))
            << throwing;
        view_->throwing.clear();
        EXPECT_THAT(linesOf([&] { pointer_->release(); }), Each(Not(HasSubstr("touches"))));
    }
}

TEST_F(MVApplicationRenderViewTest, leavingEndsTheHoverCancelsScrollingAndCancelsTheTouch) {
    pointer_->press();
    scroll(Event::PhaseBegan, Event::PhaseNone);
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }),
                ElementsAre("hover ended", "scroll cancelled 0,0", "touches cancelled 1"));
}

TEST_F(MVApplicationRenderViewTest, leavingWithoutAHoverStillCancelsScrollingAndTouches) {
    frame_->setMainWindow(false);
    pointer_->moveTo(21, 30);
    pointer_->press();
    scroll(Event::PhaseBegan, Event::PhaseNone);
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }),
                ElementsAre("scroll cancelled 0,0", "touches cancelled 1"));
}

// Scrolling

TEST_F(MVApplicationRenderViewTest, theClickOfAWheelIsAWholeEpisodeOf24PointsForEachLine) {
    EXPECT_THAT(linesOf([&] { pointer_->scrollLines(0, 1); }),
                ElementsAre("scroll began 0,24", "scroll ended 0,0"));
    EXPECT_THAT(linesOf([&] { pointer_->scrollLines(-2, 0.5); }),
                ElementsAre("scroll began -48,12", "scroll ended 0,0"));
}

TEST_F(MVApplicationRenderViewTest, preciseDeltasPassUnchanged) {
    EXPECT_THAT(scroll(Event::PhaseBegan, Event::PhaseNone, 7, -5),
                ElementsAre("scroll began 7,-5"));
}

TEST_F(MVApplicationRenderViewTest, everyPhaseOfFingersAndOfMomentumHasItsCall) {
    struct Row {
        Event::Phase phase;
        Lines expected;
    };
    const Row rows[] = {
        {Event::PhaseBegan, {"scroll began 3,-2"}},
        {Event::PhaseStationary, {"scroll moved 3,-2"}},
        {Event::PhaseChanged, {"scroll moved 3,-2"}},
        {Event::PhaseEnded, {"scroll ended 3,-2"}},
        {Event::PhaseCancelled, {"scroll cancelled 3,-2"}},
        {static_cast<Event::Phase>(32), {}},
        {static_cast<Event::Phase>(3), {}},
    };
    for (const Row& row : rows) {
        scroll(Event::PhaseBegan, Event::PhaseNone);
        EXPECT_EQ(scroll(row.phase, Event::PhaseNone), row.expected) << "phase " << row.phase;
        // A phase of the fingers stands before one of momentum.
        scroll(Event::PhaseBegan, Event::PhaseNone);
        EXPECT_EQ(scroll(row.phase, Event::PhaseCancelled), row.expected) << "phase " << row.phase;
        scroll(Event::PhaseBegan, Event::PhaseNone);
        EXPECT_EQ(scroll(Event::PhaseNone, row.phase), row.expected) << "momentum " << row.phase;
    }
}

// Fingers, beside the pointer

TEST_F(MVApplicationRenderViewTest, fingersAreTouchesOfTheirOwnAndPressNoButton) {
    EXPECT_THAT(linesOf([&] {
                    fingers_->land({{1, {20, 20}}, {2, {60, 20}}});
                }),
                ElementsAre("hover ended", "touches began 2", "scroll began 0,0",
                            "scroll cancelled 0,0", "scroll began 0,0", "scroll cancelled 0,0"));
    EXPECT_THAT(linesOf([&] { fingers_->move({{1, {25, 20}}}); }), ElementsAre("touches moved 1"));
    EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
    EXPECT_THAT(linesOf([&] { fingers_->cancel(); }), ElementsAre("touches cancelled 1"));
}

TEST_F(MVApplicationRenderViewTest, aHoverEndsWhenAFingerLandsAndBeginsAfterTheLastIsLifted) {
    EXPECT_THAT(linesOf([&] {
                    fingers_->land({{1, {20, 20}}});
                }),
                testing::Contains("hover ended"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(21, 30); }), IsEmpty());
    EXPECT_THAT(linesOf([&] {
                    pointer_->leave();
                    pointer_->moveTo(22, 30);
                }),
                IsEmpty());
    EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(23, 30); }), ElementsAre("hover began"));
}

TEST_F(MVApplicationRenderViewTest, aFingerThatLandsCancelsScrolling) {
    scroll(Event::PhaseBegan, Event::PhaseNone);
    EXPECT_THAT(linesOf([&] {
                    fingers_->land({{1, {20, 20}}});
                }),
                ElementsAre("hover ended", "touches began 1", "scroll cancelled 0,0"));
    EXPECT_THAT(scroll(Event::PhaseChanged, Event::PhaseNone), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, scrollingGoesOnWhileAFingerIsDown) {
    fingers_->land({{1, {20, 20}}});
    EXPECT_THAT(linesOf([&] { pointer_->scrollLines(0, 1); }),
                ElementsAre("scroll began 0,24", "scroll ended 0,0"));
    EXPECT_THAT(linesOf([&] { fingers_->move({{1, {25, 20}}}); }), ElementsAre("touches moved 1"));
}

TEST_F(MVApplicationRenderViewTest, aButtonAndAFingerDoNotKnowOfEachOther) {
    pointer_->press();
    EXPECT_THAT(linesOf([&] {
                    fingers_->land({{1, {20, 20}}});
                }),
                testing::Contains("touches began 1"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(40, 20); }),
                ElementsAre("touches moved 1", "mouse moved button 1 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->release(); }),
                ElementsAre("touches ended 1", "mouse ended button 1 clicks 1"));
    EXPECT_THAT(linesOf([&] { pointer_->press(); }), testing::Contains("touches began 1"));
    EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
    EXPECT_THAT(linesOf([&] { pointer_->release(); }), testing::Contains("touches ended 1"));
}

TEST_F(MVApplicationRenderViewTest, leavingTheViewIsThePointersAlone) {
    pointer_->press();
    fingers_->land({{1, {20, 20}}});
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }), ElementsAre("touches cancelled 1"));
    EXPECT_THAT(linesOf([&] {
                    fingers_->move({{1, {-20, 200}}});
                }),
                ElementsAre("touches moved 1"));
    EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
}

TEST_F(MVApplicationRenderViewTest, aPinchOnATouchpadIsTwoMoreFingers) {
    pointer_->moveTo(50, 25);
    fingers_->land({{1, {20, 20}}});
    EXPECT_THAT(linesOf([&] { pointer_->beginPinch(); }),
                ElementsAre("touches began 2", "scroll began 0,0", "scroll cancelled 0,0"));
    EXPECT_EQ(renderView_->fingerDispatcher()->mv_touches().size(), 3U);
    EXPECT_THAT(linesOf([&] { pointer_->pinch(2); }), ElementsAre("touches moved 2"));
    EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(51, 25); }), IsEmpty()) << "no hover meanwhile";
    EXPECT_THAT(linesOf([&] { pointer_->beginPinch(); }),
                ElementsAre("touches cancelled 2", "touches began 2", "scroll began 0,0",
                            "scroll cancelled 0,0"));
    EXPECT_THAT(linesOf([&] { pointer_->endPinch(); }), ElementsAre("touches ended 2"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(52, 25); }), ElementsAre("hover began"));
}

TEST_F(MVApplicationRenderViewTest, aFingerStopsContentOfTheViewUnderIt) {
    Lines other;
    const auto beside = MVMake<InputView>(&other);
    beside->setPosition({60, 0});
    beside->setSize({40, 50});
    window_->addSubview(beside);
    EXPECT_THAT(linesOf([&] { fingers_->land({{1, {80, 20}}}); }), ElementsAre("hover ended"));
    EXPECT_THAT(other, ElementsAre("touches began 1", "scroll began 0,0", "scroll cancelled 0,0"));
}

TEST_F(MVApplicationRenderViewTest, aFingerAndAPinchCancelMomentumAndWhatScrollsAfterThatScrolls) {
    const auto momentum = [&](Event::Phase phase) { return scroll(Event::PhaseNone, phase); };
    momentum(Event::PhaseBegan);
    EXPECT_THAT(linesOf([&] { pointer_->beginPinch(); }),
                ElementsAre("hover ended", "touches began 2", "scroll cancelled 0,0"));
    EXPECT_THAT(momentum(Event::PhaseChanged), IsEmpty());
    EXPECT_THAT(momentum(Event::PhaseBegan), ElementsAre("scroll began 3,-2"));
    EXPECT_THAT(linesOf([&] { pointer_->pinch(2); }), ElementsAre("touches moved 2"));
    EXPECT_THAT(momentum(Event::PhaseChanged), ElementsAre("scroll moved 3,-2"));
    EXPECT_THAT(linesOf([&] {
                    fingers_->land({{1, {20, 20}}});
                }),
                ElementsAre("touches began 1", "scroll cancelled 0,0"));
    EXPECT_THAT(momentum(Event::PhaseEnded), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, everyButtonGoesItsWayBesideFingersAndPinches) {
    struct Row {
        const char* button;
        std::function<void()> press;
        std::function<void()> release;
        Lines down, drag, up;
    };
    const Row rows[] = {
        {"primary",
         [&] { pointer_->press(); },
         [&] { pointer_->release(); },
         {"touches began 1", "scroll began 0,0", "scroll cancelled 0,0",
          "mouse began button 1 clicks 1"},
         {"touches moved 1", "mouse moved button 1 clicks 1"},
         {"touches ended 1", "mouse ended button 1 clicks 1"}},
        {"secondary",
         [&] { pointer_->pressRight(); },
         [&] { pointer_->releaseRight(); },
         {"scroll began 0,0", "scroll cancelled 0,0", "mouse began button 2 clicks 1"},
         {"mouse moved button 2 clicks 1"},
         {"mouse ended button 2 clicks 1"}},
        {"middle",
         [&] { pointer_->pressMiddle(); },
         [&] { pointer_->releaseMiddle(); },
         {"scroll began 0,0", "scroll cancelled 0,0", "mouse began button 4 clicks 1"},
         {"mouse moved button 4 clicks 1"},
         {"mouse ended button 4 clicks 1"}},
    };
    struct Fingers {
        const char* kind;
        std::function<void()> begin;
        std::function<void()> move;
        std::function<void()> end;
        std::string number;
    };
    const Fingers kinds[] = {
        {"finger",
         [&] {
             fingers_->land({{1, {20, 20}}});
         },
         [&] {
             fingers_->move({{1, {25, 20}}});
         },
         [&] { fingers_->lift({1}); }, "1"},
        {"pinch", [&] { pointer_->beginPinch(); }, [&] { pointer_->pinch(1.5); },
         [&] { pointer_->endPinch(); }, "2"},
    };
    for (const Row& row : rows) {
        for (const Fingers& kind : kinds) {
            const std::string what = std::string(row.button) + " and " + kind.kind;
            const auto drag = [&] { pointer_->moveTo(pointer_->location().x + 1, 30); };
            // The fingers within the press, then the press within the fingers.
            row.press();
            EXPECT_THAT(linesOf(kind.begin), testing::Contains("touches began " + kind.number))
                << what;
            EXPECT_EQ(linesOf(drag), row.drag) << what;
            EXPECT_EQ(linesOf(kind.move), Lines{"touches moved " + kind.number}) << what;
            EXPECT_EQ(linesOf(kind.end), Lines{"touches ended " + kind.number}) << what;
            EXPECT_EQ(linesOf(row.release), row.up) << what;
            kind.begin();
            EXPECT_EQ(linesOf(row.press), row.down) << what;
            EXPECT_EQ(linesOf(drag), row.drag) << what;
            EXPECT_EQ(linesOf(kind.move), Lines{"touches moved " + kind.number}) << what;
            EXPECT_EQ(linesOf(row.release), row.up) << what;
            EXPECT_EQ(linesOf(kind.end), Lines{"touches ended " + kind.number}) << what;
            EXPECT_EQ(linesOf(drag), Lines{"hover began"}) << what;
        }
    }
}

TEST_F(MVApplicationRenderViewTest, aPinchStaysWhereItBeganWhateverBecomesOfThePointer) {
    const auto middle = [&] {
        const MVTouchSet touches = renderView_->fingerDispatcher()->mv_touches();
        const Point2 first = (*touches.begin())->screenPoint();
        const Point2 second = (*std::next(touches.begin()))->screenPoint();
        return Point2{(first.x + second.x) / 2, (first.y + second.y) / 2};
    };
    pointer_->moveTo(50, 25);
    pointer_->beginPinch();
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(90, 40); }), IsEmpty());
    pointer_->pinch(2);
    EXPECT_EQ(middle(), (Point2{50, 25}));
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }), IsEmpty());
    EXPECT_THAT(linesOf([&] { pointer_->pinch(3, 0, 4, 5); }), ElementsAre("touches moved 2"));
    EXPECT_EQ(middle(), (Point2{54, 30}));
    EXPECT_THAT(linesOf([&] { pointer_->cancelPinch(); }), ElementsAre("touches cancelled 2"));
    EXPECT_THAT(linesOf([&] { pointer_->moveTo(52, 25); }), ElementsAre("hover began"));
}

TEST_F(MVApplicationRenderViewTest, leavingWhileAPinchAndAButtonAreDownEndsTheButtonsTouchAlone) {
    pointer_->press();
    pointer_->beginPinch();
    EXPECT_THAT(linesOf([&] { pointer_->leave(); }), ElementsAre("touches cancelled 1"));
    EXPECT_THAT(linesOf([&] { pointer_->endPinch(); }), ElementsAre("touches ended 2"));
}

TEST_F(MVApplicationRenderViewTest, aViewThatLeavesItsWindowLosesItsFingers) {
    fingers_->land({{1, {20, 20}}, {2, {60, 20}}});
    pointer_->beginPinch();
    EXPECT_THAT(linesOf([&] { frame_->close(); }), ElementsAre("touches cancelled 4"));
    EXPECT_THAT(linesOf([&] {
                    pointer_->pinch(2);
                    pointer_->endPinch();
                }),
                IsEmpty());
    EXPECT_THAT(linesOf([&] {
                    fingers_->move({{1, {25, 20}}});
                    fingers_->lift({1, 2});
                }),
                IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, whateverAHookThrowsNoFingerIsLeftBehind) {
    for (const char* const throwing :
         {"hover ended", "touches began 1", "scroll began 0,0", "scroll cancelled 0,0",
          "touches moved 1", "touches ended 1", "touches cancelled 1"}) {
        pointer_->moveTo(20, 30);
        view_->throwing = throwing;
        EXPECT_THAT(linesOf([&] {
                        fingers_->land({{1, {20, 20}}});
                    }),
                    ElementsAre("hover ended", "touches began 1", "scroll began 0,0",
                                "scroll cancelled 0,0"));
        EXPECT_THAT(linesOf([&] {
                        fingers_->move({{1, {21, 20}}});
                    }),
                    ElementsAre("touches moved 1"));
        EXPECT_THAT(linesOf([&] { fingers_->lift({1}); }), ElementsAre("touches ended 1"));
        fingers_->land({{1, {20, 20}}});
        EXPECT_THAT(linesOf([&] { fingers_->cancel(); }), ElementsAre("touches cancelled 1"));
        EXPECT_FALSE(renderView_->fingerDispatcher()->hasTouches());
        view_->throwing.clear();
        pointer_->moveTo(21, 30);
    }
}

// Size

TEST_F(MVApplicationRenderViewTest, aSizeInPixelsIsTruncated) {
    frame_->setBackingScaleFactor(2);
    renderView_->setFrame({0, 0, 100.5, 50});
    EXPECT_EQ(renderView_->backingSize(), (PixelSize{201, 100}));
}

TEST_F(MVApplicationRenderViewTest, theTrackingAreaFollowsTheBounds) {
    ASSERT_EQ(renderView_->trackingAreas().size(), 1U);
    const auto before = renderView_->trackingAreas().front();
    EXPECT_EQ(before->rect, (Rect{0, 0, 100, 50}));
    EXPECT_EQ(before->options, TrackingArea::MouseEnteredAndExited | TrackingArea::MouseMoved |
                                   TrackingArea::ActiveAlways);
    frame_->setContentSize(30, 20);
    ASSERT_EQ(renderView_->trackingAreas().size(), 1U);
    EXPECT_NE(renderView_->trackingAreas().front(), before);
    EXPECT_EQ(renderView_->trackingAreas().front()->rect, (Rect{0, 0, 30, 20}));
}

TEST_F(MVApplicationRenderViewTest, theScaleFactorIsThatOfTheWindowIfTheBestResolutionIsWanted) {
    frame_->setBackingScaleFactor(3);
    EXPECT_EQ(mv_scaleFactorForOpenGLView(*renderView_), 3);
    EXPECT_EQ(renderView_->contentsScale(), 3);
    renderView_->setWantsBestResolutionOpenGLSurface(false);
    EXPECT_EQ(mv_scaleFactorForOpenGLView(*renderView_), 1);
    renderView_->setWantsBestResolutionOpenGLSurface(true);
    frame_->setContentView(nullptr);
    EXPECT_EQ(mv_scaleFactorForOpenGLView(*renderView_), 1);
}

TEST_F(MVApplicationRenderViewTest, theScaleOfTheLayerIsThatOfTheWindowFromTheFirstMomentOn) {
    const auto view = MVApplicationRenderView::initWithApplicationAndWindow(nullptr, window_);
    const auto frame = HeadlessWindow::create("", {0, 0, 100, 50});
    frame->setBackingScaleFactor(2);
    view->setBackingScaleFactor(2);  // so that coming into the window is no change
    frame->setContentView(view);
    EXPECT_EQ(view->contentsScale(), 2);
    frame->setContentView(nullptr);
    EXPECT_EQ(view->contentsScale(), 1);
}

TEST_F(MVApplicationRenderViewTest, aNewLayerHasTheScaleOfTheWindow) {
    frame_->setBackingScaleFactor(3);
    renderView_->setContentsScale(7);
    renderView_->setWantsLayer(true);
    EXPECT_EQ(renderView_->contentsScale(), 3);
}

TEST_F(MVApplicationRenderViewTest, aNewPictureOfTheWindowWaitsForTheNextFrame) {
    Hooks::callRenewGState(*renderView_);
    const auto window = std::make_shared<HoldingWindow>();
    renderView_->moveToWindow(window);
    Hooks::callRenewGState(*renderView_);
    EXPECT_EQ(window->held, 1);
    renderView_->moveToWindow(nullptr);
    Hooks::callRenewGState(*renderView_);
    EXPECT_EQ(window->held, 1);
}

// Native views over the drawing

TEST_F(MVApplicationRenderViewTest, theContainerIsLayerBackedAndAsLargeAsTheView) {
    const auto& container = renderView_->mv_bridgeViewContainer();
    EXPECT_TRUE(container->wantsLayer());
    EXPECT_EQ(container->superview(), renderView_);
    EXPECT_EQ(container->frame(), (Rect{0, 0, 100, 50}));
    frame_->setContentSize(70, 60);
    EXPECT_EQ(container->frame(), (Rect{0, 0, 70, 60}));
}

TEST_F(MVApplicationRenderViewTest, addedNativeViewsAreInTheContainerUntilTheyAreRemoved) {
    const auto bridge = std::make_shared<Bridge>();
    renderView_->addBridgeView(bridge);
    renderView_->addBridgeView(bridge);
    EXPECT_EQ(bridge->native->superview(), renderView_->mv_bridgeViewContainer());
    EXPECT_TRUE(bridge->native->wantsLayer());
    frame_->setContentSize(70, 60);
    EXPECT_EQ(bridge->positioned, 1);
    renderView_->removeBridgeView(bridge);
    EXPECT_EQ(bridge->native->superview(), nullptr);
    frame_->setContentSize(71, 60);
    EXPECT_EQ(bridge->positioned, 1);
}

TEST_F(MVApplicationRenderViewTest, nativeViewsArePositionedOnceTheContainerHasItsSize) {
    const auto bridge = std::make_shared<Bridge>();
    renderView_->addBridgeView(bridge);
    Rect container;
    bridge->onPosition = [&] { container = renderView_->mv_bridgeViewContainer()->frame(); };
    frame_->setContentSize(70, 60);
    EXPECT_EQ(container, (Rect{0, 0, 70, 60}));
}

TEST_F(MVApplicationRenderViewTest, nullAndElementsWithoutANativeViewAreIgnored) {
    const auto bridge = MVBridgeView::init();
    renderView_->addBridgeView(bridge);
    renderView_->addBridgeView(nullptr);
    renderView_->removeBridgeView(bridge);
    renderView_->removeBridgeView(nullptr);
    EXPECT_THAT(renderView_->mv_bridgeViewContainer()->subviews(), IsEmpty());
}

TEST_F(MVApplicationRenderViewTest, theLogSaysOnceThatAHostWithoutADesktopShowsNoNativeViews) {
    const Mivora::tests::LogCapture log("frame");
    renderView_->addBridgeView(std::make_shared<Bridge>());
    renderView_->addBridgeView(std::make_shared<Bridge>());
    EXPECT_THAT(log.lines(), ElementsAre(testing::Pair(
                                 Mivora::tests::LogCapture::Category::Frame,
                                 "native views are not seen: the host \"headless\" shows none")));
}

TEST_F(MVApplicationRenderViewTest, allNativeViewsCanBeTakenAwayAtOnce) {
    const auto first = std::make_shared<Bridge>();
    const auto second = std::make_shared<Bridge>();
    renderView_->addBridgeView(first);
    renderView_->addBridgeView(second);
    renderView_->mv_removeAllBridgeViews();
    EXPECT_THAT(renderView_->mv_bridgeViewContainer()->subviews(), IsEmpty());
    frame_->setContentSize(71, 60);
    EXPECT_EQ(first->positioned, 0);
}

TEST_F(MVApplicationRenderViewTest, theSublayerTransformIsThatOfTheContainer) {
    glm::dmat4 transform(1.0);
    transform[2][3] = -0.25;
    renderView_->setBridgeViewContainerSublayerTransform(transform);
    EXPECT_EQ(renderView_->mv_bridgeViewContainer()->sublayerTransform(), transform);
}

TEST_F(MVApplicationRenderViewTest, eventsGoNowhereOnceTheTreeIsGone) {
    pointer_->press();
    lines_.clear();
    window_.reset();
    view_.reset();
    pointer_->moveTo(3, 3);
    pointer_->release();
    pointer_->scrollLines(1, 1);
    pointer_->leave();
    EXPECT_THAT(lines_, IsEmpty());
}
