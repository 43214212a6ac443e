#pragma once

#include <cstdint>

#include "MivoraMac/Export.h"

namespace Mivora {

/// The rectangle of window coordinates, mostly pixels, that a projection fills.
///
/// Four consecutive 32-bit integers, in the order OpenGL takes them. A plain aggregate, with the
/// fields unset unless initialised; equal when all four fields are equal.
struct MIVORA_EXPORT Viewport {
    /// The left edge.
    std::int32_t x;
    /// The edge where the vertical axis starts: the bottom one by OpenGL's convention.
    std::int32_t y;
    /// The extent along x.
    std::int32_t width;
    /// The extent along y.
    std::int32_t height;

    /// Compares field by field.
    bool operator==(const Viewport&) const = default;
};

}  // namespace Mivora
