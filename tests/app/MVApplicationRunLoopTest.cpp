#include "MivoraMac/app/MVApplicationRunLoop.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <limits>
#include <memory>
#include <system_error>
#include <thread>

#include "tests/platform/threads/ThreadCount.h"

using Mivora::tests::threadCount;
using Mivora::tests::threadCountAtFirst;
using Mivora::tests::waitForThreadCount;

TEST(MVApplicationRunLoopTest, isNewWithAnIntervalOfOneNoApplicationAndNoThread) {
    const std::size_t threads = threadCountAtFirst();
    const auto runLoop = MVApplicationRunLoop::init();
    EXPECT_EQ(runLoop->frameInterval(), 1);
    EXPECT_EQ(runLoop->application(), nullptr);
    EXPECT_EQ(threadCount(), threads);
}

TEST(MVApplicationRunLoopTest, oneThatWasNeverStartedGoesWithItsLastReference) {
    auto runLoop = MVApplicationRunLoop::init();
    const std::weak_ptr<MVApplicationRunLoop> weak = runLoop;
    runLoop->forceFireOnNextLoop();
    runLoop->invalidate();
    runLoop.reset();
    EXPECT_TRUE(weak.expired());
}

TEST(MVApplicationRunLoopTest, theThreadEndsOnceItIsInvalidated) {
    const std::size_t threads = threadCountAtFirst();
    auto runLoop = MVApplicationRunLoop::init();
    runLoop->start();
    runLoop->start();
    EXPECT_LE(threadCount(), threads + 1);
    const std::weak_ptr<MVApplicationRunLoop> weak = runLoop;
    runLoop->invalidate();
    runLoop->invalidate();
    runLoop.reset();
    EXPECT_EQ(waitForThreadCount(threads), threads);
    EXPECT_TRUE(weak.expired());
}

TEST(MVApplicationRunLoopTest, startedAfterItWasInvalidatedTheThreadEndsAtOnce) {
    const std::size_t threads = threadCountAtFirst();
    const auto runLoop = MVApplicationRunLoop::init();
    runLoop->invalidate();
    runLoop->start();
    EXPECT_EQ(waitForThreadCount(threads), threads);
}

TEST(MVApplicationRunLoopTest, firesWithoutAnApplicationAndDoesNothing) {
    const std::size_t threads = threadCountAtFirst();
    const auto runLoop = MVApplicationRunLoop::init();
    runLoop->setFrameInterval(0);
    runLoop->start();
    runLoop->forceFireOnNextLoop();
    runLoop->invalidate();
    EXPECT_EQ(waitForThreadCount(threads), threads);
}

namespace {

/// Lets the system refuse new threads: it has no room for their stacks.
class NoThreads {
 public:
    NoThreads() {
        pthread_getattr_default_np(&former_);
        pthread_attr_t attributes;
        pthread_attr_init(&attributes);
        pthread_attr_setstacksize(&attributes, std::numeric_limits<std::size_t>::max() / 8);
        pthread_setattr_default_np(&attributes);
        pthread_attr_destroy(&attributes);
    }
    ~NoThreads() {
        pthread_setattr_default_np(&former_);
        pthread_attr_destroy(&former_);
    }

 private:
    pthread_attr_t former_{};
};

std::atomic<bool> refusesTimers{false};

}  // namespace

/// In the place of the C library's, so that a test can have the system refuse it.
extern "C" [[gnu::visibility("default")]] int timerfd_create(int clock, int flags) noexcept {
    if (refusesTimers) {
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_timerfd_create, clock, flags));
}

TEST(MVApplicationRunLoopTest, mayBeStartedAgainWhereTheSystemHadNoThread) {
    const std::size_t threads = threadCountAtFirst();
    auto runLoop = MVApplicationRunLoop::init();
    {
        const NoThreads refused;
        EXPECT_THROW(runLoop->start(), std::system_error);
    }
    runLoop->start();
    EXPECT_EQ(threadCount(), threads + 1);
    runLoop->invalidate();
    EXPECT_EQ(waitForThreadCount(threads), threads);
}

TEST(MVApplicationRunLoopTest, theThreadEndsWhereTheSystemHasNoTimer) {
    auto runLoop = MVApplicationRunLoop::init();
    const std::weak_ptr<MVApplicationRunLoop> weak = runLoop;
    refusesTimers = true;
    runLoop->start();
    runLoop.reset();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!weak.expired() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    refusesTimers = false;
    EXPECT_TRUE(weak.expired());
    if (const auto left = weak.lock()) {
        left->invalidate();
    }
}
