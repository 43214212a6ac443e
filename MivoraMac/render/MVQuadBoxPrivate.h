#pragma once

#include <algorithm>
#include <cmath>
#include <optional>

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/geometry/Size.h"

/// The smallest upright rectangle around quads, in normalised device coordinates: -1 to 1 is what
/// the viewport shows.
struct MVQuadBox {
    float left = 0;
    float right = 0;
    float bottom = 0;
    float top = 0;
    bool isClipped = false;  ///< Whether clipping leaves only a part of them.

    /// The box of a rectangle.
    /// @param matrix  from the rectangle's space to clip space
    /// @return none where the rectangle reaches so far beyond the viewport, or behind the eye, that
    ///         rounding decides what clipping leaves of it
    static std::optional<MVQuadBox> of(const Mivora::Float4x4& matrix, Mivora::Size2 size) {
        constexpr float kMost = 16;
        const Mivora::Float4 right = matrix.column[0] * size.width;
        const Mivora::Float4 bottom = matrix.column[1] * size.height;
        const Mivora::Float4 origin = matrix.column[3];
        MVQuadBox box{kMost, -kMost, kMost, -kMost};
        // Added up as the corners that are drawn.
        for (const Mivora::Float4& corner :
             {origin, right + origin, bottom + origin, right + bottom + origin}) {
            const float w = corner[3];
            const float x = corner[0] / w;
            const float y = corner[1] / w;
            if (!(w > 0 && std::abs(x) < kMost && std::abs(y) < kMost)) {
                return std::nullopt;
            }
            const bool isInside = std::abs(x) < 1 && std::abs(y) < 1 && std::abs(corner[2]) < w;
            box.include({x, x, y, y, !isInside});
        }
        return box;
    }

    /// Grows it so that another one lies within.
    void include(const MVQuadBox& other) {
        left = std::min(left, other.left);
        right = std::max(right, other.right);
        bottom = std::min(bottom, other.bottom);
        top = std::max(top, other.top);
        isClipped |= other.isClipped;
    }

    /// Whether there is a gap between it and another one.
    /// @param width   that the gap has to have, or
    /// @param height  this
    bool isApartFrom(const MVQuadBox& other, float width, float height) const {
        return left - other.right > width || other.left - right > width ||
               bottom - other.top > height || other.bottom - top > height;
    }
};
