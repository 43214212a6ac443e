#pragma once

#include <glm/mat4x4.hpp>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Plane.h"
#include "MivoraMac/geometry/Point.h"
#include "MivoraMac/geometry/Ray.h"
#include "MivoraMac/geometry/Viewport.h"

/// @file
/// Matrix, projection and ray functions.
///
/// Matrices are 4x4, single precision, column after column; the product A * B applied to v is
/// A * (B * v). All functions may be called on any thread, allocate nothing and never throw.

/// The inverse of a matrix, as its adjugate over its determinant.
///
/// Adjugate and determinant are computed in single precision, the final scaling in double.
///
/// @param matrix      any matrix
/// @param invertible  set to false if the determinant is exactly 0, else to true; may be null
/// @return the inverse; if the determinant is exactly 0, the adjugate as it is. A NaN determinant
///         is not 0: the result is then full of NaN and `*invertible` true. An infinite one
///         scales by 0 and is reported as invertible, too.
MIVORA_EXPORT glm::mat4 MVMatrix4Invert(glm::mat4 matrix, bool* invertible = nullptr);

/// Where a point is seen in a viewport.
///
/// @param objectPoint  in the space that the model matrix starts from
/// @param model        applied first: from object to eye space
/// @param projection   applied next: from eye to clip space
/// @param viewport     the rectangle that the range -1 to 1 is mapped to, x to x and y to y
/// @return x and y in the units of the viewport, z the depth: 0 at the near plane, 1 at the far
///         one. (0, 0, 0) if the clip w is exactly 0. Points outside the visible volume are not
///         clipped: they lie outside the viewport or the depths 0 to 1, and those behind the eye
///         are mirrored. NaN and infinity flow through the arithmetic.
MIVORA_EXPORT Mivora::Point3 MVMathProject(Mivora::Point3 objectPoint, glm::mat4 model,
                                           glm::mat4 projection, Mivora::Viewport viewport);

/// The point seen at a place and depth of a viewport.
///
/// Inverts model * projection, in this order, which is not the product that `MVMathProject`
/// applies: the two are inverses of each other where the model matrix is the identity or commutes
/// with the projection. Pass the identity to unproject exactly, into the space that the projection
/// starts from.
///
/// @param windowPoint  x and y in the units of the viewport, z the depth from 0 (near) to 1 (far)
/// @param model        first factor of the matrix that is inverted
/// @param projection   second factor
/// @param viewport     as given to `MVMathProject`
/// @param success      set to whether there is a result; may be null
/// @return the point. (0, 0, 0), with `*success` false, if the product has no inverse (it is
///         singular, or NaN or infinity makes its determinant so) or the w of the result is
///         exactly 0. NaN or infinity in the window point, or a viewport without width or height,
///         gives NaN or infinite components and reports success.
MIVORA_EXPORT Mivora::Point3 MVMathUnproject(Mivora::Point3 windowPoint, glm::mat4 model,
                                             glm::mat4 projection, Mivora::Viewport viewport,
                                             bool* success = nullptr);

/// `Mivora::Plane::RayIntersection` as a function.
///
/// @param plane  normal of unit length by convention
/// @param ray    in the space of the plane
/// @return the intersection, also behind the start of the ray; `MVPointNull3F` if the ray is
///         parallel to the plane. NaN flows through.
MIVORA_EXPORT Mivora::Point3 MVRayPlaneIntersection3F(Mivora::Plane plane, Mivora::Ray3 ray);

/// `Mivora::Plane::ApplyTransform` as a function.
///
/// @param plane   normal of unit length by convention
/// @param matrix  a rotation, translation and uniform scale
/// @return the plane carried by the matrix, its normal not brought back to unit length. NaN and
///         infinity flow through.
MIVORA_EXPORT Mivora::Plane MVPlaneApplyTransform(Mivora::Plane plane, glm::mat4 matrix);
