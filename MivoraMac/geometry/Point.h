#pragma once

#include <cstdint>
#include <limits>

#include "MivoraMac/Export.h"

/// The value types of geometry and colour, and in `platform` what a desktop supplies.
namespace Mivora {

/// A point or vector in the plane.
///
/// The unit and the space are those of the interface that carries it; most are points of a view's
/// content. A plain aggregate: `Point2 p;` leaves the components unset, `Point2 p{};` zeroes them.
///
/// Two are equal when each component is equal as a float: NaN equals nothing, -0 equals 0 and
/// infinity equals infinity. The operators work on each component and never fail; NaN and infinity
/// go through them as they go through float arithmetic.
struct MIVORA_EXPORT Point2 {
    /// The horizontal component.
    float x;
    /// The vertical component.
    float y;

    /// Both components 0.
    static const Point2 kZero;
    /// Both components positive infinity: a point that does not exist. Equal to itself, and never
    /// equal to a finite point.
    static const Point2 kNull;

    /// Compares component by component.
    bool operator==(const Point2&) const = default;

    /// The sum of two vectors.
    friend constexpr Point2 operator+(Point2 a, Point2 b) { return {a.x + b.x, a.y + b.y}; }
    /// The vector from `b` to `a`.
    friend constexpr Point2 operator-(Point2 a, Point2 b) { return {a.x - b.x, a.y - b.y}; }
    /// The opposite vector.
    friend constexpr Point2 operator-(Point2 a) { return {-a.x, -a.y}; }
    /// The vector made `factor` times as long.
    friend constexpr Point2 operator*(Point2 a, float factor) {
        return {a.x * factor, a.y * factor};
    }
};

inline constexpr Point2 Point2::kZero{0.0F, 0.0F};
inline constexpr Point2 Point2::kNull{std::numeric_limits<float>::infinity(),
                                      std::numeric_limits<float>::infinity()};

/// A point on an integer grid, such as a pixel of a texture.
///
/// A plain aggregate, with the components unset unless initialised; equal when both are equal.
struct MIVORA_EXPORT Point2I {
    /// The horizontal component.
    std::int32_t x;
    /// The vertical component.
    std::int32_t y;

    /// Both components 0.
    static const Point2I kZero;

    /// Compares component by component.
    bool operator==(const Point2I&) const = default;
};

inline constexpr Point2I Point2I::kZero{0, 0};

/// A point in the plane in double precision, for sums over many small steps.
///
/// A plain aggregate, with the components unset unless initialised; equal when both are equal, so
/// NaN equals nothing.
struct MIVORA_EXPORT Point2D {
    /// The horizontal component.
    double x;
    /// The vertical component.
    double y;

    /// Both components 0.
    static const Point2D kZero;

    /// Compares component by component.
    bool operator==(const Point2D&) const = default;
};

inline constexpr Point2D Point2D::kZero{0.0, 0.0};

/// A point in space; also a direction, a rotation (radians about each axis) or a scale per axis.
///
/// The unit and the space are those of the interface that carries it. A plain aggregate:
/// `Point3 p;` leaves the components unset, `Point3 p{};` zeroes them.
///
/// Two are equal when each component is equal as a float: NaN equals nothing, -0 equals 0 and
/// infinity equals infinity. The operators work on each component and never fail; NaN and infinity
/// go through them as they go through float arithmetic.
struct MIVORA_EXPORT Point3 {
    /// The component along the x axis.
    float x;
    /// The component along the y axis.
    float y;
    /// The component along the z axis.
    float z;

    /// Every component 0.
    static const Point3 kZero;
    /// Every component positive infinity: a point that does not exist. Equal to itself, and never
    /// equal to a finite point.
    static const Point3 kNull;

    /// Compares component by component.
    bool operator==(const Point3&) const = default;

    /// The sum of two vectors.
    friend constexpr Point3 operator+(Point3 a, Point3 b) {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    /// The vector from `b` to `a`.
    friend constexpr Point3 operator-(Point3 a, Point3 b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    /// The opposite vector.
    friend constexpr Point3 operator-(Point3 a) { return {-a.x, -a.y, -a.z}; }
    /// The vector made `factor` times as long.
    friend constexpr Point3 operator*(Point3 a, float factor) {
        return {a.x * factor, a.y * factor, a.z * factor};
    }
};

inline constexpr Point3 Point3::kZero{0.0F, 0.0F, 0.0F};
inline constexpr Point3 Point3::kNull{std::numeric_limits<float>::infinity(),
                                      std::numeric_limits<float>::infinity(),
                                      std::numeric_limits<float>::infinity()};

}  // namespace Mivora
