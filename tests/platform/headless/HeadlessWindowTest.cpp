#include "MivoraMac/platform/headless/HeadlessWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>

#include "MivoraMac/platform/windows/Screen.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/windows/RecordingOpenGLView.h"

using Mivora::platform::HeadlessWindow;
using Mivora::platform::Rect;
using Mivora::platform::Screen;
using Mivora::tests::RecordingOpenGLView;
using Mivora::tests::ScopedEnvironment;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HeadlessWindowTest : public testing::Test {
 protected:
    static std::shared_ptr<HeadlessWindow> make(double width = 400, double height = 300) {
        return HeadlessWindow::create("window", {0, 0, width, height});
    }

 private:
    // A view asks the host for the scale of the screen.
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};
};

}  // namespace

TEST_F(HeadlessWindowTest, aNewWindowIsNotOnTheScreen) {
    const auto window = make();
    EXPECT_EQ(window->title(), "window");
    EXPECT_EQ(window->contentRect(), (Rect{0, 0, 400, 300}));
    EXPECT_EQ(window->contentView(), nullptr);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(window->isMainWindow());
    EXPECT_EQ(window->backingScaleFactor(), Screen::mainScreen()->backingScaleFactor());
}

TEST_F(HeadlessWindowTest, showingMakesItTheMainWindowOnce) {
    const auto window = make();
    window->show();
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(window->isMainWindow());
    window->setMainWindow(false);
    window->show();
    EXPECT_FALSE(window->isMainWindow());
}

TEST_F(HeadlessWindowTest, theTitleReadsAsItWasSet) {
    const auto window = make();
    window->setTitle("other");
    EXPECT_EQ(window->title(), "other");
}

TEST_F(HeadlessWindowTest, theContentViewFillsTheWindowAndLearnsOfIt) {
    const auto window = make();
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    EXPECT_EQ(view->frame(), (Rect{0, 0, 400, 300}));
    EXPECT_EQ(view->window(), window);
    EXPECT_THAT(view->log,
                ElementsAre("updateTrackingAreas", "reshape", "viewDidMoveToWindow", "reshape"));
}

TEST_F(HeadlessWindowTest, theContentViewFollowsTheSize) {
    const auto window = make();
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    view->log.clear();
    window->setContentSize(500, 200);
    EXPECT_EQ(window->contentRect(), (Rect{0, 0, 500, 200}));
    EXPECT_EQ(view->bounds(), (Rect{0, 0, 500, 200}));
    EXPECT_THAT(view->log, ElementsAre("updateTrackingAreas", "reshape"));
}

TEST_F(HeadlessWindowTest, sizesBelowOneAndNaNCountAsOne) {
    const auto window = make();
    for (const double size : {0.0, -5.0, 0.5, std::numeric_limits<double>::quiet_NaN()}) {
        window->setContentSize(size, size);
        EXPECT_EQ(window->contentRect(), (Rect{0, 0, 1, 1})) << size;
    }
}

TEST_F(HeadlessWindowTest, theContentViewFollowsTheScale) {
    const auto window = make();
    window->setBackingScaleFactor(3);
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    EXPECT_EQ(view->backingScaleFactor(), 3);
    EXPECT_THAT(view->log, Contains("viewDidChangeBackingProperties"));
    view->log.clear();
    window->setBackingScaleFactor(1.5);
    EXPECT_EQ(view->backingScaleFactor(), 1.5);
    EXPECT_THAT(view->log, ElementsAre("viewDidChangeBackingProperties", "reshape"));
}

TEST_F(HeadlessWindowTest, whatIsNoScaleIsIgnored) {
    const auto window = make();
    window->setBackingScaleFactor(2);
    for (const double factor : {0.0, -1.0, std::numeric_limits<double>::infinity(),
                                std::numeric_limits<double>::quiet_NaN()}) {
        window->setBackingScaleFactor(factor);
        EXPECT_EQ(window->backingScaleFactor(), 2) << factor;
    }
}

TEST_F(HeadlessWindowTest, replacingTheContentTakesTheFormerViewOut) {
    const auto window = make();
    const auto first = std::make_shared<RecordingOpenGLView>();
    const auto second = std::make_shared<RecordingOpenGLView>();
    window->setContentView(first);
    window->setContentView(second);
    EXPECT_EQ(first->window(), nullptr);
    EXPECT_EQ(first->log.back(), "viewDidMoveToWindow");
    EXPECT_EQ(second->window(), window);
    window->setContentView(nullptr);
    EXPECT_EQ(second->window(), nullptr);
    EXPECT_EQ(window->contentView(), nullptr);
}

TEST_F(HeadlessWindowTest, closingTakesTheViewOutAndTellsTheHandler) {
    const auto window = make();
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    window->show();
    view->log.clear();
    int closed = 0;
    window->setCloseHandler([&] {
        ++closed;
        EXPECT_EQ(window->contentView(), view);
        EXPECT_EQ(view->window(), nullptr);
    });
    window->close();
    EXPECT_EQ(closed, 1);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(window->isMainWindow());
    EXPECT_THAT(view->log, ElementsAre("viewDidMoveToWindow"));
    window->close();
    window->show();
    EXPECT_EQ(closed, 1);
    EXPECT_FALSE(window->isVisible());
}

TEST_F(HeadlessWindowTest, aClosedWindowTakesNoViewIn) {
    const auto window = make();
    window->close();
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    EXPECT_EQ(view->window(), nullptr);
    EXPECT_THAT(view->log, IsEmpty());
}

TEST_F(HeadlessWindowTest, aViewMayLeaveAndGoWhileItsWindowDoesSomethingWithIt) {
    for (const std::string when :
         {"reshape", "viewDidMoveToWindow", "viewDidChangeBackingProperties"}) {
        const auto window = make();
        auto view = std::make_shared<RecordingOpenGLView>();
        window->setContentView(view);
        const std::weak_ptr<RecordingOpenGLView> weak = view;
        view->reaction = [&](const std::string& hook) {
            if (hook == when && view) {
                view.reset();
                window->setContentView(nullptr);
            }
        };
        window->setBackingScaleFactor(window->backingScaleFactor() + 1);
        window->setContentSize(200, 100);
        window->close();
        EXPECT_TRUE(weak.expired()) << when;
    }
}

TEST_F(HeadlessWindowTest, contentThatTheFormerViewSetsOnItsWayOutStands) {
    const auto window = make();
    const auto first = std::make_shared<RecordingOpenGLView>();
    const auto second = std::make_shared<RecordingOpenGLView>();
    const auto third = std::make_shared<RecordingOpenGLView>();
    window->setContentView(first);
    first->reaction = [&](const std::string&) { window->setContentView(third); };
    window->setContentView(second);
    EXPECT_EQ(window->contentView(), third);
    EXPECT_EQ(third->window(), window);
    EXPECT_EQ(second->window(), nullptr);
}

TEST_F(HeadlessWindowTest, aWindowMayBeLetGoOfByItsOwnCloseHandler) {
    auto window = make();
    const std::weak_ptr<HeadlessWindow> weak = window;
    window->setCloseHandler([&] { window.reset(); });
    weak.lock()->close();
    EXPECT_TRUE(weak.expired());
}

TEST_F(HeadlessWindowTest, aViewThatIsInAnotherWindowIsLeftAlone) {
    for (const bool isClosed : {true, false}) {
        const auto former = make(100, 50);
        const auto latter = make(300, 200);
        const auto view = std::make_shared<RecordingOpenGLView>();
        former->setContentView(view);
        if (isClosed) {
            former->close();
        }
        latter->setContentView(view);
        view->log.clear();
        former->setContentSize(10, 10);
        former->setBackingScaleFactor(7);
        former->close();
        EXPECT_THAT(view->log, IsEmpty());
        EXPECT_EQ(view->window(), latter);
        EXPECT_EQ(view->bounds(), (Rect{0, 0, 300, 200}));
        EXPECT_EQ(view->backingScaleFactor(), latter->backingScaleFactor());
    }
}
