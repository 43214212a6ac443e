#include "MivoraMac/geometry/MVGeometry.h"

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

namespace {

// Each compiles only if the constant's value is known to the compiler: no code runs to set it.
constinit const auto pointZero2F = MVPointZero2F;
constinit const auto pointNull2F = MVPointNull2F;
constinit const auto pointZero2I = MVPointZero2I;
constinit const auto pointZero2D = MVPointZero2D;
constinit const auto pointZero3F = MVPointZero3F;
constinit const auto pointNull3F = MVPointNull3F;
constinit const auto sizeZero2F = MVSizeZero2F;
constinit const auto sizeZero2I = MVSizeZero2I;
constinit const auto sizeZero3F = MVSizeZero3F;
constinit const auto rectZero2F = MVRectZero2F;
constinit const auto rectZero2I = MVRectZero2I;
constinit const auto rayZero2F = MVRayZero2F;
constinit const auto rayNull2F = MVRayNull2F;
constinit const auto rayZero3F = MVRayZero3F;
constinit const auto rayNull3F = MVRayNull3F;

}  // namespace

static_assert(MVPointZero3F == Mivora::Point3::kZero && MVRayNull3F == Mivora::Ray3::kNull);

TEST(MVGeometryTest, flatConstantsHaveTheBytesOfTheClassConstants) {
    EXPECT_TRUE(haveTheSameBytes(pointZero2F, Mivora::Point2::kZero));
    EXPECT_TRUE(haveTheSameBytes(pointNull2F, Mivora::Point2::kNull));
    EXPECT_TRUE(haveTheSameBytes(pointZero2I, Mivora::Point2I::kZero));
    EXPECT_TRUE(haveTheSameBytes(pointZero2D, Mivora::Point2D::kZero));
    EXPECT_TRUE(haveTheSameBytes(pointZero3F, Mivora::Point3::kZero));
    EXPECT_TRUE(haveTheSameBytes(pointNull3F, Mivora::Point3::kNull));
    EXPECT_TRUE(haveTheSameBytes(sizeZero2F, Mivora::Size2::kZero));
    EXPECT_TRUE(haveTheSameBytes(sizeZero2I, Mivora::Size2I::kZero));
    EXPECT_TRUE(haveTheSameBytes(sizeZero3F, Mivora::Size3::kZero));
    EXPECT_TRUE(haveTheSameBytes(rectZero2F, Mivora::Rect2::kZero));
    EXPECT_TRUE(haveTheSameBytes(rectZero2I, Mivora::Rect2I::kZero));
    EXPECT_TRUE(haveTheSameBytes(rayZero2F, Mivora::Ray2::kZero));
    EXPECT_TRUE(haveTheSameBytes(rayNull2F, Mivora::Ray2::kNull));
    EXPECT_TRUE(haveTheSameBytes(rayZero3F, Mivora::Ray3::kZero));
    EXPECT_TRUE(haveTheSameBytes(rayNull3F, Mivora::Ray3::kNull));
}

TEST(MVGeometryTest, theZeroRectangleIsSixteenZeroBytes) {
    static_assert(sizeof(MVRectZero2F) == 16 && sizeof(MVRectZero2I) == 16);
    EXPECT_TRUE(isAllZeroBytes(MVRectZero2F));
    EXPECT_TRUE(isAllZeroBytes(MVRectZero2I));
}

TEST(MVGeometryTest, theNullRayIsSixCopiesOfTheInfinityPattern) {
    static_assert(sizeof(MVRayNull3F) == 24);
    EXPECT_TRUE(everyFloatHasBits(MVRayNull3F, 0x7F800000));
}

TEST(MVGeometryTest, everyFlatZeroIsAllZeroBytes) {
    EXPECT_TRUE(isAllZeroBytes(MVPointZero2F));
    EXPECT_TRUE(isAllZeroBytes(MVPointZero2I));
    EXPECT_TRUE(isAllZeroBytes(MVPointZero2D));
    EXPECT_TRUE(isAllZeroBytes(MVPointZero3F));
    EXPECT_TRUE(isAllZeroBytes(MVSizeZero2F));
    EXPECT_TRUE(isAllZeroBytes(MVSizeZero2I));
    EXPECT_TRUE(isAllZeroBytes(MVSizeZero3F));
    EXPECT_TRUE(isAllZeroBytes(MVRayZero2F));
    EXPECT_TRUE(isAllZeroBytes(MVRayZero3F));
}

TEST(MVGeometryTest, everyFlatNullIsFullOfInfinity) {
    EXPECT_TRUE(everyFloatHasBits(MVPointNull2F, 0x7F800000));
    EXPECT_TRUE(everyFloatHasBits(MVPointNull3F, 0x7F800000));
    EXPECT_TRUE(everyFloatHasBits(MVRayNull2F, 0x7F800000));
}
