#include "MivoraMac/geometry/MVColor.h"

#include <cmath>
#include <iterator>

#include <gtest/gtest.h>

#include "tests/geometry/ValueTypeChecks.h"

using Mivora::ColorHSB;
using Mivora::ColorHSBA;
using Mivora::ColorRGB;
using Mivora::ColorRGBA;

/// Clear has no flat constant without alpha: this would be a second definition.
[[maybe_unused]] constexpr int MVColorClearRGB = 0;

namespace {

struct NamedColor {
    const char* name;
    ColorRGBA expected;
    const ColorRGB& classRGB;
    const ColorRGBA& classRGBA;
    const ColorRGB* flatRGB;
    const ColorRGBA& flatRGBA;
};

constexpr float kThird = 1.0F / 3.0F;
constexpr float kTwoThirds = 2.0F / 3.0F;

// Compiles only if every constant is known to the compiler: no code runs to set it.
constinit const NamedColor kNamedColors[] = {
    {"Black",
     {0, 0, 0, 1},
     ColorRGB::kBlack,
     ColorRGBA::kBlack,
     &MVColorBlackRGB,
     MVColorBlackRGBA},
    {"DarkGray",
     {kThird, kThird, kThird, 1},
     ColorRGB::kDarkGray,
     ColorRGBA::kDarkGray,
     &MVColorDarkGrayRGB,
     MVColorDarkGrayRGBA},
    {"LightGray",
     {kTwoThirds, kTwoThirds, kTwoThirds, 1},
     ColorRGB::kLightGray,
     ColorRGBA::kLightGray,
     &MVColorLightGrayRGB,
     MVColorLightGrayRGBA},
    {"White",
     {1, 1, 1, 1},
     ColorRGB::kWhite,
     ColorRGBA::kWhite,
     &MVColorWhiteRGB,
     MVColorWhiteRGBA},
    {"Gray",
     {0.5F, 0.5F, 0.5F, 1},
     ColorRGB::kGray,
     ColorRGBA::kGray,
     &MVColorGrayRGB,
     MVColorGrayRGBA},
    {"Red", {1, 0, 0, 1}, ColorRGB::kRed, ColorRGBA::kRed, &MVColorRedRGB, MVColorRedRGBA},
    {"Green",
     {0, 1, 0, 1},
     ColorRGB::kGreen,
     ColorRGBA::kGreen,
     &MVColorGreenRGB,
     MVColorGreenRGBA},
    {"Blue", {0, 0, 1, 1}, ColorRGB::kBlue, ColorRGBA::kBlue, &MVColorBlueRGB, MVColorBlueRGBA},
    {"Cyan", {0, 1, 1, 1}, ColorRGB::kCyan, ColorRGBA::kCyan, &MVColorCyanRGB, MVColorCyanRGBA},
    {"Yellow",
     {1, 1, 0, 1},
     ColorRGB::kYellow,
     ColorRGBA::kYellow,
     &MVColorYellowRGB,
     MVColorYellowRGBA},
    {"Magenta",
     {1, 0, 1, 1},
     ColorRGB::kMagenta,
     ColorRGBA::kMagenta,
     &MVColorMagentaRGB,
     MVColorMagentaRGBA},
    {"Orange",
     {1, 0.5F, 0, 1},
     ColorRGB::kOrange,
     ColorRGBA::kOrange,
     &MVColorOrangeRGB,
     MVColorOrangeRGBA},
    {"Purple",
     {0.5F, 0, 0.5F, 1},
     ColorRGB::kPurple,
     ColorRGBA::kPurple,
     &MVColorPurpleRGB,
     MVColorPurpleRGBA},
    {"Brown",
     {0.6F, 0.4F, 0.2F, 1},
     ColorRGB::kBrown,
     ColorRGBA::kBrown,
     &MVColorBrownRGB,
     MVColorBrownRGBA},
    {"Clear", {0, 0, 0, 0}, ColorRGB::kClear, ColorRGBA::kClear, nullptr, MVColorClearRGBA},
};
static_assert(std::size(kNamedColors) == 15);

constinit const ColorRGB brown = MVColorBrownRGB;
constinit const ColorRGBA clear = MVColorClearRGBA;
static_assert(MVColorOrangeRGB == ColorRGB{1.0F, 0.5F, 0.0F});

}  // namespace

TEST(MVColorTest, namedColorsHaveTheirComponentsInEveryForm) {
    for (const NamedColor& color : kNamedColors) {
        SCOPED_TRACE(color.name);
        const ColorRGB expected = {color.expected.red, color.expected.green, color.expected.blue};
        EXPECT_EQ(color.classRGB, expected);
        EXPECT_EQ(color.classRGBA, color.expected);
        EXPECT_EQ(color.flatRGBA, color.expected);
        if (color.flatRGB != nullptr) {
            EXPECT_EQ(*color.flatRGB, expected);
        }
    }
}

TEST(MVColorTest, flatConstantsHaveTheBytesOfTheClassConstants) {
    for (const NamedColor& color : kNamedColors) {
        SCOPED_TRACE(color.name);
        EXPECT_TRUE(haveTheSameBytes(color.flatRGBA, color.classRGBA));
        if (color.flatRGB != nullptr) {
            EXPECT_TRUE(haveTheSameBytes(*color.flatRGB, color.classRGB));
        }
    }
    EXPECT_TRUE(haveTheSameBytes(brown, ColorRGB::kBrown));
    EXPECT_TRUE(isAllZeroBytes(clear));
}

TEST(MVColorTest, functionsConvertAsTheMembersDo) {
    for (const NamedColor& color : kNamedColors) {
        SCOPED_TRACE(color.name);
        EXPECT_EQ(MVColorRGBToColorHSB(color.classRGB), color.classRGB.ToHSB());
        EXPECT_EQ(MVColorRGBAToColorHSBA(color.classRGBA), color.classRGBA.ToHSBA());
        ColorHSB hsb = color.classRGB.ToHSB();
        EXPECT_EQ(MVColorHSBToColorRGB(hsb), hsb.ToRGB());
        const ColorHSBA hsba = color.classRGBA.ToHSBA();
        EXPECT_EQ(MVColorHSBAToColorRGBA(hsba), hsba.ToRGBA());
    }
}

TEST(MVColorTest, functionsConvertPureColors) {
    EXPECT_EQ(MVColorRGBToColorHSB(MVColorRedRGB), (ColorHSB{0.0F, 1.0F, 1.0F}));
    EXPECT_EQ(MVColorRGBToColorHSB(MVColorBlueRGB), (ColorHSB{2.0F / 3.0F, 1.0F, 1.0F}));
    EXPECT_EQ(MVColorHSBToColorRGB({1.0F, 1.0F, 1.0F}), MVColorRedRGB);
}

TEST(MVColorTest, orangeConvertedThereAndBackIsOrange) {
    const ColorRGB orange = MVColorHSBToColorRGB(MVColorRGBToColorHSB(MVColorOrangeRGB));
    EXPECT_FLOAT_EQ(orange.red, 1.0F);
    EXPECT_NEAR(orange.green, 0.5F, 1e-6F);
    EXPECT_EQ(orange.blue, 0.0F);
}

TEST(MVColorTest, theFunctionClampsItsOwnCopyOnly) {
    const ColorHSB hsb = {1.5F, 2.0F, -1.0F};
    EXPECT_EQ(MVColorHSBToColorRGB(hsb), MVColorBlackRGB);
    EXPECT_EQ(hsb, (ColorHSB{1.5F, 2.0F, -1.0F}));
}

TEST(MVColorTest, alphaPassesThroughTheFunctionsUntouched) {
    EXPECT_EQ(MVColorRGBAToColorHSBA({1.0F, 0.0F, 0.0F, 5.0F}),
              (ColorHSBA{0.0F, 1.0F, 1.0F, 5.0F}));
    EXPECT_EQ(MVColorHSBAToColorRGBA({1.5F, 1.0F, 1.0F, -5.0F}),
              (ColorRGBA{1.0F, 0.0F, 0.0F, -5.0F}));
}

TEST(MVColorTest, nanIsPassedOnByTheFunctions) {
    EXPECT_TRUE(std::isnan(MVColorRGBToColorHSB({0.5F, kNaN, 0.1F}).hue));
    EXPECT_TRUE(std::isnan(MVColorHSBToColorRGB({kNaN, 0.5F, 0.1F}).red));
    const ColorHSBA hsba = MVColorRGBAToColorHSBA({0.5F, 0.5F, 0.1F, kNaN});
    EXPECT_TRUE(std::isnan(hsba.alpha));
    EXPECT_EQ(hsba.brightness, 0.5F);
}
