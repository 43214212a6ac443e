#include "MivoraMac/platform/threads/RefreshSchedulePrivate.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

using Mivora::platform::RefreshSchedule;
using std::chrono::nanoseconds;

namespace {

constexpr RefreshSchedule::Time kStart{nanoseconds(1'000'000'000'000)};

nanoseconds sinceStart(RefreshSchedule::Time time) {
    return time - kStart;
}

}  // namespace

TEST(RefreshSchedulePrivateTest, theFirstMomentIsOnePeriodAfterTheStart) {
    RefreshSchedule schedule(kStart, 0.01);
    EXPECT_EQ(sinceStart(schedule.advance(kStart)), nanoseconds(10'000'000));
}

TEST(RefreshSchedulePrivateTest, lateWakeUpsDoNotAddUp) {
    RefreshSchedule schedule(kStart, 0.01);
    auto due = schedule.advance(kStart);
    for (int i = 2; i <= 1000; ++i) {
        due = schedule.advance(due + nanoseconds(3'000'000));
        ASSERT_EQ(sinceStart(due), nanoseconds(10'000'000) * i);
    }
}

TEST(RefreshSchedulePrivateTest, aPeriodThatIsNoWholeNumberOfNanosecondsDoesNotDrift) {
    RefreshSchedule schedule(kStart, 1.0 / 60.0);
    auto due = kStart;
    constexpr int kHours = 2;
    for (int i = 0; i < 60 * 60 * 60 * kHours; ++i) {
        due = schedule.advance(due);
    }
    EXPECT_LE(sinceStart(due) - std::chrono::hours(kHours), nanoseconds(2));
    EXPECT_GE(sinceStart(due) - std::chrono::hours(kHours), nanoseconds(-2));
}

TEST(RefreshSchedulePrivateTest, momentsThatHavePassedAreLeftOut) {
    RefreshSchedule schedule(kStart, 0.01);
    schedule.advance(kStart);
    EXPECT_EQ(sinceStart(schedule.advance(kStart + nanoseconds(57'000'000))),
              nanoseconds(60'000'000));
    EXPECT_EQ(sinceStart(schedule.advance(kStart + nanoseconds(60'000'000))),
              nanoseconds(70'000'000));
}

TEST(RefreshSchedulePrivateTest, noMomentIsGivenTwiceToOneWhoIsEarly) {
    RefreshSchedule schedule(kStart, 0.01);
    EXPECT_EQ(sinceStart(schedule.advance(kStart)), nanoseconds(10'000'000));
    EXPECT_EQ(sinceStart(schedule.advance(kStart + nanoseconds(9'999'999))),
              nanoseconds(20'000'000));
    EXPECT_EQ(sinceStart(schedule.advance(kStart - nanoseconds(1))), nanoseconds(30'000'000));
}

TEST(RefreshSchedulePrivateTest, anyLongPeriodIsOfThirtyYears) {
    for (const double seconds : {1e10, 1e300, std::numeric_limits<double>::infinity()}) {
        RefreshSchedule schedule(kStart, seconds);
        EXPECT_EQ(sinceStart(schedule.advance(kStart)), nanoseconds(1'000'000'000'000'000'000))
            << seconds;
    }
}
