#include "MivoraMac/geometry/Point.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Point2;
using Mivora::Point2D;
using Mivora::Point2I;
using Mivora::Point3;

static_assert(isPlainAggregate<Point2>() && isPlainAggregate<Point2I>());
static_assert(isPlainAggregate<Point2D>() && isPlainAggregate<Point3>());
static_assert(sizeof(Point2) == 8 && offsetof(Point2, x) == 0 && offsetof(Point2, y) == 4);
static_assert(sizeof(Point2I) == 8 && offsetof(Point2I, x) == 0 && offsetof(Point2I, y) == 4);
static_assert(sizeof(Point2D) == 16 && offsetof(Point2D, x) == 0 && offsetof(Point2D, y) == 8);
static_assert(sizeof(Point3) == 12 && offsetof(Point3, x) == 0 && offsetof(Point3, y) == 4 &&
              offsetof(Point3, z) == 8);
static_assert(std::is_same_v<decltype(Point2::x), float>);
static_assert(std::is_same_v<decltype(Point2I::x), std::int32_t>);
static_assert(std::is_same_v<decltype(Point2D::x), double>);
static_assert(std::is_same_v<decltype(Point3::x), float>);

static_assert(HasNull<Point2> && HasNull<Point3>);
static_assert(!HasNull<Point2I> && !HasNull<Point2D>, "only float points can be infinite markers");

static_assert(Point2::kZero.x == 0.0F && Point2::kZero.y == 0.0F, "constants are known at build");
static_assert(everyFloatHasBits(Point2::kNull, kInfinityBits));
static_assert(everyFloatHasBits(Point3::kNull, kInfinityBits));

TEST(PointTest, zeroIsAllZeroBytes) {
    EXPECT_TRUE(isAllZeroBytes(Point2::kZero));
    EXPECT_TRUE(isAllZeroBytes(Point2I::kZero));
    EXPECT_TRUE(isAllZeroBytes(Point2D::kZero));
    EXPECT_TRUE(isAllZeroBytes(Point3::kZero));
}

TEST(PointTest, everyComponentOfNullHasTheBitPatternOfPositiveInfinity) {
    EXPECT_EQ(bitsOf(Point2::kNull), (std::array<std::uint32_t, 2>{0x7F800000, 0x7F800000}));
    EXPECT_EQ(bitsOf(Point3::kNull),
              (std::array<std::uint32_t, 3>{0x7F800000, 0x7F800000, 0x7F800000}));
}

TEST(PointTest, nullIsEqualToItselfByComponentAndByByte) {
    const Point2 null2 = Point2::kNull;
    const Point3 null3 = Point3::kNull;
    EXPECT_TRUE(null2 == Point2::kNull);
    EXPECT_TRUE(null3 == Point3::kNull);
    EXPECT_TRUE(haveTheSameBytes(null2, Point2::kNull));
    EXPECT_TRUE(haveTheSameBytes(null3, Point3::kNull));
}

TEST(PointTest, nullIsUnequalToEveryFinitePoint) {
    constexpr float largest = std::numeric_limits<float>::max();
    constexpr float finite[] = {0.0F, -0.0F, 1.0F, -largest, largest};
    for (const float x : finite) {
        for (const float y : finite) {
            EXPECT_NE(Point2::kNull, (Point2{x, y}));
            for (const float z : finite) {
                EXPECT_NE(Point3::kNull, (Point3{x, y, z}));
            }
        }
    }
}

TEST(PointTest, nullIsUnequalToAPointWithOneFiniteComponent) {
    EXPECT_NE(Point3::kNull, (Point3{0.0F, kInfinity, kInfinity}));
    EXPECT_NE(Point3::kNull, (Point3{kInfinity, 0.0F, kInfinity}));
    EXPECT_NE(Point3::kNull, (Point3{kInfinity, kInfinity, 0.0F}));
    EXPECT_NE(Point3::kNull, (Point3{-kInfinity, kInfinity, kInfinity}));
}

TEST(PointTest, equalityLooksAtEveryComponent) {
    EXPECT_EQ((Point2{1.0F, 2.0F}), (Point2{1.0F, 2.0F}));
    EXPECT_NE((Point2{1.0F, 2.0F}), (Point2{9.0F, 2.0F}));
    EXPECT_NE((Point2{1.0F, 2.0F}), (Point2{1.0F, 9.0F}));
    EXPECT_EQ((Point2I{1, 2}), (Point2I{1, 2}));
    EXPECT_NE((Point2I{1, 2}), (Point2I{9, 2}));
    EXPECT_NE((Point2I{1, 2}), (Point2I{1, 9}));
    EXPECT_EQ((Point2D{1.0, 2.0}), (Point2D{1.0, 2.0}));
    EXPECT_NE((Point2D{1.0, 2.0}), (Point2D{9.0, 2.0}));
    EXPECT_NE((Point2D{1.0, 2.0}), (Point2D{1.0, 9.0}));
    EXPECT_EQ((Point3{1.0F, 2.0F, 3.0F}), (Point3{1.0F, 2.0F, 3.0F}));
    EXPECT_NE((Point3{1.0F, 2.0F, 3.0F}), (Point3{9.0F, 2.0F, 3.0F}));
    EXPECT_NE((Point3{1.0F, 2.0F, 3.0F}), (Point3{1.0F, 9.0F, 3.0F}));
    EXPECT_NE((Point3{1.0F, 2.0F, 3.0F}), (Point3{1.0F, 2.0F, 9.0F}));
}

TEST(PointTest, negativeZeroEqualsZeroAndNaNEqualsNothing) {
    EXPECT_EQ((Point3{-0.0F, 0.0F, -0.0F}), Point3::kZero);
    const Point2 nan2 = {kNaN, 0.0F};
    const Point3 nan3 = {0.0F, 0.0F, kNaN};
    EXPECT_FALSE(nan2 == nan2);
    EXPECT_FALSE(nan3 == nan3);
    EXPECT_TRUE(nan3 != nan3);
}

TEST(PointTest, anEmptyInitialiserZeroesAPoint) {
    EXPECT_EQ(Point2{}, Point2::kZero);
    EXPECT_EQ(Point2I{}, Point2I::kZero);
    EXPECT_EQ(Point2D{}, Point2D::kZero);
    EXPECT_EQ(Point3{}, Point3::kZero);
}

TEST(PointTest, operatorsWorkOnEachComponent) {
    static_assert(Point2{1.0F, 2.0F} + Point2{10.0F, 30.0F} == Point2{11.0F, 32.0F});
    static_assert(Point2{1.0F, 2.0F} - Point2{10.0F, 30.0F} == Point2{-9.0F, -28.0F});
    static_assert(-Point2{1.0F, -2.0F} == Point2{-1.0F, 2.0F});
    static_assert(Point2{1.0F, 2.0F} * 3.0F == Point2{3.0F, 6.0F});
    EXPECT_EQ((Point3{1.0F, 2.0F, 3.0F} + Point3{10.0F, 30.0F, 50.0F}),
              (Point3{11.0F, 32.0F, 53.0F}));
    EXPECT_EQ((Point3{1.0F, 2.0F, 3.0F} - Point3{10.0F, 30.0F, 50.0F}),
              (Point3{-9.0F, -28.0F, -47.0F}));
    EXPECT_EQ((-Point3{1.0F, -2.0F, 3.0F}), (Point3{-1.0F, 2.0F, -3.0F}));
    EXPECT_EQ((Point3{1.0F, 2.0F, 3.0F} * -2.0F), (Point3{-2.0F, -4.0F, -6.0F}));
}

TEST(PointTest, nullSurvivesAddingAFinitePointAndScalingByAPositiveFactor) {
    EXPECT_EQ((Point3::kNull + Point3{1.0F, -2.0F, 3.0F}), Point3::kNull);
    EXPECT_EQ((Point3::kNull - Point3{1.0F, -2.0F, 3.0F}), Point3::kNull);
    EXPECT_EQ(Point3::kNull * 2.0F, Point3::kNull);
}

TEST(PointTest, nullMinusNullAndNullTimesZeroAreNaN) {
    const Point3 difference = Point3::kNull - Point3::kNull;
    const Point3 product = Point3::kNull * 0.0F;
    EXPECT_TRUE(std::isnan(difference.x) && std::isnan(difference.y) && std::isnan(difference.z));
    EXPECT_TRUE(std::isnan(product.x) && std::isnan(product.y) && std::isnan(product.z));
}
