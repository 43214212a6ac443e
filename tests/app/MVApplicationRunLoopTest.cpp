#include "MivoraMac/app/MVApplicationRunLoop.h"

#include <gtest/gtest.h>

#include <memory>

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
