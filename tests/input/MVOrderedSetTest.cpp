#include "MivoraMac/input/MVOrderedSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <utility>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Set = MVOrderedSet<int>;

const auto kA = std::make_shared<int>(1);
const auto kB = std::make_shared<int>(1);
const auto kC = std::make_shared<int>(3);

TEST(MVOrderedSetTest, aNewSetIsEmpty) {
    const Set set;
    EXPECT_TRUE(set.empty());
    EXPECT_EQ(set.size(), 0U);
    EXPECT_FALSE(set.contains(kA));
}

TEST(MVOrderedSetTest, elementsKeepTheOrderInWhichTheyCame) {
    Set set = {kC, kA};
    EXPECT_TRUE(set.insert(kB));
    EXPECT_THAT(set, ElementsAre(kC, kA, kB));
}

TEST(MVOrderedSetTest, elementsAreToldApartByIdentityAndStayWhereTheyAre) {
    Set set = {kA, kB, kA};
    EXPECT_FALSE(set.insert(kA));
    EXPECT_THAT(set, ElementsAre(kA, kB));
}

TEST(MVOrderedSetTest, nullIsNoElement) {
    Set set = {nullptr};
    EXPECT_FALSE(set.insert(nullptr));
    EXPECT_FALSE(set.contains(nullptr));
    EXPECT_FALSE(set.erase(nullptr));
    EXPECT_TRUE(set.empty());
}

TEST(MVOrderedSetTest, erasingTellsWhetherTheElementWasThere) {
    Set set = {kA, kB, kC};
    EXPECT_TRUE(set.erase(kB));
    EXPECT_FALSE(set.erase(kB));
    EXPECT_THAT(set, ElementsAre(kA, kC));
    set.clear();
    EXPECT_THAT(set, IsEmpty());
}

TEST(MVOrderedSetTest, anElementOfTheSetCanBeErasedByReference) {
    Set set = {kA, kB};
    EXPECT_TRUE(set.erase(*set.begin()));
    EXPECT_THAT(set, ElementsAre(kB));
}

TEST(MVOrderedSetTest, setsAreUnitedAndSubtracted) {
    Set set = {kA, kB};
    set.unite({kC, kA});
    EXPECT_THAT(set, ElementsAre(kA, kB, kC));
    set.subtract({kB, kA});
    EXPECT_THAT(set, ElementsAre(kC));
}

TEST(MVOrderedSetTest, aSetMinusItselfIsEmptyAndUnitedWithItselfIsItself) {
    Set set = {kA, kB, kC};
    set.unite(set);
    EXPECT_THAT(set, ElementsAre(kA, kB, kC));
    set.subtract(set);
    EXPECT_THAT(set, IsEmpty());
}

TEST(MVOrderedSetTest, theOrderMakesNoDifferenceToEquality) {
    EXPECT_EQ((Set{kA, kB}), (Set{kB, kA}));
    EXPECT_NE((Set{kA, kB}), (Set{kA}));
    EXPECT_NE((Set{kA, kB}), (Set{kA, kC}));
}

/// Runs something when it is destroyed.
struct Last {
    std::function<void()> onDestruction;
    ~Last() { onDestruction(); }
};

TEST(MVOrderedSetTest, aSetIsWholeWhenItsElementsAreDestroyed) {
    MVOrderedSet<Last> set;
    std::size_t left = 9;
    const auto addLast = [&] {
        set.insert(std::make_shared<Last>(Last{[&] { left = set.size(); }}));
    };
    addLast();
    set.erase(*set.begin());
    EXPECT_EQ(left, 0U);
    left = 9;
    addLast();
    set.clear();
    EXPECT_EQ(left, 0U);
}

}  // namespace
