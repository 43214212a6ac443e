#include "MivoraMac/platform/gl/PixelRegion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

using Mivora::platform::PixelBox;
using Mivora::platform::PixelRegion;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

std::vector<PixelBox> boxesOf(const PixelRegion& region) {
    return {region.boxes().begin(), region.boxes().end()};
}

TEST(PixelRegionTest, anEmptyBoxAddsNothing) {
    PixelRegion region;
    region.add({5, 5, 5, 9});
    region.add({5, 5, 2, 9});
    region.add(PixelRegion::whole({0, 100}));
    EXPECT_TRUE(region.isEmpty());
    EXPECT_THAT(region.boxes(), IsEmpty());
}

TEST(PixelRegionTest, boxesNearEachOtherBecomeOne) {
    PixelRegion region;
    region.add({0, 0, 100, 100});
    region.add({110, 0, 200, 100});
    EXPECT_THAT(boxesOf(region), ElementsAre(PixelBox{0, 0, 200, 100}));
    region.add({10, 10, 20, 20});
    EXPECT_THAT(boxesOf(region), ElementsAre(PixelBox{0, 0, 200, 100}));
}

TEST(PixelRegionTest, boxesFarFromEachOtherStayApart) {
    PixelRegion region;
    region.add({0, 0, 10, 10});
    region.add({1000, 1000, 1010, 1010});
    EXPECT_THAT(boxesOf(region),
                UnorderedElementsAre(PixelBox{0, 0, 10, 10}, PixelBox{1000, 1000, 1010, 1010}));
}

TEST(PixelRegionTest, whatFillsTheGapJoinsThem) {
    PixelRegion region;
    region.add({0, 0, 500, 100});
    region.add({1000, 0, 1500, 100});
    EXPECT_THAT(region.boxes(), SizeIs(2));
    region.add({500, 0, 1000, 100});
    EXPECT_THAT(boxesOf(region), ElementsAre(PixelBox{0, 0, 1500, 100}));
}

TEST(PixelRegionTest, anyNumberOfBoxesIsHeldByFew) {
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        PixelRegion region;
        std::vector<PixelBox> added;
        for (int i = 0; i < 30; ++i) {
            const int left = static_cast<int>(random() % 2000);
            const int bottom = static_cast<int>(random() % 2000);
            added.push_back({left, bottom, left + 1 + static_cast<int>(random() % 300),
                             bottom + 1 + static_cast<int>(random() % 300)});
            region.add(added.back());
        }
        EXPECT_LE(region.boxes().size(), 4U);
        for (const PixelBox& box : added) {
            bool isHeld = false;
            for (const PixelBox& held : region.boxes()) {
                isHeld |= held.intersection(box) == box;
            }
            EXPECT_TRUE(isHeld) << box.left << ", " << box.bottom;
        }
    }
}

}  // namespace
