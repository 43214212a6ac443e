#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "MivoraMac/platform/gtk/ClickCounterPrivate.h"

using Mivora::platform::ClickCounter;

namespace {

constexpr ClickCounter::Limits kLimits = {400, 5};

TEST(ClickCounterTest, quickPressesInOnePlaceCountUp) {
    ClickCounter clicks;
    EXPECT_EQ(clicks.press(0, {10, 10}, 1000, kLimits), 1);
    EXPECT_EQ(clicks.press(0, {10, 10}, 1200, kLimits), 2);
    EXPECT_EQ(clicks.press(0, {10, 10}, 1600, kLimits), 3) << "as late as the limit says";
    EXPECT_EQ(clicks.press(0, {10, 10}, 1601, kLimits), 4);
}

TEST(ClickCounterTest, aLatePressBeginsAnew) {
    ClickCounter clicks;
    clicks.press(0, {10, 10}, 1000, kLimits);
    EXPECT_EQ(clicks.press(0, {10, 10}, 1401, kLimits), 1);
    EXPECT_EQ(clicks.press(0, {10, 10}, 1500, kLimits), 2);
}

TEST(ClickCounterTest, aPressFarFromTheFirstBeginsAnew) {
    ClickCounter clicks;
    clicks.press(0, {10, 10}, 1000, kLimits);
    EXPECT_EQ(clicks.press(0, {15, 5}, 1100, kLimits), 2);
    EXPECT_EQ(clicks.press(0, {16, 10}, 1200, kLimits), 1) << "near the second, not the first";
    EXPECT_EQ(clicks.press(0, {16, 15.5}, 1300, kLimits), 1);
}

TEST(ClickCounterTest, anotherButtonBeginsAnew) {
    ClickCounter clicks;
    clicks.press(0, {10, 10}, 1000, kLimits);
    EXPECT_EQ(clicks.press(1, {10, 10}, 1050, kLimits), 1);
    EXPECT_EQ(clicks.press(0, {10, 10}, 1100, kLimits), 1);
}

TEST(ClickCounterTest, theClockMayRunOver) {
    ClickCounter clicks;
    clicks.press(0, {10, 10}, std::numeric_limits<std::uint32_t>::max() - 50, kLimits);
    EXPECT_EQ(clicks.press(0, {10, 10}, 50, kLimits), 2);
}

TEST(ClickCounterTest, theFirstPressCountsOneWhateverTheClockSays) {
    ClickCounter clicks;
    EXPECT_EQ(clicks.press(0, {0, 0}, 0, kLimits), 1);
}

}  // namespace
