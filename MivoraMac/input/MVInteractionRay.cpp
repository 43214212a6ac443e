#include "MivoraMac/input/MVInteractionRayPrivate.h"

#include <cmath>
#include <cstdint>
#include <limits>

#include "MivoraMac/views/MVWindow.h"

namespace {

/// A length in whole pixels, truncated toward zero; NaN counts as 0 and what is too large as the
/// largest number there is, because converting those is undefined.
std::int32_t wholePixels(float pixels) {
    constexpr float kLimit = 2147483648.0F;
    if (std::isnan(pixels)) {
        return 0;
    }
    if (pixels >= kLimit) {
        return std::numeric_limits<std::int32_t>::max();
    }
    return pixels < -kLimit ? std::numeric_limits<std::int32_t>::min()
                            : static_cast<std::int32_t>(pixels);
}

}  // namespace

Mivora::Ray3 MVInteractionRay::throughPoint(MVWindow* window, Mivora::Point2 point) {
    if (window == nullptr) {
        return Mivora::Ray3::kZero;
    }
    const Mivora::Size2 size = window->size();
    const float scale = window->contentScaleFactor();
    // The point stays in points: the window takes care of its pixels.
    return window->mv_unprojectScreenPointViewport(
        point, {0, 0, wholePixels(size.width * scale), wholePixels(size.height * scale)});
}
