#pragma once

#include <glm/mat4x4.hpp>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"

namespace Mivora {

/// A plane in space: the points p with normal · p = distance.
///
/// The normal is expected to have unit length, and nothing here makes it so: only then is
/// `normal * distance` a point of the plane, which `ApplyTransform` relies on. A plain aggregate,
/// with the fields unset unless initialised; equal when all four floats are equal.
///
/// Threads: any.
struct MIVORA_EXPORT Plane {
    /// The direction at right angles to the plane, by convention of unit length.
    Point3 normal;
    /// How far the plane lies from the origin along the normal; negative on the other side.
    float distance;

    /// The point where a ray, or its extension behind the start, meets this plane.
    ///
    /// The parameter of the ray has no sign test: a plane behind the start point still gives its
    /// point there, and a caller that must refuse such hits does so itself.
    ///
    /// @param ray  in the space of the plane; the direction need not have unit length
    /// @return the point, or `Point3::kNull` if normal · direction is exactly 0: the ray is
    ///         parallel to the plane, perhaps within it, or one of the two vectors is zero. Where
    ///         it is not, NaN anywhere in the plane or the ray makes every component NaN, and so
    ///         does an infinite direction: `Ray3::kNull` gives NaN, not `Point3::kNull`.
    Point3 RayIntersection(Ray3 ray) const {
        const float denominator = dot(normal, ray.direction);
        if (denominator == 0.0F) {
            return Point3::kNull;
        }
        const float t = (distance - dot(normal, ray.startPoint)) / denominator;
        return ray.startPoint + ray.direction * t;
    }

    /// This plane carried by a matrix.
    ///
    /// The point `normal * distance` is carried as a point, without dividing by w, and the normal
    /// by the upper 3x3 part of the matrix itself, without making it unit length again. That is
    /// right for rotations and translations. Under a uniform scale s the normal has length s and
    /// the distance grows by s²; under any other scale the result is no true normal.
    ///
    /// @param matrix  affine, from the space of this plane to the space of the result. NaN and
    ///                infinity in it or in the plane flow through the arithmetic.
    Plane ApplyTransform(glm::mat4 matrix) const;

    /// Compares field by field.
    bool operator==(const Plane&) const = default;

 private:
    static constexpr float dot(Point3 a, Point3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
};

}  // namespace Mivora
