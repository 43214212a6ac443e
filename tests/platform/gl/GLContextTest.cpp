// What contexts do without any GL: which one is current, locks, records.

#include "MivoraMac/platform/gl/GLContext.h"

#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <thread>

#include "MivoraMac/platform/base/DebugLog.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/gl/FakeGLContext.h"

using Mivora::platform::DebugLog;
using Mivora::platform::GLContext;
using Mivora::tests::FakeGLContext;
using Mivora::tests::LogCapture;

namespace {

class GLContextTest : public testing::Test {
 protected:
    ~GLContextTest() override { GLContext::clearCurrentContext(); }

    const std::shared_ptr<FakeGLContext> first_ = FakeGLContext::create();
    const std::shared_ptr<FakeGLContext> second_ = FakeGLContext::create();
};

}  // namespace

TEST_F(GLContextTest, aNullFormatYieldsNoContext) {
    EXPECT_EQ(GLContext::initWithFormatShareContext(nullptr, nullptr), nullptr);
}

TEST_F(GLContextTest, noContextIsCurrentAtFirst) {
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    GLContext::clearCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
}

TEST_F(GLContextTest, theContextLastMadeCurrentIsCurrent) {
    first_->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), first_.get());
    second_->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), second_.get());
    EXPECT_EQ(first_->madeCurrent, 1);
    EXPECT_EQ(second_->madeCurrent, 1);
}

TEST_F(GLContextTest, oneOverTheSameNativeContextReplacesTheCurrentOneWithoutTouchingThat) {
    const auto beside = FakeGLContext::createBeside(*first_);
    EXPECT_EQ(beside->native(), first_->native());
    first_->makeCurrentContext();
    beside->replaceCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), beside.get());
    EXPECT_EQ(first_->madeCurrent, 1);
    EXPECT_EQ(first_->cleared, 0);
    second_->replaceCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), beside.get()) << "another native context is no place";
}

TEST_F(GLContextTest, workThatWaitsIsDoneWhenTheNativeContextIsNextCurrent) {
    const auto beside = FakeGLContext::createBeside(*first_);
    int done = 0;
    first_->native()->whenNextCurrent([&] {
        ++done;
        EXPECT_EQ(GLContext::currentContext(), beside.get());
    });
    EXPECT_TRUE(first_->native()->hasWaitingWork());
    second_->makeCurrentContext();
    EXPECT_EQ(done, 0) << "that was another";
    beside->makeCurrentContext();
    first_->makeCurrentContext();
    EXPECT_EQ(done, 1);
    EXPECT_FALSE(first_->native()->hasWaitingWork());
}

TEST_F(GLContextTest, clearingLeavesNoContextCurrent) {
    first_->makeCurrentContext();
    GLContext::clearCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    EXPECT_EQ(first_->cleared, 1);
    GLContext::clearCurrentContext();
    EXPECT_EQ(first_->cleared, 1);
}

TEST_F(GLContextTest, aContextIsCurrentOnItsThreadOnly) {
    first_->makeCurrentContext();
    const GLContext* there = first_.get();
    std::thread([&] { there = GLContext::currentContext(); }).join();
    EXPECT_EQ(there, nullptr);
}

TEST_F(GLContextTest, aFailureIsLoggedAndLeavesNoContextCurrent) {
    const LogCapture log;
    first_->canBecomeCurrent = false;
    first_->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].first, DebugLog::Category::GL);
}

TEST_F(GLContextTest, aFailureClearsTheContextThatWasCurrentBefore) {
    const LogCapture log;
    first_->makeCurrentContext();
    second_->canBecomeCurrent = false;
    second_->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    EXPECT_EQ(first_->cleared, 1);
}

TEST_F(GLContextTest, aContextThatGoesIsNotCurrentAnyMore) {
    FakeGLContext::create()->makeCurrentContext();
    EXPECT_EQ(GLContext::currentContext(), nullptr);
    GLContext::clearCurrentContext();

    first_->makeCurrentContext();
    FakeGLContext::create();
    EXPECT_EQ(GLContext::currentContext(), first_.get());
}

TEST_F(GLContextTest, oneThreadMayLockSeveralTimesAndKeepsTheOthersOut) {
    bool inside = false;
    first_->lock();
    first_->lock();
    std::thread other([&] {
        const std::lock_guard lock(*first_);
        EXPECT_FALSE(inside);
    });
    inside = true;
    first_->unlock();
    inside = false;
    first_->unlock();
    other.join();
}

TEST_F(GLContextTest, theSwapIntervalIsRecorded) {
    EXPECT_EQ(first_->swapInterval(), 0);
    first_->setSwapInterval(1);
    EXPECT_EQ(first_->swapInterval(), 1);
}

TEST_F(GLContextTest, aContextKeepsItsPixelFormat) {
    const auto format = FakeGLContext::format();
    const auto context = FakeGLContext::create(format);
    EXPECT_EQ(context->pixelFormat(), format);
}

TEST_F(GLContextTest, aNewContextHasNoViewAndNothingToShow) {
    EXPECT_EQ(first_->view(), nullptr);
    EXPECT_EQ(first_->drawable().size(), Mivora::platform::PixelSize());
    EXPECT_EQ(first_->drawable().latestFrame().texture, 0U);
    EXPECT_FALSE(first_->drawable().hasGLObjects());
}
