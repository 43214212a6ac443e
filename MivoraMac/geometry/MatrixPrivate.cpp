#include "MivoraMac/geometry/MatrixPrivate.h"

#include <cmath>

#include "MivoraMac/geometry/Float4Private.h"

namespace Mivora {

namespace {

Float4x4 transposed(Float4 row0, Float4 row1, Float4 row2, Float4 row3) {
    const Float4 low01 = __builtin_shufflevector(row0, row1, 0, 4, 1, 5);
    const Float4 high01 = __builtin_shufflevector(row0, row1, 2, 6, 3, 7);
    const Float4 low23 = __builtin_shufflevector(row2, row3, 0, 4, 1, 5);
    const Float4 high23 = __builtin_shufflevector(row2, row3, 2, 6, 3, 7);
    return {{__builtin_shufflevector(low01, low23, 0, 1, 4, 5),
             __builtin_shufflevector(low01, low23, 2, 3, 6, 7),
             __builtin_shufflevector(high01, high23, 0, 1, 4, 5),
             __builtin_shufflevector(high01, high23, 2, 3, 6, 7)}};
}

/// The cross product of the first three lanes; the last lane is 0 where it is 0 in both.
Float4 cross3(Float4 a, Float4 b) {
    const Float4 aNext = __builtin_shufflevector(a, a, 1, 2, 0, 3);
    const Float4 bNext = __builtin_shufflevector(b, b, 1, 2, 0, 3);
    const Float4 product = a * bNext - aNext * b;
    return __builtin_shufflevector(product, product, 1, 2, 0, 3);
}

/// The cross product of three vectors in four dimensions: lane k is the cofactor at row k of a
/// column whose right-hand neighbours are a, b and c.
Float4 cross4(Float4 a, Float4 b, Float4 c) {
    const Float4 a1 = __builtin_shufflevector(a, a, 1, 2, 3, 0);
    const Float4 a2 = __builtin_shufflevector(a, a, 2, 3, 0, 1);
    const Float4 a3 = __builtin_shufflevector(a, a, 3, 0, 1, 2);
    const Float4 b1 = __builtin_shufflevector(b, b, 1, 2, 3, 0);
    const Float4 b2 = __builtin_shufflevector(b, b, 2, 3, 0, 1);
    const Float4 b3 = __builtin_shufflevector(b, b, 3, 0, 1, 2);
    const Float4 c1 = __builtin_shufflevector(c, c, 1, 2, 3, 0);
    const Float4 c2 = __builtin_shufflevector(c, c, 2, 3, 0, 1);
    const Float4 c3 = __builtin_shufflevector(c, c, 3, 0, 1, 2);
    const Float4 even = a1 * b2 * c3 + a2 * b3 * c1 + a3 * b1 * c2;
    const Float4 odd = a1 * b3 * c2 + a2 * b1 * c3 + a3 * b2 * c1;
    // Lanes 1 and 3 change sign. Swapping the operands does it without turning 0 into -0.
    return __builtin_shufflevector(even, odd, 0, 5, 2, 7) -
           __builtin_shufflevector(odd, even, 0, 5, 2, 7);
}

Float4x4 adjugateOf(const Float4x4& matrix, float& determinant) {
    const auto& [a, b, c, d] = matrix.column;
    // Row i holds the cofactors of column i. Every other one changes sign, and exchanging two
    // operands changes it.
    const Float4 row0 = cross4(b, c, d);
    const Float4 terms = a * row0;
    determinant = terms[0] + terms[1] + terms[2] + terms[3];
    return transposed(row0, cross4(a, d, c), cross4(a, b, d), cross4(a, c, b));
}

bool isAffine(const glm::mat4& matrix) {
    return matrix[0][3] == 0.0F && matrix[1][3] == 0.0F && matrix[2][3] == 0.0F &&
           matrix[3][3] == 1.0F;
}

/// Whether a matrix of this determinant can be divided by it.
bool isUsable(float determinant, float reciprocal) {
    return std::isfinite(determinant) && std::isfinite(reciprocal);
}

bool invertAffine(const Float4x4& matrix, Float4x4& inverse) {
    const auto& [x, y, z, translation] = matrix.column;
    const Float4 row0 = cross3(y, z);
    const Float4 row1 = cross3(z, x);
    const Float4 row2 = cross3(x, y);
    const Float4 terms = x * row0;
    const float determinant = terms[0] + terms[1] + terms[2];
    const float reciprocal = 1.0F / determinant;
    if (!isUsable(determinant, reciprocal)) {
        return false;
    }
    inverse = transposed(row0 * reciprocal, row1 * reciprocal, row2 * reciprocal, Float4{});
    const Float4 moved = inverse.column[0] * translation[0] + inverse.column[1] * translation[1] +
                         inverse.column[2] * translation[2];
    inverse.column[3] =
        __builtin_shufflevector(Float4{} - moved, Float4{0.0F, 0.0F, 0.0F, 1.0F}, 0, 1, 2, 7);
    return true;
}

bool invertGeneral(const Float4x4& matrix, Float4x4& inverse) {
    float determinant = 0.0F;
    inverse = adjugateOf(matrix, determinant);
    const float reciprocal = 1.0F / determinant;
    if (!isUsable(determinant, reciprocal)) {
        return false;
    }
    for (Float4& column : inverse.column) {
        column *= reciprocal;
    }
    return true;
}

}  // namespace

glm::mat4 invertMatrix(const glm::mat4& matrix, bool* invertible) {
    const Float4x4 columns = columnsOf(matrix);
    Float4x4 inverse;
    const bool found =
        isAffine(matrix) ? invertAffine(columns, inverse) : invertGeneral(columns, inverse);
    if (invertible != nullptr) {
        *invertible = found;
    }
    return found ? matrixOf(inverse) : glm::mat4(1.0F);
}

Adjugate adjugateOf(const glm::mat4& matrix) {
    float determinant = 0.0F;
    const Float4x4 adjugate = adjugateOf(columnsOf(matrix), determinant);
    return {matrixOf(adjugate), determinant};
}

}  // namespace Mivora
