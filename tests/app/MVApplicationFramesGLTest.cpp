// Frames of a running application, with resizes, captures and redraw requests at any moment.

#include <epoxy/gl.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "MivoraMac/app/MVApplication.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVApplicationRunLoop.h"
#include "MivoraMac/app/MVCapture.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/headless/HeadlessWindow.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/views/MVColorView.h"
#include "tests/support/GLTest.h"
#include "tests/views/RecordingView.h"

using Mivora::ColorRGBA;
using Mivora::platform::HeadlessWindow;
using Mivora::platform::MainThread;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;

namespace {

constexpr double kTimeout = 60;
constexpr int kMostSide = 24;
constexpr int kStripes = 24;

/// How many operations: some thousand, or as many as MIVORA_FRAME_OPERATIONS says.
int operations() {
    const char* const wanted = std::getenv("MIVORA_FRAME_OPERATIONS");
    return wanted != nullptr ? std::atoi(wanted) : 3000;
}

/// Runs the main loop for whatever waits.
void turnMainLoop() {
    MainThread::runUntil([] { return false; }, 0);
}

/// An application whose views together cover its window with one colour, each a stripe of it, the
/// colour being a count: a frame is complete where all pixels are equal, and not stale where its
/// count is the latest.
class MVApplicationFramesTest : public Mivora::tests::GLTest {
 protected:
    void SetUp() override {
        GLTest::SetUp();
        application_ = MVApplication::init();
        for (int i = 0; i < kStripes; ++i) {
            const auto stripe = MVColorView::init();
            stripe->setSize({float(kMostSide), float(kMostSide) / kStripes});
            stripe->setPosition({0, float(i * kMostSide) / kStripes});
            application_->window()->addSubview(stripe);
            stripes_.push_back(stripe);
        }
        const auto last = RecordingView::make("last", nullptr);
        last->onDraw = [this] { drawn_ = true; };
        application_->window()->addSubview(last);
        frame_ = HeadlessWindow::create("", {0, 0, kMostSide, kMostSide});
        frame_->setContentView(application_->mv_renderView());
        frame_->show();
        context_ = MVRenderContext::activeContext();
        count();
        turnMainLoop();
        const auto gl = application_->mv_renderView()->openGLContext();
        gl->setFrameHandler([this, gl = gl.get()] { look(gl->drawable().readLatestFrame()); });
    }

    void TearDown() override {
        application_->setActive(false);
        application_->mv_renderView()->openGLContext()->setFrameHandler(nullptr);
        const std::weak_ptr<MVWindow> window = application_->window();
        stripes_.clear();
        frame_.reset();
        application_.reset();
        EXPECT_TRUE(MainThread::runUntil([&] { return window.expired(); }, kTimeout));
        GLTest::TearDown();
    }

    /// Gives all stripes the next colour.
    void count() {
        ++count_;
        for (const auto& stripe : stripes_) {
            stripe->setColor({float(count_ & 255) / 255, float(count_ >> 8 & 255) / 255, 1, 1});
        }
    }

    /// The count that all of a picture shows, or -1 where it does not show a single one.
    static int countIn(const Picture& picture) {
        if (picture.isEmpty()) {
            return -1;
        }
        const auto first = picture.pixel(0, 0);
        for (int y = 0; y < picture.size.height; ++y) {
            for (int x = 0; x < picture.size.width; ++x) {
                if (picture.pixel(x, y) != first) {
                    return -1;
                }
            }
        }
        return first[2] == 255 ? first[0] | first[1] << 8 : -1;
    }

    /// Looks at a frame as it is presented, on the GL queue.
    void look(const Picture& picture) {
        const int shown = countIn(picture);
        const std::lock_guard lock(mutex_);
        ++frames_;
        incomplete_ += shown < 0 ? 1 : 0;
        backwards_ += shown < lastShown_ ? 1 : 0;
        lastShown_ = shown;
        lastSize_ = picture.size;
    }

    /// What was presented last shows the present state.
    bool isUpToDate() {
        const std::lock_guard lock(mutex_);
        return lastShown_ == count_ && lastSize_ == size_;
    }

    void resize() {
        size_ = {int(random_() % kMostSide) + 1, int(random_() % kMostSide) + 1};
        frame_->setContentSize(size_.width, size_.height);
    }

    std::shared_ptr<MVApplication> application_;
    std::shared_ptr<HeadlessWindow> frame_;
    std::vector<std::shared_ptr<MVColorView>> stripes_;
    int count_ = 0;
    bool drawn_ = false;
    PixelSize size_{kMostSide, kMostSide};
    std::minstd_rand random_{11};

    std::mutex mutex_;
    int frames_ = 0;
    int incomplete_ = 0;
    int backwards_ = 0;
    int lastShown_ = 0;
    PixelSize lastSize_;
};

}  // namespace

TEST_F(MVApplicationFramesTest, noneIsIncompleteOrStaleWhateverElseIsDrawnMeanwhile) {
    application_->setActive(true);
    const int most = operations();
    for (int i = 0; i < most; ++i) {
        switch (random_() % 10) {
            case 0:
            case 1:
                resize();
                break;
            case 2: {
                count();
                EXPECT_EQ(countIn(MVCaptureWindow(application_->window())), count_) << i;
                break;
            }
            case 3:
                EXPECT_EQ(countIn(MVCaptureView(stripes_.front())), count_) << i;
                break;
            case 4:
                count();
                break;
            case 5:
                count();
                resize();
                break;
            case 6:
                application_->mv_activeRunLoop()->forceFireOnNextLoop();
                break;
            case 7:
            case 8: {
                // The frame's thread goes on to present while this one goes on to draw.
                count();
                drawn_ = false;
                application_->mv_activeRunLoop()->forceFireOnNextLoop();
                MainThread::runUntil([&] { return drawn_; }, kTimeout);
                random_() % 4 == 0 ? resize() : application_->mv_inlineDraw();
                break;
            }
            default:
                turnMainLoop();
                break;
        }
        if (random_() % 4 == 0) {
            turnMainLoop();
        }
        if (i % 500 == 0) {
            EXPECT_TRUE(MainThread::runUntil([&] { return isUpToDate(); }, kTimeout))
                << "what is shown stays behind after " << i;
        }
    }
    EXPECT_TRUE(MainThread::runUntil([&] { return isUpToDate(); }, kTimeout));
    const std::lock_guard lock(mutex_);
    EXPECT_GT(frames_, most / 4);
    EXPECT_EQ(incomplete_, 0) << "of " << frames_;
    EXPECT_EQ(backwards_, 0) << "of " << frames_;
}

TEST_F(MVApplicationFramesTest, aPresentInTheMiddleOfTheNextFrameLeavesThatToItsOwn) {
    const auto between = RecordingView::make("between", nullptr);
    application_->window()->insertSubviewAtIndex(between, 3);
    bool isTried = false;
    between->onDraw = [&] {
        isTried = true;
        context_->present();
    };
    count();
    application_->mv_runLoopFired(nullptr);
    EXPECT_TRUE(isTried);
    EXPECT_TRUE(isUpToDate());
    EXPECT_EQ(incomplete_, 0);
    between->removeFromSuperview();
}

TEST_F(MVApplicationFramesTest, aCaptureDoesNotStandForTheFrameOfAnApplication) {
    application_->mv_runLoopFired(nullptr);
    count();
    EXPECT_EQ(countIn(MVCaptureWindow(application_->window())), count_);
    EXPECT_TRUE(application_->window()->mv_windowNeedsDraw());
    application_->mv_runLoopFired(nullptr);
    EXPECT_TRUE(isUpToDate());
}

TEST_F(MVApplicationFramesTest, aResizeInTheMiddleOfAFrameIsFollowedByAWholeOne) {
    const auto between = RecordingView::make("between", nullptr);
    application_->window()->insertSubviewAtIndex(between, 3);
    bool resized = false;
    between->onDraw = [&] {
        if (!std::exchange(resized, true)) {
            resize();
        }
    };
    count();
    application_->mv_runLoopFired(nullptr);
    EXPECT_TRUE(resized);
    EXPECT_TRUE(application_->window()->mv_windowNeedsDraw());
    context_->present();
    application_->mv_runLoopFired(nullptr);
    EXPECT_TRUE(isUpToDate());
    EXPECT_EQ(incomplete_, 0);
    between->removeFromSuperview();
}

TEST_F(MVApplicationFramesTest, aHookThatThrowsInTheMiddleOfAFrameLeavesNoHalfOfItToBeShown) {
    application_->mv_runLoopFired(nullptr);
    const auto between = RecordingView::make("between", nullptr);
    application_->window()->insertSubviewAtIndex(between, 3);
    between->onDraw = [] { throw std::runtime_error("no"); };
    count();
    application_->mv_runLoopFired(nullptr);
    context_->present();
    EXPECT_EQ(incomplete_, 0);
    between->onDraw = nullptr;
    between->setNeedsDraw();
    application_->mv_runLoopFired(nullptr);
    EXPECT_TRUE(isUpToDate());
    between->removeFromSuperview();
}

TEST_F(MVApplicationFramesTest, theFirstRaisesNoGLErrorAlsoBeforeThereIsAWindow) {
    const auto early = MVApplication::init();
    const auto box = MVColorView::init();
    box->setSize({10, 10});
    early->window()->addSubview(box);
    early->mv_runLoopFired(nullptr);
    GLenum error = GL_INVALID_ENUM;
    MVRenderContext::activeContext()->mv_dispatchBlockSync([&] { error = glGetError(); });
    EXPECT_EQ(error, static_cast<GLenum>(GL_NO_ERROR));
    MVRenderContext::mv_setActiveContext(context_);
}
