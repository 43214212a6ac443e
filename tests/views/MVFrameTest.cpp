#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "MivoraMac/platform/threads/Clock.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/views/RecordingView.h"

namespace {

using Mivora::platform::Clock;
using Mivora::tests::LogCapture;
using testing::ElementsAre;
using testing::IsEmpty;

using Line = LogCapture::Line;

/// A clock that stands still until it is told to go on, and counts how often it is read.
class StoppedClock {
 public:
    StoppedClock() {
        now = 0;
        reads = 0;
        Clock::setSource(
            [] {
                ++reads;
                return now;
            },
            {1, 1});
    }
    ~StoppedClock() { Clock::setSource(nullptr, {1, 1}); }
    StoppedClock(const StoppedClock&) = delete;
    StoppedClock& operator=(const StoppedClock&) = delete;

    static void advanceMicroseconds(std::uint64_t microseconds) { now += microseconds * 1000; }

    static inline std::uint64_t now = 0;
    static inline int reads = 0;
};

/// A window with one view, both of which want a layout.
struct Stage {
    CallLog log;
    std::shared_ptr<RecordingWindow> window = RecordingWindow::make(&log);
    std::shared_ptr<RecordingView> view = RecordingView::make("view", &log);

    Stage() {
        window->addSubview(view);
        window->setNeedsLayout();
        view->setNeedsLayout();
        log.clear();
    }
};

TEST(MVFrameTest, layingOutMakesTheTwoLayoutVisits) {
    Stage stage;
    MVFrame::layOut(*stage.window);
    EXPECT_THAT(stage.log,
                ElementsAre("window.prepareForLayoutSubviews", "view.prepareForLayoutSubviews",
                            "window.layoutSubviews", "view.layoutSubviews"));
}

TEST(MVFrameTest, drawingBeginsBetweenTheTwoDrawVisits) {
    Stage stage;
    MVFrame::draw(*stage.window, [&] { stage.log.emplace_back("begin"); });
    EXPECT_THAT(stage.log, ElementsAre("window.prepareForDraw", "view.prepareForDraw", "begin",
                                       "window.draw", "view.draw"));
}

TEST(MVFrameTest, drawingChangesNothingAboutTheNeedToDraw) {
    Stage stage;
    MVFrame::draw(*stage.window, [] {});
    EXPECT_TRUE(stage.window->mv_windowNeedsDraw());
    stage.window->mv_setDrawClean();
    MVFrame::layOut(*stage.window);
    MVFrame::draw(*stage.window, [] {});
    EXPECT_FALSE(stage.window->mv_windowNeedsDraw());
}

TEST(MVFrameTest, theDebugLogNamesTheVisitsAndHowLongTheyTook) {
    Stage stage;
    const StoppedClock clock;
    stage.view->onPrepareForLayoutSubviews = [] { StoppedClock::advanceMicroseconds(1500); };
    stage.view->onLayoutSubviews = [] { StoppedClock::advanceMicroseconds(250); };
    stage.view->onPrepareForDraw = [] { StoppedClock::advanceMicroseconds(1); };
    stage.view->onDraw = [] { StoppedClock::advanceMicroseconds(12000); };
    const LogCapture log("frame");
    MVFrame::layOut(*stage.window);
    MVFrame::draw(*stage.window, [] { StoppedClock::advanceMicroseconds(99000); });
    constexpr auto frame = LogCapture::Category::Frame;
    EXPECT_THAT(
        log.lines(),
        ElementsAre(Line{frame, "layout preparation 1.500 ms"}, Line{frame, "layout 0.250 ms"},
                    Line{frame, "draw preparation 0.001 ms"}, Line{frame, "draw 12.000 ms"}));
}

TEST(MVFrameTest, withoutTheLogTheClockIsNotRead) {
    Stage stage;
    const StoppedClock clock;
    const LogCapture log("gl,layout");
    MVFrame::layOut(*stage.window);
    MVFrame::draw(*stage.window, [] {});
    EXPECT_EQ(StoppedClock::reads, 0);
    EXPECT_THAT(log.lines(), IsEmpty());
}

TEST(MVFrameTest, anExceptionEndsTheFrame) {
    Stage stage;
    bool begun = false;
    stage.view->onPrepareForDraw = [] { throw std::runtime_error("no"); };
    EXPECT_THROW(MVFrame::draw(*stage.window, [&] { begun = true; }), std::runtime_error);
    EXPECT_FALSE(begun);
    EXPECT_THAT(stage.log, ElementsAre("window.prepareForDraw", "view.prepareForDraw"));
}

}  // namespace
