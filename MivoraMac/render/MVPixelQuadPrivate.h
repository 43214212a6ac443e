#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <optional>

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/platform/gl/PixelRegion.h"

/// Where the corners of a quad come to lie, in pixels of the framebuffer.
struct MVPixelQuad {
    struct Point {
        float x = 0;
        float y = 0;
    };

    /// The outermost of four samples lie an eighth of a pixel within its edge: so close to whole
    /// pixels, an edge parts none.
    static constexpr float kSlack = 1.0F / 16;

    std::array<Point, 4> corners;  ///< (0, 0), (width, 0), (0, height), (width, height)

    /// @param matrix    from the quad's space to clip space
    /// @param viewport  its left and lower edge, width and height
    /// @return none where the near or far plane cuts the quad, or it reaches out of all proportion
    static std::optional<MVPixelQuad> of(const Mivora::Float4x4& matrix, Mivora::Size2 size,
                                         const std::array<int, 4>& viewport) {
        constexpr float kMost = 1 << 20;
        MVPixelQuad quad;
        for (std::size_t i = 0; i < quad.corners.size(); ++i) {
            const Mivora::Float4 corner = (matrix.column[0] * (i % 2 != 0 ? size.width : 0.0F) +
                                           matrix.column[1] * (i / 2 != 0 ? size.height : 0.0F)) +
                                          matrix.column[3];
            Point& place = quad.corners[i];
            place.x = pixelsOf(corner[0] / corner[3], viewport[0], viewport[2]);
            place.y = pixelsOf(corner[1] / corner[3], viewport[1], viewport[3]);
            if (!(std::abs(corner[2]) < corner[3] && std::abs(place.x) < kMost &&
                  std::abs(place.y) < kMost)) {
                return std::nullopt;
            }
        }
        return quad;
    }

    /// Where a point in normalised device coordinates comes to lie.
    static float pixelsOf(float coordinate, int low, int extent) {
        return static_cast<float>(low) + (coordinate + 1) * 0.5F * static_cast<float>(extent);
    }

    /// The pixels that it covers with all their samples if it is upright; else none.
    Mivora::platform::PixelBox cover() const {
        constexpr float kUpright = 1.0F / 64;
        const auto& [a, b, c, d] = corners;
        const auto isClose = [](float one, float other) {
            return std::abs(one - other) <= kUpright;
        };
        if (!isClose(a.x, c.x) || !isClose(b.x, d.x) || !isClose(a.y, b.y) || !isClose(c.y, d.y)) {
            return {};
        }
        const auto firstWhole = [](float low) {
            return static_cast<int>(std::ceil(low + kUpright - kSlack));
        };
        const auto lastWhole = [](float high) {
            return static_cast<int>(std::floor(high - kUpright + kSlack));
        };
        return {firstWhole(std::min(a.x, b.x)), firstWhole(std::min(a.y, c.y)),
                lastWhole(std::max(a.x, b.x)), lastWhole(std::max(a.y, c.y))};
    }
};
