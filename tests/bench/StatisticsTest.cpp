#include "bench/support/Statistics.h"

#include <gtest/gtest.h>

#include <cmath>

using Mivora::bench::median;
using Mivora::bench::relativeSpread;

TEST(StatisticsTest, medianIsTheMiddleValue) {
    EXPECT_EQ(median({9, 1, 4}), 4);
}

TEST(StatisticsTest, medianOfAnEvenCountIsTheMeanOfTheMiddleTwo) {
    EXPECT_EQ(median({8, 1, 4, 2}), 3);
}

TEST(StatisticsTest, medianOfOneValueIsThatValue) {
    EXPECT_EQ(median({7}), 7);
}

TEST(StatisticsTest, medianOfNothingIsNotANumber) {
    EXPECT_TRUE(std::isnan(median({})));
}

TEST(StatisticsTest, spreadIsHalfTheQuartileDistanceRelativeToTheMedian) {
    EXPECT_DOUBLE_EQ(relativeSpread({8, 9, 10, 11, 12}), 0.1);
}

TEST(StatisticsTest, spreadOfEqualValuesIsZero) {
    EXPECT_EQ(relativeSpread({3, 3, 3}), 0);
    EXPECT_EQ(relativeSpread({0, 0}), 0);
}

TEST(StatisticsTest, spreadOfFewerThanTwoValuesIsZero) {
    EXPECT_EQ(relativeSpread({}), 0);
    EXPECT_EQ(relativeSpread({3}), 0);
}
