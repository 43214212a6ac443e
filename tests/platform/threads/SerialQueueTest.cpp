#include "MivoraMac/platform/threads/SerialQueue.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/threads/QueueExecutions.h"

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::DebugLog;
using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;
using Mivora::tests::bothExecutions;
using Mivora::tests::executionName;
using Mivora::tests::LogCapture;

namespace {

/// Every test of this suite runs on both kinds of queue.
class SerialQueueExecutionTest : public testing::TestWithParam<SerialQueue::Execution> {
 protected:
    std::shared_ptr<SerialQueue> makeQueue(const char* label = "queue") const {
        return SerialQueue::create(label, GetParam());
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, SerialQueueExecutionTest, bothExecutions(), executionName);

/// Keeps a queue busy from the call until `open`, and must be opened.
class Gate {
 public:
    explicit Gate(SerialQueue& queue) {
        queue.async([this] {
            closed_.count_down();
            opened_.wait();
        });
        closed_.wait();
    }
    void open() { opened_.count_down(); }

 private:
    std::latch closed_{1};
    std::latch opened_{1};
};

std::vector<int> upTo(int count) {
    std::vector<int> numbers(static_cast<std::size_t>(count));
    std::iota(numbers.begin(), numbers.end(), 0);
    return numbers;
}

}  // namespace

TEST_P(SerialQueueExecutionTest, closuresOfOneThreadRunInTheOrderTheyWereSubmitted) {
    const auto queue = makeQueue();
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i) {
        queue->async([&order, i] { order.push_back(i); });
    }
    queue->sync([] {});
    EXPECT_EQ(order, upTo(1000));
}

TEST_P(SerialQueueExecutionTest, waitingClosuresRunInTheOrderTheyWereSubmitted) {
    const auto queue = makeQueue();
    std::vector<int> order;
    Gate gate(*queue);
    for (int i = 0; i < 1000; ++i) {
        queue->async([&order, i] { order.push_back(i); });
    }
    gate.open();
    queue->sync([] {});
    EXPECT_EQ(order, upTo(1000));
}

TEST_P(SerialQueueExecutionTest, closuresOfManyThreadsRunOneAtATimeAndEachThreadsInOrder) {
    constexpr std::size_t kThreads = 4;
    constexpr int kClosures = 25'000;
    const auto queue = makeQueue();
    // Plain members: only the queue keeps closures apart.
    std::array<int, kThreads> next{};
    int total = 0;
    int disorders = 0;
    int nested = 0;
    bool running = false;
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kClosures; ++i) {
                queue->async([&, thread, i] {
                    nested += std::exchange(running, true) ? 1 : 0;
                    disorders += next[thread] == i ? 0 : 1;
                    next[thread] = i + 1;
                    ++total;
                    running = false;
                });
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    queue->sync([] {});
    EXPECT_EQ(total, static_cast<int>(kThreads) * kClosures);
    EXPECT_EQ(disorders, 0);
    EXPECT_EQ(nested, 0);
}

TEST_P(SerialQueueExecutionTest, synchronousAndAsynchronousClosuresOfManyThreadsMix) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 500;
    const auto queue = makeQueue();
    int total = 0;
    std::atomic<int> early{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            int mine = 0;
            for (int i = 0; i < kRounds; ++i) {
                queue->async([&] {
                    ++total;
                    ++mine;
                });
                queue->sync([&] {
                    ++total;
                    ++mine;
                });
                early += mine == 2 * (i + 1) ? 0 : 1;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(total, kThreads * kRounds * 2);
    EXPECT_EQ(early, 0);
}

TEST_P(SerialQueueExecutionTest, asyncFromAClosureRunsLaterAndAfterWhatAlreadyWaits) {
    const auto queue = makeQueue();
    std::vector<std::string> order;
    Gate gate(*queue);
    queue->async([&] {
        order.emplace_back("first begins");
        queue->async([&] {
            order.emplace_back("nested");
            queue->async([&] { order.emplace_back("nested twice"); });
        });
        order.emplace_back("first ends");
    });
    queue->async([&] { order.emplace_back("second"); });
    gate.open();
    // One round for each level of nesting.
    queue->sync([] {});
    queue->sync([] {});
    queue->sync([] {});
    const std::vector<std::string> expected = {"first begins", "first ends", "second", "nested",
                                               "nested twice"};
    EXPECT_EQ(order, expected);
}

TEST_P(SerialQueueExecutionTest, asyncFromASynchronousClosureRunsAfterIt) {
    const auto queue = makeQueue();
    std::vector<int> order;
    queue->sync([&] {
        queue->async([&] { order.push_back(1); });
        order.push_back(0);
    });
    queue->sync([&] { order.push_back(2); });
    EXPECT_EQ(order, upTo(3));
}

TEST_P(SerialQueueExecutionTest, asyncReturnsWhileTheQueueIsBusy) {
    const auto queue = makeQueue();
    bool ran = false;
    Gate gate(*queue);
    queue->async([&] { ran = true; });
    EXPECT_FALSE(ran);
    gate.open();
    queue->sync([] {});
    EXPECT_TRUE(ran);
}

TEST_P(SerialQueueExecutionTest, syncOfABusyQueueRunsAfterWhatWaitsAndReturnsWhenItHasRun) {
    const auto queue = makeQueue();
    std::vector<int> order;
    Gate gate(*queue);
    queue->async([&] { order.push_back(0); });
    std::thread other([&] {
        queue->sync([&] { order.push_back(1); });
        EXPECT_EQ(order.size(), 2U);
    });
    gate.open();
    other.join();
    EXPECT_EQ(order, upTo(2));
}

TEST_P(SerialQueueExecutionTest, syncTakesClosuresOfAnyValueCategory) {
    const auto queue = makeQueue();
    int calls = 0;
    auto closure = [&calls] { ++calls; };
    const auto constant = closure;
    auto counting = [count = 0]() mutable { return ++count; };
    queue->sync(closure);
    queue->sync(constant);
    queue->sync(std::move(closure));
    queue->sync(counting);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(counting(), 2);
}

TEST_P(SerialQueueExecutionTest, closuresRunAsWorkOfTheirQueue) {
    const auto queue = makeQueue();
    WorkQueue* inAsync = nullptr;
    WorkQueue* inSync = nullptr;
    queue->async([&] { inAsync = WorkQueue::current(); });
    queue->sync([&] { inSync = WorkQueue::current(); });
    EXPECT_EQ(inAsync, queue.get());
    EXPECT_EQ(inSync, queue.get());
}

TEST_P(SerialQueueExecutionTest, syncFromAClosureOfTheSameQueueRunsInTheMiddleOfIt) {
    const auto queue = makeQueue();
    std::vector<int> order;
    const auto nested = [&] {
        order.push_back(0);
        queue->sync([&] {
            queue->sync([&] { order.push_back(1); });
            EXPECT_EQ(WorkQueue::current(), queue.get());
        });
        order.push_back(2);
    };
    queue->sync(nested);
    EXPECT_EQ(order, upTo(3));
    order.clear();
    queue->async(nested);
    queue->sync([&] { order.push_back(3); });
    EXPECT_EQ(order, upTo(4));
}

TEST_P(SerialQueueExecutionTest, syncFromAClosureOfAnotherQueueRuns) {
    const auto queue = makeQueue();
    const auto other = SerialQueue::create("other");
    bool ran = false;
    other->async([&] { queue->sync([&] { ran = true; }); });
    other->sync([] {});
    EXPECT_TRUE(ran);
}

TEST_P(SerialQueueExecutionTest, exceptionsOfAsynchronousClosuresAreLoggedAndTheQueueLives) {
    const LogCapture log;
    const auto queue = makeQueue("org.example.Queue");
    int ran = 0;
    queue->async([] { throw std::runtime_error("out of paint"); });
    queue->async([&] { ++ran; });
    queue->async([] { throw 42; });
    queue->async([&] { ++ran; });
    queue->sync([&] { ++ran; });
    EXPECT_EQ(ran, 3);
    const std::vector<LogCapture::Line> expected = {
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw: out of paint"},
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw an unknown exception"},
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST_P(SerialQueueExecutionTest, exceptionsOfSynchronousClosuresAreLoggedAndNotPassedOn) {
    const LogCapture log;
    const auto queue = makeQueue("org.example.Queue");
    EXPECT_NO_THROW(queue->sync([] { throw std::runtime_error("out of paint"); }));
    EXPECT_NO_THROW(queue->sync([] { throw 42; }));
    const std::vector<LogCapture::Line> expected = {
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw: out of paint"},
        {DebugLog::Category::Queue, "org.example.Queue: a closure threw an unknown exception"},
    };
    EXPECT_EQ(log.lines(), expected);
    bool ran = false;
    queue->sync([&] { ran = true; });
    EXPECT_TRUE(ran);
}

TEST_P(SerialQueueExecutionTest, exceptionsOfWaitingSynchronousClosuresAreLogged) {
    const LogCapture log;
    const auto queue = makeQueue("org.example.Queue");
    Gate gate(*queue);
    std::thread other(
        [&] { EXPECT_NO_THROW(queue->sync([] { throw std::runtime_error("out of paint"); })); });
    gate.open();
    other.join();
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0].second, "org.example.Queue: a closure threw: out of paint");
}

TEST_P(SerialQueueExecutionTest, drainCountCountsHowOftenTheQueueRanDry) {
    const auto queue = makeQueue();
    Gate gate(*queue);
    EXPECT_EQ(queue->drainCount(), 0U);
    for (int i = 0; i < 10; ++i) {
        queue->async([] {});
    }
    std::thread other([&] { queue->sync([] {}); });
    gate.open();
    other.join();
    queue->sync([] {});
    EXPECT_GE(queue->drainCount(), 1U);
    EXPECT_LE(queue->drainCount(), 12U);
}

TEST(SerialQueueTest, anIdleQueueOfTheSharedPoolRunsSynchronousClosuresOnTheCallersStack) {
    const auto queue = SerialQueue::create("queue");
    std::thread::id seen;
    queue->sync([&] { seen = std::this_thread::get_id(); });
    EXPECT_EQ(seen, std::this_thread::get_id());
}

TEST(SerialQueueTest, aQueueThatOnlyMeetsUncontendedSynchronousCallsNeverDrains) {
    const auto queue = SerialQueue::create("queue");
    for (int i = 0; i < 100; ++i) {
        queue->sync([] {});
    }
    EXPECT_EQ(queue->drainCount(), 0U);
}

TEST(SerialQueueTest, aQueueWithAThreadOfItsOwnRunsEverythingThere) {
    const auto queue = SerialQueue::create("queue", SerialQueue::Execution::OwnThread);
    std::vector<std::thread::id> seen;
    for (int i = 0; i < 50; ++i) {
        queue->async([&] { seen.push_back(std::this_thread::get_id()); });
        queue->sync([&] { seen.push_back(std::this_thread::get_id()); });
    }
    ASSERT_EQ(seen.size(), 100U);
    EXPECT_NE(seen[0], std::this_thread::get_id());
    EXPECT_TRUE(std::all_of(seen.begin(), seen.end(), [&](auto id) { return id == seen[0]; }));
}

TEST(SerialQueueTest, queuesWithThreadsOfTheirOwnRunAtTheSameTime) {
    const auto first = SerialQueue::create("first", SerialQueue::Execution::OwnThread);
    const auto second = SerialQueue::create("second", SerialQueue::Execution::OwnThread);
    std::latch both(2);
    first->async([&] { both.arrive_and_wait(); });
    second->async([&] { both.arrive_and_wait(); });
    both.wait();
    first->sync([] {});
    second->sync([] {});
}

TEST(SerialQueueTest, queuesOfTheSharedPoolRunAtTheSameTime) {
    const auto first = SerialQueue::create("first");
    const auto second = SerialQueue::create("second");
    std::latch both(2);
    first->async([&] { both.arrive_and_wait(); });
    second->async([&] { both.arrive_and_wait(); });
    both.wait();
    first->sync([] {});
    second->sync([] {});
}

TEST(SerialQueueTest, aThreadWakesFromSleepForEveryNewClosure) {
    const auto queue = SerialQueue::create("queue", SerialQueue::Execution::OwnThread);
    // Long enough between closures, in other work, for the queue's thread to give up looking.
    for (int i = 0; i < 50; ++i) {
        std::latch ran(1);
        queue->async([&] { ran.count_down(); });
        ran.wait();
        const auto busy = SerialQueue::create("other", SerialQueue::Execution::OwnThread);
        busy->sync([] {});
    }
}

TEST(SerialQueueTest, synchronousCallersGetOnWhileAllThreadsOfThePoolAreTaken) {
    // More closures than the pool has threads occupy it, so that the queue's own turn in the pool
    // comes behind them all; each of them then waits for the queue.
    constexpr int kClosures = 64;
    const auto queue = SerialQueue::create("queue");
    std::latch submitted(1);
    std::latch finished(kClosures);
    int ran = 0;
    for (int i = 0; i < kClosures; ++i) {
        ConcurrentQueue::global()->async([&] {
            submitted.wait();
            queue->sync([&] { ++ran; });
            finished.count_down();
        });
    }
    bool first = false;
    queue->async([&] { first = ran == 0; });
    submitted.count_down();
    finished.wait();
    queue->sync([&] { EXPECT_EQ(ran, kClosures); });
    EXPECT_TRUE(first);
}

TEST(SerialQueueTest, aSynchronousCallerRunsWhatWaitsWhileThePoolHasNoThreadForIt) {
    constexpr int kClosures = 64;
    std::latch gate(1);
    std::latch finished(kClosures);
    for (int i = 0; i < kClosures; ++i) {
        ConcurrentQueue::global()->async([&] {
            gate.wait();
            finished.count_down();
        });
    }
    const auto queue = SerialQueue::create("queue");
    std::vector<int> order;
    std::vector<std::thread::id> threads;
    const auto note = [&](int number) {
        order.push_back(number);
        threads.push_back(std::this_thread::get_id());
        EXPECT_EQ(WorkQueue::current(), queue.get());
    };
    queue->async([&] { note(0); });
    queue->async([&] {
        note(1);
        queue->async([&] { note(3); });
    });
    queue->sync([&] { note(2); });
    // What a closure submitted meanwhile is left to the pool.
    EXPECT_EQ(order, upTo(3));
    EXPECT_EQ(threads, std::vector<std::thread::id>(3, std::this_thread::get_id()));
    gate.count_down();
    finished.wait();
    queue->sync([] {});
    EXPECT_EQ(order, upTo(4));
}

/// Two to four queues, each with a thread or without, and whether they are idle.
struct Ring {
    const char* name;
    std::vector<SerialQueue::Execution> executions;
    bool busy;
};

class SerialQueueRingTest : public testing::TestWithParam<Ring> {};

TEST_P(SerialQueueRingTest, synchronousCallsThatLeadBackRunOnTheThreadThatWaits) {
    std::vector<std::shared_ptr<SerialQueue>> queues;
    for (const SerialQueue::Execution execution : GetParam().executions) {
        queues.push_back(SerialQueue::create("ring", execution));
    }
    constexpr int kRounds = 3;
    const std::size_t count = queues.size();
    std::vector<std::thread::id> threads;
    std::vector<WorkQueue*> current;
    std::function<void(std::size_t)> call = [&](std::size_t depth) {
        if (depth == kRounds * count) {
            return;
        }
        SerialQueue& next = *queues[depth % count];
        next.sync([&] {
            threads.push_back(std::this_thread::get_id());
            current.push_back(WorkQueue::current());
            call(depth + 1);
            EXPECT_EQ(WorkQueue::current(), &next);
        });
    };
    // What keeps a queue busy ends while the ring waits for it.
    std::latch entered(static_cast<std::ptrdiff_t>(count));
    for (const auto& queue : queues) {
        queue->async([&, busy = GetParam().busy] {
            entered.count_down();
            std::this_thread::sleep_for(std::chrono::milliseconds(busy ? 20 : 0));
        });
    }
    entered.wait();
    if (!GetParam().busy) {
        for (const auto& queue : queues) {
            queue->sync([] {});
        }
    }
    call(0);
    ASSERT_EQ(threads.size(), kRounds * count);
    for (std::size_t i = 0; i < threads.size(); ++i) {
        EXPECT_EQ(current[i], queues[i % count].get());
        EXPECT_EQ(threads[i], threads[i % count]) << "the thread that runs the queue's closure";
    }
    for (const auto& queue : queues) {
        bool ran = false;
        queue->sync([&] { ran = true; });
        EXPECT_TRUE(ran) << "the queue goes on";
    }
}

constexpr auto kPool = SerialQueue::Execution::SharedPool;
constexpr auto kThread = SerialQueue::Execution::OwnThread;

INSTANTIATE_TEST_SUITE_P(Of, SerialQueueRingTest,
                         testing::Values(Ring{"twoIdle", {kPool, kPool}, false},
                                         Ring{"twoBusy", {kPool, kPool}, true},
                                         Ring{"threeIdle", {kPool, kPool, kPool}, false},
                                         Ring{"threeBusy", {kPool, kPool, kPool}, true},
                                         Ring{"aThreadAndOneIdle", {kThread, kPool}, false},
                                         Ring{"aThreadAndOneBusy", {kThread, kPool}, true},
                                         Ring{"oneIdleAndAThread", {kPool, kThread}, false},
                                         Ring{"oneBusyAndAThread", {kPool, kThread}, true},
                                         Ring{"twoThreads", {kThread, kThread}, false},
                                         Ring{"threeThreads", {kThread, kThread, kThread}, false},
                                         Ring{"fourMixed", {kThread, kPool, kThread, kPool}, true}),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(SerialQueueTest, oneThreadsRingsDoNotDisturbThoseOfOthers) {
    const auto first = SerialQueue::create("first", SerialQueue::Execution::OwnThread);
    const auto second = SerialQueue::create("second");
    int count = 0;  // guarded by the first queue
    const auto ring = [&] {
        for (int i = 0; i < 200; ++i) {
            first->sync([&] { second->sync([&] { first->sync([&] { ++count; }); }); });
        }
    };
    std::thread other(ring);
    ring();
    other.join();
    EXPECT_EQ(count, 400);
}

int freeFunctionCalls = 0;

void freeFunction() {
    ++freeFunctionCalls;
}

TEST(SerialQueueFunctionTest, aPlainFunctionIsAClosureToo) {
    freeFunctionCalls = 0;
    const auto queue = SerialQueue::create("queue");
    queue->async(freeFunction);
    queue->sync(freeFunction);
    EXPECT_EQ(freeFunctionCalls, 2);
}
