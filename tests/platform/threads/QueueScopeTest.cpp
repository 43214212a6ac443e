// Scopes around the closures of serial queues: when they are entered, shared, left and released.

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "MivoraMac/platform/threads/SerialQueue.h"
#include "tests/platform/base/LogCapture.h"
#include "tests/platform/threads/QueueExecutions.h"

using Mivora::platform::QueueScope;
using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;
using Mivora::tests::bothExecutions;
using Mivora::tests::executionName;
using Mivora::tests::LogCapture;

namespace {

using Events = std::vector<std::string>;

/// Writes down what happens to it, on the queue: no lock guards the events.
class RecordedScope : public QueueScope, public std::enable_shared_from_this<RecordedScope> {
 public:
    RecordedScope(std::string name, Events& events) : name_(std::move(name)), events_(events) {}
    ~RecordedScope() override {
        if (destroyed) {
            destroyed->count_down();
        }
    }

    bool isInside() const { return inside_; }
    int retained() const { return retained_; }

    /// Told of every time the scope is left.
    std::latch* left = nullptr;
    std::latch* destroyed = nullptr;
    WorkQueue* enteredOn = nullptr;
    WorkQueue* leftOn = nullptr;
    /// Called when a submission retains the scope.
    void (*onRetain)(void*) = nullptr;
    void* onRetainArgument = nullptr;

 protected:
    std::shared_ptr<QueueScope> retainScope() override {
        ++retained_;
        if (onRetain != nullptr) {
            onRetain(onRetainArgument);
        }
        return shared_from_this();
    }
    void enterScope() override {
        events_.push_back("enter " + name_);
        inside_ = true;
        enteredOn = WorkQueue::current();
    }
    void leaveScope() override {
        events_.push_back("leave " + name_);
        inside_ = false;
        leftOn = WorkQueue::current();
        if (left != nullptr) {
            left->count_down();
        }
    }

 private:
    std::string name_;
    Events& events_;
    bool inside_ = false;
    std::atomic<int> retained_{0};
};

class QueueScopeTest : public testing::TestWithParam<SerialQueue::Execution> {
 protected:
    /// Keeps the queue busy until `openGate`.
    void closeGate() {
        queue_->async([this] { gate_.wait(); });
    }
    void openGate() { gate_.count_down(); }

    auto event(const char* name) {
        return [this, name] { events_.emplace_back(name); };
    }

    Events events_;
    const std::shared_ptr<SerialQueue> queue_ = SerialQueue::create("queue", GetParam());

 private:
    std::latch gate_{1};
};

INSTANTIATE_TEST_SUITE_P(Kinds, QueueScopeTest, bothExecutions(), executionName);

}  // namespace

TEST_P(QueueScopeTest, aClosureRunsInsideItsScope) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    bool inside = false;
    queue_->asyncInScope(*scope, [&] { inside = scope->isInside(); });
    queue_->sync([] {});
    EXPECT_TRUE(inside);
    EXPECT_FALSE(scope->isInside());
    EXPECT_EQ(events_, (Events{"enter scope", "leave scope"}));
    EXPECT_EQ(scope->enteredOn, queue_.get());
    EXPECT_EQ(scope->leftOn, queue_.get());
}

TEST_P(QueueScopeTest, waitingClosuresOfOneScopeShareOneEntry) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    closeGate();
    queue_->asyncInScope(*scope, event("a"));
    queue_->asyncInScope(*scope, event("b"));
    queue_->asyncInScope(*scope, event("c"));
    openGate();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "a", "b", "c", "leave scope"}));
}

TEST_P(QueueScopeTest, theScopeIsRetainedOnceForARunOfClosures) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    closeGate();
    for (int i = 0; i < 100; ++i) {
        queue_->asyncInScope(*scope, [] {});
    }
    EXPECT_EQ(scope->retained(), 1);
    openGate();
    queue_->sync([] {});
    EXPECT_EQ(scope->retained(), 1);
}

TEST_P(QueueScopeTest, aClosureWithoutScopeSeesTheScopeLeft) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    closeGate();
    queue_->asyncInScope(*scope, event("a"));
    queue_->async(event("raw"));
    queue_->asyncInScope(*scope, event("b"));
    openGate();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "a", "leave scope", "raw", "enter scope", "b",
                               "leave scope"}));
}

TEST_P(QueueScopeTest, aScopeIsLeftBeforeThatOfAnotherOwnerIsEntered) {
    const auto first = std::make_shared<RecordedScope>("first", events_);
    const auto second = std::make_shared<RecordedScope>("second", events_);
    closeGate();
    queue_->asyncInScope(*first, event("a"));
    queue_->asyncInScope(*second, event("b"));
    queue_->asyncInScope(*second, event("c"));
    queue_->asyncInScope(*first, event("d"));
    openGate();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter first", "a", "leave first", "enter second", "b", "c",
                               "leave second", "enter first", "d", "leave first"}));
}

TEST_P(QueueScopeTest, theScopeIsLeftWhenTheQueueRunsDry) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    for (int i = 0; i < 3; ++i) {
        std::latch left(1);
        scope->left = &left;
        queue_->asyncInScope(*scope, event("a"));
        left.wait();
    }
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "a", "leave scope", "enter scope", "a", "leave scope",
                               "enter scope", "a", "leave scope"}));
}

TEST_P(QueueScopeTest, aClosureSubmittedByAnotherOfTheScopeSharesItsEntry) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    std::latch left(1);
    scope->left = &left;
    queue_->asyncInScope(*scope, [&] {
        events_.emplace_back("a");
        queue_->asyncInScope(*scope, event("b"));
    });
    left.wait();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "a", "b", "leave scope"}));
}

TEST_P(QueueScopeTest, theScopeLivesUntilItsClosuresHaveRunAndIsReleasedAfterwards) {
    std::latch destroyed(1);
    auto scope = std::make_shared<RecordedScope>("scope", events_);
    scope->destroyed = &destroyed;
    const std::weak_ptr<RecordedScope> weak = scope;
    closeGate();
    queue_->asyncInScope(*scope, event("a"));
    queue_->asyncInScope(*scope, event("b"));
    scope.reset();
    EXPECT_FALSE(weak.expired());
    openGate();
    destroyed.wait();
    queue_->sync([] {});
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(events_, (Events{"enter scope", "a", "b", "leave scope"}));
}

TEST_P(QueueScopeTest, aNewScopeInThePlaceOfAReleasedOneIsEnteredAnew) {
    for (int i = 0; i < 50; ++i) {
        std::latch destroyed(1);
        events_.clear();
        auto scope = std::make_shared<RecordedScope>("scope", events_);
        scope->destroyed = &destroyed;
        queue_->asyncInScope(*scope, event("a"));
        scope.reset();
        destroyed.wait();
        queue_->sync([] {});
        ASSERT_EQ(events_, (Events{"enter scope", "a", "leave scope"}));
    }
}

TEST_P(QueueScopeTest, aScopeThatNobodyElseHoldsIsReleasedOnTheQueue) {
    struct Owner : RecordedScope {
        using RecordedScope::RecordedScope;
        ~Owner() override {
            // As a destructor does that has work to clean up after itself.
            queue->async([ran = ran] { ran->count_down(); });
            releasedOn = WorkQueue::current();
        }
        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;
        std::shared_ptr<SerialQueue> queue;
        std::latch* ran = nullptr;
        WorkQueue*& releasedOn;
        Owner(Events& events, WorkQueue*& where)
            : RecordedScope("owner", events), releasedOn(where) {}
    };
    std::latch ran(1);
    WorkQueue* releasedOn = nullptr;
    auto scope = std::make_shared<Owner>(events_, releasedOn);
    scope->queue = queue_;
    scope->ran = &ran;
    closeGate();
    queue_->asyncInScope(*scope, event("a"));
    scope.reset();
    openGate();
    ran.wait();
    queue_->sync([] {});
    EXPECT_EQ(releasedOn, queue_.get());
    EXPECT_EQ(events_, (Events{"enter owner", "a", "leave owner"}));
}

TEST_P(QueueScopeTest, syncRunsInsideTheScopeAndReturnsAfterItHasBeenLeft) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    for (int i = 0; i < 500; ++i) {
        bool inside = false;
        queue_->syncInScope(*scope, [&] { inside = scope->isInside(); });
        ASSERT_TRUE(inside);
        ASSERT_FALSE(scope->isInside());
    }
    EXPECT_EQ(events_.size(), 1000U);
}

TEST_P(QueueScopeTest, syncBehindWaitingClosuresOfItsScopeSharesTheirEntry) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    closeGate();
    queue_->asyncInScope(*scope, event("a"));
    queue_->asyncInScope(*scope, event("b"));
    std::thread opener([&] { openGate(); });
    queue_->syncInScope(*scope, event("sync"));
    EXPECT_FALSE(scope->isInside());
    opener.join();
    // The gate may open before the synchronous call is made, and the queue run dry.
    const Events shared = {"enter scope", "a", "b", "sync", "leave scope"};
    EXPECT_EQ(events_.front(), "enter scope");
    EXPECT_EQ(events_.back(), "leave scope");
    EXPECT_GE(events_.size(), shared.size());
}

TEST_P(QueueScopeTest, aSynchronousCallOfABusyQueueWaitsForItsTurn) {
    // The other owner's scope is retained while its call is being submitted, which shows that the
    // call was made before the gate opened.
    const auto first = std::make_shared<RecordedScope>("first", events_);
    const auto second = std::make_shared<RecordedScope>("second", events_);
    std::latch submitting(1);
    second->onRetain = [](void* latch) { static_cast<std::latch*>(latch)->count_down(); };
    second->onRetainArgument = &submitting;
    closeGate();
    queue_->asyncInScope(*first, event("a"));
    std::thread other([&] {
        queue_->syncInScope(*second, event("sync"));
        EXPECT_FALSE(second->isInside());
    });
    submitting.wait();
    openGate();
    other.join();
    EXPECT_EQ(events_,
              (Events{"enter first", "a", "leave first", "enter second", "sync", "leave second"}));
}

TEST_P(QueueScopeTest, aSynchronousCallReturnsWhileLaterClosuresStillRun) {
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    std::latch submitting(1);
    std::latch returned(1);
    scope->onRetain = [](void* latch) { static_cast<std::latch*>(latch)->count_down(); };
    scope->onRetainArgument = &submitting;
    closeGate();
    std::thread other([&] {
        queue_->syncInScope(*scope, event("sync"));
        returned.count_down();
    });
    submitting.wait();
    queue_->async([&] {
        returned.wait();
        events_.emplace_back("later");
    });
    openGate();
    other.join();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "sync", "leave scope", "later"}));
}

TEST_P(QueueScopeTest, aClosureThatThrowsLeavesTheScopeAsUsual) {
    const LogCapture log;
    const auto scope = std::make_shared<RecordedScope>("scope", events_);
    closeGate();
    queue_->asyncInScope(*scope, [] { throw std::runtime_error("out of paint"); });
    queue_->asyncInScope(*scope, event("b"));
    openGate();
    queue_->sync([] {});
    EXPECT_EQ(events_, (Events{"enter scope", "b", "leave scope"}));
    EXPECT_NO_THROW(queue_->syncInScope(*scope, [] { throw 42; }));
    EXPECT_FALSE(scope->isInside());
    EXPECT_EQ(log.lines().size(), 2U);
}

TEST_P(QueueScopeTest, scopesOfManyThreadsNeverOverlap) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 300;
    std::vector<std::shared_ptr<RecordedScope>> scopes;
    for (int i = 0; i < 2; ++i) {
        scopes.push_back(std::make_shared<RecordedScope>(std::to_string(i), events_));
    }
    int wrong = 0;
    int ran = 0;
    const auto check = [&](int expected) {
        ++ran;
        for (int i = 0; i < 2; ++i) {
            wrong += scopes[static_cast<std::size_t>(i)]->isInside() == (i == expected) ? 0 : 1;
        }
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kRounds; ++i) {
                const int owner = (thread + i / 3) % 3;
                if (owner == 2) {
                    queue_->async([&] { check(2); });
                } else if (i % 10 == 0) {
                    queue_->syncInScope(*scopes[static_cast<std::size_t>(owner)],
                                        [&, owner] { check(owner); });
                } else {
                    queue_->asyncInScope(*scopes[static_cast<std::size_t>(owner)],
                                         [&, owner] { check(owner); });
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    queue_->sync([] {});
    EXPECT_EQ(ran, kThreads * kRounds);
    EXPECT_EQ(wrong, 0);
}

TEST_P(QueueScopeTest, theQueueMayGoWhileScopedClosuresWait) {
    std::latch destroyed(1);
    Events events;
    auto scope = std::make_shared<RecordedScope>("scope", events);
    scope->destroyed = &destroyed;
    auto queue = SerialQueue::create("short", GetParam());
    std::latch gate(1);
    queue->async([&] { gate.wait(); });
    queue->asyncInScope(*scope, [&] { events.emplace_back("a"); });
    scope.reset();
    std::thread other([last = std::move(queue)]() mutable { last.reset(); });
    gate.count_down();
    destroyed.wait();
    other.join();
    EXPECT_EQ(events, (Events{"enter scope", "a", "leave scope"}));
}
