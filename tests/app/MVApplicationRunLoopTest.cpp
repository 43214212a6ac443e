#include "MivoraMac/app/MVApplicationRunLoop.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <limits>
#include <memory>
#include <system_error>
#include <thread>

#include "tests/platform/ThreadCount.h"

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

/// Lets the system refuse to open files.
class NoFiles {
 public:
    NoFiles() {
        getrlimit(RLIMIT_NOFILE, &former_);
        rlimit limit = former_;
        const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(next);
        limit.rlim_cur = static_cast<rlim_t>(next);
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~NoFiles() { setrlimit(RLIMIT_NOFILE, &former_); }

 private:
    rlimit former_{};
};

}  // namespace

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
    const NoFiles refused;
    runLoop->start();
    runLoop.reset();
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!weak.expired() && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_TRUE(weak.expired());
    if (const auto left = weak.lock()) {
        left->invalidate();
    }
}
