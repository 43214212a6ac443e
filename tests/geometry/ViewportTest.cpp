#include "MivoraMac/geometry/Viewport.h"

#include <cstddef>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Viewport;

static_assert(isPlainAggregate<Viewport>());
static_assert(sizeof(Viewport) == 16 && offsetof(Viewport, x) == 0 && offsetof(Viewport, y) == 4 &&
              offsetof(Viewport, width) == 8 && offsetof(Viewport, height) == 12);
static_assert(std::is_same_v<decltype(Viewport::x), std::int32_t>);
static_assert(std::is_same_v<decltype(Viewport::height), std::int32_t>);

TEST(ViewportTest, equalityLooksAtEveryField) {
    const Viewport viewport = {1, 2, 3, 4};
    EXPECT_EQ(viewport, (Viewport{1, 2, 3, 4}));
    EXPECT_NE(viewport, (Viewport{9, 2, 3, 4}));
    EXPECT_NE(viewport, (Viewport{1, 9, 3, 4}));
    EXPECT_NE(viewport, (Viewport{1, 2, 9, 4}));
    EXPECT_NE(viewport, (Viewport{1, 2, 3, 9}));
}
