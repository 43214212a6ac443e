#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "MivoraMac/render/MVTileSetPrivate.h"

using Mivora::platform::PixelBox;
using Mivora::platform::PixelSize;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr PixelSize kSize{200, 150};
constexpr PixelBox kAll{0, 0, 256, 192};

MVTileSet emptySet() {
    MVTileSet tiles;
    tiles.reset(kSize);
    return tiles;
}

std::vector<PixelBox> boxesIn(const MVTileSet& tiles, const PixelBox& box = kAll) {
    const auto region = tiles.within(box);
    return {region.boxes().begin(), region.boxes().end()};
}

MVPixelQuad upright(float left, float bottom, float right, float top) {
    return {{{{left, bottom}, {right, bottom}, {left, top}, {right, top}}}};
}

std::vector<PixelBox> edgesOf(const MVPixelQuad& quad) {
    MVTileSet tiles = emptySet();
    tiles.addEdges(quad);
    return boxesIn(tiles);
}

/// Whether a point lies in a quad whose corners go round in either direction.
bool contains(const MVPixelQuad& quad, MVPixelQuad::Point point) {
    const auto& [a, b, c, d] = quad.corners;
    const std::array<MVPixelQuad::Point, 5> round = {a, b, d, c, a};
    int left = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        const float cross = (round[i + 1].x - round[i].x) * (point.y - round[i].y) -
                            (round[i + 1].y - round[i].y) * (point.x - round[i].x);
        left += cross > 0 ? 1 : 0;
    }
    return left == 0 || left == 4;
}

/// How many of a pixel's four samples lie in a quad.
int samplesIn(const MVPixelQuad& quad, int x, int y) {
    constexpr std::array<MVPixelQuad::Point, 4> kSamples = {
        {{0.375F, 0.125F}, {0.875F, 0.375F}, {0.125F, 0.625F}, {0.625F, 0.875F}}};
    int count = 0;
    for (const auto& sample : kSamples) {
        const MVPixelQuad::Point point = {static_cast<float>(x) + sample.x,
                                          static_cast<float>(y) + sample.y};
        count += contains(quad, point) ? 1 : 0;
    }
    return count;
}

}  // namespace

TEST(MVTileSetTest, edgesBetweenPixelsPartNone) {
    EXPECT_THAT(edgesOf(upright(10, 20, 150, 90)), IsEmpty());
    EXPECT_THAT(edgesOf(upright(150, 90, 10, 20)), IsEmpty()) << "turned round";
    EXPECT_THAT(edgesOf(upright(10.03F, 19.97F, 150.05F, 90)), IsEmpty()) << "nearly";
    EXPECT_THAT(edgesOf(upright(-1000, -1000, 1000, 1000)), IsEmpty());
}

TEST(MVTileSetTest, edgesAcrossPixelsCountWhereTheyAre) {
    EXPECT_THAT(edgesOf(upright(10.5F, 20, 20, 40)), ElementsAre(PixelBox{0, 0, 64, 64}));
    EXPECT_THAT(edgesOf(upright(100, 20.2F, 110, 40)), ElementsAre(PixelBox{64, 0, 128, 64}));
    EXPECT_THAT(edgesOf(upright(0, 0, 190.3F, 1)), ElementsAre(PixelBox{128, 0, 192, 64}));
    EXPECT_THAT(edgesOf(upright(0, 149.7F, 1, 200)), ElementsAre(PixelBox{0, 128, 64, 150}));
    EXPECT_THAT(edgesOf(upright(-20.5F, -20.5F, 300.5F, 300.5F)), IsEmpty()) << "out of sight";
}

TEST(MVTileSetTest, anEdgeNextToATileCountsForBoth) {
    EXPECT_THAT(edgesOf(upright(64.4F, 10, 100, 20)), ElementsAre(PixelBox{0, 0, 128, 64}));
    EXPECT_THAT(edgesOf(upright(10, 63.5F, 20, 100)), ElementsAre(PixelBox{0, 0, 64, 128}));
}

TEST(MVTileSetTest, everyPixelWhoseSamplesAreOnBothSidesOfAnEdgeIsInATile) {
    std::mt19937 generator(7);
    const auto between = [&generator](float low, float high) {
        return std::uniform_real_distribution<float>(low, high)(generator);
    };
    for (int i = 0; i < 60; ++i) {
        const float angle = i % 3 == 0 ? 0 : between(0, 2 * std::numbers::pi_v<float>);
        const float x = between(-50, 250);
        const float y = between(-50, 200);
        const std::array<float, 2> along = {between(0, 200), between(0, 100)};
        const std::array<float, 2> across = {between(-20, 20), between(0, 100)};
        const auto corner = [&](float u, float v) {
            const float flatX = u * along[0] + v * across[0];
            const float flatY = v * (across[1] + u * along[1] * 0.3F);
            return MVPixelQuad::Point{x + std::cos(angle) * flatX - std::sin(angle) * flatY,
                                      y + std::sin(angle) * flatX + std::cos(angle) * flatY};
        };
        const MVPixelQuad quad = {{{corner(0, 0), corner(1, 0), corner(0, 1), corner(1, 1)}}};
        MVTileSet tiles = emptySet();
        tiles.addEdges(quad);
        for (int row = 0; row < kSize.height; ++row) {
            for (int column = 0; column < kSize.width; ++column) {
                const int samples = samplesIn(quad, column, row);
                if (samples != 0 && samples != 4) {
                    const PixelBox tile =
                        MVTileSet::around({column, row, column + 1, row + 1}, kSize);
                    ASSERT_FALSE(tiles.within(tile).isEmpty()) << i << ": " << column << ", " << row;
                }
            }
        }
    }
}

TEST(MVTileSetTest, boxesAndOtherSetsAreAdded) {
    MVTileSet tiles = emptySet();
    tiles.add(PixelBox{70, 10, 71, 11});
    tiles.add(PixelBox{});
    tiles.add(PixelBox{-50, -50, -10, -10});
    EXPECT_THAT(boxesIn(tiles), ElementsAre(PixelBox{64, 0, 128, 64}));
    MVTileSet others = emptySet();
    others.add(PixelBox{190, 140, 500, 500});
    tiles.add(others);
    EXPECT_THAT(boxesIn(tiles, {0, 0, 256, 64}), ElementsAre(PixelBox{64, 0, 128, 64}));
    EXPECT_THAT(boxesIn(tiles, {0, 128, 256, 150}), ElementsAre(PixelBox{128, 128, 200, 150}));
    EXPECT_THAT(boxesIn(tiles, {0, 0, 64, 150}), IsEmpty());
    tiles.reset({10, 10});
    EXPECT_THAT(boxesIn(tiles, {0, 0, 10, 10}), IsEmpty());
}

TEST(MVTileSetTest, aFramebufferWithoutAnAreaHasNone) {
    MVTileSet tiles;
    tiles.reset({0, 5});
    tiles.addEdges(upright(0.5F, 0.5F, 3.5F, 3.5F));
    tiles.add(PixelBox{0, 0, 5, 5});
    EXPECT_TRUE(tiles.within({}).isEmpty());
}

TEST(MVPixelQuadTest, anUprightQuadCoversThePixelsBetweenItsEdges) {
    EXPECT_EQ(upright(10, 20, 30, 50).cover(), (PixelBox{10, 20, 30, 50}));
    EXPECT_EQ(upright(30, 50, 10, 20).cover(), (PixelBox{10, 20, 30, 50}));
    EXPECT_EQ(upright(10.5F, 20.5F, 30.5F, 50.5F).cover(), (PixelBox{11, 21, 30, 50}));
    EXPECT_EQ(upright(10.02F, 20, 29.98F, 50).cover(), (PixelBox{10, 20, 30, 50}))
        << "all samples are covered";
    EXPECT_TRUE((MVPixelQuad{{{{0, 1}, {10, 0}, {0, 10}, {10, 11}}}}.cover().isEmpty()));
}

TEST(MVPixelQuadTest, cornersThatCannotBeSeenGiveNone) {
    const Mivora::Float4x4 flat = {{Mivora::Float4{0.1F, 0, 0, 0}, Mivora::Float4{0, 0.1F, 0, 0},
                                    Mivora::Float4{0, 0, 0.1F, 0}, Mivora::Float4{0, 0, 0, 1}}};
    constexpr std::array<int, 4> kViewport = {0, 0, 100, 50};
    const auto quad = MVPixelQuad::of(flat, {5, 10}, kViewport);
    ASSERT_TRUE(quad);
    EXPECT_FLOAT_EQ(quad->corners[0].x, 50);
    EXPECT_FLOAT_EQ(quad->corners[3].x, 75);
    EXPECT_FLOAT_EQ(quad->corners[3].y, 50);
    Mivora::Float4x4 other = flat;
    other.column[3] = Mivora::Float4{0, 0, 2, 1};
    EXPECT_FALSE(MVPixelQuad::of(other, {5, 10}, kViewport)) << "beyond the far plane";
    other.column[3] = Mivora::Float4{0, 0, 0, -1};
    EXPECT_FALSE(MVPixelQuad::of(other, {5, 10}, kViewport)) << "behind the eye";
    other.column[3] = Mivora::Float4{0, 0, 0, 0};
    EXPECT_FALSE(MVPixelQuad::of(other, {5, 10}, kViewport));
    EXPECT_FALSE(MVPixelQuad::of(flat, {1e30F, 10}, kViewport));
    EXPECT_FALSE(MVPixelQuad::of(flat, {std::nanf(""), 10}, kViewport));
}
