#include "MivoraMac/platform/windows/DisplayLink.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <latch>
#include <limits>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <thread>
#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/headless/HeadlessDisplayLink.h"
#include "MivoraMac/platform/headless/HeadlessHost.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/gl/FakeGLContext.h"
#include "tests/platform/threads/ThreadCount.h"

using Mivora::platform::DisplayLink;
using Mivora::platform::HeadlessDisplayLink;
using Mivora::platform::HeadlessHost;
using Mivora::tests::FakeGLContext;
using Mivora::tests::LogCapture;
using Mivora::tests::threadCountAtFirst;
using Mivora::tests::waitForThreadCount;

namespace {

/// A link of a display that is as fast as a test may wish.
class FastDisplayLink : public HeadlessDisplayLink {
 public:
    explicit FastDisplayLink(Handler handler) : HeadlessDisplayLink(std::move(handler)) {
        setActualOutputVideoRefreshPeriod(0.0005);
    }
    using HeadlessDisplayLink::setActualOutputVideoRefreshPeriod;
};

/// Lets a test wait for a number of refreshes.
class Refreshes {
 public:
    void add() { added_.release(); }
    void waitFor(int count) {
        for (int i = 0; i < count; ++i) {
            added_.acquire();
        }
    }

 private:
    std::counting_semaphore<> added_{0};
};

}  // namespace

TEST(DisplayLinkTest, aNewLinkIsStopped) {
    const HeadlessDisplayLink link([] { ADD_FAILURE() << "a stopped link called its handler"; });
    EXPECT_FALSE(link.isRunning());
}

TEST(DisplayLinkTest, withoutADisplayThereAreSixtyRefreshesASecond) {
    const HeadlessDisplayLink link;
    EXPECT_EQ(link.actualOutputVideoRefreshPeriod(), 1.0 / 60.0);
}

TEST(DisplayLinkTest, aRunningLinkCallsItsHandlerAgainAndAgainOnOneThreadOfItsOwn) {
    Refreshes refreshes;
    std::thread::id first;
    std::atomic<bool> same{true};
    HeadlessDisplayLink link([&] {
        if (first == std::thread::id()) {
            first = std::this_thread::get_id();
        }
        same = same && first == std::this_thread::get_id();
        refreshes.add();
    });
    link.start();
    EXPECT_TRUE(link.isRunning());
    refreshes.waitFor(5);
    EXPECT_TRUE(same);
    EXPECT_NE(first, std::this_thread::get_id());
}

TEST(DisplayLinkTest, startingARunningLinkHasNoEffect) {
    Refreshes refreshes;
    FastDisplayLink link([&] { refreshes.add(); });
    link.start();
    link.start();
    EXPECT_TRUE(link.isRunning());
    refreshes.waitFor(3);
    link.stop();
    EXPECT_FALSE(link.isRunning());
}

TEST(DisplayLinkTest, aLinkThatItsHandlerStopsCallsItNoMore) {
    Refreshes refreshes;
    int calls = 0;
    {
        FastDisplayLink* handle = nullptr;
        FastDisplayLink link([&] {
            if (++calls == 3) {
                handle->stop();
                EXPECT_FALSE(handle->isRunning());
                refreshes.add();
            }
        });
        handle = &link;
        link.start();
        refreshes.waitFor(1);
        link.stop();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(calls, 3);
}

TEST(DisplayLinkTest, aStoppedLinkRunsAgainWhenStarted) {
    Refreshes refreshes;
    FastDisplayLink link([&] { refreshes.add(); });
    for (int i = 0; i < 100; ++i) {
        link.start();
        refreshes.waitFor(1);
        link.stop();
    }
    EXPECT_FALSE(link.isRunning());
}

TEST(DisplayLinkTest, theHandlerMayStopAndStartItsLink) {
    Refreshes refreshes;
    FastDisplayLink* handle = nullptr;
    FastDisplayLink link([&] {
        handle->stop();
        handle->start();
        refreshes.add();
    });
    handle = &link;
    link.start();
    refreshes.waitFor(5);
    EXPECT_TRUE(link.isRunning());
}

TEST(DisplayLinkTest, stopDoesNotWaitForTheHandler) {
    std::latch entered(1);
    std::latch leave(1);
    FastDisplayLink* handle = nullptr;
    FastDisplayLink link([&] {
        handle->stop();
        entered.count_down();
        leave.wait();
    });
    handle = &link;
    link.start();
    entered.wait();
    link.stop();
    leave.count_down();
}

TEST(DisplayLinkTest, theHandlerHasEndedWhenTheLinkIsGone) {
    for (int i = 0; i < 20; ++i) {
        std::binary_semaphore begun{0};
        int ended = 0;
        bool first = true;
        {
            FastDisplayLink link([&] {
                if (std::exchange(first, false)) {
                    begun.release();
                }
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
                ++ended;
            });
            link.start();
            begun.acquire();
        }
        EXPECT_GE(ended, 1);
    }
}

TEST(DisplayLinkTest, aLinkMayBeDestroyedByItsHandler) {
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 20; ++i) {
        std::binary_semaphore destroyed{0};
        std::binary_semaphore handed{0};
        std::unique_ptr<FastDisplayLink> link;
        auto held = std::make_shared<int>(1);
        const std::weak_ptr<int> captured = held;
        link = std::make_unique<FastDisplayLink>([&, held = std::move(held)] {
            handed.acquire();
            link = nullptr;
            EXPECT_EQ(*held, 1);
            destroyed.release();
        });
        link->start();
        handed.release();
        destroyed.acquire();
        EXPECT_EQ(link, nullptr);
        EXPECT_LE(waitForThreadCount(threads), threads);
        EXPECT_TRUE(captured.expired());
    }
}

TEST(DisplayLinkTest, linksLeaveNoThreadBehind) {
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 1000; ++i) {
        HeadlessDisplayLink link;
        link.start();
    }
    EXPECT_LE(waitForThreadCount(threads), threads);
}

TEST(DisplayLinkTest, exceptionsAreLoggedAndTheLinkRunsOn) {
    const LogCapture log;
    Refreshes refreshes;
    {
        FastDisplayLink link([&] {
            refreshes.add();
            throw std::runtime_error("out of ink");
        });
        link.start();
        refreshes.waitFor(3);
    }
    EXPECT_GE(log.lines().size(), 3U);
}

TEST(DisplayLinkTest, aLinkWithoutAHandlerRuns) {
    FastDisplayLink link({});
    link.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    EXPECT_TRUE(link.isRunning());
}

TEST(DisplayLinkTest, thePeriodMayChangeWhileTheLinkRuns) {
    Refreshes refreshes;
    FastDisplayLink link([&] { refreshes.add(); });
    link.setActualOutputVideoRefreshPeriod(10);
    link.start();
    // Ten seconds from now nothing waits for: the shorter period counts at once.
    link.setActualOutputVideoRefreshPeriod(0.001);
    refreshes.waitFor(3);
    EXPECT_EQ(link.actualOutputVideoRefreshPeriod(), 0.001);
}

TEST(DisplayLinkTest, aPeriodThatNoDisplayHasIsIgnored) {
    FastDisplayLink link({});
    link.setActualOutputVideoRefreshPeriod(0.25);
    for (const double seconds :
         {0.0, -0.01, 1e-9, 1e9, std::numeric_limits<double>::infinity(),
          -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        link.setActualOutputVideoRefreshPeriod(seconds);
        EXPECT_EQ(link.actualOutputVideoRefreshPeriod(), 0.25) << seconds;
    }
}

TEST(DisplayLinkTest, tyingToAContextChangesNothingWithoutADisplay) {
    HeadlessDisplayLink link;
    const auto context = FakeGLContext::create();
    link.setCurrentDisplayFromOpenGLContext(*context, *FakeGLContext::format());
    EXPECT_EQ(link.actualOutputVideoRefreshPeriod(), 1.0 / 60.0);
    EXPECT_FALSE(link.isRunning());
}

TEST(DisplayLinkTest, theHeadlessHostMakesStoppedLinksThatCallTheirHandlers) {
    HeadlessHost host;
    Refreshes refreshes;
    const std::unique_ptr<DisplayLink> link = host.createDisplayLink([&] { refreshes.add(); });
    EXPECT_FALSE(link->isRunning());
    EXPECT_EQ(link->actualOutputVideoRefreshPeriod(), 1.0 / 60.0);
    link->start();
    refreshes.waitFor(2);
}
