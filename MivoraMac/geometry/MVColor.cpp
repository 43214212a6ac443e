#include "MivoraMac/geometry/MVColor.h"

Mivora::ColorHSB MVColorRGBToColorHSB(Mivora::ColorRGB color) {
    return color.ToHSB();
}

Mivora::ColorHSBA MVColorRGBAToColorHSBA(Mivora::ColorRGBA color) {
    return color.ToHSBA();
}

Mivora::ColorRGB MVColorHSBToColorRGB(Mivora::ColorHSB color) {
    return color.ToRGB();
}

Mivora::ColorRGBA MVColorHSBAToColorRGBA(Mivora::ColorHSBA color) {
    return color.ToRGBA();
}
