// What happens to a serial queue, and to what waits on it, when its last reference goes.

#include <gtest/gtest.h>

#include <cstdlib>
#include <latch>
#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/threads/SerialQueue.h"
#include "tests/platform/base/ThreadsafeDeathTest.h"
#include "tests/platform/threads/QueueExecutions.h"

using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;
using Mivora::tests::bothExecutions;
using Mivora::tests::executionName;

namespace {

class SerialQueueLifetimeTest : public testing::TestWithParam<SerialQueue::Execution> {
 protected:
    std::shared_ptr<SerialQueue> makeQueue() const {
        return SerialQueue::create("queue", GetParam());
    }

    /// Returns once the queue has gone, wherever that happens.
    static void waitUntilGone(const std::weak_ptr<SerialQueue>& queue) {
        while (!queue.expired()) {
            std::this_thread::yield();
        }
    }
};

INSTANTIATE_TEST_SUITE_P(Kinds, SerialQueueLifetimeTest, bothExecutions(), executionName);

}  // namespace

TEST_P(SerialQueueLifetimeTest, aQueueThatWasNeverUsedCanGo) {
    for (int i = 0; i < 50; ++i) {
        const std::weak_ptr<SerialQueue> weak = makeQueue();
        EXPECT_TRUE(weak.expired());
    }
}

TEST_P(SerialQueueLifetimeTest, anIdleQueueGoesWithItsLastReference) {
    auto queue = makeQueue();
    const std::weak_ptr<SerialQueue> weak = queue;
    queue->async([] {});
    queue->sync([] {});
    queue.reset();
    waitUntilGone(weak);
}

TEST_P(SerialQueueLifetimeTest, droppingTheLastReferenceFromOutsideRunsWhatWaits) {
    auto queue = makeQueue();
    const WorkQueue* identity = queue.get();
    const std::weak_ptr<SerialQueue> weak = queue;
    std::latch gate(1);
    std::latch finished(1);
    std::vector<int> order;
    int onTheQueue = 0;
    queue->async([&] { gate.wait(); });
    for (int i = 0; i < 100; ++i) {
        queue->async([&, i] {
            order.push_back(i);
            onTheQueue += WorkQueue::current() == identity ? 1 : 0;
        });
    }
    queue->async([&] { finished.count_down(); });
    // Dropping may wait for the closures, and they for the gate.
    std::thread other([last = std::move(queue)]() mutable { last.reset(); });
    gate.count_down();
    finished.wait();
    other.join();
    waitUntilGone(weak);
    ASSERT_EQ(order.size(), 100U);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
    EXPECT_EQ(onTheQueue, 100);
}

TEST_P(SerialQueueLifetimeTest, droppingTheLastReferenceFromAClosureOfTheQueueRunsWhatWaits) {
    auto queue = makeQueue();
    const WorkQueue* identity = queue.get();
    const std::weak_ptr<SerialQueue> weak = queue;
    std::latch gate(1);
    std::latch finished(1);
    std::vector<int> order;
    int onTheQueue = 0;
    auto inner = queue;
    queue->async([&] {
        gate.wait();
        inner.reset();
    });
    for (int i = 0; i < 100; ++i) {
        queue->async([&, i] {
            order.push_back(i);
            onTheQueue += WorkQueue::current() == identity ? 1 : 0;
        });
    }
    queue->async([&] { finished.count_down(); });
    queue.reset();
    EXPECT_FALSE(weak.expired());
    gate.count_down();
    finished.wait();
    waitUntilGone(weak);
    EXPECT_EQ(order.size(), 100U);
    EXPECT_EQ(onTheQueue, 100);
}

TEST_P(SerialQueueLifetimeTest, theLastReferenceMayGoWithTheCapturesOfAClosure) {
    for (int round = 0; round < 100; ++round) {
        auto queue = makeQueue();
        const std::weak_ptr<SerialQueue> weak = queue;
        std::latch gate(1);
        bool ran = false;
        std::latch destroyed(1);
        queue->async([&] { gate.wait(); });
        queue->async([&, queue, token = std::shared_ptr<void>(nullptr, [&](void*) {
                                    destroyed.count_down();
                                })] { ran = true; });
        queue.reset();
        gate.count_down();
        destroyed.wait();
        EXPECT_TRUE(ran);
        waitUntilGone(weak);
    }
}

TEST_P(SerialQueueLifetimeTest, closuresMaySubmitMoreWhileTheLastReferenceIsGone) {
    auto queue = makeQueue();
    const std::weak_ptr<SerialQueue> weak = queue;
    std::latch gate(1);
    std::latch finished(1);
    // The queue itself is alive as long as its closures run.
    SerialQueue* const unowned = queue.get();
    int depth = 0;
    struct Again {
        SerialQueue* queue;
        int* depth;
        std::latch* finished;
        void operator()() const {
            if (++*depth < 100) {
                queue->async(Again(*this));
            } else {
                finished->count_down();
            }
        }
    };
    queue->async([&] { gate.wait(); });
    queue->async(Again{unowned, &depth, &finished});
    std::thread other([last = std::move(queue)]() mutable { last.reset(); });
    gate.count_down();
    finished.wait();
    other.join();
    waitUntilGone(weak);
    EXPECT_EQ(depth, 100);
}

TEST_P(SerialQueueLifetimeTest, referencesMayGoOnManyThreadsWhileClosuresRun) {
    for (int round = 0; round < 100; ++round) {
        auto queue = makeQueue();
        const std::weak_ptr<SerialQueue> weak = queue;
        int ran = 0;
        std::latch finished(1);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([&, mine = queue]() mutable {
                for (int closure = 0; closure < 20; ++closure) {
                    mine->async([&] {
                        if (++ran == 60) {
                            finished.count_down();
                        }
                    });
                }
                mine.reset();
            });
        }
        queue.reset();
        for (std::thread& thread : threads) {
            thread.join();
        }
        finished.wait();
        waitUntilGone(weak);
    }
}

// The end of the process

namespace {

/// A static that has work for a queue when it is destroyed.
struct LateSubmitter {
    std::shared_ptr<SerialQueue> queue;

    ~LateSubmitter() {
        if (!queue) {
            return;
        }
        const auto capture = std::make_shared<int>();
        queue->async([capture] { std::_Exit(2); });
        if (capture.use_count() != 1) {
            std::_Exit(3);
        }
        queue->sync([] { std::_Exit(4); });
        queue.reset();
    }
} lateSubmitter;

[[noreturn]] void exitWithWorkToCome() {
    constexpr auto kOwnThread = SerialQueue::Execution::OwnThread;
    // Once its thread has ended, the exit is known to wait for queues.
    SerialQueue::create("first", kOwnThread)->sync([] {});
    lateSubmitter.queue = SerialQueue::create("late", kOwnThread);
    lateSubmitter.queue->sync([] {});
    std::exit(0);
}

using SerialQueueDeathTest = Mivora::tests::ThreadsafeDeathTest;

}  // namespace

TEST_F(SerialQueueDeathTest, whatStaticsSubmitAsTheyAreDestroyedIsDropped) {
    EXPECT_EXIT(exitWithWorkToCome(), testing::ExitedWithCode(0), "");
}
