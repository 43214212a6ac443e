#include "MivoraMac/platform/threads/Clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>

using Mivora::platform::Clock;
using Mivora::platform::Timebase;

namespace {

std::uint64_t injectedTicks = 0;

/// Puts the clock into a test's hands and gives it back at the end.
class ClockTest : public testing::Test {
 protected:
    ~ClockTest() override { Clock::setSource(nullptr, {1, 1}); }

    static void inject(Timebase timebase) {
        injectedTicks = 0;
        Clock::setSource([] { return injectedTicks; }, timebase);
    }
};

}  // namespace

TEST_F(ClockTest, ticksNeverGoBack) {
    std::uint64_t last = Clock::ticks();
    for (int i = 0; i < 100'000; ++i) {
        const std::uint64_t now = Clock::ticks();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST_F(ClockTest, ticksAreTheNanosecondsOfTheMonotonicClock) {
    const auto nanoseconds = [] {
        timespec now{};
        clock_gettime(CLOCK_MONOTONIC, &now);
        return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U +
               static_cast<std::uint64_t>(now.tv_nsec);
    };
    const std::uint64_t before = nanoseconds();
    const std::uint64_t ticks = Clock::ticks();
    const std::uint64_t after = nanoseconds();
    EXPECT_LE(before, ticks);
    EXPECT_LE(ticks, after);
}

TEST_F(ClockTest, aTickIsANanosecond) {
    EXPECT_EQ(Clock::timebase().numer, 1U);
    EXPECT_EQ(Clock::timebase().denom, 1U);
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(1'500'000'000), 1.5);
    EXPECT_EQ(Clock::secondsFromTicks(0), 0.0);
}

TEST_F(ClockTest, anInjectedSourceIsRead) {
    inject({1, 1});
    EXPECT_EQ(Clock::ticks(), 0U);
    injectedTicks = 42;
    EXPECT_EQ(Clock::ticks(), 42U);
}

TEST_F(ClockTest, anInjectedTimebaseScalesSeconds) {
    inject({125, 3});
    EXPECT_EQ(Clock::timebase().numer, 125U);
    EXPECT_EQ(Clock::timebase().denom, 3U);
    // 24 million ticks of 125/3 nanoseconds each.
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(24'000'000), 1.0);
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(12'000'000), 0.5);
}

TEST_F(ClockTest, spansOfManyYearsDoNotOverflow) {
    inject({1000, 1});
    // A century in microseconds.
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(3'155'760'000'000'000), 3'155'760'000.0);
    inject({4'000'000'000U, 1});
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(1'000'000'000'000), 4e12);
}

TEST_F(ClockTest, aNullSourceRestoresTheRealClockAndItsTimebase) {
    inject({125, 3});
    Clock::setSource(nullptr, {7, 9});
    EXPECT_EQ(Clock::timebase().numer, 1U);
    EXPECT_EQ(Clock::timebase().denom, 1U);
    EXPECT_GT(Clock::ticks(), 0U);
    EXPECT_DOUBLE_EQ(Clock::secondsFromTicks(1'000'000'000), 1.0);
}
