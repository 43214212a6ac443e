#include "MivoraMac/platform/threads/WorkQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <thread>
#include <vector>

#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "MivoraMac/platform/threads/SerialQueue.h"

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;

namespace {

const char kKey = 0;
const char kOtherKey = 0;

}  // namespace

TEST(WorkQueueTest, theLabelIsTheOneGivenAtCreation) {
    EXPECT_STREQ(SerialQueue::create("org.example.Serial")->label(), "org.example.Serial");
    EXPECT_STREQ(ConcurrentQueue::create("org.example.Pool")->label(), "org.example.Pool");
}

TEST(WorkQueueTest, aValueReadsAsItWasSet) {
    const auto queue = SerialQueue::create("queue");
    int value = 0;
    queue->setSpecific(&kKey, &value);
    EXPECT_EQ(queue->specific(&kKey), &value);
}

TEST(WorkQueueTest, aKeyThatWasNeverSetReadsAsNull) {
    const auto queue = SerialQueue::create("queue");
    EXPECT_EQ(queue->specific(&kKey), nullptr);
    int value = 0;
    queue->setSpecific(&kKey, &value);
    EXPECT_EQ(queue->specific(&kOtherKey), nullptr);
    EXPECT_EQ(queue->specific(nullptr), nullptr);
}

TEST(WorkQueueTest, settingAKeyAgainReplacesItsValue) {
    const auto queue = SerialQueue::create("queue");
    int first = 0;
    int second = 0;
    int other = 0;
    queue->setSpecific(&kKey, &first);
    queue->setSpecific(&kOtherKey, &other);
    queue->setSpecific(&kKey, &second);
    EXPECT_EQ(queue->specific(&kKey), &second);
    EXPECT_EQ(queue->specific(&kOtherKey), &other);
    queue->setSpecific(&kKey, nullptr);
    EXPECT_EQ(queue->specific(&kKey), nullptr);
    queue->setSpecific(&kKey, &first);
    EXPECT_EQ(queue->specific(&kKey), &first);
}

TEST(WorkQueueTest, everyQueueHasValuesOfItsOwn) {
    const auto first = SerialQueue::create("first");
    const auto second = SerialQueue::create("second");
    int value = 0;
    first->setSpecific(&kKey, &value);
    EXPECT_EQ(second->specific(&kKey), nullptr);
}

TEST(WorkQueueTest, closuresReadTheValuesOfTheirQueue) {
    const auto first = SerialQueue::create("first");
    const auto second = SerialQueue::create("second", SerialQueue::Execution::OwnThread);
    int firstValue = 0;
    int secondValue = 0;
    first->setSpecific(&kKey, &firstValue);
    second->setSpecific(&kKey, &secondValue);
    void* seenOnFirst = nullptr;
    void* seenOnSecond = nullptr;
    first->sync([&] { seenOnFirst = WorkQueue::currentSpecific(&kKey); });
    second->sync([&] { seenOnSecond = WorkQueue::currentSpecific(&kKey); });
    EXPECT_EQ(seenOnFirst, &firstValue);
    EXPECT_EQ(seenOnSecond, &secondValue);
}

TEST(WorkQueueTest, outsideAnyQueueThereIsNoCurrentQueueAndNoValue) {
    const auto queue = SerialQueue::create("queue");
    int value = 0;
    queue->setSpecific(&kKey, &value);
    EXPECT_EQ(WorkQueue::current(), nullptr);
    EXPECT_EQ(WorkQueue::currentSpecific(&kKey), nullptr);
    queue->sync([] {});
    EXPECT_EQ(WorkQueue::current(), nullptr);
    EXPECT_EQ(WorkQueue::currentSpecific(&kKey), nullptr);
}

TEST(WorkQueueTest, theCurrentQueueIsTheInnermostOneWhileSynchronousCallsNest) {
    const auto outer = SerialQueue::create("outer");
    const auto inner = SerialQueue::create("inner");
    const auto pool = ConcurrentQueue::create("pool");
    std::vector<WorkQueue*> seen;
    const auto look = [&] { seen.push_back(WorkQueue::current()); };
    outer->sync([&] {
        look();
        inner->sync([&] {
            look();
            pool->sync(look);
            look();
        });
        look();
    });
    look();
    const std::vector<WorkQueue*> expected = {outer.get(), inner.get(), pool.get(),
                                              inner.get(), outer.get(), nullptr};
    EXPECT_EQ(seen, expected);
}

TEST(WorkQueueTest, theInnermostQueueHidesTheValuesOfTheOuterOnes) {
    const auto outer = SerialQueue::create("outer");
    const auto inner = SerialQueue::create("inner");
    int value = 0;
    outer->setSpecific(&kKey, &value);
    void* inside = &value;
    void* after = nullptr;
    outer->sync([&] {
        inner->sync([&] { inside = WorkQueue::currentSpecific(&kKey); });
        after = WorkQueue::currentSpecific(&kKey);
    });
    EXPECT_EQ(inside, nullptr);
    EXPECT_EQ(after, &value);
}

TEST(WorkQueueTest, theQueueIsCurrentOnNoOtherThread) {
    const auto queue = SerialQueue::create("queue");
    WorkQueue* seen = queue.get();
    queue->sync([&] { std::thread([&] { seen = WorkQueue::current(); }).join(); });
    EXPECT_EQ(seen, nullptr);
}

TEST(WorkQueueTest, valuesAreSetAndReadFromManyThreads) {
    const auto queue = SerialQueue::create("queue");
    constexpr std::size_t kThreads = 4;
    std::vector<int> keys(kThreads * 50);
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (std::size_t i = thread; i < keys.size(); i += kThreads) {
                queue->setSpecific(&keys[i], &keys[i]);
                queue->setSpecific(&kKey, &keys[i]);
                wrong += queue->specific(&keys[i]) != &keys[i] ? 1 : 0;
                wrong += queue->specific(&kKey) == nullptr ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
    for (int& key : keys) {
        EXPECT_EQ(queue->specific(&key), &key);
    }
}
