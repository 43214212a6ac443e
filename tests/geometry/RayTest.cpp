#include "MivoraMac/geometry/Ray.h"

#include <cmath>
#include <cstddef>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Point2;
using Mivora::Point3;
using Mivora::Ray2;
using Mivora::Ray3;

static_assert(isPlainAggregate<Ray2>() && isPlainAggregate<Ray3>());
static_assert(sizeof(Ray2) == 16 && offsetof(Ray2, startPoint) == 0 &&
              offsetof(Ray2, direction) == 8);
static_assert(sizeof(Ray3) == 24 && offsetof(Ray3, startPoint) == 0 &&
              offsetof(Ray3, direction) == 12);
static_assert(std::is_same_v<decltype(Ray2::startPoint), Point2>);
static_assert(std::is_same_v<decltype(Ray3::direction), Point3>);
static_assert(everyFloatHasBits(Ray2::kNull, kInfinityBits));
static_assert(everyFloatHasBits(Ray3::kNull, kInfinityBits));

TEST(RayTest, zeroIsAllZeroBytes) {
    EXPECT_TRUE(isAllZeroBytes(Ray2::kZero));
    EXPECT_TRUE(isAllZeroBytes(Ray3::kZero));
}

TEST(RayTest, nullHasAnInfiniteDirectionAsWellAsAnInfiniteStartPoint) {
    EXPECT_EQ(Ray3::kNull.startPoint, Point3::kNull);
    EXPECT_EQ(Ray3::kNull.direction, Point3::kNull);
    EXPECT_EQ(Ray2::kNull.startPoint, Point2::kNull);
    EXPECT_EQ(Ray2::kNull.direction, Point2::kNull);
}

TEST(RayTest, nullIsRecognisedByItsStartPointAlone) {
    const Ray3 missing = Ray3::kNull;
    const Ray3 real = {{1.0F, 2.0F, 3.0F}, {0.0F, 0.0F, -1.0F}};
    EXPECT_TRUE(missing.startPoint == Point3::kNull);
    EXPECT_TRUE(std::isinf(missing.startPoint.x));
    EXPECT_FALSE(real.startPoint == Point3::kNull);
    EXPECT_FALSE(std::isinf(real.startPoint.x));
}

TEST(RayTest, everyFloatOfNullHasTheBitPatternOfPositiveInfinity) {
    std::array<std::uint32_t, 6> six;
    six.fill(0x7F800000);
    EXPECT_EQ(bitsOf(Ray3::kNull), six);
    std::array<std::uint32_t, 4> four;
    four.fill(0x7F800000);
    EXPECT_EQ(bitsOf(Ray2::kNull), four);
}

TEST(RayTest, equalityLooksAtStartPointAndDirection) {
    const Ray2 ray2 = {{1.0F, 2.0F}, {3.0F, 4.0F}};
    EXPECT_EQ(ray2, (Ray2{{1.0F, 2.0F}, {3.0F, 4.0F}}));
    EXPECT_NE(ray2, (Ray2{{9.0F, 2.0F}, {3.0F, 4.0F}}));
    EXPECT_NE(ray2, (Ray2{{1.0F, 2.0F}, {3.0F, 9.0F}}));
    const Ray3 ray3 = {{1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 6.0F}};
    EXPECT_EQ(ray3, (Ray3{{1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 6.0F}}));
    EXPECT_NE(ray3, (Ray3{{1.0F, 2.0F, 9.0F}, {4.0F, 5.0F, 6.0F}}));
    EXPECT_NE(ray3, (Ray3{{1.0F, 2.0F, 3.0F}, {4.0F, 5.0F, 9.0F}}));
}

TEST(RayTest, raysOfDifferentLengthAreNotEqual) {
    EXPECT_NE((Ray3{Point3::kZero, {0.0F, 0.0F, 1.0F}}), (Ray3{Point3::kZero, {0.0F, 0.0F, 2.0F}}));
}
