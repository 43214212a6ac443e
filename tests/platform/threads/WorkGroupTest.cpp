#include "MivoraMac/platform/threads/WorkGroup.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>

#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "MivoraMac/platform/threads/SerialQueue.h"

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::SerialQueue;
using Mivora::platform::WorkGroup;

TEST(WorkGroupTest, oneWithoutWorkIsNotWaitedFor) {
    const auto group = WorkGroup::create();
    EXPECT_EQ(group->count(), 0U);
    group->wait();
}

TEST(WorkGroupTest, waitingEndsWhenAllItsWorkIsDoneOnWhateverQueues) {
    const auto group = WorkGroup::create();
    const auto serial = SerialQueue::create("org.example.Serial");
    std::atomic<int> done{0};
    for (int i = 0; i < 1000; ++i) {
        group->async(*ConcurrentQueue::global(), [&] { ++done; });
        group->async(*serial, [&] { ++done; });
    }
    group->wait();
    EXPECT_EQ(done, 2000);
    EXPECT_EQ(group->count(), 0U);
}

TEST(WorkGroupTest, workOfOthersIsNotWaitedFor) {
    const auto group = WorkGroup::create();
    const auto serial = SerialQueue::create("org.example.Serial");
    std::promise<void> held;
    serial->async([&] { held.get_future().wait(); });
    group->async(*ConcurrentQueue::global(), [] {});
    group->wait();
    held.set_value();
    serial->sync([] {});
}

TEST(WorkGroupTest, workThatIsAddedByItsWorkIsWaitedForToo) {
    const auto group = WorkGroup::create();
    std::atomic<bool> done{false};
    group->async(*ConcurrentQueue::global(),
                 [&] { group->async(*ConcurrentQueue::global(), [&] { done = true; }); });
    group->wait();
    EXPECT_TRUE(done);
}

TEST(WorkGroupTest, workThatThrowsCountsAsDone) {
    const auto group = WorkGroup::create();
    group->async(*ConcurrentQueue::global(), [] { throw std::runtime_error("expected"); });
    group->wait();
    EXPECT_EQ(group->count(), 0U);
}

TEST(WorkGroupTest, livesUntilItsWorkIsDone) {
    auto group = WorkGroup::create();
    const std::weak_ptr<WorkGroup> weak = group;
    const auto serial = SerialQueue::create("org.example.Serial");
    std::promise<void> held;
    group->async(*serial, [&] { held.get_future().wait(); });
    group.reset();
    EXPECT_FALSE(weak.expired());
    held.set_value();
    serial->sync([] {});
    EXPECT_TRUE(weak.expired());
}
