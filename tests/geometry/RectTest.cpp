#include "MivoraMac/geometry/Rect.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Rect2;
using Mivora::Rect2I;

static_assert(isPlainAggregate<Rect2>() && isPlainAggregate<Rect2I>());
static_assert(sizeof(Rect2) == 16 && offsetof(Rect2, origin) == 0 && offsetof(Rect2, size) == 8);
static_assert(sizeof(Rect2I) == 16 && offsetof(Rect2I, origin) == 0 && offsetof(Rect2I, size) == 8);
static_assert(std::is_same_v<decltype(Rect2::origin), Mivora::Point2>);
static_assert(std::is_same_v<decltype(Rect2::size), Mivora::Size2>);
static_assert(std::is_same_v<decltype(Rect2I::origin), Mivora::Point2I>);
static_assert(std::is_same_v<decltype(Rect2I::size), Mivora::Size2I>);

static_assert(!HasNull<Rect2> && !HasNull<Rect2I>, "every rectangle exists");

TEST(RectTest, zeroIsSixteenZeroBytes) {
    EXPECT_TRUE(isAllZeroBytes(Rect2::kZero));
    EXPECT_TRUE(isAllZeroBytes(Rect2I::kZero));
}

TEST(RectTest, equalityLooksAtOriginAndSize) {
    const Rect2 rect = {{1.0F, 2.0F}, {3.0F, 4.0F}};
    EXPECT_EQ(rect, (Rect2{{1.0F, 2.0F}, {3.0F, 4.0F}}));
    EXPECT_NE(rect, (Rect2{{1.0F, 9.0F}, {3.0F, 4.0F}}));
    EXPECT_NE(rect, (Rect2{{1.0F, 2.0F}, {3.0F, 9.0F}}));
    const Rect2I rectI = {{1, 2}, {3, 4}};
    EXPECT_EQ(rectI, (Rect2I{{1, 2}, {3, 4}}));
    EXPECT_NE(rectI, (Rect2I{{1, 9}, {3, 4}}));
    EXPECT_NE(rectI, (Rect2I{{1, 2}, {3, 9}}));
}

TEST(RectTest, aNegativeExtentIsKeptAndIsNotEqualToTheSameAreaFromTheOtherCorner) {
    const Rect2 negative = {{10.0F, 10.0F}, {-4.0F, -6.0F}};
    EXPECT_EQ(negative.size, (Mivora::Size2{-4.0F, -6.0F}));
    EXPECT_NE(negative, (Rect2{{6.0F, 4.0F}, {4.0F, 6.0F}}));
}
