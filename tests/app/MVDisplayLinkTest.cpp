#include "MivoraMac/app/MVDisplayLink.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <functional>
#include <latch>
#include <memory>
#include <semaphore>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/threads/RunLoop.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/threads/LoopThread.h"
#include "tests/platform/threads/ThreadCount.h"

using Mivora::platform::MainThread;
using Mivora::platform::RunLoop;
using Mivora::tests::LogCapture;
using Mivora::tests::LoopThread;
using Mivora::tests::threadCountAtFirst;
using Mivora::tests::waitForThreadCount;

namespace {

/// Far beyond what any of these tests takes: a test that fails ends nevertheless.
constexpr double kLong = 60;

using Link = std::shared_ptr<MVDisplayLink>;

class Target {
 public:
    Target() = default;
    explicit Target(std::function<void(const Link&)> whenFired)
        : whenFired_(std::move(whenFired)) {}

    void fired(const Link& link) {
        ++fires;
        if (whenFired_) {
            whenFired_(link);
        }
    }

    std::atomic<int> fires{0};

 private:
    std::function<void(const Link&)> whenFired_;
};

struct Named {
    virtual ~Named() = default;
    std::string name = "name";
};
class NamedTarget : public Named, public Target {
 public:
    using Target::Target;
};

Link linkTo(const std::shared_ptr<Target>& target, const std::shared_ptr<RunLoop>& thread) {
    return MVDisplayLink::initWithTargetSelectorThreadRenderContext(target, &Target::fired, thread,
                                                                    nullptr);
}

/// Whether a closure comes to wait for the main loop, which does not turn.
bool waitForWorkOfMainLoop() {
    const gint64 end = g_get_monotonic_time() + static_cast<gint64>(kLong) * G_USEC_PER_SEC;
    while (g_main_context_pending(nullptr) == FALSE) {
        if (g_get_monotonic_time() > end) {
            return false;
        }
        g_usleep(1000);
    }
    return true;
}

class MVDisplayLinkTest : public testing::Test {
 protected:
    MVDisplayLinkTest() {
        MainThread::runUntil([] { return true; }, 0);
        turn();
    }
    ~MVDisplayLinkTest() override { turn(); }

    static void turn() {
        while (g_main_context_iteration(nullptr, FALSE) == TRUE) {
        }
    }

    bool waitForFires(int count) {
        return MainThread::runUntil([&] { return target_->fires >= count; }, kLong);
    }

    std::shared_ptr<Target> target_ = std::make_shared<Target>();
};

}  // namespace

TEST_F(MVDisplayLinkTest, plainInitIsRefused) {
    EXPECT_EQ(MVDisplayLink::init(), nullptr);
}

TEST_F(MVDisplayLinkTest, aNewLinkRunsWhichIsPausedSaysInverted) {
    const Link link = linkTo(target_, RunLoop::main());
    EXPECT_TRUE(link->isPaused());
    EXPECT_EQ(link->timestamp(), 0.0);
}

TEST_F(MVDisplayLinkTest, durationIsTheRefreshPeriod) {
    const Link link = linkTo(target_, RunLoop::main());
    EXPECT_EQ(link->duration(), 1.0 / 60.0);
    link->setPaused(true);
    EXPECT_EQ(link->duration(), 1.0 / 60.0);
}

TEST_F(MVDisplayLinkTest, theActionIsPerformedAtEveryRefreshOnTheMainThreadWithTheLink) {
    Link sender;
    std::thread::id thread;
    target_ = std::make_shared<Target>([&](const Link& link) {
        sender = link;
        thread = std::this_thread::get_id();
    });
    const Link link = MVDisplayLink::displayLinkWithTargetSelectorThread(target_, &Target::fired,
                                                                         RunLoop::main());
    EXPECT_TRUE(waitForFires(3));
    EXPECT_EQ(sender, link);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(link->timestamp(), 0.0);
}

TEST_F(MVDisplayLinkTest, theActionIsPerformedOnTheThreadThatWasGiven) {
    const LoopThread worker;
    std::counting_semaphore<> fired{0};
    std::thread::id thread;
    target_ = std::make_shared<Target>([&](const Link&) {
        thread = std::this_thread::get_id();
        fired.release();
    });
    Link link = linkTo(target_, worker.loop());
    fired.acquire();
    fired.acquire();
    link = nullptr;
    worker.loop()->performAndWait([] {});
    EXPECT_EQ(thread, worker.id());
}

TEST_F(MVDisplayLinkTest, theActionMayBelongToAnyBaseOfTheTarget) {
    const auto target = std::make_shared<NamedTarget>();
    const Link link =
        MVDisplayLink::displayLinkWithTargetSelectorThread(target, &Target::fired, RunLoop::main());
    EXPECT_TRUE(MainThread::runUntil([&] { return target->fires >= 2; }, kLong));
    EXPECT_EQ(target->name, "name");
}

TEST_F(MVDisplayLinkTest, pausingStopsTheLinkAndUnpausingStartsIt) {
    target_ = std::make_shared<Target>([](const Link& link) { link->setPaused(true); });
    const Link link = linkTo(target_, RunLoop::main());
    for (int fires = 1; fires <= 3; ++fires) {
        EXPECT_TRUE(waitForFires(fires));
        EXPECT_FALSE(link->isPaused());
        MainThread::runUntil([] { return false; }, 0.05);
        EXPECT_EQ(target_->fires, fires);
        link->setPaused(false);
        EXPECT_TRUE(link->isPaused());
    }
}

TEST_F(MVDisplayLinkTest, pausingTwiceIsPausingOnce) {
    const Link link = linkTo(target_, RunLoop::main());
    link->setPaused(false);
    EXPECT_TRUE(link->isPaused());
    link->setPaused(true);
    link->setPaused(true);
    EXPECT_FALSE(link->isPaused());
    link->setPaused(false);
    EXPECT_TRUE(link->isPaused());
    EXPECT_TRUE(waitForFires(1));
}

TEST_F(MVDisplayLinkTest, theDisplayLinksThreadIsHeldWhileTheTargetWorks) {
    int working = 0;
    int most = 0;
    bool isWorkDone = false;
    target_ = std::make_shared<Target>([&](const Link&) {
        most = std::max(most, ++working);
        // Several refreshes pass, and the main loop would run what they submit.
        MainThread::runUntil([] { return false; }, 0.1);
        --working;
        isWorkDone = true;
    });
    const Link link = linkTo(target_, RunLoop::main());
    EXPECT_TRUE(MainThread::runUntil([&] { return isWorkDone; }, kLong));
    EXPECT_EQ(most, 1);
}

TEST_F(MVDisplayLinkTest, theTargetIsHeldUntilTheLinkGoes) {
    const std::weak_ptr<Target> weak = target_;
    Link link = linkTo(target_, RunLoop::main());
    EXPECT_TRUE(waitForFires(1));
    target_ = nullptr;
    EXPECT_FALSE(weak.expired());
    link = nullptr;
    EXPECT_TRUE(weak.expired());
}

TEST_F(MVDisplayLinkTest, theLinkIsNotHeldByItsThreads) {
    Link link = linkTo(target_, RunLoop::main());
    EXPECT_TRUE(waitForFires(1));
    EXPECT_TRUE(waitForWorkOfMainLoop());
    EXPECT_EQ(link.use_count(), 1);
}

TEST_F(MVDisplayLinkTest, theTargetsThreadMayDestroyTheLinkThatWaitsForIt) {
    Link link = linkTo(target_, RunLoop::main());
    const std::weak_ptr<MVDisplayLink> weak = link;
    ASSERT_TRUE(waitForWorkOfMainLoop());
    link = nullptr;
    EXPECT_TRUE(weak.expired());
    turn();
    EXPECT_EQ(target_->fires, 0);
}

TEST_F(MVDisplayLinkTest, aLinkThatWaitsForALoopThatNobodyRunsMayBeDestroyed) {
    const auto loop = RunLoop::create();
    for (int i = 0; i < 3; ++i) {
        const Link link = linkTo(target_, loop);
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
    }
    loop->stop();
    loop->run();
    EXPECT_EQ(target_->fires, 0);
}

TEST_F(MVDisplayLinkTest, theLastReferenceMayBeDroppedByTheAction) {
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 20; ++i) {
        Link link;
        std::weak_ptr<MVDisplayLink> weak;
        target_ = std::make_shared<Target>([&](const Link& sender) {
            link = nullptr;
            EXPECT_EQ(sender.use_count(), 1);
            EXPECT_TRUE(sender->isPaused());
        });
        link = linkTo(target_, RunLoop::main());
        weak = link;
        EXPECT_TRUE(waitForFires(1));
        EXPECT_TRUE(weak.expired());
        turn();
        EXPECT_EQ(target_->fires, 1);
    }
    EXPECT_LE(waitForThreadCount(threads), threads);
}

TEST_F(MVDisplayLinkTest, theLastReferenceMayBeDroppedByTheActionOnAnotherThread) {
    const LoopThread worker;
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 20; ++i) {
        Link link;
        std::binary_semaphore made{0};
        std::binary_semaphore dropped{0};
        target_ = std::make_shared<Target>([&](const Link&) {
            made.acquire();
            link = nullptr;
            dropped.release();
        });
        link = linkTo(target_, worker.loop());
        const std::weak_ptr<MVDisplayLink> weak = link;
        made.release();
        dropped.acquire();
        worker.loop()->performAndWait([] {});
        EXPECT_TRUE(weak.expired());
        EXPECT_EQ(target_->fires, 1);
    }
    EXPECT_LE(waitForThreadCount(threads), threads);
}

TEST_F(MVDisplayLinkTest, aLinkMayBeDroppedElsewhereWhileTheActionRuns) {
    const LoopThread worker;
    for (int i = 0; i < 20; ++i) {
        std::latch begun(1);
        std::latch dropped(1);
        std::weak_ptr<MVDisplayLink> weak;
        target_ = std::make_shared<Target>([&](const Link& link) {
            weak = link;
            begun.count_down();
            dropped.wait();
            EXPECT_FALSE(weak.expired());
        });
        Link link = linkTo(target_, worker.loop());
        begun.wait();
        link = nullptr;
        dropped.count_down();
        worker.loop()->performAndWait([] {});
        EXPECT_TRUE(weak.expired());
        EXPECT_EQ(target_->fires, 1);
    }
}

TEST_F(MVDisplayLinkTest, linksMayBeDroppedAtAnyMoment) {
    const LoopThread worker;
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 60; ++i) {
        Link link = linkTo(target_, worker.loop());
        std::this_thread::sleep_for(std::chrono::microseconds(16'400 + 10 * i));
        link = nullptr;
    }
    EXPECT_LE(waitForThreadCount(threads), threads);
}

TEST_F(MVDisplayLinkTest, aThousandLinksLeaveNoThreadBehind) {
    const std::size_t threads = threadCountAtFirst();
    for (int i = 0; i < 1000; ++i) {
        const Link link = linkTo(target_, RunLoop::main());
        EXPECT_TRUE(link->isPaused());
    }
    EXPECT_LE(waitForThreadCount(threads), threads);
}

TEST_F(MVDisplayLinkTest, aPausedLinkMayBeDropped) {
    Link link = linkTo(target_, RunLoop::main());
    link->setPaused(true);
    link = nullptr;
}

TEST_F(MVDisplayLinkTest, severalLinksServeOneThread) {
    const auto other = std::make_shared<Target>();
    const Link link = linkTo(target_, RunLoop::main());
    const Link otherLink = linkTo(other, RunLoop::main());
    EXPECT_TRUE(waitForFires(3));
    EXPECT_TRUE(MainThread::runUntil([&] { return other->fires >= 3; }, kLong));
}

TEST_F(MVDisplayLinkTest, exceptionsOfTheActionAreLoggedAndTheLinkRunsOn) {
    const LogCapture log;
    target_ = std::make_shared<Target>([](const Link&) { throw std::runtime_error("no ink"); });
    const Link link = linkTo(target_, RunLoop::main());
    EXPECT_TRUE(waitForFires(2));
    EXPECT_GE(log.lines().size(), 2U);
}

TEST_F(MVDisplayLinkTest, firingPerformsTheActionAndReturnsWhenItHasRun) {
    const LoopThread worker;
    const Link link = linkTo(target_, worker.loop());
    link->setPaused(true);
    const int fires = target_->fires;
    link->mv_displayLinkFire();
    EXPECT_GT(target_->fires, fires);
}

TEST_F(MVDisplayLinkTest, firingOnTheTargetsThreadPerformsTheActionAtOnce) {
    const Link link = linkTo(target_, RunLoop::main());
    link->setPaused(true);
    turn();
    const int fires = target_->fires;
    link->mv_displayLinkFire();
    EXPECT_EQ(target_->fires, fires + 1);
}

TEST_F(MVDisplayLinkTest, aLoopThatHasEndedHoldsNobodyUp) {
    LoopThread worker;
    const Link link = linkTo(target_, worker.loop());
    worker.end();
    const int fires = target_->fires;
    link->mv_displayLinkFire();
    EXPECT_EQ(target_->fires, fires);
    EXPECT_TRUE(link->isPaused());
}

TEST_F(MVDisplayLinkTest, aLoopThatEndsReleasesWhoWaitsForIt) {
    const auto loop = RunLoop::create();
    const Link link = linkTo(target_, loop);
    link->setPaused(true);
    loop->stop();
    std::thread other([&] { link->mv_displayLinkFire(); });
    loop->run();
    other.join();
    EXPECT_LE(target_->fires, 1);  // the display link's thread may have been there before
}

TEST_F(MVDisplayLinkTest, withoutTargetSelectorOrThreadTheLinkRunsAndDoesNothing) {
    MVDisplayLink::Selector<Target> none = nullptr;
    for (const Link& link :
         {MVDisplayLink::displayLinkWithTargetSelectorThread(std::shared_ptr<Target>(),
                                                             &Target::fired, RunLoop::main()),
          MVDisplayLink::displayLinkWithTargetSelectorThread(target_, none, RunLoop::main()),
          MVDisplayLink::displayLinkWithTargetSelectorThread(target_, &Target::fired, nullptr)}) {
        ASSERT_NE(link, nullptr);
        EXPECT_TRUE(link->isPaused());
        link->mv_displayLinkFire();
    }
    EXPECT_EQ(target_->fires, 0);
}
