#pragma once

#include <glm/mat4x4.hpp>

#include "MivoraMac/Export.h"

namespace Mivora {

/// The inverse of a matrix: what the window and the views invert their transforms with.
///
/// An affine matrix (bottom row exactly 0, 0, 0, 1) takes a short way, which costs less than half;
/// every other matrix the general one.
///
/// @param matrix      any matrix
/// @param invertible  set to whether the inverse exists; may be null
/// @return the inverse, accurate to single precision. The identity, with `*invertible` false, if
///         the determinant is 0, NaN or infinite, or so close to 0 that its reciprocal overflows.
///         The determinant of an affine matrix is that of its upper 3x3 part alone, so NaN or
///         infinity in its translation leaves it invertible and goes into the translation of the
///         result only.
///
/// Threads: any.
MIVORA_EXPORT glm::mat4 invertMatrix(const glm::mat4& matrix, bool* invertible);

/// A matrix's adjugate, the transpose of its cofactors, and its determinant.
struct Adjugate {
    glm::mat4 matrix;
    float determinant;
};

/// The adjugate by cofactor expansion, every entry the sum of its six triple products, and from it
/// the determinant expanded along the first column. All in single precision; NaN and infinity flow
/// through.
Adjugate adjugateOf(const glm::mat4& matrix);

}  // namespace Mivora
