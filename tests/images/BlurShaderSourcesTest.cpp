#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "MivoraMac/images/BlurShaderSourcesPrivate.h"

using Mivora::blurShaderSources;

namespace {

// Written out, for a few radii.

// clang-format off
constexpr const char* kVertex1 =
    "uniform mat4 u_transformProjectionMatrix;\n"
    "uniform vec2 u_texelSize;\n"
    "\n"
    "attribute vec4 a_position;\n"
    "attribute vec2 a_texCoord;\n"
    "\n"
    "varying vec2 blurCoordinates[5];\n"
    "\n"
    "void main() {\n"
    "    gl_Position = u_transformProjectionMatrix * a_position;\n"
    "    \n"
    "    vec2 singleStepOffset = u_texelSize;\n"
    "    blurCoordinates[0] = a_texCoord;\n"
    "    blurCoordinates[1] = a_texCoord + singleStepOffset * 1.182425;\n"
    "    blurCoordinates[2] = a_texCoord - singleStepOffset * 1.182425;\n"
    "    blurCoordinates[3] = a_texCoord + singleStepOffset * 3.029312;\n"
    "    blurCoordinates[4] = a_texCoord - singleStepOffset * 3.029312;\n"
    "}\n";

constexpr const char* kFragment1 =
    "precision highp float;\n"
    "precision highp int;\n"
    "uniform sampler2D u_sampler;\n"
    "uniform lowp vec4 u_color;\n"
    "uniform highp vec2 u_texelSize;\n"
    "\n"
    "varying vec2 blurCoordinates[5];\n"
    "\n"
    "void main() {\n"
    "    vec4 sum = vec4(0.0);\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0]) * 0.398943;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[1]) * 0.295963;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[2]) * 0.295963;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[3]) * 0.004566;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[4]) * 0.004566;\n"
    "    \n"
    "    gl_FragColor = sum * u_color;\n"
    "}\n";

constexpr const char* kVertex2 =
    "uniform mat4 u_transformProjectionMatrix;\n"
    "uniform vec2 u_texelSize;\n"
    "\n"
    "attribute vec4 a_position;\n"
    "attribute vec2 a_texCoord;\n"
    "\n"
    "varying vec2 blurCoordinates[7];\n"
    "\n"
    "void main() {\n"
    "    gl_Position = u_transformProjectionMatrix * a_position;\n"
    "    \n"
    "    vec2 singleStepOffset = u_texelSize;\n"
    "    blurCoordinates[0] = a_texCoord;\n"
    "    blurCoordinates[1] = a_texCoord + singleStepOffset * 1.407333;\n"
    "    blurCoordinates[2] = a_texCoord - singleStepOffset * 1.407333;\n"
    "    blurCoordinates[3] = a_texCoord + singleStepOffset * 3.294215;\n"
    "    blurCoordinates[4] = a_texCoord - singleStepOffset * 3.294215;\n"
    "    blurCoordinates[5] = a_texCoord + singleStepOffset * 5.201813;\n"
    "    blurCoordinates[6] = a_texCoord - singleStepOffset * 5.201813;\n"
    "}\n";

constexpr const char* kFragment2 =
    "precision highp float;\n"
    "precision highp int;\n"
    "uniform sampler2D u_sampler;\n"
    "uniform lowp vec4 u_color;\n"
    "uniform highp vec2 u_texelSize;\n"
    "\n"
    "varying vec2 blurCoordinates[7];\n"
    "\n"
    "void main() {\n"
    "    vec4 sum = vec4(0.0);\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0]) * 0.199676;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[1]) * 0.297323;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[2]) * 0.297323;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[3]) * 0.091848;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[4]) * 0.091848;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[5]) * 0.010991;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[6]) * 0.010991;\n"
    "    \n"
    "    gl_FragColor = sum * u_color;\n"
    "}\n";

constexpr const char* kVertex8 =
    "uniform mat4 u_transformProjectionMatrix;\n"
    "uniform vec2 u_texelSize;\n"
    "\n"
    "attribute vec4 a_position;\n"
    "attribute vec2 a_texCoord;\n"
    "\n"
    "varying vec2 blurCoordinates[15];\n"
    "\n"
    "void main() {\n"
    "    gl_Position = u_transformProjectionMatrix * a_position;\n"
    "    \n"
    "    vec2 singleStepOffset = u_texelSize;\n"
    "    blurCoordinates[0] = a_texCoord;\n"
    "    blurCoordinates[1] = a_texCoord + singleStepOffset * 1.494141;\n"
    "    blurCoordinates[2] = a_texCoord - singleStepOffset * 1.494141;\n"
    "    blurCoordinates[3] = a_texCoord + singleStepOffset * 3.486331;\n"
    "    blurCoordinates[4] = a_texCoord - singleStepOffset * 3.486331;\n"
    "    blurCoordinates[5] = a_texCoord + singleStepOffset * 5.478528;\n"
    "    blurCoordinates[6] = a_texCoord - singleStepOffset * 5.478528;\n"
    "    blurCoordinates[7] = a_texCoord + singleStepOffset * 7.470737;\n"
    "    blurCoordinates[8] = a_texCoord - singleStepOffset * 7.470737;\n"
    "    blurCoordinates[9] = a_texCoord + singleStepOffset * 9.462959;\n"
    "    blurCoordinates[10] = a_texCoord - singleStepOffset * 9.462959;\n"
    "    blurCoordinates[11] = a_texCoord + singleStepOffset * 11.455199;\n"
    "    blurCoordinates[12] = a_texCoord - singleStepOffset * 11.455199;\n"
    "    blurCoordinates[13] = a_texCoord + singleStepOffset * 13.447460;\n"
    "    blurCoordinates[14] = a_texCoord - singleStepOffset * 13.447460;\n"
    "}\n";

constexpr const char* kFragment8 =
    "precision highp float;\n"
    "precision highp int;\n"
    "uniform sampler2D u_sampler;\n"
    "uniform lowp vec4 u_color;\n"
    "uniform highp vec2 u_texelSize;\n"
    "\n"
    "varying vec2 blurCoordinates[15];\n"
    "\n"
    "void main() {\n"
    "    vec4 sum = vec4(0.0);\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0]) * 0.050920;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[1]) * 0.099877;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[2]) * 0.099877;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[3]) * 0.092400;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[4]) * 0.092400;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[5]) * 0.080322;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[6]) * 0.080322;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[7]) * 0.065609;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[8]) * 0.065609;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[9]) * 0.050356;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[10]) * 0.050356;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[11]) * 0.036317;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[12]) * 0.036317;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[13]) * 0.024611;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[14]) * 0.024611;\n"
    "    \n"
    "    vec2 singleStepOffset = u_texelSize;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0] + singleStepOffset * 15.439748) * 0.015671;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0] - singleStepOffset * 15.439748) * 0.015671;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0] + singleStepOffset * 17.432064) * 0.009376;\n"
    "    sum += texture2D(u_sampler, blurCoordinates[0] - singleStepOffset * 17.432064) * 0.009376;\n"
    "    \n"
    "    gl_FragColor = sum * u_color;\n"
    "}\n";

// clang-format on

/// Appends what printf makes of a format.
template <class... Arguments>
void append(std::string& text, const char* format, Arguments... arguments) {
    if constexpr (sizeof...(arguments) == 0) {
        text += format;
    } else {
        char buffer[1024];
        std::snprintf(buffer, sizeof buffer, format, arguments...);
        text += buffer;
    }
}

/// The same sources by another way: taps as they come, from the outside to the centre and back, and
/// printf for the numbers.
struct Reference {
    std::string vertex;
    std::string fragment;

    explicit Reference(int radius) {
        const double variance = static_cast<double>(radius) * radius;
        int n = static_cast<int>(
            std::floor(std::sqrt(-2 * variance * std::log(std::sqrt(2 * M_PI * variance) / 256))));
        n = (n + 1) / 2 * 2;
        std::vector<float> w;
        for (int i = 0; i <= n; ++i) {
            w.push_back(static_cast<float>(1 / std::sqrt(2 * M_PI * variance) *
                                           std::exp(-i * i / (2 * variance))));
        }
        float total = w[0];
        for (int i = 1; i <= n; ++i) {
            total = total + 2 * w[static_cast<std::size_t>(i)];
        }
        for (auto& weight : w) {
            weight = weight / total;
        }
        const int all = n / 2;
        const int used = all > 7 ? 7 : all;

        append(vertex,
               "uniform mat4 u_transformProjectionMatrix;\nuniform vec2 u_texelSize;\n\n"
               "attribute vec4 a_position;\nattribute vec2 a_texCoord;\n\n"
               "varying vec2 blurCoordinates[%lu];\n\nvoid main() {\n"
               "    gl_Position = u_transformProjectionMatrix * a_position;\n    \n"
               "    vec2 singleStepOffset = u_texelSize;\n",
               2UL * static_cast<unsigned long>(used) + 1);
        append(vertex, "    blurCoordinates[0] = a_texCoord;\n");
        append(fragment,
               "precision highp float;\nprecision highp int;\nuniform sampler2D u_sampler;\n"
               "uniform lowp vec4 u_color;\nuniform highp vec2 u_texelSize;\n\n"
               "varying vec2 blurCoordinates[%lu];\n\nvoid main() {\n"
               "    vec4 sum = vec4(0.0);\n",
               2UL * static_cast<unsigned long>(used) + 1);
        append(fragment, "    sum += texture2D(u_sampler, blurCoordinates[0]) * %f;\n",
               static_cast<double>(w[0]));
        for (int i = 0; i < all; ++i) {
            const float a = w[static_cast<std::size_t>(2 * i + 1)];
            const float b = w[static_cast<std::size_t>(2 * i + 2)];
            const auto both = static_cast<double>(a + b);
            const float moment =
                static_cast<float>(2 * i + 1) * a + static_cast<float>(2 * i + 2) * b;
            const auto offset = static_cast<double>(moment / (a + b));
            if (i == used) {
                append(fragment, "    \n    vec2 singleStepOffset = u_texelSize;\n");
            }
            for (int side = 0; side < 2; ++side) {
                const char sign = side == 0 ? '+' : '-';
                const unsigned long index =
                    2UL * static_cast<unsigned long>(i) + 1 + static_cast<unsigned long>(side);
                if (i < used) {
                    append(vertex,
                           "    blurCoordinates[%lu] = a_texCoord %c singleStepOffset * %f;\n",
                           index, sign, offset);
                    append(fragment,
                           "    sum += texture2D(u_sampler, blurCoordinates[%lu]) * %f;\n", index,
                           both);
                } else {
                    append(fragment,
                           "    sum += texture2D(u_sampler, blurCoordinates[0] %c "
                           "singleStepOffset * %f) * %f;\n",
                           sign, offset, both);
                }
            }
        }
        append(vertex, "}\n");
        append(fragment, "    \n    gl_FragColor = sum * u_color;\n}\n");
    }
};

std::size_t count(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++found;
    }
    return found;
}

/// The last number of each line that has the part: the weights of what is read there.
std::vector<double> weightsOf(const std::string& fragment) {
    std::vector<double> result;
    for (std::size_t at = fragment.find("sum += "); at != std::string::npos;
         at = fragment.find("sum += ", at + 1)) {
        const std::string line = fragment.substr(at, fragment.find(';', at) - at);
        result.push_back(std::stod(line.substr(line.rfind('*') + 1)));
    }
    return result;
}

}  // namespace

TEST(BlurShaderSourcesTest, theSourcesOfAFewRadiiAreAsWrittenOutByHand) {
    EXPECT_EQ(blurShaderSources(1).vertex, kVertex1);
    EXPECT_EQ(blurShaderSources(1).fragment, kFragment1);
    EXPECT_EQ(blurShaderSources(2).vertex, kVertex2);
    EXPECT_EQ(blurShaderSources(2).fragment, kFragment2);
    EXPECT_EQ(blurShaderSources(8).vertex, kVertex8);
    EXPECT_EQ(blurShaderSources(8).fragment, kFragment8);
}

TEST(BlurShaderSourcesTest, theSourcesOfEveryUsableRadiusAreThoseOfTheReference) {
    for (int radius = 1; radius <= 102; ++radius) {
        const auto sources = blurShaderSources(static_cast<float>(radius));
        const Reference reference(radius);
        EXPECT_EQ(sources.vertex, reference.vertex) << "radius " << radius;
        EXPECT_EQ(sources.fragment, reference.fragment) << "radius " << radius;
    }
}

TEST(BlurShaderSourcesTest, theRadiusIsRoundedHalvesAwayFromZero) {
    EXPECT_EQ(blurShaderSources(0.5F).fragment, blurShaderSources(1).fragment);
    EXPECT_EQ(blurShaderSources(1.4F).fragment, blurShaderSources(1).fragment);
    EXPECT_EQ(blurShaderSources(1.5F).fragment, blurShaderSources(2).fragment);
    EXPECT_EQ(blurShaderSources(102.4F).fragment, blurShaderSources(102).fragment);
}

TEST(BlurShaderSourcesTest, aRadiusThatIsNotUsableMakesEmptySources) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    for (const float radius :
         {0.4F, 0.0F, -0.0F, -1.0F, -8.0F, 102.5F, 103.0F, 1e30F, kInfinity, -kInfinity,
          std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::max()}) {
        EXPECT_EQ(blurShaderSources(radius).vertex, "") << radius;
        EXPECT_EQ(blurShaderSources(radius).fragment, "") << radius;
    }
}

TEST(BlurShaderSourcesTest, aRadiusOfEightHasFifteenVaryingsAndTwoPairsMoreInTheFragmentStage) {
    const auto sources = blurShaderSources(8);
    EXPECT_EQ(count(sources.vertex, "varying vec2 blurCoordinates[15];"), 1U);
    EXPECT_EQ(count(sources.fragment, "varying vec2 blurCoordinates[15];"), 1U);
    EXPECT_EQ(count(sources.fragment, "blurCoordinates[0] + singleStepOffset"), 2U);
    EXPECT_EQ(count(sources.fragment, "blurCoordinates[0] - singleStepOffset"), 2U);
    EXPECT_EQ(weightsOf(sources.fragment).size(), 19U);
}

TEST(BlurShaderSourcesTest, theNumberOfTapsFollowsTheRadius) {
    const auto pairs = [](float radius) {
        return (weightsOf(blurShaderSources(radius).fragment).size() - 1) / 2;
    };
    EXPECT_EQ(pairs(1), 2U);
    EXPECT_EQ(pairs(2), 3U);
    EXPECT_EQ(pairs(4), 5U);
    EXPECT_EQ(pairs(8), 9U);
    EXPECT_EQ(pairs(102), 3U);
}

TEST(BlurShaderSourcesTest, theWeightsOfTheFragmentStageSumToOne) {
    for (int radius = 1; radius <= 102; ++radius) {
        double sum = 0;
        const auto weights = weightsOf(blurShaderSources(static_cast<float>(radius)).fragment);
        for (const double weight : weights) {
            sum += weight;
        }
        // Each is rounded to six decimals.
        EXPECT_NEAR(sum, 1, 5e-7 * static_cast<double>(weights.size() + 1)) << radius;
    }
}

TEST(BlurShaderSourcesTest, numbersHaveAPointWhateverTheLocale) {
    const std::string expected = blurShaderSources(8).fragment;
    const std::string before = std::setlocale(LC_ALL, nullptr);
    bool found = false;
    for (const char* const locale : {"de_DE.UTF-8", "fr_FR.UTF-8", "nl_NL.UTF-8", "de_DE.utf8"}) {
        found = found || std::setlocale(LC_ALL, locale) != nullptr;
    }
    if (!found) {
        GTEST_SKIP() << "no locale with a decimal comma is installed";
    }
    const std::string actual = blurShaderSources(8).fragment;
    std::setlocale(LC_ALL, before.c_str());
    EXPECT_EQ(actual, expected);
}
