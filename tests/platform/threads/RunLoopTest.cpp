#include "MivoraMac/platform/threads/RunLoop.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/threads/LoopThread.h"

using Mivora::platform::MainThread;
using Mivora::platform::RunLoop;
using Mivora::tests::LogCapture;
using Mivora::tests::LoopThread;

namespace {

using Events = std::vector<std::string>;

/// Something to capture that says when it goes.
std::shared_ptr<void> token(std::function<void()> gone) {
    return {nullptr, [gone = std::move(gone)](void*) { gone(); }};
}

}  // namespace

TEST(RunLoopTest, performRunsOnTheLoopsThreadInOrder) {
    std::vector<int> order;
    std::thread::id thread;
    LoopThread worker;
    for (int i = 0; i < 1000; ++i) {
        EXPECT_TRUE(worker.loop()->perform([&, i] {
            order.push_back(i);
            thread = std::this_thread::get_id();
        }));
    }
    worker.end();
    EXPECT_EQ(thread, worker.id());
    ASSERT_EQ(order.size(), 1000U);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST(RunLoopTest, closuresMayBeSubmittedBeforeTheLoopRuns) {
    Events events;
    const auto loop = RunLoop::create();
    loop->perform([&] { events.emplace_back("first"); });
    loop->perform([&] { events.emplace_back("second"); });
    loop->stop();
    EXPECT_TRUE(events.empty());
    loop->run();
    EXPECT_EQ(events, (Events{"first", "second"}));
}

TEST(RunLoopTest, performFromAPerformedClosureRunsInALaterTurn) {
    Events events;
    const auto loop = RunLoop::create();
    loop->perform([&] {
        loop->perform([&] {
            events.emplace_back("nested");
            loop->stop();
        });
        events.emplace_back("first");
    });
    loop->perform([&] { events.emplace_back("second"); });
    loop->run();
    EXPECT_EQ(events, (Events{"first", "second", "nested"}));
}

TEST(RunLoopTest, capturesGoBeforeTheNextClosureRuns) {
    Events events;
    const auto loop = RunLoop::create();
    loop->perform([held = token([&] { events.emplace_back("gone"); })] {});
    loop->perform([&] { events.emplace_back("second"); });
    loop->stop();
    loop->run();
    EXPECT_EQ(events, (Events{"gone", "second"}));
}

TEST(RunLoopTest, performAndWaitReturnsWhenTheClosureHasRun) {
    const LoopThread worker;
    Events events;
    worker.loop()->perform([&] { events.emplace_back("before"); });
    EXPECT_TRUE(worker.loop()->performAndWait([&] {
        EXPECT_EQ(std::this_thread::get_id(), worker.id());
        events.emplace_back("waited for");
    }));
    EXPECT_EQ(events, (Events{"before", "waited for"}));
}

TEST(RunLoopTest, performAndWaitOnTheLoopsThreadRunsAtOnce) {
    const LoopThread worker;
    Events events;
    worker.loop()->performAndWait([&] {
        worker.loop()->perform([&] { events.emplace_back("later"); });
        EXPECT_TRUE(worker.loop()->performAndWait([&] { events.emplace_back("at once"); }));
    });
    worker.loop()->performAndWait([] {});
    EXPECT_EQ(events, (Events{"at once", "later"}));
}

TEST(RunLoopTest, performAndWaitFromManyThreadsRunsEveryClosure) {
    constexpr int kThreads = 4;
    constexpr int kClosures = 200;
    const LoopThread worker;
    int ran = 0;
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < kClosures; ++i) {
                worker.loop()->performAndWait([&] { ++ran; });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ran, kThreads * kClosures);
}

TEST(RunLoopTest, twoLoopsMayWaitForEachOtherInTurn) {
    const LoopThread first;
    const LoopThread second;
    int ran = 0;
    for (int i = 0; i < 200; ++i) {
        first.loop()->performAndWait([&] { second.loop()->performAndWait([&] { ++ran; }); });
        second.loop()->performAndWait([&] { first.loop()->performAndWait([&] { ++ran; }); });
    }
    EXPECT_EQ(ran, 400);
}

TEST(RunLoopTest, exceptionsAreLoggedAndTheLoopLives) {
    const LogCapture log;
    const LoopThread worker;
    worker.loop()->perform([] { throw std::runtime_error("out of paint"); });
    EXPECT_TRUE(worker.loop()->performAndWait([] { throw 42; }));
    EXPECT_TRUE(worker.loop()->performAndWait([] {}));
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST(RunLoopTest, theLoopThatAThreadRunsIsItsCurrentOne) {
    const LoopThread worker;
    EXPECT_FALSE(worker.loop()->isCurrent());
    worker.loop()->performAndWait([&] {
        EXPECT_TRUE(worker.loop()->isCurrent());
        EXPECT_EQ(RunLoop::current(), worker.loop());
        EXPECT_FALSE(RunLoop::main()->isCurrent());
    });
}

TEST(RunLoopTest, aThreadThatRunsNoLoopHasNone) {
    std::thread([] {
        EXPECT_EQ(RunLoop::current(), nullptr);
        const auto loop = RunLoop::create();
        EXPECT_FALSE(loop->isCurrent());
        EXPECT_EQ(RunLoop::current(), nullptr);
        loop->stop();
        loop->run();
        EXPECT_FALSE(loop->isCurrent());
        EXPECT_EQ(RunLoop::current(), nullptr);
    }).join();
}

TEST(RunLoopTest, theMainThreadHasTheMainLoopAlsoWhileItTurnsNone) {
    MainThread::runUntil([] { return true; }, 0);
    EXPECT_TRUE(RunLoop::main()->isCurrent());
    EXPECT_EQ(RunLoop::current(), RunLoop::main());
}

TEST(RunLoopTest, anotherLoopOnTheMainThreadIsCurrentWhileItRuns) {
    MainThread::runUntil([] { return true; }, 0);
    const auto loop = RunLoop::create();
    loop->perform([&] {
        EXPECT_EQ(RunLoop::current(), loop);
        EXPECT_TRUE(RunLoop::main()->isCurrent());
        loop->stop();
    });
    loop->run();
    EXPECT_EQ(RunLoop::current(), RunLoop::main());
}

TEST(RunLoopTest, theMainLoopPerformsOnTheMainThread) {
    std::atomic<bool> returned{false};
    std::thread::id thread;
    std::thread other([&] {
        EXPECT_TRUE(RunLoop::main()->performAndWait([&] { thread = std::this_thread::get_id(); }));
        RunLoop::main()->stop();
        returned = true;
    });
    RunLoop::main()->run();
    other.join();
    EXPECT_TRUE(returned);
    EXPECT_EQ(thread, std::this_thread::get_id());
}

TEST(RunLoopTest, whatIsSubmittedAfterTheStopIsDropped) {
    Events events;
    const auto loop = RunLoop::create();
    loop->perform([&] { events.emplace_back("before"); });
    loop->stop();
    EXPECT_TRUE(loop->perform([&events, held = token([&] { events.emplace_back("dropped"); })] {
        events.emplace_back("after");
    }));
    loop->run();
    EXPECT_EQ(events, (Events{"before", "dropped"}));
}

TEST(RunLoopTest, aLoopThatHasEndedTakesNothing) {
    LoopThread worker;
    worker.end();
    bool ran = false;
    bool dropped = false;
    EXPECT_FALSE(
        worker.loop()->perform([&ran, held = token([&] { dropped = true; })] { ran = true; }));
    EXPECT_TRUE(dropped);
    EXPECT_FALSE(worker.loop()->performAndWait([&] { ran = true; }));
    worker.loop()->stop();
    worker.loop()->run();
    EXPECT_FALSE(ran);
}

TEST(RunLoopTest, whoWaitsForALoopThatEndsIsToldThatNothingRan) {
    const auto loop = RunLoop::create();
    std::latch waiting(1);
    std::atomic<bool> ran{false};
    loop->stop();
    std::thread other([&] {
        waiting.count_down();
        EXPECT_FALSE(loop->performAndWait([&] { ran = true; }));
    });
    waiting.wait();
    loop->run();
    other.join();
    EXPECT_FALSE(ran);
}

TEST(RunLoopTest, closuresOfALoopThatNobodyRanGoWithIt) {
    bool dropped = false;
    auto loop = RunLoop::create();
    loop->perform([held = token([&] { dropped = true; })] {});
    EXPECT_FALSE(dropped);
    loop = nullptr;
    EXPECT_TRUE(dropped);
}

TEST(RunLoopTest, aClosureThatIsDroppedMayAskTheLoopForMore) {
    const auto loop = RunLoop::create();
    bool taken = true;
    loop->stop();
    loop->perform([held = token([&] { taken = loop->perform([] {}); })] {});
    loop->run();
    EXPECT_FALSE(taken);
}

TEST(RunLoopTest, aNestedRunServesWhatWaitsAndEndsWithTheLoop) {
    Events events;
    const auto loop = RunLoop::create();
    loop->perform([&] {
        events.emplace_back("outer begins");
        loop->run();
        events.emplace_back("outer ends");
    });
    loop->perform([&] { events.emplace_back("inner"); });
    loop->stop();
    loop->run();
    EXPECT_EQ(events, (Events{"outer begins", "inner", "outer ends"}));
}

TEST(RunLoopTest, aSecondThreadMayNotRunTheSameLoop) {
    const LoopThread worker;
    worker.loop()->performAndWait([] {});
    EXPECT_THROW(worker.loop()->run(), MVException);
    EXPECT_TRUE(worker.loop()->performAndWait([] {}));
}

TEST(RunLoopTest, theThreadMayDropTheLastReferenceToItsLoop) {
    std::weak_ptr<RunLoop> weak;
    std::thread thread;
    {
        auto loop = RunLoop::create();
        weak = loop;
        thread = std::thread([loop]() mutable {
            RunLoop& running = *loop;
            loop = nullptr;
            running.run();
        });
        loop->performAndWait([] {});
        loop->stop();
    }
    thread.join();
    EXPECT_TRUE(weak.expired());
}

TEST(RunLoopTest, sourcesOfTheThreadsDefaultContextAreServedToo) {
    const auto loop = RunLoop::create();
    bool served = false;
    struct Data {
        RunLoop& loop;
        bool& served;
    } data{*loop, served};
    loop->perform([&] {
        GSource* source = g_idle_source_new();
        g_source_set_callback(
            source,
            [](gpointer pointer) -> gboolean {
                auto& given = *static_cast<Data*>(pointer);
                given.served = true;
                given.loop.stop();
                return G_SOURCE_REMOVE;
            },
            &data, nullptr);
        g_source_attach(source, g_main_context_get_thread_default());
        g_source_unref(source);
    });
    loop->run();
    EXPECT_TRUE(served);
    EXPECT_EQ(g_main_context_get_thread_default(), nullptr);
}
