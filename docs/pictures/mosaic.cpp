#include <cmath>
#include <memory>
#include <numbers>
#include <random>

#include "MivoraMac/views/MVColorView.h"
#include "MivoraMac/views/MVWindow.h"
#include "docs/pictures/scenes.h"

namespace {

constexpr float kTurn = 2 * std::numbers::pi_v<float>;

/// A star with four corners for each square, around its own origin.
std::shared_ptr<MVView> makeStar(float radius, int squares) {
    auto star = MVView::init();
    const float side = radius * std::numbers::sqrt2_v<float>;
    for (int i = 0; i < squares; ++i) {
        auto square = makeFill(Mivora::ColorRGBA::kWhite, {side, side});
        square->setAnchorPoint({0.5F, 0.5F});
        square->setRotation(kTurn / 4 * static_cast<float>(i) / static_cast<float>(squares));
        star->addSubview(square);
    }
    return star;
}

/// Fills the square around the origin with tiles.
void addTiles(MVView& view, float radius, float tile, float hue) {
    std::mt19937 generator(7);  // the same tiles for every drawing
    const int count = static_cast<int>(std::ceil(radius / tile));
    for (int row = -count; row < count; ++row) {
        for (int column = -count; column < count; ++column) {
            const float x = (static_cast<float>(column) + 0.5F) * tile;
            const float y = (static_cast<float>(row) + 0.5F) * tile;
            if (std::hypot(x, y) > radius + tile) {
                continue;
            }
            const float glow = 1 - std::hypot(x, y) / (radius + tile);
            const float shade = static_cast<float>(generator() % 4) / 3;
            const float light = std::round(4 * glow) / 4;
            auto piece = makeFill(hsb(hue + 0.05F * shade, 0.85F - 0.45F * light * shade,
                                      0.45F + 0.25F * light + 0.3F * shade),
                                  {tile - 3, tile - 3});
            piece->setAnchorPoint({0.5F, 0.5F});
            piece->setPosition({x, y});
            view.addSubview(piece);
        }
    }
}

/// Adds a star-shaped mosaic with a dark rim.
std::shared_ptr<MVView> addMosaic(MVView& superview, float radius, int squares, float tile,
                                  float hue) {
    auto mosaic = MVView::init();
    mosaic->setStencilView(makeStar(radius, squares));
    auto rim = makeFill(hsb(hue, 0.6F, 0.13F), {2 * radius, 2 * radius});
    rim->setAnchorPoint({0.5F, 0.5F});
    mosaic->addSubview(rim);

    // Another stencil within: a star that leaves the rim free.
    auto tiles = MVView::init();
    tiles->setStencilView(makeStar(radius - 7, squares));
    addTiles(*tiles, radius, tile, hue);
    mosaic->addSubview(tiles);

    superview.addSubview(mosaic);
    return mosaic;
}

/// Mosaics within mosaics: what each holds is cut out by its star, and by all those around it.
std::shared_ptr<MVView> makeMedallion(float radius, int levels, float hue) {
    auto medallion = MVView::init();
    auto above = medallion;
    for (int level = 0; level < levels; ++level) {
        const float step = static_cast<float>(level);
        const float share = 1 - step / static_cast<float>(levels);
        above = addMosaic(*above, radius * share, level % 2 == 0 ? 3 : 2, radius / 7,
                          hue + 0.09F * step);
        above->setRotation(0.3F);
    }
    return medallion;
}

}  // namespace

void buildMosaic(const std::shared_ptr<MVWindow>& window) {
    window->setNearDistance(400);
    window->setFarDistance(1000);
    addBackdrop(*window, hsb(0.6F, 0.2F, 0.22F), hsb(0.6F, 0.25F, 0.1F));

    const auto place = [&](float radius, int levels, float hue, Mivora::Point3 position,
                           Mivora::Point3 rotation) {
        auto medallion = makeMedallion(radius, levels, hue);
        medallion->setPosition3(position);
        medallion->setRotation3(rotation);
        window->addSubview(medallion);
    };
    place(185, 3, 0.95F, {150, 300, -120}, {0, 0.75F, 0.1F});
    place(185, 3, 0.3F, {810, 300, -120}, {0, -0.75F, -0.1F});
    place(250, 4, 0.52F, {480, 300, 0}, {0, 0, 0});
}
