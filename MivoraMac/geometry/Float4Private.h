#pragma once

#include <array>
#include <bit>
#include <glm/mat3x4.hpp>
#include <glm/mat4x4.hpp>

namespace Mivora {

/// Four floats that the compiler keeps in one register and works on at once.
typedef float Float4 __attribute__((vector_size(16)));

/// A 4x4 matrix as four columns.
struct Float4x4 {
    Float4 column[4];
};

inline Float4x4 columnsOf(const glm::mat4& matrix) {
    return std::bit_cast<Float4x4>(matrix);
}

inline glm::mat4 matrixOf(const Float4x4& columns) {
    return std::bit_cast<glm::mat4>(columns);
}

/// Stores the upper three rows of a matrix as three columns: the first three without their fourth
/// components, which hold the fourth column instead.
inline void packUpperRows(const Float4x4& matrix, glm::mat3x4& rows) {
    for (int i = 0; i < 3; ++i) {
        rows[i] = std::bit_cast<glm::vec4>(matrix.column[i]);
        rows[i].w = matrix.column[3][i];
    }
}

/// The matrix with these upper rows over 0, 0, 0, `corner`.
inline Float4x4 unpackedUpperRows(const glm::mat3x4& rows, float corner) {
    const auto columns = std::bit_cast<std::array<Float4, 3>>(rows);
    Float4x4 result;
    for (int i = 0; i < 3; ++i) {
        result.column[i] = columns[i];
        result.column[i][3] = 0.0F;
    }
    result.column[3] = Float4{columns[0][3], columns[1][3], columns[2][3], corner};
    return result;
}

/// The matrix applied to a column vector.
inline Float4 operator*(const Float4x4& matrix, Float4 vector) {
    return matrix.column[0] * vector[0] + matrix.column[1] * vector[1] +
           matrix.column[2] * vector[2] + matrix.column[3] * vector[3];
}

/// Both matrices, the left one after the right one: added up in the order in which the product
/// that the shaders are given is.
inline Float4x4 product(const Float4x4& left, const Float4x4& right) {
    Float4x4 result;
    for (int i = 0; i < 4; ++i) {
        result.column[i] = left * right.column[i];
    }
    return result;
}

}  // namespace Mivora
