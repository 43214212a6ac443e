// An application with nothing to do: its thread rests, and whatever gives it something to do wakes
// it up.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string_view>
#include <thread>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/app/MVAnimationClockTick.h"
#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVApplicationRunLoop.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "tests/support/GLTest.h"
#include "tests/views/RecordingView.h"

using Mivora::platform::DebugLog;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::tests::GLTest;

namespace {

constexpr double kTimeout = 30;

class Ticker : public MVAnimationClockTick {
 public:
    void tickVideoSync(double /*step*/, double /*sync*/) override { ++ticks; }

    std::int64_t ticks = 0;
};

template <class Condition>
bool waitFor(Condition condition) {
    return MainThread::runUntil(condition, kTimeout);
}

void turnMainLoop(double seconds) {
    MainThread::runUntil([] { return false; }, seconds);
}

/// An active application with one view that counts what frames do to it.
struct Scene {
    std::shared_ptr<MVApplication> application = MVApplication::init();
    std::shared_ptr<HeadlessWindow> frame = HeadlessWindow::create("", {0, 0, 20, 10});
    std::shared_ptr<RecordingView> view = RecordingView::make("view", nullptr);
    int layouts = 0;
    int drawings = 0;

    Scene() {
        frame->setContentView(application->mv_renderView());
        application->window()->addSubview(view);
        view->onLayoutSubviews = [this] { ++layouts; };
        view->onDraw = [this] { ++drawings; };
        application->setActive(true);
    }
    ~Scene() {
        application->setActive(false);
        const std::weak_ptr<MVApplication> weak = application;
        frame.reset();
        application.reset();
        EXPECT_TRUE(waitFor([&] { return weak.expired(); }));
    }

    bool isResting() const {
        const auto& runLoop = application->mv_activeRunLoop();
        return runLoop && runLoop->mv_isResting();
    }
};

class MVApplicationRestTest : public GLTest {
 protected:
    void TearDown() override {
        turnMainLoop(0);
        GLTest::TearDown();
    }
};

}  // namespace

TEST_F(MVApplicationRestTest, withNothingToDoTheThreadRests) {
    Scene scene;
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
    EXPECT_EQ(scene.drawings, 1);
    const int layouts = scene.layouts;
    turnMainLoop(0.1);
    EXPECT_TRUE(scene.isResting());
    EXPECT_EQ(scene.drawings, 1);
    EXPECT_EQ(scene.layouts, layouts);
}

TEST_F(MVApplicationRestTest, whateverGivesAFrameSomethingToDoWakesTheThread) {
    Scene scene;
    struct Story {
        const char* what;
        std::function<void()> wake;
        std::function<bool()> done;
    };
    int before = 0;
    const auto drawn = [&] { return scene.drawings > before; };
    const auto laidOut = [&] { return scene.layouts > before; };
    const Story stories[] = {
        {"a redraw", [&] { before = scene.drawings, scene.view->setNeedsDraw(); }, drawn},
        {"a redraw from another thread",
         [&] {
             before = scene.drawings;
             std::thread([&] { scene.application->window()->mv_setDrawDirty(); }).join();
         },
         drawn},
        {"a layout", [&] { before = scene.layouts, scene.view->setNeedsLayout(); }, laidOut},
        {"a layout from another thread",
         [&] {
             before = scene.layouts;
             std::thread([&] { scene.view->setNeedsLayout(); }).join();
         },
         laidOut},
        {"a view that is shown again",
         [&] {
             scene.view->setHidden(true);
             EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
             before = scene.drawings;
             scene.view->setHidden(false);
         },
         drawn},
        {"another size",
         [&] {
             before = scene.drawings;
             scene.application->mv_renderView()->setFrame({0, 0, 30, 20});
         },
         drawn},
        {"another scale",
         [&] {
             before = scene.drawings;
             scene.application->mv_renderView()->setBackingScaleFactor(2);
         },
         drawn},
    };
    for (const Story& story : stories) {
        ASSERT_TRUE(waitFor([&] { return scene.isResting(); })) << story.what;
        story.wake();
        EXPECT_TRUE(waitFor(story.done)) << story.what;
    }
}

TEST_F(MVApplicationRestTest, whatTicksKeepsTheThreadAwakeUntilItStops) {
    Scene scene;
    ASSERT_TRUE(waitFor([&] { return scene.isResting(); }));
    auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    EXPECT_TRUE(waitFor([&] { return ticker->ticks >= 5; }));
    scene.application->animationClock()->stopTick(ticker);
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
    // One that goes without stopping is forgotten by the next tick.
    scene.application->animationClock()->startTick(ticker);
    ticker.reset();
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
}

TEST_F(MVApplicationRestTest, pausedItRestsAlsoWhileSomethingWouldTick) {
    Scene scene;
    const auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    scene.application->setPaused(true);
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
    const std::int64_t ticks = ticker->ticks;
    scene.view->setNeedsDraw();
    const int drawings = scene.drawings;
    EXPECT_TRUE(waitFor([&] { return scene.drawings > drawings; }));
    EXPECT_EQ(ticker->ticks, ticks);
    scene.application->setPaused(false);
    EXPECT_TRUE(waitFor([&] { return ticker->ticks > ticks; }));
}

TEST_F(MVApplicationRestTest, aForcedFiringRunsAFrameAndTheRestGoesOn) {
    Scene scene;
    ASSERT_TRUE(waitFor([&] { return scene.isResting(); }));
    const auto other = MVApplication::init();
    MVAnimationClock::mv_setActiveClock(other->animationClock());
    scene.application->mv_activeRunLoop()->forceFireOnNextLoop();
    EXPECT_TRUE(waitFor(
        [&] { return MVAnimationClock::activeClock() == scene.application->animationClock(); }));
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
}

TEST_F(MVApplicationRestTest, aWishOfAHiddenViewKeepsNobodyAwake) {
    Scene scene;
    scene.view->setHidden(true);
    scene.view->setNeedsLayout();
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
    EXPECT_TRUE(scene.view->mv_isLayoutDirty());
    scene.application->window()->setHidden(true);
    scene.application->window()->setNeedsLayout();
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
}

TEST_F(MVApplicationRestTest, aRequestThatComesWhileTheThreadGoesToRestIsDrawn) {
    Scene scene;
    ASSERT_TRUE(waitFor([&] { return scene.isResting(); }));
    // The log tells of the rest just before it can be ended.
    std::atomic<int> rests{0};
    DebugLog::enable("frame");
    DebugLog::setSink([&](DebugLog::Category, std::string_view text) {
        if (text.find("rests") != std::string_view::npos && rests++ == 0) {
            scene.application->window()->mv_setDrawDirty();
        }
    });
    scene.view->setNeedsDraw();
    EXPECT_TRUE(waitFor([&] { return rests >= 2; }));
    DebugLog::setSink(nullptr);
    DebugLog::enable("");
    EXPECT_FALSE(scene.application->window()->mv_windowNeedsDraw());
}

TEST_F(MVApplicationRestTest, noRequestIsLostHoweverItMeetsTheRest) {
    Scene scene;
    ASSERT_TRUE(waitFor([&] { return scene.isResting(); }));
    constexpr int kRequests = 2000;
    std::atomic<int> asked{0};
    std::atomic<std::uint64_t> drawn{0};
    const auto& window = scene.application->window();
    std::thread asking([&] {
        std::mt19937 random(3);
        for (int i = 0; i < kRequests; ++i) {
            window->mv_setDrawDirty();
            // A forced frame ends in a rest; the next request meets it at some point of that.
            scene.application->mv_activeRunLoop()->forceFireOnNextLoop();
            for (int pause = static_cast<int>(random() % 2000); pause > 0; --pause) {
                drawn.load();
            }
            ++asked;
        }
    });
    EXPECT_TRUE(waitFor([&] { return asked == kRequests; }));
    asking.join();
    EXPECT_TRUE(waitFor([&] { return !window->mv_windowNeedsDraw(); }));
    EXPECT_TRUE(waitFor([&] { return scene.isResting(); }));
}

// Each of the programs is compared with an application that never rests, since on a busy machine
// all frames come late: a frame that is asked for comes before the other has made a few.
TEST_F(MVApplicationRestTest, aThousandRandomProgramsMissNoFrameThatWouldHaveBeenDrawn) {
    Scene awake;
    const auto reference = std::make_shared<Ticker>();
    awake.application->animationClock()->startTick(reference);

    // What one application waits for, and since which of the reference's frames.
    struct Program {
        Scene scene;
        std::shared_ptr<Ticker> ticker = std::make_shared<Ticker>();
        std::function<bool()> expected;
        std::int64_t since = 0;
        std::int64_t idleUntil = 0;
        int steps = 0;
        int programs = 0;
    };
    constexpr int kApplications = 40;
    constexpr int kPrograms = 25;  // each
    constexpr int kSteps = 4;
    // A period of its own, one because the two schedules differ, and one for a late main thread.
    constexpr std::int64_t kFrames = 3;
    constexpr std::int64_t kPausedFrames = 15 + 3;

    std::mt19937 random(11);
    const auto pick = [&](int count) { return static_cast<int>(random() % count); };
    std::vector<std::unique_ptr<Program>> programs;
    for (int i = 0; i < kApplications; ++i) {
        programs.push_back(std::make_unique<Program>());
    }
    std::vector<std::int64_t> waited;
    int over = 0;
    const auto step = [&](Program& program) {
        Scene& scene = program.scene;
        const int drawings = scene.drawings;
        const int layouts = scene.layouts;
        const auto drawn = [&scene, drawings] { return scene.drawings > drawings; };
        const auto laidOut = [&scene, layouts] { return scene.layouts > layouts; };
        switch (pick(9)) {
            case 0:
                scene.view->setNeedsDraw();
                program.expected = drawn;
                break;
            case 1:
                std::thread([&] { scene.application->window()->mv_setDrawDirty(); }).join();
                program.expected = drawn;
                break;
            case 2:
                scene.view->setNeedsLayout();
                program.expected = laidOut;
                break;
            case 3:
                std::thread([&] { scene.view->setNeedsLayout(); }).join();
                program.expected = laidOut;
                break;
            case 4:
                if (!scene.application->isPaused()) {
                    scene.application->animationClock()->startTick(program.ticker);
                    program.expected = [&program, ticks = program.ticker->ticks] {
                        return program.ticker->ticks > ticks;
                    };
                }
                break;
            case 5:
                scene.application->animationClock()->stopTick(program.ticker);
                break;
            case 6:
                scene.application->setPaused(pick(6) == 0);
                break;
            case 7:
                scene.application->setActive(false);
                scene.view->setNeedsDraw();
                scene.application->setActive(true);
                program.expected = drawn;
                break;
            default:
                // Never the size that it has.
                scene.application->mv_renderView()->setFrame(
                    {0, 0, scene.application->window()->size().width == 20.0F ? 21.0 : 20.0,
                     10.0 + pick(20)});
                program.expected = drawn;
                break;
        }
        program.since = reference->ticks;
        program.idleUntil = reference->ticks + pick(4);
    };
    const bool finished = MainThread::runUntil(
        [&] {
            over = 0;
            for (const auto& each : programs) {
                Program& program = *each;
                if (program.programs == kPrograms) {
                    ++over;
                    continue;
                }
                if (program.expected) {
                    const std::int64_t frames = reference->ticks - program.since;
                    if (program.expected()) {
                        program.expected = nullptr;
                        waited.push_back(program.scene.application->isPaused()
                                             ? frames - kPausedFrames + kFrames
                                             : frames);
                    }
                } else if (reference->ticks >= program.idleUntil) {
                    if (++program.steps > kSteps) {
                        program.steps = 0;
                        ++program.programs;
                    }
                    step(program);
                }
            }
            return over == kApplications;
        },
        120);
    EXPECT_TRUE(finished) << "a frame never came";
    // One thread or the other may be held up for longer where the machine has other work.
    std::sort(waited.begin(), waited.end());
    EXPECT_LE(waited[waited.size() / 2], 2);
    EXPECT_LE(waited[waited.size() * 95 / 100], kFrames);
}
