#include "MivoraMac/platform/threads/ConcurrentQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::DebugLog;
using Mivora::platform::MainThread;
using Mivora::platform::WorkQueue;
using Mivora::tests::LogCapture;

TEST(ConcurrentQueueTest, closuresRunOnOtherThreadsAsWorkOfTheirQueue) {
    const auto queue = ConcurrentQueue::create("queue");
    std::thread::id thread;
    WorkQueue* current = nullptr;
    std::latch ran(1);
    queue->async([&] {
        thread = std::this_thread::get_id();
        current = WorkQueue::current();
        ran.count_down();
    });
    ran.wait();
    EXPECT_NE(thread, std::thread::id());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_EQ(current, queue.get());
    EXPECT_EQ(WorkQueue::current(), nullptr);
}

TEST(ConcurrentQueueTest, closuresCanRunAtTheSameTime) {
    const auto queue = ConcurrentQueue::create("queue");
    for (int round = 0; round < 100; ++round) {
        // Each waits for the other one to have begun.
        std::latch both(2);
        std::latch ended(2);
        for (int i = 0; i < 2; ++i) {
            queue->async([&] {
                both.arrive_and_wait();
                ended.count_down();
            });
        }
        ended.wait();
    }
}

TEST(ConcurrentQueueTest, closuresOfDifferentQueuesCanRunAtTheSameTime) {
    const auto first = ConcurrentQueue::create("first");
    std::latch both(2);
    std::latch ended(2);
    const auto meet = [&] {
        both.arrive_and_wait();
        ended.count_down();
    };
    first->async(meet);
    ConcurrentQueue::global()->async(meet);
    ended.wait();
}

TEST(ConcurrentQueueTest, everyClosureRunsOnce) {
    constexpr std::size_t kThreads = 4;
    constexpr std::size_t kClosures = 2'500;
    const auto queue = ConcurrentQueue::create("queue");
    std::vector<std::atomic<int>> runs(kThreads * kClosures);
    std::latch ended(static_cast<std::ptrdiff_t>(runs.size()));
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = 0; i < kClosures; ++i) {
                queue->async([&, index = thread * kClosures + i] {
                    ++runs[index];
                    ended.count_down();
                });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ended.wait();
    EXPECT_TRUE(
        std::all_of(runs.begin(), runs.end(), [](const auto& count) { return count == 1; }));
}

TEST(ConcurrentQueueTest, workGoesOnWhileManyClosuresWaitForTheMainThread) {
    constexpr int kWaiting = 40;  // more than there are threads as a rule
    const auto queue = ConcurrentQueue::create("queue");
    std::atomic<int> begun{0};
    std::atomic<int> served{0};
    for (int i = 0; i < kWaiting; ++i) {
        queue->async([&] {
            ++begun;
            MainThread::performAndWait([] {});
            ++served;
        });
    }
    std::promise<void> other;
    queue->async([&] { other.set_value(); });
    EXPECT_EQ(other.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready)
        << begun << " closures wait";
    EXPECT_EQ(served, 0) << "the main thread has not looked after them yet";
    EXPECT_TRUE(MainThread::runUntil([&] { return served == kWaiting; }, 20.0));
}

TEST(ConcurrentQueueTest, threadsThatStoodInForOthersEnd) {
    const auto threads = [] {
        const std::filesystem::directory_iterator all("/proc/self/task");
        return std::count_if(begin(all), end(all), [](const auto& task) {
            std::string name;
            std::getline(std::ifstream(task.path() / "comm"), name);
            return name == "MVWorker";
        });
    };
    const auto queue = ConcurrentQueue::create("queue");
    constexpr int kWaiting = 40;
    std::atomic<int> begun{0};
    std::atomic<int> served{0};
    for (int i = 0; i < kWaiting; ++i) {
        queue->async([&] {
            ++begun;
            MainThread::performAndWait([&] { ++served; });
        });
    }
    while (begun < kWaiting) {
        std::this_thread::yield();
    }
    EXPECT_GE(threads(), kWaiting);
    EXPECT_TRUE(MainThread::runUntil([&] { return served == kWaiting; }, 20.0));
    EXPECT_TRUE(MainThread::runUntil([&] { return threads() <= 8; }, 20.0));
}

TEST(ConcurrentQueueTest, closuresMaySubmitOthers) {
    const auto queue = ConcurrentQueue::create("queue");
    std::latch ended(1);
    int depth = 0;
    struct Again {
        ConcurrentQueue& queue;
        int& depth;
        std::latch& ended;
        void operator()() const {
            if (++depth < 100) {
                queue.async(Again(*this));
            } else {
                ended.count_down();
            }
        }
    };
    queue->async(Again{*queue, depth, ended});
    ended.wait();
    EXPECT_EQ(depth, 100);
}

TEST(ConcurrentQueueTest, capturesMayBeMoveOnlyAndGoAfterTheClosureHasRun) {
    const auto queue = ConcurrentQueue::create("queue");
    std::vector<std::string> events;
    std::latch destroyed(1);
    queue->async([&events, number = std::make_unique<int>(7),
                  token = std::shared_ptr<void>(nullptr, [&](void*) {
                      events.emplace_back("destroyed");
                      destroyed.count_down();
                  })] { events.push_back(std::to_string(*number)); });
    destroyed.wait();
    EXPECT_EQ(events, (std::vector<std::string>{"7", "destroyed"}));
}

TEST(ConcurrentQueueTest, theQueueLivesUntilItsClosuresHaveRun) {
    auto queue = ConcurrentQueue::create("org.example.Queue");
    const std::weak_ptr<ConcurrentQueue> weak = queue;
    std::latch gate(1);
    std::latch ended(1);
    std::string label;
    queue->async([&] {
        gate.wait();
        label = WorkQueue::current()->label();
        ended.count_down();
    });
    queue.reset();
    EXPECT_FALSE(weak.expired());
    gate.count_down();
    ended.wait();
    EXPECT_EQ(label, "org.example.Queue");
    while (!weak.expired()) {
        std::this_thread::yield();
    }
}

TEST(ConcurrentQueueTest, syncRunsAtOnceOnTheCallingThread) {
    const auto queue = ConcurrentQueue::create("queue");
    std::thread::id thread;
    WorkQueue* current = nullptr;
    queue->sync([&] {
        thread = std::this_thread::get_id();
        current = WorkQueue::current();
    });
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_EQ(current, queue.get());
    EXPECT_EQ(WorkQueue::current(), nullptr);
}

TEST(ConcurrentQueueTest, synchronousClosuresMayNest) {
    const auto queue = ConcurrentQueue::create("queue");
    bool ran = false;
    queue->sync([&] { queue->sync([&] { ran = true; }); });
    EXPECT_TRUE(ran);
}

TEST(ConcurrentQueueTest, closuresReadTheValuesOfTheirQueue) {
    static const char key = 0;
    const auto queue = ConcurrentQueue::create("queue");
    int value = 0;
    queue->setSpecific(&key, &value);
    void* inAsync = nullptr;
    void* inSync = nullptr;
    void* inGlobal = &value;
    std::latch ran(2);
    queue->async([&] {
        inAsync = WorkQueue::currentSpecific(&key);
        ran.count_down();
    });
    ConcurrentQueue::global()->async([&] {
        inGlobal = WorkQueue::currentSpecific(&key);
        ran.count_down();
    });
    queue->sync([&] { inSync = WorkQueue::currentSpecific(&key); });
    ran.wait();
    EXPECT_EQ(inAsync, &value);
    EXPECT_EQ(inSync, &value);
    EXPECT_EQ(inGlobal, nullptr);
    EXPECT_EQ(WorkQueue::currentSpecific(&key), nullptr);
}

TEST(ConcurrentQueueTest, exceptionsAreLoggedAndTheThreadsLive) {
    const LogCapture log;
    const auto queue = ConcurrentQueue::create("org.example.Queue");
    const auto after = [](std::latch& latch) {
        return std::shared_ptr<void>(nullptr, [&latch](void*) { latch.count_down(); });
    };
    std::latch first(1);
    queue->async([token = after(first)] { throw std::runtime_error("out of paint"); });
    first.wait();
    std::latch second(1);
    queue->async([token = after(second)] { throw 42; });
    second.wait();
    EXPECT_NO_THROW(queue->sync([] { throw std::runtime_error("out of ink"); }));
    const std::vector<LogCapture::Line> expected = {
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw: out of paint"},
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw an unknown exception"},
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw: out of ink"},
    };
    EXPECT_EQ(log.lines(), expected);
    // As many failures at once as the pool can have threads, and work is still done.
    std::latch many(32);
    for (int i = 0; i < 32; ++i) {
        queue->async([token = after(many)] { throw std::runtime_error("again"); });
    }
    many.wait();
    std::latch ran(1);
    queue->async([&] { ran.count_down(); });
    ran.wait();
}

TEST(ConcurrentQueueTest, theGlobalQueueIsOneObjectForAllThreads) {
    const auto here = ConcurrentQueue::global();
    std::shared_ptr<ConcurrentQueue> there;
    std::thread([&] { there = ConcurrentQueue::global(); }).join();
    ASSERT_NE(here, nullptr);
    EXPECT_EQ(here, there);
    EXPECT_NE(here, ConcurrentQueue::create("another"));
    EXPECT_STRNE(here->label(), "");
}
