#include "MivoraMac/geometry/Size.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Size2;
using Mivora::Size2I;
using Mivora::Size3;

static_assert(isPlainAggregate<Size2>() && isPlainAggregate<Size2I>() && isPlainAggregate<Size3>());
static_assert(sizeof(Size2) == 8 && offsetof(Size2, width) == 0 && offsetof(Size2, height) == 4);
static_assert(sizeof(Size2I) == 8 && offsetof(Size2I, width) == 0 && offsetof(Size2I, height) == 4);
static_assert(sizeof(Size3) == 12 && offsetof(Size3, width) == 0 && offsetof(Size3, height) == 4 &&
              offsetof(Size3, depth) == 8);
static_assert(std::is_same_v<decltype(Size2::width), float>);
static_assert(std::is_same_v<decltype(Size2I::width), std::int32_t>);
static_assert(std::is_same_v<decltype(Size3::depth), float>);

static_assert(!HasNull<Size2> && !HasNull<Size2I> && !HasNull<Size3>, "every size exists");

TEST(SizeTest, zeroIsAllZeroBytes) {
    EXPECT_TRUE(isAllZeroBytes(Size2::kZero));
    EXPECT_TRUE(isAllZeroBytes(Size2I::kZero));
    EXPECT_TRUE(isAllZeroBytes(Size3::kZero));
}

TEST(SizeTest, equalityLooksAtEveryComponent) {
    EXPECT_EQ((Size2{1.0F, 2.0F}), (Size2{1.0F, 2.0F}));
    EXPECT_NE((Size2{1.0F, 2.0F}), (Size2{9.0F, 2.0F}));
    EXPECT_NE((Size2{1.0F, 2.0F}), (Size2{1.0F, 9.0F}));
    EXPECT_EQ((Size2I{1, 2}), (Size2I{1, 2}));
    EXPECT_NE((Size2I{1, 2}), (Size2I{9, 2}));
    EXPECT_NE((Size2I{1, 2}), (Size2I{1, 9}));
    EXPECT_EQ((Size3{1.0F, 2.0F, 3.0F}), (Size3{1.0F, 2.0F, 3.0F}));
    EXPECT_NE((Size3{1.0F, 2.0F, 3.0F}), (Size3{9.0F, 2.0F, 3.0F}));
    EXPECT_NE((Size3{1.0F, 2.0F, 3.0F}), (Size3{1.0F, 9.0F, 3.0F}));
    EXPECT_NE((Size3{1.0F, 2.0F, 3.0F}), (Size3{1.0F, 2.0F, 9.0F}));
}

TEST(SizeTest, nanEqualsNothing) {
    const Size2 nan2 = {kNaN, 1.0F};
    const Size3 nan3 = {1.0F, 1.0F, kNaN};
    EXPECT_FALSE(nan2 == nan2);
    EXPECT_FALSE(nan3 == nan3);
}

TEST(SizeTest, anEmptyInitialiserZeroesASize) {
    EXPECT_EQ(Size2{}, Size2::kZero);
    EXPECT_EQ(Size2I{}, Size2I::kZero);
    EXPECT_EQ(Size3{}, Size3::kZero);
}
