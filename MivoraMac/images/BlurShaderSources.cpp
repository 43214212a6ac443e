#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <string_view>
#include <vector>

#include "MivoraMac/images/BlurShaderSourcesPrivate.h"

namespace Mivora {

namespace {

/// The smallest weight that still counts: what changes a component of 8 bits.
constexpr double kLeastWeight = 1.0 / 256.0;

/// As many pairs of taps as varyings are sure to suffice for, beside the one of the centre.
constexpr std::size_t kMostVaryingPairs = 7;

/// How many taps on one side of the centre have a weight that counts, rounded up to an even
/// number; 0 where even the centre's has none.
std::size_t sampleRadius(double sigma) {
    const double pi = std::numbers::pi;
    const double squared =
        -2.0 * sigma * sigma * std::log(kLeastWeight * std::sqrt(2.0 * pi * sigma * sigma));
    if (!(squared > 0.0)) {
        return 0;
    }
    const auto taps = static_cast<std::size_t>(std::floor(std::sqrt(squared)));
    return taps + taps % 2;
}

/// The weights of the centre and of the taps on one side, which sum to 1 over both sides.
std::vector<float> weights(double sigma, std::size_t taps) {
    std::vector<float> result(taps + 1);
    float total = 0.0F;
    for (std::size_t i = 0; i <= taps; ++i) {
        const auto x = static_cast<double>(i);
        result[i] = static_cast<float>(std::exp(-x * x / (2.0 * sigma * sigma)) /
                                       std::sqrt(2.0 * std::numbers::pi * sigma * sigma));
        total += i == 0 ? result[i] : 2.0F * result[i];
    }
    for (float& weight : result) {
        weight /= total;
    }
    return result;
}

/// Two neighbouring taps, read at once between their pixels.
struct TapPair {
    float weight;
    float offset;  ///< in pixels from the centre
};

std::vector<TapPair> tapPairs(const std::vector<float>& weights) {
    std::vector<TapPair> result;
    for (std::size_t near = 1; near + 1 < weights.size(); near += 2) {
        const std::size_t far = near + 1;
        const float weight = weights[near] + weights[far];
        result.push_back({weight, (static_cast<float>(near) * weights[near] +
                                   static_cast<float>(far) * weights[far]) /
                                      weight});
    }
    return result;
}

std::string number(std::size_t value) {
    return std::to_string(value);
}

/// With six decimals and a point, whatever the locale.
std::string number(float value) {
    std::array<char, 64> text;
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, 6);
    return {text.data(), end.ptr};
}

/// Replaces each `%` of a pattern by the next number.
template <class... Numbers>
std::string format(std::string_view pattern, Numbers... numbers) {
    const std::array<std::string, sizeof...(Numbers)> texts{number(numbers)...};
    std::string result;
    std::size_t next = 0;
    for (const char c : pattern) {
        if (c == '%') {
            result += texts.at(next++);
        } else {
            result += c;
        }
    }
    return result;
}

std::string vertexSource(const std::vector<TapPair>& pairs, std::size_t varyingPairs) {
    std::string source = format(
        "uniform mat4 u_transformProjectionMatrix;\n"
        "uniform vec2 u_texelSize;\n"
        "\n"
        "attribute vec4 a_position;\n"
        "attribute vec2 a_texCoord;\n"
        "\n"
        "varying vec2 blurCoordinates[%];\n"
        "\n"
        "void main() {\n"
        "    gl_Position = u_transformProjectionMatrix * a_position;\n"
        "    \n"
        "    vec2 singleStepOffset = u_texelSize;\n",
        2 * varyingPairs + 1);
    source += "    blurCoordinates[0] = a_texCoord;\n";
    for (std::size_t i = 0; i < varyingPairs; ++i) {
        source += format(
            "    blurCoordinates[%] = a_texCoord + singleStepOffset * %;\n"
            "    blurCoordinates[%] = a_texCoord - singleStepOffset * %;\n",
            2 * i + 1, pairs[i].offset, 2 * i + 2, pairs[i].offset);
    }
    return source + "}\n";
}

std::string fragmentSource(float centre, const std::vector<TapPair>& pairs,
                           std::size_t varyingPairs) {
    std::string source = format(
        "precision highp float;\n"
        "precision highp int;\n"
        "uniform sampler2D u_sampler;\n"
        "uniform lowp vec4 u_color;\n"
        "uniform highp vec2 u_texelSize;\n"
        "\n"
        "varying vec2 blurCoordinates[%];\n"
        "\n"
        "void main() {\n"
        "    vec4 sum = vec4(0.0);\n",
        2 * varyingPairs + 1);
    source += format("    sum += texture2D(u_sampler, blurCoordinates[0]) * %;\n", centre);
    for (std::size_t i = 0; i < varyingPairs; ++i) {
        source += format(
            "    sum += texture2D(u_sampler, blurCoordinates[%]) * %;\n"
            "    sum += texture2D(u_sampler, blurCoordinates[%]) * %;\n",
            2 * i + 1, pairs[i].weight, 2 * i + 2, pairs[i].weight);
    }
    source += "    \n";
    if (pairs.size() > varyingPairs) {
        source += "    vec2 singleStepOffset = u_texelSize;\n";
        for (std::size_t i = varyingPairs; i < pairs.size(); ++i) {
            source += format(
                "    sum += texture2D(u_sampler, blurCoordinates[0] + singleStepOffset * %) * %;\n"
                "    sum += texture2D(u_sampler, blurCoordinates[0] - singleStepOffset * %) * %;\n",
                pairs[i].offset, pairs[i].weight, pairs[i].offset, pairs[i].weight);
        }
        source += "    \n";
    }
    return source +
           "    gl_FragColor = sum * u_color;\n"
           "}\n";
}

}  // namespace

BlurShaderSources blurShaderSources(float radius) {
    const float rounded = std::round(radius);
    if (!(rounded >= 1.0F) || !std::isfinite(rounded)) {
        return {};
    }
    const std::size_t taps = sampleRadius(rounded);
    if (taps == 0) {
        return {};
    }
    const std::vector<float> tapWeights = weights(rounded, taps);
    const std::vector<TapPair> pairs = tapPairs(tapWeights);
    const std::size_t varyingPairs = std::min(pairs.size(), kMostVaryingPairs);
    return {vertexSource(pairs, varyingPairs), fragmentSource(tapWeights[0], pairs, varyingPairs)};
}

}  // namespace Mivora
