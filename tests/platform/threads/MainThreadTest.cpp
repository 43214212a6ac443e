#include "MivoraMac/platform/threads/MainThread.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/threads/WorkQueue.h"
#include "tests/platform/base/LogCapture.h"

using Mivora::platform::DebugLog;
using Mivora::platform::MainThread;
using Mivora::platform::WorkQueue;
using Mivora::tests::LogCapture;

namespace {

/// Far beyond what any of these tests takes: a test that fails ends nevertheless.
constexpr double kLong = 60;

using Events = std::vector<std::string>;

class MainThreadTest : public testing::Test {
 protected:
    ~MainThreadTest() override {
        // The thread that runs the tests is the main thread again, and nothing waits for it.
        while (g_main_context_iteration(nullptr, FALSE) == TRUE) {
        }
    }

    auto event(const char* name) {
        return [this, name] { events_.emplace_back(name); };
    }

    Events events_;
};

}  // namespace

TEST_F(MainThreadTest, theThreadThatLoadedTheLibraryIsTheMainThread) {
    EXPECT_TRUE(MainThread::isMainThread());
    bool other = true;
    std::thread([&] { other = MainThread::isMainThread(); }).join();
    EXPECT_FALSE(other);
}

TEST_F(MainThreadTest, performRunsInALaterTurn) {
    bool ran = false;
    MainThread::perform([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(MainThread::runUntil([&] { return ran; }, kLong));
}

TEST_F(MainThreadTest, performRunsOnTheMainThreadOutsideAnyQueue) {
    std::thread::id thread;
    bool isMain = false;
    bool ran = false;
    std::thread other([&] {
        MainThread::perform([&] {
            thread = std::this_thread::get_id();
            isMain = MainThread::isMainThread();
            EXPECT_EQ(WorkQueue::current(), nullptr);
            ran = true;
        });
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return ran; }, kLong));
    other.join();
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_TRUE(isMain);
}

TEST_F(MainThreadTest, performKeepsTheOrderOfSubmission) {
    std::vector<int> order;
    for (int i = 0; i < 1000; ++i) {
        MainThread::perform([&order, i] { order.push_back(i); });
    }
    EXPECT_TRUE(MainThread::runUntil([&] { return order.size() == 1000; }, kLong));
    for (int i = 0; i < 1000; ++i) {
        ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST_F(MainThreadTest, performKeepsTheOrderOfEveryThread) {
    constexpr std::size_t kThreads = 3;
    constexpr int kClosures = 1000;
    std::vector<std::vector<int>> orders(kThreads);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kClosures; ++i) {
                MainThread::perform([&orders, thread, i] { orders[thread].push_back(i); });
            }
        });
    }
    EXPECT_TRUE(MainThread::runUntil(
        [&] {
            std::size_t total = 0;
            for (const std::vector<int>& order : orders) {
                total += order.size();
            }
            return total == kThreads * kClosures;
        },
        kLong));
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::vector<int>& order : orders) {
        for (int i = 0; i < kClosures; ++i) {
            ASSERT_EQ(order[static_cast<std::size_t>(i)], i);
        }
    }
}

TEST_F(MainThreadTest, performFromAPerformedClosureWaitsForTheNextTurn) {
    MainThread::perform([&] {
        events_.emplace_back("first");
        MainThread::perform(event("nested"));
    });
    MainThread::perform(event("second"));
    MainThread::runUntil([] { return false; }, 0);
    EXPECT_EQ(events_, (Events{"first", "second"}));
    MainThread::runUntil([] { return false; }, 0);
    EXPECT_EQ(events_, (Events{"first", "second", "nested"}));
}

TEST_F(MainThreadTest, capturesGoBeforeTheNextClosureRuns) {
    MainThread::perform([this, token = std::shared_ptr<void>(nullptr, [this](void*) {
                                   events_.emplace_back("gone");
                               })] { events_.emplace_back("first"); });
    MainThread::perform(event("second"));
    EXPECT_TRUE(MainThread::runUntil([&] { return events_.size() == 3; }, kLong));
    EXPECT_EQ(events_, (Events{"first", "gone", "second"}));
}

TEST_F(MainThreadTest, performAndWaitFromAnotherThreadReturnsWhenTheClosureHasRun) {
    std::thread::id thread;
    bool isMain = false;
    bool isMainThere = true;
    bool ranBeforeReturn = false;
    std::atomic<bool> returned{false};
    std::thread other([&] {
        bool ran = false;
        MainThread::performAndWait([&] {
            thread = std::this_thread::get_id();
            isMain = MainThread::isMainThread();
            ran = true;
        });
        ranBeforeReturn = ran;
        isMainThere = MainThread::isMainThread();
        returned = true;
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return returned.load(); }, kLong));
    other.join();
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(ranBeforeReturn);
    EXPECT_FALSE(isMainThere);
}

TEST_F(MainThreadTest, performAndWaitRunsAfterWhatWasSubmittedBefore) {
    std::atomic<bool> returned{false};
    std::thread other([&] {
        MainThread::perform(event("first"));
        MainThread::performAndWait(event("second"));
        returned = true;
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return returned.load(); }, kLong));
    other.join();
    EXPECT_EQ(events_, (Events{"first", "second"}));
}

TEST_F(MainThreadTest, performAndWaitFromManyThreadsRunsEveryClosure) {
    constexpr int kThreads = 4;
    constexpr int kClosures = 100;
    int ran = 0;
    std::atomic<int> returned{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&] {
            for (int i = 0; i < kClosures; ++i) {
                MainThread::performAndWait([&] { ++ran; });
            }
            ++returned;
        });
    }
    EXPECT_TRUE(MainThread::runUntil([&] { return returned == kThreads; }, kLong));
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(ran, kThreads * kClosures);
}

TEST_F(MainThreadTest, performAndWaitOnTheMainThreadRunsAtOnce) {
    MainThread::perform(event("submitted before"));
    MainThread::performAndWait(event("at once"));
    EXPECT_EQ(events_, (Events{"at once"}));
    EXPECT_TRUE(MainThread::runUntil([&] { return events_.size() == 2; }, kLong));
}

TEST_F(MainThreadTest, performAndWaitFromAPerformedClosureRunsAtOnce) {
    MainThread::perform([&] {
        events_.emplace_back("begin");
        MainThread::performAndWait(event("inside"));
        events_.emplace_back("end");
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return events_.size() == 3; }, kLong));
    EXPECT_EQ(events_, (Events{"begin", "inside", "end"}));
}

TEST_F(MainThreadTest, exceptionsAreLoggedAndTheLoopLives) {
    const LogCapture log;
    MainThread::perform([] { throw std::runtime_error("out of paint"); });
    MainThread::perform([] { throw 42; });
    MainThread::perform(event("next"));
    EXPECT_TRUE(MainThread::runUntil([&] { return !events_.empty(); }, kLong));
    EXPECT_NO_THROW(MainThread::performAndWait([] { throw std::runtime_error("out of ink"); }));
    std::atomic<bool> returned{false};
    std::thread other([&] {
        EXPECT_NO_THROW(MainThread::performAndWait([] { throw std::runtime_error("no pen"); }));
        returned = true;
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return returned.load(); }, kLong));
    other.join();
    const std::vector<LogCapture::Line> expected = {
        {DebugLog::Category::Queue, "main thread: a closure threw: out of paint"},
        {DebugLog::Category::Queue, "main thread: a closure threw an unknown exception"},
        {DebugLog::Category::Queue, "main thread: a closure threw: out of ink"},
        {DebugLog::Category::Queue, "main thread: a closure threw: no pen"},
    };
    EXPECT_EQ(log.lines(), expected);
}

TEST_F(MainThreadTest, runUntilTurnsNothingWhenTheConditionHoldsAlready) {
    MainThread::perform(event("performed"));
    EXPECT_TRUE(MainThread::runUntil([] { return true; }, kLong));
    EXPECT_TRUE(MainThread::runUntil([] { return true; }, 0));
    EXPECT_EQ(events_, Events());
}

TEST_F(MainThreadTest, runUntilSeesAConditionThatAnotherThreadMakesTrue) {
    std::atomic<bool> condition{false};
    std::latch asked(1);
    bool first = true;
    std::thread other([&] {
        asked.wait();
        condition = true;
    });
    EXPECT_TRUE(MainThread::runUntil(
        [&] {
            if (first) {
                first = false;
                asked.count_down();
                return false;
            }
            return condition.load();
        },
        kLong));
    other.join();
}

TEST_F(MainThreadTest, runUntilGivesUpAfterItsTimeout) {
    EXPECT_FALSE(MainThread::runUntil([] { return false; }, 0.01));
    EXPECT_FALSE(MainThread::runUntil([] { return false; }, 1e-9));
}

TEST_F(MainThreadTest, runUntilHasNoEndOfItsOwnWhenTheTimeoutIsInfinite) {
    int asked = 0;
    EXPECT_TRUE(MainThread::runUntil([&] { return ++asked == 5; },
                                     std::numeric_limits<double>::infinity()));
}

TEST_F(MainThreadTest, runUntilWithoutATimeoutMakesOnePass) {
    for (const double timeout : {0.0, -1.0, -std::numeric_limits<double>::infinity(),
                                 std::numeric_limits<double>::quiet_NaN()}) {
        SCOPED_TRACE(timeout);
        int asked = 0;
        bool ran = false;
        EXPECT_FALSE(MainThread::runUntil(
            [&] {
                ++asked;
                return false;
            },
            timeout));
        EXPECT_EQ(asked, 2);
        MainThread::perform([&] { ran = true; });
        EXPECT_TRUE(MainThread::runUntil([&] { return ran; }, timeout));
    }
}

TEST_F(MainThreadTest, runUntilNestsInAPerformedClosure) {
    MainThread::perform([&] {
        bool inner = false;
        MainThread::perform([&] { inner = true; });
        EXPECT_TRUE(MainThread::runUntil([&] { return inner; }, kLong));
        events_.emplace_back("done");
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return !events_.empty(); }, kLong));
}

TEST_F(MainThreadTest, aNestedLoopRunsWhatWasAlreadyWaiting) {
    // A closure that waits in a loop of its own, as a dialog does, holds nobody else up.
    bool second = false;
    MainThread::perform([&] {
        events_.emplace_back("first begins");
        EXPECT_TRUE(MainThread::runUntil([&] { return second; }, 5));
        events_.emplace_back("first ends");
        MainThread::perform(event("later"));
    });
    MainThread::perform([&] {
        events_.emplace_back("second");
        second = true;
    });
    MainThread::perform(event("third"));
    EXPECT_TRUE(MainThread::runUntil([&] { return events_.size() == 5; }, kLong));
    EXPECT_EQ(events_, (Events{"first begins", "second", "third", "first ends", "later"}));
}

TEST_F(MainThreadTest, quitEndsRun) {
    MainThread::perform(event("performed"));
    MainThread::perform(&MainThread::quit);
    MainThread::run();
    EXPECT_EQ(events_, (Events{"performed"}));
}

TEST_F(MainThreadTest, quitFromAnotherThreadEndsRun) {
    std::thread other([] {
        // Once this has run, so has `run`.
        MainThread::performAndWait([] {});
        MainThread::quit();
    });
    MainThread::run();
    other.join();
}

TEST_F(MainThreadTest, quitWhileNothingRunsIsIgnored) {
    MainThread::quit();
    MainThread::quit();
    MainThread::perform([&] {
        events_.emplace_back("turned");
        MainThread::perform([&] {
            events_.emplace_back("turned again");
            MainThread::quit();
        });
    });
    MainThread::run();
    EXPECT_EQ(events_, (Events{"turned", "turned again"}));
}

TEST_F(MainThreadTest, aTurnIsFinishedBeforeRunEnds) {
    MainThread::perform(&MainThread::quit);
    MainThread::perform(event("same turn"));
    MainThread::run();
    EXPECT_EQ(events_, (Events{"same turn"}));
}

TEST_F(MainThreadTest, quitEndsTheInnermostRunOnly) {
    MainThread::perform([&] {
        events_.emplace_back("outer begins");
        MainThread::perform([&] {
            events_.emplace_back("inner quits");
            MainThread::quit();
        });
        MainThread::run();
        events_.emplace_back("inner ended");
        MainThread::perform([&] {
            events_.emplace_back("outer quits");
            MainThread::quit();
        });
    });
    MainThread::run();
    EXPECT_EQ(events_, (Events{"outer begins", "inner quits", "inner ended", "outer quits"}));
}

TEST_F(MainThreadTest, everyQuitEndsOneRun) {
    MainThread::perform([&] {
        MainThread::perform([] {
            MainThread::quit();
            MainThread::quit();
            MainThread::quit();
        });
        MainThread::run();
        events_.emplace_back("inner ended");
    });
    MainThread::run();
    events_.emplace_back("outer ended");
    EXPECT_EQ(events_, (Events{"inner ended", "outer ended"}));
    // The third one had nothing to end.
    MainThread::perform([&] {
        events_.emplace_back("runs again");
        MainThread::quit();
    });
    MainThread::run();
    EXPECT_EQ(events_.back(), "runs again");
}

TEST_F(MainThreadTest, otherSourcesOfTheLoopAreServedToo) {
    g_idle_add(
        [](gpointer events) -> gboolean {
            static_cast<Events*>(events)->emplace_back("idle");
            return G_SOURCE_REMOVE;
        },
        &events_);
    EXPECT_TRUE(MainThread::runUntil([&] { return !events_.empty(); }, kLong));
}

TEST_F(MainThreadTest, theThreadThatRunsTheLoopIsTheMainThread) {
    bool isMain = false;
    bool performedThere = false;
    bool isMainHere = true;
    std::latch running(1);
    std::latch looked(1);
    std::thread other([&] {
        bool ran = false;
        MainThread::perform([&] {
            ran = true;
            isMain = MainThread::isMainThread();
            running.count_down();
            looked.wait();
        });
        performedThere = MainThread::runUntil([&] { return ran; }, kLong);
    });
    running.wait();
    isMainHere = MainThread::isMainThread();
    looked.count_down();
    other.join();
    EXPECT_TRUE(isMain);
    EXPECT_TRUE(performedThere);
    EXPECT_FALSE(isMainHere);
    MainThread::runUntil([] { return true; }, 0);
    EXPECT_TRUE(MainThread::isMainThread());
}

TEST_F(MainThreadTest, theThreadThatIteratesTheDefaultContextIsTheMainThread) {
    MainThread::perform([] {});
    bool before = true;
    bool after = false;
    std::thread([&] {
        before = MainThread::isMainThread();
        g_main_context_iteration(nullptr, FALSE);
        after = MainThread::isMainThread();
    }).join();
    EXPECT_FALSE(before);
    EXPECT_TRUE(after);
    EXPECT_FALSE(MainThread::isMainThread());
    g_main_context_iteration(nullptr, FALSE);
    EXPECT_TRUE(MainThread::isMainThread());
}
