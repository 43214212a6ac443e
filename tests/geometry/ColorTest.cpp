#include "MivoraMac/geometry/Color.h"

#include <cmath>
#include <cstddef>
#include <limits>

#include <gtest/gtest.h>

#include "MivoraMac/geometry/MVColor.h"
#include "tests/geometry/ValueTypeChecks.h"

using Mivora::ColorHSB;
using Mivora::ColorHSBA;
using Mivora::ColorRGB;
using Mivora::ColorRGBA;

static_assert(isPlainAggregate<ColorRGB>() && isPlainAggregate<ColorRGBA>());
static_assert(isPlainAggregate<ColorHSB>() && isPlainAggregate<ColorHSBA>());
static_assert(sizeof(ColorRGB) == 12 && offsetof(ColorRGB, red) == 0 &&
              offsetof(ColorRGB, green) == 4 && offsetof(ColorRGB, blue) == 8);
static_assert(sizeof(ColorRGBA) == 16 && offsetof(ColorRGBA, red) == 0 &&
              offsetof(ColorRGBA, green) == 4 && offsetof(ColorRGBA, blue) == 8 &&
              offsetof(ColorRGBA, alpha) == 12);
static_assert(sizeof(ColorHSB) == 12 && offsetof(ColorHSB, hue) == 0 &&
              offsetof(ColorHSB, saturation) == 4 && offsetof(ColorHSB, brightness) == 8);
static_assert(sizeof(ColorHSBA) == 16 && offsetof(ColorHSBA, hue) == 0 &&
              offsetof(ColorHSBA, saturation) == 4 && offsetof(ColorHSBA, brightness) == 8 &&
              offsetof(ColorHSBA, alpha) == 12);

namespace {

void expectNear(ColorRGB color, ColorRGB expected, float tolerance) {
    EXPECT_NEAR(color.red, expected.red, tolerance);
    EXPECT_NEAR(color.green, expected.green, tolerance);
    EXPECT_NEAR(color.blue, expected.blue, tolerance);
}

bool isNaN(ColorRGB color) {
    return std::isnan(color.red) && std::isnan(color.green) && std::isnan(color.blue);
}

bool isNaN(ColorHSB color) {
    return std::isnan(color.hue) && std::isnan(color.saturation) && std::isnan(color.brightness);
}

}  // namespace

TEST(ColorTest, equalityLooksAtEveryComponent) {
    EXPECT_EQ((ColorRGB{0.1F, 0.2F, 0.3F}), (ColorRGB{0.1F, 0.2F, 0.3F}));
    EXPECT_NE((ColorRGB{0.1F, 0.2F, 0.3F}), (ColorRGB{0.9F, 0.2F, 0.3F}));
    EXPECT_NE((ColorRGB{0.1F, 0.2F, 0.3F}), (ColorRGB{0.1F, 0.9F, 0.3F}));
    EXPECT_NE((ColorRGB{0.1F, 0.2F, 0.3F}), (ColorRGB{0.1F, 0.2F, 0.9F}));
    EXPECT_NE((ColorRGBA{0.1F, 0.2F, 0.3F, 0.4F}), (ColorRGBA{0.1F, 0.2F, 0.3F, 0.9F}));
    EXPECT_NE((ColorHSB{0.1F, 0.2F, 0.3F}), (ColorHSB{0.9F, 0.2F, 0.3F}));
    EXPECT_NE((ColorHSBA{0.1F, 0.2F, 0.3F, 0.4F}), (ColorHSBA{0.1F, 0.2F, 0.3F, 0.9F}));
    const ColorRGBA nan = {0.0F, 0.0F, 0.0F, kNaN};
    EXPECT_FALSE(nan == nan);
}

TEST(ColorTest, anEmptyInitialiserIsClear) {
    EXPECT_EQ(ColorRGBA{}, ColorRGBA::kClear);
    EXPECT_EQ(ColorRGB{}, ColorRGB::kClear);
}

TEST(ColorTest, thirdsAreTheNearestFloats) {
    const double exact = 1.0 / 3.0;
    const float third = ColorRGB::kDarkGray.red;
    const float error = static_cast<float>(std::abs(static_cast<double>(third) - exact));
    EXPECT_LT(error, std::abs(static_cast<double>(std::nextafter(third, 0.0F)) - exact));
    EXPECT_LT(error, std::abs(static_cast<double>(std::nextafter(third, 1.0F)) - exact));
    EXPECT_EQ(ColorRGB::kLightGray.red, 2.0F * third);
}

// From red, green and blue

TEST(ColorTest, rgbConvertsToHueSaturationAndBrightness) {
    struct Row {
        const char* name;
        ColorRGB rgb;
        ColorHSB hsb;
    };
    const Row rows[] = {
        {"red", {1.0F, 0.0F, 0.0F}, {0.0F, 1.0F, 1.0F}},
        {"yellow", {1.0F, 1.0F, 0.0F}, {1.0F / 6.0F, 1.0F, 1.0F}},
        {"green", {0.0F, 1.0F, 0.0F}, {2.0F / 6.0F, 1.0F, 1.0F}},
        {"cyan", {0.0F, 1.0F, 1.0F}, {3.0F / 6.0F, 1.0F, 1.0F}},
        {"blue", {0.0F, 0.0F, 1.0F}, {4.0F / 6.0F, 1.0F, 1.0F}},
        {"magenta", {1.0F, 0.0F, 1.0F}, {5.0F / 6.0F, 1.0F, 1.0F}},
        {"black", {0.0F, 0.0F, 0.0F}, {0.0F, 0.0F, 0.0F}},
        {"white", {1.0F, 1.0F, 1.0F}, {0.0F, 0.0F, 1.0F}},
        {"grey", {0.5F, 0.5F, 0.5F}, {0.0F, 0.0F, 0.5F}},
        {"pink", {1.0F, 0.5F, 0.5F}, {0.0F, 0.5F, 1.0F}},
        {"dark blue", {0.0F, 0.0F, 0.5F}, {4.0F / 6.0F, 1.0F, 0.5F}},
        {"half way from red to yellow", {1.0F, 0.5F, 0.0F}, {0.5F / 6.0F, 1.0F, 1.0F}},
        {"half way from yellow to green", {0.5F, 1.0F, 0.0F}, {1.5F / 6.0F, 1.0F, 1.0F}},
        {"half way from green to cyan", {0.0F, 1.0F, 0.5F}, {2.5F / 6.0F, 1.0F, 1.0F}},
        {"half way from cyan to blue", {0.0F, 0.5F, 1.0F}, {3.5F / 6.0F, 1.0F, 1.0F}},
        {"half way from blue to magenta", {0.5F, 0.0F, 1.0F}, {4.5F / 6.0F, 1.0F, 1.0F}},
        {"half way from magenta to red", {1.0F, 0.0F, 0.5F}, {5.5F / 6.0F, 1.0F, 1.0F}},
    };
    for (const Row& row : rows) {
        const ColorHSB hsb = row.rgb.ToHSB();
        EXPECT_FLOAT_EQ(hsb.hue, row.hsb.hue) << row.name;
        EXPECT_EQ(hsb.saturation, row.hsb.saturation) << row.name;
        EXPECT_EQ(hsb.brightness, row.hsb.brightness) << row.name;
    }
}

TEST(ColorTest, pureRedHasHueZeroAndPureBlueTwoThirds) {
    EXPECT_EQ(ColorRGB::kRed.ToHSB(), (ColorHSB{0.0F, 1.0F, 1.0F}));
    EXPECT_EQ(ColorRGB::kBlue.ToHSB(), (ColorHSB{2.0F / 3.0F, 1.0F, 1.0F}));
}

TEST(ColorTest, blackHasSaturationZeroAndNoDivisionByZero) {
    EXPECT_EQ(ColorRGB::kBlack.ToHSB(), (ColorHSB{0.0F, 0.0F, 0.0F}));
    EXPECT_EQ((ColorRGB{-0.0F, 0.0F, 0.0F}).ToHSB(), (ColorHSB{0.0F, 0.0F, 0.0F}));
}

TEST(ColorTest, greyHasHueAndSaturationZero) {
    EXPECT_EQ(ColorRGB::kGray.ToHSB(), (ColorHSB{0.0F, 0.0F, 0.5F}));
}

TEST(ColorTest, ofTiedComponentsRedComesBeforeGreenAndGreenBeforeBlue) {
    // On a tie the difference and the quotient are exact, so the hue is that of the pure mixture
    // whatever the lowest component; the last bits are those of the first branch that applies.
    for (int i = 0; i < 1000; ++i) {
        const float low = 0.9F * static_cast<float>(i) / 1000.0F;
        const float high = 0.95F;
        EXPECT_EQ((ColorRGB{high, high, low}).ToHSB().hue, 1.0F / 6.0F);
        EXPECT_EQ((ColorRGB{high, low, high}).ToHSB().hue, -1.0F / 6.0F + 1.0F);
        EXPECT_EQ((ColorRGB{low, high, high}).ToHSB().hue, (1.0F + 2.0F) / 6.0F);
    }
}

TEST(ColorTest, aHueJustBelowRedMayRoundToOneAndIsKept) {
    const ColorHSB hsb = (ColorRGB{1.0F, 0.0F, 1e-10F}).ToHSB();
    EXPECT_EQ(hsb.hue, 1.0F);
}

TEST(ColorTest, componentsOutsideTheRangeAreNotClamped) {
    EXPECT_EQ((ColorRGB{4.0F, 2.0F, 2.0F}).ToHSB(), (ColorHSB{0.0F, 0.5F, 4.0F}));
    EXPECT_EQ((ColorRGB{1.0F, 0.0F, -1.0F}).ToHSB(), (ColorHSB{0.5F / 6.0F, 2.0F, 1.0F}));
    EXPECT_EQ((ColorRGB{-1.0F, -2.0F, -2.0F}).ToHSB(), (ColorHSB{0.0F, -1.0F, -1.0F}));
    EXPECT_EQ((ColorRGB{0.0F, -1.0F, -1.0F}).ToHSB(), (ColorHSB{0.0F, 0.0F, 0.0F}));
}

TEST(ColorTest, aNaNComponentMakesHueSaturationAndBrightnessNaN) {
    EXPECT_TRUE(isNaN((ColorRGB{kNaN, 0.5F, 0.2F}).ToHSB()));
    EXPECT_TRUE(isNaN((ColorRGB{0.5F, kNaN, 0.2F}).ToHSB()));
    EXPECT_TRUE(isNaN((ColorRGB{0.5F, 0.2F, kNaN}).ToHSB()));
}

TEST(ColorTest, infiniteComponentsConvertToInfinityAndNaNAndReturn) {
    const ColorHSB bright = (ColorRGB{kInfinity, 0.5F, 0.2F}).ToHSB();
    EXPECT_EQ(bright.hue, 0.0F);
    EXPECT_TRUE(std::isnan(bright.saturation));
    EXPECT_EQ(bright.brightness, kInfinity);
    const ColorHSB dark = (ColorRGB{-kInfinity, 0.5F, 0.2F}).ToHSB();
    EXPECT_TRUE(std::isnan(dark.hue));
    EXPECT_EQ(dark.saturation, kInfinity);
    EXPECT_EQ(dark.brightness, 0.5F);
    const ColorHSB all = (ColorRGB{kInfinity, kInfinity, kInfinity}).ToHSB();
    EXPECT_TRUE(std::isnan(all.hue));
    EXPECT_TRUE(std::isnan(all.saturation));
    EXPECT_EQ(all.brightness, kInfinity);
}

TEST(ColorTest, theHueOfAnyFiniteColorIsWithinZeroAndOne) {
    constexpr float largest = std::numeric_limits<float>::max() / 4.0F;
    constexpr float smallest = std::numeric_limits<float>::denorm_min();
    constexpr float values[] = {-largest, -1.0F, -smallest, 0.0F, smallest, 0.5F, 1.0F, largest};
    for (const float red : values) {
        for (const float green : values) {
            for (const float blue : values) {
                const float hue = (ColorRGB{red, green, blue}).ToHSB().hue;
                EXPECT_GE(hue, 0.0F);
                EXPECT_LE(hue, 1.0F);
            }
        }
    }
}

TEST(ColorTest, alphaIsCopiedToHSBAUntouched) {
    EXPECT_EQ((ColorRGBA{1.0F, 0.5F, 0.5F, 0.25F}).ToHSBA(), (ColorHSBA{0.0F, 0.5F, 1.0F, 0.25F}));
    EXPECT_EQ((ColorRGBA{1.0F, 0.5F, 0.5F, -3.0F}).ToHSBA().alpha, -3.0F);
    EXPECT_TRUE(std::isnan((ColorRGBA{1.0F, 0.5F, 0.5F, kNaN}).ToHSBA().alpha));
    EXPECT_EQ((ColorRGBA{1.0F, 0.5F, 0.5F, kNaN}).ToHSBA().brightness, 1.0F);
}

// To red, green and blue

TEST(ColorTest, everySectorOfTheHueHasItsOrderOfComponents) {
    // Saturation 0.75, brightness 0.5 and a quarter into the sector: p = 0.125, v = 0.5,
    // q = (1 - 0.75 * 0.25) * 0.5 = 0.40625, t = (1 - 0.75 * 0.75) * 0.5 = 0.21875.
    constexpr float v = 0.5F;
    constexpr float p = 0.125F;
    constexpr float q = 0.40625F;
    constexpr float t = 0.21875F;
    const ColorRGB expected[6] = {{v, t, p}, {q, v, p}, {p, v, t}, {p, q, v}, {t, p, v}, {v, p, q}};
    for (int sector = 0; sector < 6; ++sector) {
        SCOPED_TRACE(sector);
        ColorHSB hsb = {(static_cast<float>(sector) + 0.25F) / 6.0F, 0.75F, 0.5F};
        expectNear(hsb.ToRGB(), expected[sector], 1e-6F);
    }
}

TEST(ColorTest, sixthsOfATurnAreThePureColors) {
    const ColorRGB expected[6] = {ColorRGB::kRed,  ColorRGB::kYellow, ColorRGB::kGreen,
                                  ColorRGB::kCyan, ColorRGB::kBlue,   ColorRGB::kMagenta};
    for (int sixth = 0; sixth < 6; ++sixth) {
        SCOPED_TRACE(sixth);
        ColorHSB hsb = {static_cast<float>(sixth) / 6.0F, 1.0F, 1.0F};
        expectNear(hsb.ToRGB(), expected[sixth], 1e-6F);
    }
}

TEST(ColorTest, theLargestHueBelowOneIsStillInTheLastSector) {
    ColorHSB hsb = {std::nextafter(1.0F, 0.0F), 1.0F, 1.0F};
    expectNear(hsb.ToRGB(), ColorRGB::kRed, 1e-6F);
    EXPECT_EQ(hsb.hue, std::nextafter(1.0F, 0.0F));
}

TEST(ColorTest, aHueJustBelowASectorDoesNotRoundUpIntoIt) {
    // The nearest float to 5/6 is below it, and its sixfold closer to 5 than to any other float.
    ColorHSB hsb = {5.0F / 6.0F, 1.0F, 1.0F};
    const ColorRGB rgb = hsb.ToRGB();
    EXPECT_LT(rgb.red, 1.0F);
    EXPECT_EQ(rgb.blue, 1.0F);
}

TEST(ColorTest, aHueOfOneConvertsAsRedAndBecomesZero) {
    ColorHSB hsb = {1.0F, 1.0F, 1.0F};
    EXPECT_EQ(hsb.ToRGB(), ColorRGB::kRed);
    EXPECT_EQ(hsb, (ColorHSB{0.0F, 1.0F, 1.0F}));
}

TEST(ColorTest, saturationZeroIsGreyWhateverTheHueAndKeepsAHueOfOne) {
    for (const float hue : {0.0F, 0.4F, 1.0F}) {
        ColorHSB hsb = {hue, 0.0F, 0.7F};
        EXPECT_EQ(hsb.ToRGB(), (ColorRGB{0.7F, 0.7F, 0.7F}));
        EXPECT_EQ(hsb, (ColorHSB{hue, 0.0F, 0.7F}));
    }
}

TEST(ColorTest, convertingWritesTheClampedValuesBack) {
    ColorHSB hsb = {1.5F, 2.0F, -1.0F};
    EXPECT_EQ(hsb.ToRGB(), ColorRGB::kBlack);
    EXPECT_EQ(hsb, (ColorHSB{0.0F, 1.0F, 0.0F}));

    ColorHSB other = {-0.5F, -2.0F, 3.0F};
    EXPECT_EQ(other.ToRGB(), ColorRGB::kWhite);
    EXPECT_EQ(other, (ColorHSB{0.0F, 0.0F, 1.0F}));

    ColorHSB infinite = {-kInfinity, kInfinity, kInfinity};
    EXPECT_EQ(infinite.ToRGB(), ColorRGB::kRed);
    EXPECT_EQ(infinite, (ColorHSB{0.0F, 1.0F, 1.0F}));
}

TEST(ColorTest, convertingAnObjectInRangeDoesNotChangeIt) {
    ColorHSB hsb = {0.3F, 0.6F, 0.9F};
    hsb.ToRGB();
    EXPECT_EQ(hsb, (ColorHSB{0.3F, 0.6F, 0.9F}));
}

TEST(ColorTest, aNaNHueYieldsNaNUnlessTheSaturationIsZero) {
    ColorHSB hsb = {kNaN, 0.5F, 0.5F};
    EXPECT_TRUE(isNaN(hsb.ToRGB()));
    EXPECT_TRUE(std::isnan(hsb.hue));
    ColorHSB grey = {kNaN, 0.0F, 0.5F};
    EXPECT_EQ(grey.ToRGB(), ColorRGB::kGray);
}

TEST(ColorTest, aNaNSaturationOrBrightnessReachesTheComponentsThatDependOnIt) {
    ColorHSB saturation = {0.0F, kNaN, 0.5F};
    const ColorRGB rgb = saturation.ToRGB();
    EXPECT_EQ(rgb.red, 0.5F);
    EXPECT_TRUE(std::isnan(rgb.green) && std::isnan(rgb.blue));
    ColorHSB brightness = {0.1F, 0.5F, kNaN};
    EXPECT_TRUE(isNaN(brightness.ToRGB()));
}

TEST(ColorTest, theFormWithAlphaClampsOnTheWayButDoesNotChangeTheObject) {
    const ColorHSBA hsba = {1.5F, 2.0F, 3.0F, 0.25F};
    EXPECT_EQ(hsba.ToRGBA(), (ColorRGBA{1.0F, 0.0F, 0.0F, 0.25F}));
    EXPECT_EQ(hsba, (ColorHSBA{1.5F, 2.0F, 3.0F, 0.25F}));
}

TEST(ColorTest, alphaIsCopiedToRGBAUntouched) {
    EXPECT_EQ((ColorHSBA{0.0F, 0.0F, 0.5F, 7.0F}).ToRGBA(), (ColorRGBA{0.5F, 0.5F, 0.5F, 7.0F}));
    EXPECT_EQ((ColorHSBA{0.0F, 0.0F, 0.5F, -7.0F}).ToRGBA().alpha, -7.0F);
}

TEST(ColorTest, convertingThereAndBackOverAGridReturnsTheColor) {
    constexpr int steps = 20;
    for (int r = 0; r <= steps; ++r) {
        for (int g = 0; g <= steps; ++g) {
            for (int b = 0; b <= steps; ++b) {
                const ColorRGB rgb = {static_cast<float>(r) / steps, static_cast<float>(g) / steps,
                                      static_cast<float>(b) / steps};
                ColorHSB hsb = rgb.ToHSB();
                ASSERT_GE(hsb.hue, 0.0F);
                ASSERT_LE(hsb.hue, 1.0F);
                ASSERT_GE(hsb.saturation, 0.0F);
                ASSERT_LE(hsb.saturation, 1.0F);
                SCOPED_TRACE(testing::Message() << r << ' ' << g << ' ' << b);
                expectNear(hsb.ToRGB(), rgb, 5e-7F);
            }
        }
    }
}
