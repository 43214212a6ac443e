#include "MivoraMac/platform/windows/OpenGLView.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/windows/Screen.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/gl/FakeGLContext.h"
#include "tests/platform/windows/RecordingOpenGLView.h"

using Mivora::platform::Event;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::OpenGLView;
using Mivora::platform::PixelSize;
using Mivora::platform::Rect;
using Mivora::platform::Screen;
using Mivora::platform::TrackingArea;
using Mivora::platform::View;
using Mivora::tests::FakeGLContext;
using Mivora::tests::RecordingOpenGLView;
using Mivora::tests::ScopedEnvironment;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr int kLargest = std::numeric_limits<int>::max();

class OpenGLViewTest : public testing::Test {
 protected:
    static void attach(OpenGLView& view, const std::shared_ptr<FakeGLContext>& context) {
        view.setPixelFormat(context->pixelFormat());
        view.setOpenGLContext(context);
        context->setView(&view);
    }

 private:
    // A view asks the host for the scale of the screen.
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};
};

std::shared_ptr<const Event> eventOf(Event::Type type, double x, double y) {
    Event event;
    event.type = type;
    event.locationInWindow = {x, y};
    return std::make_shared<const Event>(event);
}

}  // namespace

TEST_F(OpenGLViewTest, aNewViewIsEmptyAndHasTheScaleOfTheMainScreen) {
    const OpenGLView view;
    EXPECT_EQ(view.bounds(), Rect());
    EXPECT_EQ(view.backingSize(), PixelSize());
    EXPECT_EQ(view.backingScaleFactor(), Screen::mainScreen()->backingScaleFactor());
    EXPECT_EQ(view.openGLContext(), nullptr);
    EXPECT_EQ(view.pixelFormat(), nullptr);
}

TEST_F(OpenGLViewTest, boundsReadAsTheyWereSet) {
    OpenGLView view;
    const Rect bounds = {-3.5, 4, 100.5, 50};
    view.setBounds(bounds);
    EXPECT_EQ(view.bounds(), bounds);
}

TEST_F(OpenGLViewTest, extentsBelowZeroAndNaNCountAsZero) {
    OpenGLView view;
    view.setBackingScaleFactor(2);
    for (const double extent : {-1.0, -0.0, -kInfinity, kNaN}) {
        SCOPED_TRACE(extent);
        view.setBounds({1, 2, extent, 50});
        EXPECT_EQ(view.bounds(), (Rect{1, 2, 0, 50}));
        EXPECT_EQ(view.backingSize(), (PixelSize{0, 100}));
        view.setBounds({1, 2, 50, extent});
        EXPECT_EQ(view.bounds(), (Rect{1, 2, 50, 0}));
        EXPECT_EQ(view.backingSize(), (PixelSize{100, 0}));
    }
}

TEST_F(OpenGLViewTest, theSizeInPixelsIsTruncated) {
    struct Row {
        double scale;
        double width;
        double height;
        PixelSize pixels;
    };
    for (const Row& row : {
             Row{2, 100.5, 50, {201, 50 * 2}},
             Row{1, 100.5, 50.999, {100, 50}},
             Row{1.5, 101, 33, {151, 49}},
             Row{0.5, 1, 3, {0, 1}},
             Row{1, 0, 0.999, {0, 0}},
             Row{3, 1e-300, 10, {0, 30}},
             Row{2, 2e9, 10, {kLargest, 20}},
             Row{1, kInfinity, 1e300, {kLargest, kLargest}},
         }) {
        SCOPED_TRACE(testing::Message() << row.width << " x " << row.height << " at " << row.scale);
        OpenGLView view;
        view.setBackingScaleFactor(row.scale);
        view.setBounds({0, 0, row.width, row.height});
        EXPECT_EQ(view.backingSize(), row.pixels);
    }
}

TEST_F(OpenGLViewTest, theOriginDoesNotChangeTheSizeInPixels) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    view.setBounds({0.5, -0.5, 10, 10});
    EXPECT_EQ(view.backingSize(), (PixelSize{10, 10}));
}

TEST_F(OpenGLViewTest, whatIsNoScaleIsIgnored) {
    OpenGLView view;
    view.setBackingScaleFactor(1.5);
    for (const double factor : {0.0, -0.0, -2.0, kNaN, kInfinity, -kInfinity}) {
        view.setBackingScaleFactor(factor);
        EXPECT_EQ(view.backingScaleFactor(), 1.5) << factor;
    }
}

TEST_F(OpenGLViewTest, attachingGivesTheDrawableTheViewsSize) {
    OpenGLView view;
    const auto context = FakeGLContext::create();
    view.setBackingScaleFactor(2);
    view.setBounds({0, 0, 100.5, 50});
    EXPECT_EQ(context->drawable().size(), PixelSize());
    attach(view, context);
    EXPECT_EQ(context->drawable().size(), (PixelSize{201, 100}));
    EXPECT_EQ(view.openGLContext(), context);
    EXPECT_EQ(view.pixelFormat(), context->pixelFormat());
    EXPECT_EQ(context->view(), &view);
}

TEST_F(OpenGLViewTest, theDrawableFollowsBoundsAndScale) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    const auto context = FakeGLContext::create();
    attach(view, context);
    view.setBounds({0, 0, 30, 20});
    EXPECT_EQ(context->drawable().size(), (PixelSize{30, 20}));
    view.setBackingScaleFactor(3);
    EXPECT_EQ(context->drawable().size(), (PixelSize{90, 60}));
    view.setBackingScaleFactor(kNaN);
    view.setBounds({5, 5, -1, 20});
    EXPECT_EQ(context->drawable().size(), (PixelSize{0, 60}));
}

TEST_F(OpenGLViewTest, aContextThatIsNotAttachedDoesNotFollow) {
    OpenGLView view;
    OpenGLView other;
    const auto context = FakeGLContext::create();
    view.setOpenGLContext(context);
    view.setBounds({0, 0, 30, 20});
    EXPECT_EQ(context->drawable().size(), PixelSize());
    other.setBounds({0, 0, 7, 7});
    other.setBackingScaleFactor(1);
    context->setView(&other);
    view.setBounds({0, 0, 40, 40});
    EXPECT_EQ(context->drawable().size(), (PixelSize{7, 7}));
    context->setView(nullptr);
}

TEST_F(OpenGLViewTest, replacingTheContextDetachesTheFormerOne) {
    OpenGLView view;
    view.setBackingScaleFactor(1);
    view.setBounds({0, 0, 30, 20});
    const auto first = FakeGLContext::create();
    const auto second = FakeGLContext::create();
    attach(view, first);
    view.setOpenGLContext(first);
    EXPECT_EQ(first->view(), &view);
    attach(view, second);
    EXPECT_EQ(first->view(), nullptr);
    EXPECT_EQ(first->drawable().size(), PixelSize());
    EXPECT_EQ(second->drawable().size(), (PixelSize{30, 20}));
    view.setOpenGLContext(nullptr);
    EXPECT_EQ(second->view(), nullptr);
    EXPECT_EQ(view.openGLContext(), nullptr);
}

TEST_F(OpenGLViewTest, aViewDetachesItselfWhenDestroyed) {
    const auto context = FakeGLContext::create();
    std::optional<OpenGLView> view(std::in_place);
    view->setBounds({0, 0, 30, 20});
    attach(*view, context);
    view.reset();
    EXPECT_EQ(context->view(), nullptr);
    EXPECT_EQ(context->drawable().size(), PixelSize());
}

TEST_F(OpenGLViewTest, aViewThatGoesLeavesTheContextToTheViewThatHasIt) {
    const auto context = FakeGLContext::create();
    OpenGLView second;
    {
        OpenGLView first;
        attach(first, context);
        attach(second, context);
    }
    EXPECT_EQ(context->view(), &second);
}

TEST_F(OpenGLViewTest, aViewKeepsItsContext) {
    std::weak_ptr<FakeGLContext> weak;
    {
        OpenGLView view;
        auto context = FakeGLContext::create();
        weak = context;
        attach(view, context);
        context.reset();
        EXPECT_FALSE(weak.expired());
    }
    EXPECT_TRUE(weak.expired());
}

// Events

TEST_F(OpenGLViewTest, eachEventReachesTheHookOfItsType) {
    RecordingOpenGLView view;
    view.setBounds({0, 0, 100, 100});
    view.track(view.bounds());
    view.log.clear();
    using Type = Event::Type;
    for (const Type type :
         {Type::MouseDown, Type::MouseDragged, Type::MouseUp, Type::RightMouseDown,
          Type::RightMouseDragged, Type::RightMouseUp, Type::MiddleMouseDown,
          Type::MiddleMouseDragged, Type::MiddleMouseUp, Type::MouseEntered, Type::MouseMoved,
          Type::MouseExited, Type::ScrollWheel, Type::TouchesBegan, Type::TouchesMoved,
          Type::TouchesEnded, Type::TouchesCancelled, Type::KeyDown, Type::KeyUp}) {
        view.deliver(eventOf(type, 10, 20));
    }
    EXPECT_THAT(view.log,
                ElementsAre("mouseDown 10,20", "mouseDragged 10,20", "mouseUp 10,20",
                            "rightMouseDown 10,20", "rightMouseDragged 10,20", "rightMouseUp 10,20",
                            "middleMouseDown 10,20", "middleMouseDragged 10,20",
                            "middleMouseUp 10,20", "mouseEntered 10,20", "mouseMoved 10,20",
                            "mouseExited 10,20", "scrollWheel 10,20", "touchesBegan 10,20",
                            "touchesMoved 10,20", "touchesEnded 10,20", "touchesCancelled 10,20",
                            "keyDown 10,20", "keyUp 10,20"));
}

TEST_F(OpenGLViewTest, aKeyThatTheViewHasNoUseForIsTheToolkits) {
    RecordingOpenGLView view;
    for (const Event::Type type : {Event::Type::KeyDown, Event::Type::KeyUp}) {
        view.hasUseForKeys = true;
        EXPECT_TRUE(view.deliverKey(eventOf(type, 10, 20)));
        view.hasUseForKeys = false;
        EXPECT_FALSE(view.deliverKey(eventOf(type, 10, 20)));
    }
    EXPECT_THAT(view.taken(),
                ElementsAre("keyDown 10,20", "keyDown 10,20", "keyUp 10,20", "keyUp 10,20"));
    view.hasUseForKeys = true;
    EXPECT_FALSE(view.deliverKey(nullptr));
    EXPECT_FALSE(view.deliverKey(eventOf(Event::Type::MouseDown, 10, 20)));
    EXPECT_THAT(view.log, IsEmpty());
    EXPECT_FALSE(OpenGLView().deliverKey(eventOf(Event::Type::KeyDown, 10, 20)));
}

TEST_F(OpenGLViewTest, aKeyWhoseHookThrowsIsTheToolkitsAndTheLogSaysSo) {
    RecordingOpenGLView view;
    view.hasUseForKeys = true;
    view.reaction = [](const std::string&) { throw std::runtime_error("no such key"); };
    const Mivora::tests::LogCapture log;
    EXPECT_FALSE(view.deliverKey(eventOf(Event::Type::KeyDown, 10, 20)));
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_THAT(log.lines().front().second, testing::HasSubstr("no such key"));
}

TEST_F(OpenGLViewTest, aPlainViewHasNoElementsAndTheUsualCursor) {
    OpenGLView view;
    EXPECT_THAT(view.elements(), IsEmpty());
    EXPECT_EQ(view.focusedElement(), 0U);
    EXPECT_FALSE(view.performAction(1, 0));
    EXPECT_EQ(view.cursorName(), "");
    view.elementDidFocus(1);
    view.elementDidBlur(1);
}

TEST_F(OpenGLViewTest, theEventArrivesAsItIs) {
    RecordingOpenGLView view;
    const auto event = eventOf(Event::Type::MouseDown, 10, 20);
    view.deliver(event);
    EXPECT_EQ(view.events.back(), event);
    view.deliver(nullptr);
    EXPECT_EQ(view.events.size(), 1U);
}

TEST_F(OpenGLViewTest, pointersThatHoldNoButtonNeedATrackingArea) {
    RecordingOpenGLView view;
    const auto deliverAll = [&] {
        view.log.clear();
        view.deliver(eventOf(Event::Type::MouseEntered, 10, 20));
        view.deliver(eventOf(Event::Type::MouseMoved, 10, 20));
        view.deliver(eventOf(Event::Type::MouseMoved, 60, 20));
        view.deliver(eventOf(Event::Type::MouseExited, 99, 20));
    };
    deliverAll();
    EXPECT_THAT(view.log, IsEmpty());

    const auto crossing = std::make_shared<const TrackingArea>(
        TrackingArea{{0, 0, 50, 50}, TrackingArea::MouseEnteredAndExited});
    view.addTrackingArea(crossing);
    deliverAll();
    EXPECT_THAT(view.log, ElementsAre("mouseEntered 10,20", "mouseExited 99,20"));

    const auto moving = std::make_shared<const TrackingArea>(
        TrackingArea{{0, 0, 50, 50}, TrackingArea::MouseMoved});
    view.addTrackingArea(moving);
    view.removeTrackingArea(crossing);
    deliverAll();
    EXPECT_THAT(view.log, ElementsAre("mouseMoved 10,20")) << "where the area is";

    view.removeTrackingArea(moving);
    view.removeTrackingArea(moving);
    view.addTrackingArea(nullptr);
    EXPECT_THAT(view.trackingAreas(), IsEmpty());
    deliverAll();
    EXPECT_THAT(view.log, IsEmpty());
}

TEST_F(OpenGLViewTest, hooksMayChangeTheTrackingAreas) {
    RecordingOpenGLView view;
    view.track({0, 0, 50, 50});
    view.reaction = [&](const std::string&) {
        view.removeTrackingArea(view.trackingAreas().front());
        view.track({0, 0, 70, 70});
    };
    view.deliver(eventOf(Event::Type::MouseMoved, 60, 20));
    EXPECT_THAT(view.log, IsEmpty());
    view.deliver(eventOf(Event::Type::MouseMoved, 10, 20));
    view.deliver(eventOf(Event::Type::MouseMoved, 60, 20));
    EXPECT_THAT(view.log, ElementsAre("mouseMoved 10,20", "mouseMoved 60,20"));
}

TEST_F(OpenGLViewTest, aViewLivesAsLongAsAnEventIsDelivered) {
    auto view = std::make_shared<RecordingOpenGLView>();
    const std::weak_ptr<RecordingOpenGLView> weak = view;
    RecordingOpenGLView* const raw = view.get();
    view->reaction = [&](const std::string&) {
        view.reset();
        EXPECT_FALSE(weak.expired());
    };
    raw->deliver(eventOf(Event::Type::MouseDown, 10, 20));
    EXPECT_TRUE(weak.expired());
}

TEST_F(OpenGLViewTest, byDefaultEventsDoNothingAndTheViewIsTransparent) {
    OpenGLView view;
    view.addTrackingArea(std::make_shared<const TrackingArea>(TrackingArea{{0, 0, 50, 50}, ~0U}));
    for (int type = 0; type <= static_cast<int>(Event::Type::KeyUp); ++type) {
        view.deliver(eventOf(static_cast<Event::Type>(type), 1, 1));
    }
    EXPECT_FALSE(view.isOpaque());
}

// Shape

TEST_F(OpenGLViewTest, aChangeOfTheBoundsMovesTheTrackingAreasAndReshapes) {
    RecordingOpenGLView view;
    view.setBounds({0, 0, 100, 50});
    EXPECT_THAT(view.taken(), ElementsAre("updateTrackingAreas", "reshape"));
    view.setBounds({0, 0, 100, 50});
    EXPECT_THAT(view.taken(), IsEmpty());
    view.setFrame({10, 10, 100, 50});
    EXPECT_THAT(view.taken(), IsEmpty());
    view.setFrame({10, 10, 101, 50});
    EXPECT_THAT(view.taken(), ElementsAre("updateTrackingAreas", "reshape"));
}

TEST_F(OpenGLViewTest, aChangeOfTheScaleReshapes) {
    RecordingOpenGLView view;
    view.setBackingScaleFactor(2);
    view.log.clear();
    view.setBackingScaleFactor(2);
    EXPECT_THAT(view.log, IsEmpty());
    view.setBackingScaleFactor(3);
    EXPECT_THAT(view.log, ElementsAre("viewDidChangeBackingProperties", "reshape"));
}

TEST_F(OpenGLViewTest, withoutTheBestResolutionAPointIsAPixel) {
    RecordingOpenGLView view;
    view.setBackingScaleFactor(2);
    view.setBounds({0, 0, 100.5, 50});
    EXPECT_TRUE(view.wantsBestResolutionOpenGLSurface());
    view.log.clear();
    view.setWantsBestResolutionOpenGLSurface(false);
    EXPECT_EQ(view.backingSize(), (PixelSize{100, 50}));
    EXPECT_EQ(view.convertRectToBacking({1, 2, 3, 4}), (Rect{1, 2, 3, 4}));
    view.setWantsBestResolutionOpenGLSurface(false);
    EXPECT_THAT(view.log, ElementsAre("reshape"));
    view.setWantsBestResolutionOpenGLSurface(true);
    EXPECT_EQ(view.convertRectToBacking({1, 2, 3, 4}), (Rect{2, 4, 6, 8}));
}

TEST_F(OpenGLViewTest, aReshapeFindsTheDrawableResized) {
    RecordingOpenGLView view;
    view.setBackingScaleFactor(1);
    const auto context = FakeGLContext::create();
    attach(view, context);
    PixelSize seen;
    view.reaction = [&](const std::string& hook) {
        if (hook == "reshape") {
            seen = context->drawable().size();
        }
    };
    view.setBounds({0, 0, 30, 20});
    EXPECT_EQ(seen, (PixelSize{30, 20}));
}

// Windows

TEST_F(OpenGLViewTest, movingIntoAWindowTakesItsScaleTellsAndReshapes) {
    const auto window = HeadlessWindow::create("window", {0, 0, 100, 100});
    window->setBackingScaleFactor(2.5);
    const auto view = std::make_shared<RecordingOpenGLView>();
    view->moveToWindow(window);
    EXPECT_EQ(view->backingScaleFactor(), 2.5);
    EXPECT_THAT(view->taken(),
                ElementsAre("viewDidChangeBackingProperties", "viewDidMoveToWindow", "reshape"));
    view->moveToWindow(nullptr);
    EXPECT_EQ(view->backingScaleFactor(), 2.5);
    EXPECT_THAT(view->taken(), ElementsAre("viewDidMoveToWindow"));
    view->moveToWindow(window);
    EXPECT_THAT(view->taken(), ElementsAre("viewDidMoveToWindow", "reshape"));
}

TEST_F(OpenGLViewTest, aViewThatLeavesAsItComesIsNotReshaped) {
    const auto window = HeadlessWindow::create("window", {0, 0, 100, 100});
    const auto view = std::make_shared<RecordingOpenGLView>();
    view->reaction = [&](const std::string&) {
        view->reaction = nullptr;
        view->moveToWindow(nullptr);
    };
    view->moveToWindow(window);
    EXPECT_THAT(view->log, ElementsAre("viewDidMoveToWindow", "viewDidMoveToWindow"));
}

TEST_F(OpenGLViewTest, aViewInsideAnotherComesIntoTheWindowWithIt) {
    const auto window = HeadlessWindow::create("window", {0, 0, 100, 100});
    window->setBackingScaleFactor(3);
    const auto above = std::make_shared<OpenGLView>();
    const auto view = std::make_shared<RecordingOpenGLView>();
    above->addSubview(view);
    above->moveToWindow(window);
    EXPECT_EQ(view->window(), window);
    EXPECT_EQ(view->backingScaleFactor(), 3);
    EXPECT_EQ(view->log.back(), "reshape");
}

TEST_F(OpenGLViewTest, thePeerIsToldOfAttachedContextsAndOfTheEnd) {
    struct CountingPeer : OpenGLView::Peer {
        void subviewsDidChange() override {}
        void openGLContextDidChange() override { ++attached; }
        void viewIsGoing() override { ++gone; }
        int attached = 0;
        int gone = 0;
    };
    CountingPeer peer;
    const auto context = FakeGLContext::create();
    {
        OpenGLView view;
        view.setPeer(&peer);
        attach(view, context);
        EXPECT_EQ(peer.attached, 1);
        context->setView(&view);
        EXPECT_EQ(peer.attached, 2);
        EXPECT_EQ(peer.gone, 0);
    }
    EXPECT_EQ(peer.gone, 1);
    EXPECT_EQ(peer.attached, 2) << "the end detaches without a word";
}

TEST_F(OpenGLViewTest, thePeerIsToldOfChangesBelow) {
    struct CountingPeer : OpenGLView::Peer {
        void subviewsDidChange() override { ++changes; }
        int changes = 0;
    };
    CountingPeer peer;
    const auto view = std::make_shared<OpenGLView>();
    view->setPeer(&peer);
    EXPECT_EQ(view->peer(), &peer);
    const auto container = View::initWithFrame({0, 0, 10, 10});
    view->addSubview(container);
    EXPECT_EQ(peer.changes, 1);
    const auto inner = View::initWithFrame({0, 0, 10, 10});
    container->addSubview(inner);
    EXPECT_EQ(peer.changes, 2);
    inner->setFrame({1, 1, 10, 10});
    EXPECT_EQ(peer.changes, 3);
    view->setPeer(nullptr);
    inner->setFrame({2, 2, 10, 10});
    EXPECT_EQ(peer.changes, 3);
}
