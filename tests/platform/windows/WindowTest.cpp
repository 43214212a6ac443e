#include "MivoraMac/platform/windows/Window.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>

#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/windows/RecordingOpenGLView.h"

using Mivora::platform::HeadlessWindow;
using Mivora::platform::Rect;
using Mivora::platform::View;
using Mivora::platform::Window;
using Mivora::tests::LogCapture;
using Mivora::tests::RecordingOpenGLView;
using Mivora::tests::ScopedEnvironment;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class WindowTest : public testing::Test {
    // Without a desktop a window is a headless one.
    ScopedEnvironment host_{"MIVORA_HOST", "headless"};
};

}  // namespace

TEST_F(WindowTest, aWindowIsOneOfTheRunningHost) {
    const auto window = Window::initWithTitle("Cards", 800, 600);
    EXPECT_NE(std::dynamic_pointer_cast<HeadlessWindow>(window), nullptr);
    EXPECT_EQ(window->title(), "Cards");
    EXPECT_EQ(window->contentRect(), (Rect{0, 0, 800, 600}));
    EXPECT_FALSE(window->isVisible());
}

TEST_F(WindowTest, sizesThatAreNoneCountAsOne) {
    for (const double size : {0.0, -3.0, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(Window::initWithTitle("", size, 20)->contentRect(), (Rect{0, 0, 1, 20})) << size;
        EXPECT_EQ(Window::initWithTitle("", 20, size)->contentRect(), (Rect{0, 0, 20, 1})) << size;
    }
}

TEST_F(WindowTest, aViewIsTakenFromTheWindowItIsIn) {
    const auto first = Window::initWithTitle("first", 100, 100);
    const auto second = Window::initWithTitle("second", 200, 200);
    first->setContentView(std::make_shared<RecordingOpenGLView>());
    const auto view = first->contentView();
    // By the reference that the first window hands out, which becomes null on the way.
    second->setContentView(first->contentView());
    EXPECT_EQ(first->contentView(), nullptr);
    EXPECT_EQ(second->contentView(), view);
    EXPECT_EQ(view->window(), second);
    EXPECT_EQ(view->bounds(), (Rect{0, 0, 200, 200}));
}

TEST_F(WindowTest, aViewIsTakenFromTheViewItIsIn) {
    const auto above = std::make_shared<View>();
    const auto view = std::make_shared<RecordingOpenGLView>();
    above->addSubview(view);
    const auto window = Window::initWithTitle("window", 100, 100);
    window->setContentView(view);
    EXPECT_THAT(above->subviews(), IsEmpty());
    EXPECT_EQ(view->window(), window);
}

TEST_F(WindowTest, settingTheSameViewDoesNothing) {
    const auto window = Window::initWithTitle("window", 100, 100);
    const auto view = std::make_shared<RecordingOpenGLView>();
    window->setContentView(view);
    view->log.clear();
    window->setContentView(view);
    EXPECT_THAT(view->log, IsEmpty());
}

TEST_F(WindowTest, aWindowThatGoesLeavesItsViewWithoutOne) {
    const auto view = std::make_shared<RecordingOpenGLView>();
    Window::initWithTitle("window", 100, 100)->setContentView(view);
    EXPECT_EQ(view->window(), nullptr);
}

TEST_F(WindowTest, theLatestCloseHandlerIsCalledOnce) {
    const auto window = Window::initWithTitle("window", 100, 100);
    int first = 0;
    int second = 0;
    window->setCloseHandler([&] { ++first; });
    window->setCloseHandler([&] { ++second; });
    window->close();
    window->close();
    EXPECT_EQ(first, 0);
    EXPECT_EQ(second, 1);
}

TEST_F(WindowTest, anExceptionOfTheCloseHandlerIsLogged) {
    const LogCapture capture;
    const auto window = Window::initWithTitle("window", 100, 100);
    window->setCloseHandler([] { throw std::runtime_error("no"); });
    window->close();
    EXPECT_THAT(capture.lines(), SizeIs(1));
}
