#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <random>
#include <utility>

#include <glm/mat4x4.hpp>

/// 4x4 matrices in double precision, inverted by another method than the library's: what the
/// library's single-precision results are measured against.
namespace reference {

using Vector = std::array<double, 4>;

/// Row after row.
using Matrix = std::array<Vector, 4>;

inline Matrix widened(const glm::mat4& matrix) {
    Matrix result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            result[row][column] = matrix[static_cast<int>(column)][static_cast<int>(row)];
        }
    }
    return result;
}

inline Matrix product(const Matrix& a, const Matrix& b) {
    Matrix result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            for (std::size_t k = 0; k < 4; ++k) {
                result[row][column] += a[row][k] * b[k][column];
            }
        }
    }
    return result;
}

inline Vector product(const Matrix& a, const Vector& v) {
    Vector result{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t k = 0; k < 4; ++k) {
            result[row] += a[row][k] * v[k];
        }
    }
    return result;
}

/// The inverse and the determinant of a regular matrix.
struct Inversion {
    Matrix inverse;
    double determinant;
};

/// Elimination with the largest pivot of each column.
inline Inversion inverted(Matrix left) {
    Matrix right{};
    for (std::size_t i = 0; i < 4; ++i) {
        right[i][i] = 1.0;
    }
    double determinant = 1.0;
    for (std::size_t column = 0; column < 4; ++column) {
        std::size_t best = column;
        for (std::size_t row = column + 1; row < 4; ++row) {
            if (std::abs(left[row][column]) > std::abs(left[best][column])) {
                best = row;
            }
        }
        if (best != column) {
            std::swap(left[best], left[column]);
            std::swap(right[best], right[column]);
            determinant = -determinant;
        }
        const double pivot = left[column][column];
        determinant *= pivot;
        for (std::size_t k = 0; k < 4; ++k) {
            left[column][k] /= pivot;
            right[column][k] /= pivot;
        }
        for (std::size_t row = 0; row < 4; ++row) {
            const double factor = left[row][column];
            if (row == column || factor == 0.0) {
                continue;
            }
            for (std::size_t k = 0; k < 4; ++k) {
                left[row][k] -= factor * left[column][k];
                right[row][k] -= factor * right[column][k];
            }
        }
    }
    return {right, determinant};
}

/// The largest difference of two entries, as a share of the largest entry of the second matrix.
inline double relativeDifference(const Matrix& a, const Matrix& b) {
    double difference = 0.0;
    double largest = 0.0;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            difference = std::fmax(difference, std::abs(a[row][column] - b[row][column]));
            largest = std::fmax(largest, std::abs(b[row][column]));
        }
    }
    return difference / largest;
}

/// A matrix with entries between -1 and 1.
inline glm::mat4 randomMatrix(std::mt19937& generator) {
    std::uniform_real_distribution<float> entry(-1.0F, 1.0F);
    glm::mat4 matrix(0.0F);
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            matrix[column][row] = entry(generator);
        }
    }
    return matrix;
}

}  // namespace reference
