#include "MivoraMac/platform/threads/Timer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <limits>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/platform/threads/RunLoop.h"

using Mivora::platform::MainThread;
using Mivora::platform::RunLoop;
using Mivora::platform::Timer;
using Clock = std::chrono::steady_clock;

namespace {

constexpr double kTimeout = 20;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

std::ptrdiff_t openFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

}  // namespace

TEST(TimerTest, firesAgainAndAgainOnTheThreadOfItsLoop) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] {
        EXPECT_TRUE(MainThread::isMainThread());
        ++firings;
    });
    EXPECT_TRUE(timer->isValid());
    EXPECT_TRUE(MainThread::runUntil([&] { return firings >= 5; }, kTimeout));
}

TEST(TimerTest, firesFirstAfterOnePeriodAndNeverBeforeItIsDue) {
    std::vector<double> moments;
    const auto start = Clock::now();
    constexpr double kPeriod = 0.02;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), kPeriod,
                                             [&] { moments.push_back(secondsSince(start)); });
    ASSERT_TRUE(MainThread::runUntil([&] { return moments.size() >= 4; }, kTimeout));
    for (std::size_t i = 0; i < moments.size(); ++i) {
        EXPECT_GE(moments[i], kPeriod * static_cast<double>(i + 1));
    }
}

TEST(TimerTest, aLateFiringIsMadeUpForOnceAndTheOthersAreLeftOut) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.01, [&] {
        if (++firings == 1) {
            std::this_thread::sleep_for(std::chrono::milliseconds(105));
        }
    });
    const auto start = Clock::now();
    ASSERT_TRUE(MainThread::runUntil([&] { return firings >= 2; }, kTimeout));
    const double elapsed = secondsSince(start);
    ASSERT_TRUE(MainThread::runUntil([&] { return firings >= 3; }, kTimeout));
    // Ten periods went by in the first firing; made up for one by one, they would come at once.
    EXPECT_LE(firings, 2 + static_cast<int>((secondsSince(start) - elapsed) / 0.01) + 1);
}

TEST(TimerTest, anInvalidatedTimerFiresNoMoreAndLetsGoOfWhatItCalls) {
    auto token = std::make_shared<int>(0);
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [token] { ++*token; });
    ASSERT_TRUE(MainThread::runUntil([&] { return *token >= 1; }, kTimeout));
    timer->invalidate();
    timer->invalidate();
    EXPECT_FALSE(timer->isValid());
    EXPECT_EQ(token.use_count(), 1);
    const int before = *token;
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(*token, before);
}

TEST(TimerTest, mayBeDroppedByItsOwnFiring) {
    std::shared_ptr<Timer> timer;
    int firings = 0;
    timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] {
        timer.reset();
        ++firings;
    });
    ASSERT_TRUE(MainThread::runUntil([&] { return firings >= 1; }, kTimeout));
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(firings, 1);
}

TEST(TimerTest, goesOnAfterAnException) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] {
        ++firings;
        throw std::runtime_error("expected");
    });
    EXPECT_TRUE(MainThread::runUntil([&] { return firings >= 2; }, kTimeout));
}

TEST(TimerTest, aPeriodThatIsNoneCountsAsTheShortest) {
    for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        int firings = 0;
        const auto timer = Timer::scheduledTimer(RunLoop::main(), seconds, [&] { ++firings; });
        EXPECT_TRUE(MainThread::runUntil([&] { return firings >= 3; }, kTimeout)) << seconds;
    }
}

TEST(TimerTest, isRefusedForALoopOfAnotherThread) {
    EXPECT_THROW(Timer::scheduledTimer(nullptr, 1, [] {}), MVException);
    EXPECT_THROW(Timer::scheduledTimer(RunLoop::create(), 1, [] {}), MVException);
}

TEST(TimerTest, leavesNoOpenFileBehind) {
    RunLoop::main();
    const auto before = openFiles();
    for (int i = 0; i < 100; ++i) {
        Timer::scheduledTimer(RunLoop::main(), 1, [] {});
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(TimerTest, aPeriodWithoutEndIsWaitedFor) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(
        RunLoop::main(), std::numeric_limits<double>::infinity(), [&] { ++firings; });
    MainThread::runUntil([] { return false; }, 0.05);
    EXPECT_EQ(firings, 0);
}

TEST(TimerTest, keepsUpWithItsPeriodWhereTheMachineDoes) {
    constexpr double kPeriod = 0.01;
    constexpr double kSeconds = 0.3;
    int firings = 0;
    // A busy machine takes its time now and then, but not every time.
    for (int i = 0; i < 10 && firings < kSeconds / kPeriod / 2; ++i) {
        firings = 0;
        const auto timer = Timer::scheduledTimer(RunLoop::main(), kPeriod, [&] { ++firings; });
        MainThread::runUntil([] { return false; }, kSeconds);
    }
    EXPECT_GE(firings, kSeconds / kPeriod / 2);
}

TEST(TimerTest, theFiringAfterOneThatTookTooLongComesAtOnce) {
    constexpr double kPeriod = 0.1;
    double gap = kPeriod;
    // Again where a busy machine takes its time.
    for (int i = 0; i < 10 && gap > kPeriod / 3; ++i) {
        std::vector<Clock::time_point> starts;
        Clock::time_point firstEnd;
        const auto until = Clock::now() + std::chrono::milliseconds(220);
        const auto timer = Timer::scheduledTimer(RunLoop::main(), kPeriod, [&] {
            starts.push_back(Clock::now());
            if (starts.size() == 1) {
                std::this_thread::sleep_until(until);
                firstEnd = Clock::now();
            }
        });
        ASSERT_TRUE(MainThread::runUntil([&] { return starts.size() >= 2; }, kTimeout));
        gap = std::chrono::duration<double>(starts[1] - firstEnd).count();
    }
    EXPECT_LE(gap, kPeriod / 3);
}

TEST(TimerTest, aSuspendedTimerDoesNotFireUntilItIsResumed) {
    int firings = 0;
    std::shared_ptr<Timer> timer;
    timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] {
        ++firings;
        timer->suspend();
        timer->suspend();
    });
    ASSERT_TRUE(MainThread::runUntil([&] { return firings >= 1; }, kTimeout));
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(firings, 1);
    EXPECT_TRUE(timer->isValid());
    timer->resume();
    ASSERT_TRUE(MainThread::runUntil([&] { return firings >= 2; }, kTimeout));
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(firings, 2);
}

TEST(TimerTest, aMomentThatHasComeUnnoticedIsForgottenBySuspending) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] { ++firings; });
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    timer->suspend();
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(firings, 0);
}

TEST(TimerTest, resumingKeepsTheSchedule) {
    constexpr double kPeriod = 0.05;
    const auto before = Clock::now();
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), kPeriod, [&] { ++firings; });
    const auto after = Clock::now();
    for (int round = 0; round < 5; ++round) {
        timer->suspend();
        std::this_thread::sleep_for(std::chrono::milliseconds(13 * round));
        const int known = firings;
        // The schedule began between `before` and `after`.
        const double passed = std::floor(secondsSince(after) / kPeriod);
        timer->resume();
        ASSERT_TRUE(MainThread::runUntil([&] { return firings > known; }, kTimeout));
        EXPECT_GE(secondsSince(before), (passed + 1) * kPeriod);
    }
}

TEST(TimerTest, suspendingAndResumingWithinAPeriodDelaysNothing) {
    constexpr double kPeriod = 0.2;
    double first = 0;
    // On a machine that is busy elsewhere a firing may come a period late by itself.
    for (int attempt = 0; attempt < 20 && !(first >= kPeriod && first < 2 * kPeriod); ++attempt) {
        first = 0;
        const auto start = Clock::now();
        const auto timer =
            Timer::scheduledTimer(RunLoop::main(), kPeriod, [&] { first = secondsSince(start); });
        timer->suspend();
        timer->resume();
        ASSERT_TRUE(MainThread::runUntil([&] { return first > 0; }, kTimeout));
        EXPECT_GE(first, kPeriod);
    }
    EXPECT_LT(first, 2 * kPeriod);
}

TEST(TimerTest, anInvalidTimerIsNotResumed) {
    int firings = 0;
    const auto timer = Timer::scheduledTimer(RunLoop::main(), 0.001, [&] { ++firings; });
    timer->suspend();
    timer->invalidate();
    timer->resume();
    timer->suspend();
    MainThread::runUntil([] { return false; }, 0.02);
    EXPECT_EQ(firings, 0);
}
