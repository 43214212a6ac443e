#pragma once

#include <MivoraMac/MivoraMac.h>
#include <cmath>

/// A colour by hue, saturation and brightness, all 0 to 1; the hue may be anything and wraps.
inline Mivora::ColorRGBA hsb(float hue, float saturation, float brightness, float alpha = 1) {
    return MVColorHSBAToColorRGBA({hue - std::floor(hue), saturation, brightness, alpha});
}
