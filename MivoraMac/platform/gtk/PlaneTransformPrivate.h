#pragma once

#include <algorithm>
#include <cmath>
#include <glm/mat4x4.hpp>
#include <glm/vec2.hpp>
#include <glm/vec4.hpp>
#include <numbers>
#include <optional>

namespace Mivora::platform {

/// Where a flat thing comes to lie that is turned and seen in space but stays a parallelogram:
/// first scaled, then sheared, turned and moved. Renderers draw that more sharply than what is in
/// space, and some draw nothing else.
struct PlaneTransform {
    double x = 0;
    double y = 0;
    double degrees = 0;       ///< of the x axis
    double shearDegrees = 0;  ///< of the y axis, to the right
    double scaleX = 1;        ///< not negative
    double scaleY = 1;        ///< negative where it is seen from behind

    /// Whether it has an area.
    bool isSeen() const { return scaleX != 0 && scaleY != 0; }

    /// @param matrix  of a rectangle at the origin whose z is 0
    /// @param tolerance  how far corners may be off, in points; what is closer than this to being
    ///                   only moved is only moved. Infinite for the parallelogram of three corners
    /// @return nothing where it becomes none
    static std::optional<PlaneTransform> of(const glm::dmat4& matrix, double width, double height,
                                            double tolerance);
};

inline std::optional<PlaneTransform> PlaneTransform::of(const glm::dmat4& matrix, double width,
                                                        double height, double tolerance) {
    const auto corner = [&](double toTheRight, double toTheBottom) {
        const glm::dvec4 seen = matrix * glm::dvec4(toTheRight, toTheBottom, 0, 1);
        return glm::dvec2(seen) / seen.w;
    };
    const glm::dvec2 origin = corner(0, 0);
    const glm::dvec2 right = corner(width, 0) - origin;
    const glm::dvec2 down = corner(0, height) - origin;
    // Written so that numbers which are none are none.
    if (!(glm::distance(corner(width, height), origin + right + down) <= tolerance)) {
        return std::nullopt;
    }
    constexpr double kNoticed = 0.01;
    if (glm::distance(right, {width, 0}) < kNoticed &&
        glm::distance(down, {0, height}) < kNoticed) {
        return PlaneTransform{origin.x, origin.y};
    }
    const double length = glm::length(right);
    if (length == 0) {
        return PlaneTransform{origin.x, origin.y, 0, 0, 0, 0};
    }
    const glm::dvec2 along = right / length;
    const double across = along.x * down.y - along.y * down.x;
    constexpr double kDegrees = 180 / std::numbers::pi;
    return PlaneTransform{origin.x,
                          origin.y,
                          std::atan2(along.y, along.x) * kDegrees,
                          across == 0 ? 0 : std::atan(glm::dot(along, down) / across) * kDegrees,
                          length / width,
                          across / height};
}

}  // namespace Mivora::platform
