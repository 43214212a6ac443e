#include "MivoraMac/platform/text/PixelCanvasPrivate.h"

#include <cairo.h>
#include <gmock/gmock.h>

#include <optional>
#include <vector>

using Mivora::platform::PixelCanvas;
using testing::Each;
using testing::ElementsAre;

namespace {

std::vector<int> pixel(const std::uint8_t* pixels, int width, int x, int y) {
    const std::uint8_t* const at = pixels + (y * width + x) * 4;
    return {at[0], at[1], at[2], at[3]};
}

}  // namespace

TEST(PixelCanvasTest, beginsTransparent) {
    auto canvas = PixelCanvas::create({3, 2});
    ASSERT_TRUE(canvas);
    const auto pixels = canvas->finish();
    EXPECT_THAT(std::vector<int>(pixels.get(), pixels.get() + 24), Each(0));
}

TEST(PixelCanvasTest, yieldsRedGreenBlueAndAlphaWithTheTopRowFirst) {
    auto canvas = PixelCanvas::create({5, 3});
    cairo_set_source_rgba(canvas->context(), 1, 0.5, 0, 0.5);
    cairo_rectangle(canvas->context(), 4, 0, 1, 1);
    cairo_fill(canvas->context());
    const auto pixels = canvas->finish();
    EXPECT_THAT(pixel(pixels.get(), 5, 4, 0), ElementsAre(128, 64, 0, 128));
    EXPECT_THAT(pixel(pixels.get(), 5, 3, 0), Each(0));
    EXPECT_THAT(pixel(pixels.get(), 5, 4, 1), Each(0));
}

TEST(PixelCanvasTest, refusesSizesThatCannotBeDrawnInto) {
    EXPECT_FALSE(PixelCanvas::create({0, 5}));
    EXPECT_FALSE(PixelCanvas::create({5, 0}));
    EXPECT_FALSE(PixelCanvas::create({-1, 5}));
    EXPECT_FALSE(PixelCanvas::create({40'000, 1}));
}

TEST(PixelCanvasTest, aContextThatSomebodyKeptDrawsNowhereAfterwards) {
    auto canvas = PixelCanvas::create({2, 2});
    cairo_t* const kept = cairo_reference(canvas->context());
    const auto pixels = canvas->finish();
    cairo_set_source_rgb(kept, 1, 1, 1);
    cairo_paint(kept);
    EXPECT_NE(cairo_status(kept), CAIRO_STATUS_SUCCESS);
    cairo_destroy(kept);
    EXPECT_THAT(pixel(pixels.get(), 2, 0, 0), Each(0));
}
