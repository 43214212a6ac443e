#pragma once

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"

namespace Mivora {

/// A ray in the plane: the points `startPoint + direction * t`.
///
/// The direction need not have unit length; t counts in units of it. A plain aggregate, with the
/// components unset unless initialised; equal when all four components are equal as floats.
struct MIVORA_EXPORT Ray2 {
    /// Where the ray starts.
    Point2 startPoint;
    /// Where it goes, of any length.
    Point2 direction;

    /// Every component 0.
    static const Ray2 kZero;
    /// Every component positive infinity: a ray that does not exist. Equal to itself, and never
    /// equal to a ray with a finite component.
    static const Ray2 kNull;

    /// Compares component by component.
    bool operator==(const Ray2&) const = default;
};

inline constexpr Ray2 Ray2::kZero{Point2::kZero, Point2::kZero};
inline constexpr Ray2 Ray2::kNull{Point2::kNull, Point2::kNull};

/// A ray in space: the points `startPoint + direction * t`. Pointer input travels as such rays.
///
/// The direction need not have unit length; t counts in units of it. A plain aggregate, with the
/// components unset unless initialised; equal when all six components are equal as floats.
struct MIVORA_EXPORT Ray3 {
    /// Where the ray starts.
    Point3 startPoint;
    /// Where it goes, of any length.
    Point3 direction;

    /// Every component 0.
    static const Ray3 kZero;
    /// Every component positive infinity: a ray that does not exist. Comparing the start point
    /// with `Point3::kNull` is enough to recognise it.
    static const Ray3 kNull;

    /// Compares component by component.
    bool operator==(const Ray3&) const = default;
};

inline constexpr Ray3 Ray3::kZero{Point3::kZero, Point3::kZero};
inline constexpr Ray3 Ray3::kNull{Point3::kNull, Point3::kNull};

}  // namespace Mivora
