#include "MivoraMac/app/MVApplication.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/app/MVAnimationClockTick.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVApplicationRunLoop.h"
#include "MivoraMac/images/MVImageCache.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVColorView.h"
#include "tests/platform/base/ScopedEnvironment.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"
#include "tests/platform/threads/ThreadCount.h"
#include "tests/support/GLTest.h"
#include "tests/views/RecordingView.h"

using Mivora::ColorRGBA;
using Mivora::Size2;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;
using Mivora::tests::GLTest;
using Mivora::tests::threadCount;
using Mivora::tests::waitForThreadCount;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;

namespace {

constexpr double kTimeout = 30;

/// The step of every frame: 1/60 in single precision.
constexpr double kStep = 0.01666666753590107;

/// Something that a clock ticks.
class Ticker : public MVAnimationClockTick {
 public:
    void tickVideoSync(double step, double sync) override {
        ++ticks;
        lastStep = step;
        lastSync = sync;
        if (const std::function<void()> reaction = onTick) {
            reaction();
        }
    }

    std::atomic<int> ticks{0};
    double lastStep = -1;
    double lastSync = -1;
    std::function<void()> onTick;
};

/// Runs the main loop until `condition` holds.
template <class Condition>
bool waitFor(Condition condition, double seconds = kTimeout) {
    return MainThread::runUntil(condition, seconds);
}

void runMainLoopFor(double seconds) {
    MainThread::runUntil([] { return false; }, seconds);
}

class MVApplicationTest : public GLTest {
 protected:
    /// An application in a headless window of a hundred by fifty points.
    struct Scene {
        std::shared_ptr<HeadlessWindow> frame;
        std::shared_ptr<MVApplication> application;
    };

    static Scene makeScene() {
        auto application = MVApplication::init();
        auto frame = HeadlessWindow::create("", {0, 0, 100, 50});
        frame->setContentView(application->mv_renderView());
        frame->show();
        return {frame, application};
    }

    static std::shared_ptr<MVColorView> addBox(MVApplication& application, ColorRGBA color) {
        auto box = MVColorView::initWithColor(color);
        box->setSize({100.0F, 50.0F});
        application.window()->addSubview(box);
        return box;
    }

    /// What the application last presented.
    Picture presented(const MVApplication& application) {
        Picture picture;
        const auto context = application.mv_renderView()->openGLContext();
        MVRenderContext::activeContext()->mv_dispatchBlockSync(
            [&] { picture = context->drawable().readLatestFrame(); });
        return picture;
    }

    static std::uint64_t presentedFrames(const MVApplication& application) {
        return application.mv_renderView()->openGLContext()->drawable().latestFrame().serial;
    }

    static std::vector<int> pixel(const Picture& picture, int x, int y) {
        const std::size_t at = (static_cast<std::size_t>(y) * picture.size.width + x) * 4;
        return {picture.rgba.at(at), picture.rgba.at(at + 1), picture.rgba.at(at + 2)};
    }

    /// Drops an application and waits until it has been taken apart.
    static void drop(Scene& scene) {
        const std::weak_ptr<MVApplication> weak = scene.application;
        const std::weak_ptr<MVWindow> tree = scene.application->window();
        const std::weak_ptr<MVRenderContext> context = MVRenderContext::activeContext();
        scene.frame.reset();
        scene.application.reset();
        EXPECT_TRUE(waitFor([&] { return weak.expired() && tree.expired(); }));
    }

    void TearDown() override {
        runMainLoopFor(0);
        GLTest::TearDown();
    }
};

}  // namespace

// Construction

TEST_F(MVApplicationTest, isNewInactiveAndUnpausedWithAllItsParts) {
    const auto application = MVApplication::init();
    EXPECT_FALSE(application->isActive());
    EXPECT_FALSE(application->isPaused());
    EXPECT_EQ(application->mv_activeRunLoop(), nullptr);
    EXPECT_NE(application->window(), nullptr);
    EXPECT_NE(application->animationClock(), nullptr);
    EXPECT_EQ(application->renderView(), application->mv_renderView());
    EXPECT_NE(application->renderView(), nullptr);
    EXPECT_EQ(application->shaderCache(), MVShaderCache::sharedCache());
    EXPECT_EQ(application->imageCache(), MVImageCache::sharedCache());
    EXPECT_NE(application->shaderCache(), nullptr);
    EXPECT_NE(application->imageCache(), nullptr);
}

TEST_F(MVApplicationTest, theMouseCountsLikeAFingerWhereThatIsWanted) {
    const auto application = MVApplication::init();
    EXPECT_FALSE(application->mouseMakesFingerTouches());
    application->setMouseMakesFingerTouches(true);
    EXPECT_TRUE(application->mouseMakesFingerTouches());
    EXPECT_TRUE(application->mv_renderView()->mouseToTouchDispatcher()->makesFingerTouches());
}

TEST_F(MVApplicationTest, hasNoRenderContextToShow) {
    EXPECT_EQ(MVApplication::init()->renderContext(), nullptr);
}

TEST_F(MVApplicationTest, itsContextIsTheActiveOneAndSharesTheQueueOfTheOneBefore) {
    const auto before = MVRenderContext::activeContext();
    const auto application = MVApplication::init();
    const auto active = MVRenderContext::activeContext();
    ASSERT_NE(active, nullptr);
    EXPECT_NE(active, before);
    EXPECT_EQ(active->dispatchQueue(), before->dispatchQueue());
}

TEST_F(MVApplicationTest, withoutAnActiveContextItHasAQueueOfItsOwn) {
    MVRenderContext::mv_setActiveContext(nullptr);
    auto application = MVApplication::init();
    const auto context = MVRenderContext::activeContext();
    ASSERT_NE(context, nullptr);
    EXPECT_NE(context->dispatchQueue(), context_->dispatchQueue());
    application.reset();
    context->mv_dispatchBlockSync([] {});
}

TEST_F(MVApplicationTest, theWindowBelongsToItAndHasItsSurfaceAndTheSizeOfTheRenderView) {
    const auto application = MVApplication::init();
    EXPECT_EQ(application->window()->mv_application(), application);
    EXPECT_NE(application->window()->mv_surface(), nullptr);
    EXPECT_EQ(application->window()->size(), Size2::kZero);
    application->mv_renderView()->setFrame({0, 0, 320, 200});
    EXPECT_EQ(application->window()->size(), (Size2{320, 200}));
}

TEST_F(MVApplicationTest, observesTheBoundsOfTheRenderViewWhileItLives) {
    auto application = MVApplication::init();
    const auto renderView = application->mv_renderView();
    EXPECT_EQ(renderView->observerCount(), 1U);
    application.reset();
    EXPECT_EQ(renderView->observerCount(), 0U);
}

TEST_F(MVApplicationTest, theFirstLoadsTheStandardShadersAndTheSecondTakesThemOver) {
    const auto first = MVApplication::init();
    finish();
    const std::size_t programs = gl_->callsOf("glCreateProgram").size();
    EXPECT_EQ(programs, 4U);
    const auto second = MVApplication::init();
    finish();
    EXPECT_EQ(gl_->callsOf("glCreateProgram").size(), programs);
    EXPECT_EQ(second->shaderCache(), first->shaderCache());
    EXPECT_EQ(second->imageCache(), first->imageCache());
    EXPECT_NE(second->animationClock(), first->animationClock());
    EXPECT_NE(second->window(), first->window());
}

TEST_F(MVApplicationTest, shadersAreLoadedThroughItsOwnContext) {
    const auto before = MVRenderContext::activeContext();
    std::vector<const void*> contexts;
    gl_->before("glCreateProgram", [&](const auto&) {
        contexts.push_back(Mivora::platform::GLContext::currentContext());
    });
    const auto application = MVApplication::init();
    finish();
    gl_->before("glCreateProgram", nullptr);
    ASSERT_FALSE(contexts.empty());
    EXPECT_EQ(contexts.front(), MVRenderContext::activeContext()->mv_context().get());
}

// The frame

TEST_F(MVApplicationTest, aFrameTicksLaysOutAndDrawsInThisOrder) {
    Scene scene = makeScene();
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    scene.application->window()->addSubview(view);
    const auto ticker = std::make_shared<Ticker>();
    ticker->onTick = [&] { log.emplace_back("tick"); };
    scene.application->animationClock()->startTick(ticker);
    view->setNeedsLayout();
    view->onPrepareForDraw = [&] {
        finish();
        gl_->clear();
    };
    log.clear();

    scene.application->mv_runLoopFired(nullptr);

    std::erase_if(log,
                  [](const std::string& line) { return line.find("Build") != std::string::npos; });
    EXPECT_THAT(log, ElementsAre("tick", "view.prepareForLayoutSubviews", "view.layoutSubviews",
                                 "view.prepareForDraw", "view.draw"));
    drop(scene);
}

TEST_F(MVApplicationTest, aFrameClearsTheDefaultFramebufferSetsTheViewportAndThenDraws) {
    Scene scene = makeScene();
    const auto box = addBox(*scene.application, {1, 0, 0, 1});
    scene.application->mv_runLoopFired(nullptr);
    box->setColor({0, 1, 0, 1});
    std::uint32_t framebuffer = 0;
    MVRenderContext::activeContext()->mv_dispatchBlockSync([&] {
        framebuffer = scene.application->mv_renderView()->openGLContext()->defaultFramebuffer();
    });
    gl_->clear();

    scene.application->mv_runLoopFired(nullptr);

    std::vector<std::string> texts = gl_->texts();
    ASSERT_GE(texts.size(), 5U);
    EXPECT_EQ(texts[0], "glBindFramebuffer(36160, " + std::to_string(framebuffer) + ")");
    EXPECT_THAT(texts[1],
                MatchesRegex("glClearColor\\(0\\.1[0-9]*, 0\\.1[0-9]*, 0\\.1[0-9]*, 1[.0]*\\)"));
    EXPECT_EQ(texts[2], "glClear(17664)");
    EXPECT_EQ(texts[3], "glViewport(0, 0, 100, 50)");
    const auto names = gl_->names();
    const auto draw = std::find(names.begin(), names.end(), "glDrawArrays");
    const auto resolve = std::find(names.begin(), names.end(), "glBlitFramebuffer");
    EXPECT_LT(names.begin() + 3, draw);
    EXPECT_LT(draw, resolve) << "presented before it was drawn";
    EXPECT_NE(resolve, names.end());
    drop(scene);
}

TEST_F(MVApplicationTest, aFramePresentsWhatWasDrawn) {
    Scene scene = makeScene();
    addBox(*scene.application, {1, 0, 0, 1});
    scene.application->mv_runLoopFired(nullptr);
    const Picture picture = presented(*scene.application);
    EXPECT_EQ(picture.size, (PixelSize{100, 50}));
    EXPECT_THAT(pixel(picture, 50, 25), ElementsAre(255, 0, 0));
    drop(scene);
}

TEST_F(MVApplicationTest, whatIsNotCoveredIsDarkGrey) {
    Scene scene = makeScene();
    scene.application->window()->setNeedsDraw();
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_THAT(pixel(presented(*scene.application), 3, 4), ElementsAre(26, 26, 26));
    drop(scene);
}

TEST_F(MVApplicationTest, everyFrameIsASixtiethOfASecondWhateverTimeHasPassed) {
    Scene scene = makeScene();
    const auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    scene.application->mv_runLoopFired(nullptr);
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(ticker->ticks, 2);
    EXPECT_EQ(ticker->lastStep, kStep);
    EXPECT_EQ(ticker->lastSync, 0.0);
    drop(scene);
}

TEST_F(MVApplicationTest, aFrameWithNothingToDrawLaysOutButNeitherClearsNorDrawsNorPresents) {
    Scene scene = makeScene();
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    scene.application->window()->addSubview(view);
    scene.application->mv_runLoopFired(nullptr);
    finish();
    EXPECT_FALSE(scene.application->window()->mv_windowNeedsDraw());
    const std::uint64_t frames = presentedFrames(*scene.application);
    gl_->clear();
    log.clear();
    view->setNeedsLayout();

    scene.application->mv_runLoopFired(nullptr);
    finish();

    EXPECT_THAT(log, ElementsAre("view.prepareForLayoutSubviews", "view.layoutSubviews"));
    EXPECT_THAT(gl_->names(), IsEmpty());
    EXPECT_EQ(presentedFrames(*scene.application), frames);
    drop(scene);
}

TEST_F(MVApplicationTest, aFrameMakesItsContextAndClockTheActiveOnes) {
    Scene one = makeScene();
    const auto contextOfOne = MVRenderContext::activeContext();
    Scene other = makeScene();
    EXPECT_NE(MVRenderContext::activeContext(), contextOfOne);
    one.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(MVRenderContext::activeContext(), contextOfOne);
    EXPECT_EQ(MVAnimationClock::activeClock(), one.application->animationClock());
    other.application->mv_runLoopFired(nullptr);
    EXPECT_NE(MVRenderContext::activeContext(), contextOfOne);
    EXPECT_EQ(MVAnimationClock::activeClock(), other.application->animationClock());
    drop(other);
    drop(one);
}

TEST_F(MVApplicationTest, whatAFrameThrowsIsLoggedAndTheNextFrameIsDrawn) {
    Scene scene = makeScene();
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    scene.application->window()->addSubview(view);
    scene.application->mv_runLoopFired(nullptr);
    const std::uint64_t frames = presentedFrames(*scene.application);
    view->onLayoutSubviews = [] { throw std::runtime_error("expected"); };
    view->setNeedsLayout();
    view->setNeedsDraw();
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(presentedFrames(*scene.application), frames) << "half a frame was shown";
    view->onLayoutSubviews = nullptr;
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(presentedFrames(*scene.application), frames + 1);
    drop(scene);
}

TEST_F(MVApplicationTest, aResizeIsDrawnAtOnce) {
    Scene scene = makeScene();
    addBox(*scene.application, {0, 0, 1, 1})->setSize({200.0F, 100.0F});
    scene.frame->setContentSize(200, 100);
    EXPECT_EQ(scene.application->window()->size(), (Size2{200, 100}));
    const Picture picture = presented(*scene.application);
    EXPECT_EQ(picture.size, (PixelSize{200, 100}));
    EXPECT_THAT(pixel(picture, 199, 99), ElementsAre(0, 0, 255));
    drop(scene);
}

// Running

TEST_F(MVApplicationTest, activeItRunsFramesThatAreDrawnOnTheMainThread) {
    Scene scene = makeScene();
    CallLog log;
    const auto view = RecordingView::make("view", nullptr);
    scene.application->window()->addSubview(view);
    int draws = 0;
    view->onDraw = [&] {
        EXPECT_TRUE(MainThread::isMainThread());
        ++draws;
    };
    const auto ticker = std::make_shared<Ticker>();
    ticker->onTick = [&] { view->setNeedsDraw(); };
    scene.application->animationClock()->startTick(ticker);
    const std::uint64_t frames = presentedFrames(*scene.application);
    scene.application->setActive(true);
    EXPECT_TRUE(scene.application->isActive());
    EXPECT_TRUE(waitFor([&] { return draws >= 5; }));
    EXPECT_GE(presentedFrames(*scene.application), frames + 4);
    scene.application->setActive(false);
    drop(scene);
}

TEST_F(MVApplicationTest, settingTheValueThatItHasDoesNothing) {
    Scene scene = makeScene();
    scene.application->setActive(false);
    scene.application->setPaused(false);
    EXPECT_EQ(scene.application->mv_activeRunLoop(), nullptr);
    scene.application->setActive(true);
    const auto runLoop = scene.application->mv_activeRunLoop();
    ASSERT_NE(runLoop, nullptr);
    EXPECT_EQ(runLoop->frameInterval(), 1);
    EXPECT_EQ(runLoop->application(), scene.application);
    scene.application->setActive(true);
    scene.application->setPaused(false);
    EXPECT_EQ(scene.application->mv_activeRunLoop(), runLoop);
    drop(scene);
}

TEST_F(MVApplicationTest, pausingReplacesTheRunLoopByASlowOneAndGoingOnBringsTheFastOneBack) {
    Scene scene = makeScene();
    scene.application->setActive(true);
    const auto fast = scene.application->mv_activeRunLoop();
    scene.application->setPaused(true);
    const auto slow = scene.application->mv_activeRunLoop();
    EXPECT_TRUE(scene.application->isPaused());
    EXPECT_NE(slow, fast);
    EXPECT_EQ(slow->frameInterval(), 15);
    EXPECT_EQ(fast->application(), nullptr);
    scene.application->setPaused(false);
    EXPECT_FALSE(scene.application->isPaused());
    EXPECT_NE(scene.application->mv_activeRunLoop(), slow);
    EXPECT_EQ(scene.application->mv_activeRunLoop()->frameInterval(), 1);
    drop(scene);
}

TEST_F(MVApplicationTest, pausedWhileInactiveItStartsSlow) {
    Scene scene = makeScene();
    scene.application->setPaused(true);
    EXPECT_EQ(scene.application->mv_activeRunLoop(), nullptr);
    scene.application->setActive(true);
    EXPECT_EQ(scene.application->mv_activeRunLoop()->frameInterval(), 15);
    drop(scene);
}

TEST_F(MVApplicationTest, pausedItLaysOutAndDrawsFourTimesASecondWithoutTicking) {
    Scene scene = makeScene();
    const auto view = RecordingView::make("view", nullptr);
    scene.application->window()->addSubview(view);
    std::vector<std::chrono::steady_clock::time_point> draws;
    int layouts = 0;
    view->onLayoutSubviews = [&] {
        ++layouts;
        view->setNeedsDraw();
    };
    view->onDraw = [&] {
        draws.push_back(std::chrono::steady_clock::now());
        view->setNeedsLayout();
    };
    const auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    scene.application->setPaused(true);
    view->setNeedsLayout();
    view->setNeedsDraw();
    scene.application->setActive(true);
    ASSERT_TRUE(waitFor([&] { return draws.size() >= 3; }));
    scene.application->setActive(false);
    EXPECT_GE(layouts, 2);
    EXPECT_EQ(ticker->ticks, 0);
    const double seconds = std::chrono::duration<double>(draws[2] - draws[0]).count();
    EXPECT_GT(seconds, 0.3) << "two periods of a quarter of a second, give or take a late frame";
    drop(scene);
}

TEST_F(MVApplicationTest, aRequestMadeWhileAFrameIsBeingPresentedIsDrawnInTheNextOne) {
    Scene scene = makeScene();
    const auto box = addBox(*scene.application, {1, 0, 0, 1});
    std::uint64_t requests = 0;
    // As in a frame: the main thread has drawn, handles an event, and only then the run loop's
    // thread marks the window clean.
    ASSERT_TRUE(scene.application->mv_runLoop(scene.application->mv_activeRunLoop()));
    requests = scene.application->window()->mv_drawRequests();
    box->setColor({0, 1, 0, 1});
    scene.application->window()->mv_setDrawCleanAsOf(requests);
    EXPECT_TRUE(scene.application->window()->mv_windowNeedsDraw());
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_FALSE(scene.application->window()->mv_windowNeedsDraw());
    EXPECT_THAT(pixel(presented(*scene.application), 5, 5), ElementsAre(0, 255, 0));
    drop(scene);
}

TEST_F(MVApplicationTest, aFrameThatWaitsForTheMainThreadIsLeftOutOnceItWasStopped) {
    Scene scene = makeScene();
    const auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    scene.application->setActive(true);
    // The main thread turns no loop meanwhile, so the run loop's thread comes to wait for it.
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    scene.application->setActive(false);
    runMainLoopFor(0.05);
    EXPECT_EQ(ticker->ticks, 0);
    drop(scene);
}

TEST_F(MVApplicationTest, aForcedFiringRunsOneMoreFrame) {
    Scene scene = makeScene();
    scene.application->setPaused(true);
    scene.application->setActive(true);
    const auto view = RecordingView::make("view", nullptr);
    int layouts = 0;
    view->onLayoutSubviews = [&] { ++layouts; };
    scene.application->window()->addSubview(view);
    view->setNeedsLayout();
    const auto start = std::chrono::steady_clock::now();
    scene.application->mv_activeRunLoop()->forceFireOnNextLoop();
    ASSERT_TRUE(waitFor([&] { return layouts == 1; }));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
    drop(scene);
}

// Two applications

TEST_F(MVApplicationTest, eachOfTwoSurvivesTheEndOfTheOther) {
    Scene first = makeScene();
    Scene second = makeScene();
    addBox(*first.application, {1, 0, 0, 1});
    const auto box = addBox(*second.application, {0, 1, 0, 1});
    first.application->setActive(true);
    second.application->setActive(true);
    ASSERT_TRUE(waitFor([&] {
        return presentedFrames(*first.application) > 1 && presentedFrames(*second.application) > 1;
    }));
    drop(first);
    box->setColor({0, 0, 1, 1});
    const std::uint64_t frames = presentedFrames(*second.application);
    ASSERT_TRUE(waitFor([&] { return presentedFrames(*second.application) > frames; }));
    EXPECT_THAT(pixel(presented(*second.application), 9, 9), ElementsAre(0, 0, 255));

    Scene third = makeScene();
    addBox(*third.application, {1, 1, 0, 1});
    drop(second);
    third.application->mv_runLoopFired(nullptr);
    EXPECT_THAT(pixel(presented(*third.application), 9, 9), ElementsAre(255, 255, 0));
    drop(third);
}

TEST_F(MVApplicationTest, aViewMayMoveFromOneToTheOther) {
    Scene first = makeScene();
    Scene second = makeScene();
    const auto box = addBox(*first.application, {1, 0, 0, 1});
    first.application->mv_runLoopFired(nullptr);
    second.application->window()->addSubview(box);
    second.application->mv_runLoopFired(nullptr);
    EXPECT_THAT(pixel(presented(*second.application), 9, 9), ElementsAre(255, 0, 0));
    drop(second);
    drop(first);
}

// The end

TEST_F(MVApplicationTest, theImageCacheGoesWithItAndTheNextInstallsAnotherOne) {
    Scene scene = makeScene();
    const std::weak_ptr<MVImageCache> former = MVImageCache::sharedCache();
    drop(scene);
    EXPECT_TRUE(former.expired());
    EXPECT_EQ(MVImageCache::sharedCache(), nullptr);
    MVRenderContext::mv_setActiveContext(context_);
    scene = makeScene();
    EXPECT_NE(MVImageCache::sharedCache(), nullptr);
    EXPECT_EQ(scene.application->imageCache(), MVImageCache::sharedCache());
    drop(scene);
}

TEST_F(MVApplicationTest, aThousandTimesOnAndOffLeaveNoThreadAndNoRunLoop) {
    Scene scene = makeScene();
    scene.application->mv_runLoopFired(nullptr);
    const std::size_t threads = threadCount();
    std::vector<std::weak_ptr<MVApplicationRunLoop>> runLoops;
    for (int i = 0; i < 1000; ++i) {
        scene.application->setActive(true);
        runLoops.push_back(scene.application->mv_activeRunLoop());
        if (i % 100 == 0) {
            runMainLoopFor(0.02);
        }
        scene.application->setActive(false);
    }
    EXPECT_TRUE(waitFor([&] {
        return std::all_of(runLoops.begin(), runLoops.end(),
                           [](const auto& runLoop) { return runLoop.expired(); });
    }));
    EXPECT_LE(waitForThreadCount(threads), threads);
    drop(scene);
}

TEST_F(MVApplicationTest, twoHundredOfThemLeaveNothingBehind) {
    const std::size_t threads = threadCount();
    // Beside one that lives on, most of them have no shaders of their own to compile.
    Scene lasting = makeScene();
    for (int i = 0; i < 200; ++i) {
        if (i == 180) {
            drop(lasting);
            MVRenderContext::mv_setActiveContext(context_);
        }
        Scene scene = makeScene();
        addBox(*scene.application, {1, 0, 0, 1});
        if (i % 2 == 0) {
            scene.application->setActive(true);
        }
        if (i % 20 == 0) {
            runMainLoopFor(0.02);
        }
        drop(scene);
        MVRenderContext::mv_setActiveContext(context_);
    }
    EXPECT_LE(waitForThreadCount(threads + 1), threads + 1) << "one may be the GL queue's";
    finish();
    EXPECT_THAT(gl_->liveObjects(), IsEmpty());
}

TEST_F(MVApplicationTest, mayBeDroppedFromATick) {
    Scene scene = makeScene();
    const std::weak_ptr<MVApplication> weak = scene.application;
    const auto ticker = std::make_shared<Ticker>();
    ticker->onTick = [&] {
        scene.application.reset();
        scene.frame.reset();
    };
    scene.application->animationClock()->startTick(ticker);
    scene.application->setActive(true);
    EXPECT_TRUE(waitFor([&] { return weak.expired(); }));
    EXPECT_EQ(ticker->ticks, 1);
}

TEST_F(MVApplicationTest, mayBeDroppedFromWithinLayoutAndDrawing) {
    for (const bool whileDrawing : {false, true}) {
        Scene scene = makeScene();
        const std::weak_ptr<MVApplication> weak = scene.application;
        const auto view = RecordingView::make("view", nullptr);
        const auto end = [&] {
            scene.application.reset();
            scene.frame.reset();
        };
        (whileDrawing ? view->onDraw : view->onLayoutSubviews) = end;
        scene.application->window()->addSubview(view);
        view->setNeedsLayout();
        scene.application->setActive(true);
        EXPECT_TRUE(waitFor([&] { return weak.expired(); }));
        MVRenderContext::mv_setActiveContext(context_);
    }
}

TEST_F(MVApplicationTest, mayBeDroppedWhileItsThreadWaitsForTheMainThread) {
    Scene scene = makeScene();
    const std::weak_ptr<MVApplication> weak = scene.application;
    const std::weak_ptr<MVWindow> window = scene.application->window();
    scene.application->setActive(true);
    std::this_thread::sleep_for(std::chrono::milliseconds(60));
    scene.application.reset();
    scene.frame.reset();
    EXPECT_TRUE(waitFor([&] { return weak.expired() && window.expired(); }));
}

TEST_F(MVApplicationTest, droppedOnAnotherThreadItIsTakenApartOnTheMainThread) {
    class Witness : public MVView {
     public:
        explicit Witness(std::atomic<int>* destroyed) : destroyed_(destroyed) {}
        ~Witness() override { *destroyed_ = MainThread::isMainThread() ? 1 : 2; }

     private:
        std::atomic<int>* destroyed_;
    };
    std::atomic<int> destroyed{0};
    Scene scene = makeScene();
    scene.application->window()->addSubview(MVMake<Witness>(&destroyed));
    scene.frame.reset();
    std::thread([application = std::move(scene.application)]() mutable {
        application.reset();
    }).join();
    EXPECT_EQ(destroyed, 0);
    EXPECT_TRUE(waitFor([&] { return destroyed != 0; }));
    EXPECT_EQ(destroyed, 1);
}

TEST_F(MVApplicationTest, theRenderViewMayOutliveIt) {
    Scene scene = makeScene();
    const auto renderView = scene.application->mv_renderView();
    const std::weak_ptr<MVApplication> weak = scene.application;
    scene.application.reset();
    EXPECT_TRUE(weak.expired());
    scene.frame->setContentSize(30, 20);
    renderView->deliver(std::make_shared<Mivora::platform::Event>());
    EXPECT_EQ(renderView->bounds().width, 30);
}

// The native view

TEST_F(MVApplicationTest, theViewportIsTheBoundsInPixelsTruncated) {
    Scene scene = makeScene();
    scene.frame->setBackingScaleFactor(2);
    finish();
    gl_->clear();
    scene.application->mv_renderView()->setFrame({0, 0, 100.5, 50});
    finish();
    EXPECT_THAT(gl_->texts(), Contains("glViewport(0, 0, 201, 100)"));
    EXPECT_EQ(presented(*scene.application).size, (PixelSize{201, 100}));
    drop(scene);
}

TEST_F(MVApplicationTest, aResizeSetsTheViewportThenResizesTheWindowAndThenDraws) {
    Scene scene = makeScene();
    CallLog log;
    const auto view = RecordingView::make("view", &log);
    scene.application->window()->addSubview(view);
    finish();
    gl_->clear();
    log.clear();
    Size2 sizeWhenDrawn = Size2::kZero;
    std::vector<std::string> callsBefore;
    view->onPrepareForLayoutSubviews = [&] {
        finish();
        callsBefore = gl_->texts();
        sizeWhenDrawn = scene.application->window()->size();
    };
    view->setNeedsLayout();
    scene.frame->setContentSize(60, 40);
    EXPECT_THAT(callsBefore, ElementsAre("glViewport(0, 0, 60, 40)"));
    EXPECT_EQ(sizeWhenDrawn, (Size2{60, 40}));
    EXPECT_THAT(log, Contains("view.draw"));
    drop(scene);
}

TEST_F(MVApplicationTest, theContextIsAttachedOnceTheViewIsInAWindow) {
    const auto application = MVApplication::init();
    EXPECT_EQ(application->renderView()->openGLContext(), nullptr);
    const auto frame = HeadlessWindow::create("", {0, 0, 30, 20});
    frame->setContentView(application->renderView());
    EXPECT_EQ(application->renderView()->openGLContext(),
              MVRenderContext::activeContext()->mv_context());
    EXPECT_NE(application->renderView()->pixelFormat(), nullptr);
    EXPECT_EQ(presented(*application).size, (PixelSize{30, 20})) << "a frame is there at once";
}

TEST_F(MVApplicationTest, theCameraGivesTheNativeViewsItsPerspective) {
    Scene scene = makeScene();
    scene.frame->setContentSize(800, 600);
    const glm::dmat4 transform =
        scene.application->mv_renderView()->mv_bridgeViewContainer()->sublayerTransform();
    EXPECT_NEAR(transform[2][3], -1 / 519.6152, 1e-6);
    drop(scene);
}

// The active context

TEST_F(MVApplicationTest, oneThatLivesTakesOverFromTheActiveOneThatGoes) {
    Scene first = makeScene();
    Scene second = makeScene();
    second.application->mv_runLoopFired(nullptr);
    drop(second);
    ASSERT_NE(MVRenderContext::activeContext(), nullptr);
    EXPECT_EQ(MVRenderContext::activeContext()->mv_context(),
              first.application->mv_renderView()->openGLContext());

    Scene third = makeScene();
    addBox(*third.application, {0, 0, 1, 1});
    third.application->mv_runLoopFired(nullptr);
    EXPECT_THAT(pixel(presented(*third.application), 9, 9), ElementsAre(0, 0, 255));
    drop(third);
    drop(first);
}

TEST_F(MVApplicationTest, oneThatIsNotActiveGoesWithoutChangingTheActiveContext) {
    Scene first = makeScene();
    Scene second = makeScene();
    Scene third = makeScene();
    second.application->mv_runLoopFired(nullptr);
    const auto active = MVRenderContext::activeContext();
    drop(third);
    EXPECT_EQ(MVRenderContext::activeContext(), active);
    drop(first);
    EXPECT_EQ(MVRenderContext::activeContext(), active);
    drop(second);
}

TEST_F(MVApplicationTest, oneThatLivesTakesOverAlsoWhereTheRenderViewOfTheOtherIsKept) {
    Scene first = makeScene();
    Scene second = makeScene();
    const auto renderView = second.application->mv_renderView();
    second.application.reset();
    EXPECT_EQ(MVRenderContext::activeContext()->mv_context(),
              first.application->mv_renderView()->openGLContext());
    drop(first);
}

// Focus and elements

namespace {

/// What a host has for the view: counts what it is told.
struct CountingPeer : Mivora::platform::OpenGLView::Peer {
    void subviewsDidChange() override {}
    void elementsDidChange() override { ++elements; }
    void focusElement(std::uint64_t identifier) override { focused.push_back(identifier); }

    int elements = 0;
    std::vector<std::uint64_t> focused;
};

}  // namespace

TEST_F(MVApplicationTest, framesTellTheHostOfElementsAndOtherwiseRest) {
    Scene scene = makeScene();
    CountingPeer peer;
    scene.application->renderView()->setPeer(&peer);
    const auto box = addBox(*scene.application, {1, 0, 0, 1});
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(peer.elements, 0);
    EXPECT_TRUE(scene.application->mv_isIdle());

    box->setAccessibilityLabel("box");
    box->setAccessibilityValue("1");
    EXPECT_FALSE(scene.application->mv_isIdle());
    const std::uint64_t frames = presentedFrames(*scene.application);
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(peer.elements, 1);
    EXPECT_EQ(presentedFrames(*scene.application), frames) << "nothing of it is seen";
    EXPECT_TRUE(scene.application->mv_isIdle());
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(peer.elements, 1);
    box->setPosition({10, 10});
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_EQ(peer.elements, 2);
    scene.application->renderView()->setPeer(nullptr);
}

TEST_F(MVApplicationTest, theHostIsToldOfTheFocusAlsoOfOneThatTheTreeTakesAway) {
    Scene scene = makeScene();
    CountingPeer peer;
    scene.application->renderView()->setPeer(&peer);
    const auto outer = addBox(*scene.application, {1, 0, 0, 1});
    const auto box = addBox(*scene.application, {0, 1, 0, 1});
    outer->addSubview(box);
    outer->setFocusable(true);
    box->setFocusable(true);
    box->focus();
    scene.application->mv_runLoopFired(nullptr);
    box->removeFromSuperview();
    EXPECT_THAT(peer.focused, ElementsAre(box->mv_elementIdentifier()));
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_THAT(peer.focused,
                ElementsAre(box->mv_elementIdentifier(), outer->mv_elementIdentifier()));
    EXPECT_TRUE(scene.application->mv_isIdle());
    // Leaving the window takes it off; a peer that comes later asks.
    scene.frame->setContentView(nullptr);
    EXPECT_EQ(peer.focused.back(), 0U);
    scene.application->renderView()->setPeer(nullptr);
}

// Frames that overlap with requests

TEST_F(MVApplicationTest, whatAFrameAsksForWhileItIsLaidOutAndDrawnIsDrawnInIt) {
    Scene scene = makeScene();
    const auto view = RecordingView::make("view", nullptr);
    scene.application->window()->addSubview(view);
    view->onLayoutSubviews = [&] { view->setNeedsDraw(); };
    view->onDraw = [&] { view->setNeedsDraw(); };
    scene.application->mv_runLoopFired(nullptr);
    EXPECT_FALSE(scene.application->window()->mv_windowNeedsDraw());
    drop(scene);
}

TEST_F(MVApplicationTest, aRequestThatFollowsTheMainThreadsHalfOfAFrameIsDrawnInTheNextOne) {
    Scene scene = makeScene();
    const auto box = addBox(*scene.application, {1, 0, 0, 1});
    for (int i = 0; i < 10; ++i) {
        box->setNeedsDraw();
        std::atomic<bool> over = false;
        std::thread thread([&] {
            scene.application->mv_runLoopFired(nullptr);
            over = true;
        });
        // The frame's half is in line for the main thread, and so is next what makes the request.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        MainThread::perform([&] { box->setNeedsDraw(); });
        EXPECT_TRUE(waitFor([&] { return over.load(); }));
        thread.join();
        EXPECT_TRUE(scene.application->window()->mv_windowNeedsDraw());
    }
    drop(scene);
}

TEST_F(MVApplicationTest, framesComeSixtyTimesASecondWhereTheMachineKeepsUp) {
    Scene scene = makeScene();
    const auto ticker = std::make_shared<Ticker>();
    scene.application->animationClock()->startTick(ticker);
    // A busy machine takes its time now and then, but not every time.
    for (int i = 0; i < 10 && ticker->ticks < 18; ++i) {
        scene.application->setActive(true);
        ticker->ticks = 0;
        runMainLoopFor(0.5);
        scene.application->setActive(false);
    }
    EXPECT_GE(ticker->ticks, 18) << "of thirty";
    drop(scene);
}

TEST_F(MVApplicationTest, theViewportIsThatOfTheActiveContext) {
    Scene first = makeScene();
    Scene second = makeScene();
    second.frame->setContentSize(30, 20);
    second.application->mv_runLoopFired(nullptr);
    first.application->mv_renderView()->mv_setViewport();
    std::array<GLint, 4> viewport{};
    MVRenderContext::activeContext()->mv_dispatchBlockSync(
        [&] { glGetIntegerv(GL_VIEWPORT, viewport.data()); });
    EXPECT_EQ(MVRenderContext::activeContext()->mv_context(),
              second.application->mv_renderView()->openGLContext());
    EXPECT_THAT(viewport, ElementsAre(0, 0, 100, 50));
    drop(second);
    drop(first);
}

// The end of the process

namespace {

/// A program's own statics, which go only after the driver has.
std::shared_ptr<MVApplication> programApplication;
std::shared_ptr<HeadlessWindow> programFrame;

[[noreturn]] void runAProgramAndExit() {
    programApplication = MVApplication::init();
    programFrame = HeadlessWindow::create("", {0, 0, 100, 50});
    programFrame->setContentView(programApplication->mv_renderView());
    programFrame->show();
    programApplication->setActive(true);
    runMainLoopFor(0.05);
    std::exit(0);
}

/// What is drawn last has the driver compile something for it.
[[noreturn]] void drawSomethingNewAndExit() {
    const auto application = MVApplication::init();
    const auto frame = HeadlessWindow::create("", {0, 0, 100, 50});
    frame->setContentView(application->mv_renderView());
    frame->show();
    application->window()->addSubview(MVColorView::initWithColor({1, 0, 0, 1}));
    application->mv_runLoopFired(nullptr);
    MVRenderContext::activeContext()->dispatchBlock([] {
        std::array<GLuint, 2> framebuffers{};
        std::array<GLuint, 2> textures{};
        glGenFramebuffers(2, framebuffers.data());
        glGenTextures(2, textures.data());
        // By each format that is copied to another, a program of the driver's.
        constexpr std::array<GLenum, 4> kFormats = {GL_RGBA8, GL_RGBA16F, GL_RGB10_A2, GL_R8};
        for (const GLenum from : kFormats) {
            for (const GLenum to : kFormats) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                for (std::size_t i = 0; i < 2; ++i) {
                    glBindTexture(GL_TEXTURE_2D, textures[i]);
                    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(i == 0 ? from : to), 8, 8, 0,
                                 GL_RGBA, GL_UNSIGNED_BYTE, nullptr);
                    glBindFramebuffer(i == 0 ? GL_READ_FRAMEBUFFER : GL_DRAW_FRAMEBUFFER,
                                      framebuffers[i]);
                    glFramebufferTexture2D(i == 0 ? GL_READ_FRAMEBUFFER : GL_DRAW_FRAMEBUFFER,
                                           GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, textures[i], 0);
                }
                glBlitFramebuffer(0, 0, 8, 8, 0, 0, 4, 4, GL_COLOR_BUFFER_BIT, GL_LINEAR);
                glFinish();
            }
        }
    });
    std::exit(0);
}

using MVApplicationDeathTest = Mivora::tests::ThreadsafeDeathTest;

}  // namespace

TEST_F(MVApplicationDeathTest, anActiveOneMayLiveInAVariableOfTheProgram) {
    const Mivora::tests::ScopedEnvironment headless("MIVORA_HOST", "headless");
    EXPECT_EXIT(runAProgramAndExit(), testing::ExitedWithCode(0), "");
}

TEST_F(MVApplicationDeathTest, theProcessMayExitWhileItsLastFrameIsDrawn) {
    const Mivora::tests::ScopedEnvironment headless("MIVORA_HOST", "headless");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EXIT(drawSomethingNewAndExit(), testing::ExitedWithCode(0), "");
    }
}
