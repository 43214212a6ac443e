#include "MivoraMac/geometry/Color.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mivora {

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

/// Leaves NaN, which is neither below 0 nor above 1, as it is.
float clampedToUnit(float value) {
    return value < 0.0F ? 0.0F : value > 1.0F ? 1.0F : value;
}

/// The hue of a colour that is not grey.
float hueOf(ColorRGB color, float max, float delta) {
    float sixths = 0.0F;
    if (color.red == max) {
        sixths = (color.green - color.blue) / delta;
    } else if (color.green == max) {
        sixths = (color.blue - color.red) / delta + 2.0F;
    } else {
        sixths = (color.red - color.green) / delta + 4.0F;
    }
    // Within -1/6 to 5/6, as no difference exceeds the largest one.
    const float hue = sixths / 6.0F;
    return hue < 0.0F ? hue + 1.0F : hue;
}

}  // namespace

ColorHSB ColorRGB::ToHSB() const {
    if (std::isnan(red) || std::isnan(green) || std::isnan(blue)) {
        return {kNaN, kNaN, kNaN};
    }
    const float max = std::max({red, green, blue});
    const float min = std::min({red, green, blue});
    const float delta = max - min;
    const float saturation = max != 0.0F ? delta / max : 0.0F;
    const float hue = delta == 0.0F ? 0.0F : hueOf(*this, max, delta);
    return {hue, saturation, max};
}

ColorHSBA ColorRGBA::ToHSBA() const {
    const ColorHSB converted = ColorRGB{red, green, blue}.ToHSB();
    return {converted.hue, converted.saturation, converted.brightness, alpha};
}

ColorRGB ColorHSB::ToRGB() {
    hue = clampedToUnit(hue);
    saturation = clampedToUnit(saturation);
    brightness = clampedToUnit(brightness);
    if (saturation == 0.0F) {
        return {brightness, brightness, brightness};
    }
    if (hue == 1.0F) {
        hue = 0.0F;
    }
    if (std::isnan(hue)) {
        return {kNaN, kNaN, kNaN};
    }
    // In double precision: as a float, a hue just below 5/6 would round up into the next sector.
    const double sixths = static_cast<double>(hue) * 6.0;
    const int sector = static_cast<int>(sixths);
    const float f = static_cast<float>(sixths - sector);
    const float v = brightness;
    const float p = (1.0F - saturation) * v;
    const float q = (1.0F - saturation * f) * v;
    const float t = (1.0F - (1.0F - f) * saturation) * v;
    switch (sector) {
        case 0:
            return {v, t, p};
        case 1:
            return {q, v, p};
        case 2:
            return {p, v, t};
        case 3:
            return {p, q, v};
        case 4:
            return {t, p, v};
        default:
            return {v, p, q};
    }
}

ColorRGBA ColorHSBA::ToRGBA() const {
    const ColorRGB converted = ColorHSB{hue, saturation, brightness}.ToRGB();
    return {converted.red, converted.green, converted.blue, alpha};
}

}  // namespace Mivora
