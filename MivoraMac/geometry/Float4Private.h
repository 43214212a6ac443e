#pragma once

#include <bit>

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

/// The matrix applied to a column vector.
inline Float4 operator*(const Float4x4& matrix, Float4 vector) {
    return matrix.column[0] * vector[0] + matrix.column[1] * vector[1] +
           matrix.column[2] * vector[2] + matrix.column[3] * vector[3];
}

}  // namespace Mivora
