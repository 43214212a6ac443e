#include "MivoraMac/geometry/MatrixPrivate.h"

#include <cmath>
#include <random>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "tests/geometry/ReferenceMatrix.h"
#include "tests/geometry/ValueTypeChecks.h"

using Mivora::invertMatrix;

namespace {

const glm::mat4 kIdentity(1.0F);

/// A placement as views have them: moved, turned about a random axis, scaled, bottom row 0, 0,
/// 0, 1.
glm::mat4 randomPlacement(std::mt19937& generator) {
    std::uniform_real_distribution<float> position(-1000.0F, 1000.0F);
    std::uniform_real_distribution<float> angle(-3.0F, 3.0F);
    std::uniform_real_distribution<float> scale(0.1F, 5.0F);
    glm::mat4 matrix(1.0F);
    for (int i = 0; i < 3; ++i) {
        matrix[3][i] = position(generator);
    }
    for (int i = 0; i < 3; ++i) {
        glm::vec3 axis(0.0F);
        axis[i] = 1.0F;
        matrix = glm::rotate(matrix, angle(generator), axis);
    }
    glm::vec3 scales(0.0F);
    for (int i = 0; i < 3; ++i) {
        scales[i] = scale(generator);
    }
    return glm::scale(matrix, scales);
}

void expectNoInverse(const glm::mat4& matrix) {
    bool invertible = true;
    EXPECT_EQ(invertMatrix(matrix, &invertible), kIdentity);
    EXPECT_FALSE(invertible);
}

}  // namespace

TEST(MatrixInversionTest, theIdentityIsItsOwnInverse) {
    bool invertible = false;
    EXPECT_EQ(invertMatrix(kIdentity, &invertible), kIdentity);
    EXPECT_TRUE(invertible);
}

TEST(MatrixInversionTest, aPlacementIsUndoneExactlyWhereFloatsAllow) {
    glm::mat4 matrix = glm::translate(kIdentity, {10.0F, -20.0F, 30.0F});
    matrix = glm::scale(matrix, {2.0F, -4.0F, 0.5F});
    glm::mat4 expected = glm::scale(kIdentity, {0.5F, -0.25F, 2.0F});
    expected = glm::translate(expected, {-10.0F, 20.0F, -30.0F});
    EXPECT_EQ(invertMatrix(matrix, nullptr), expected);
}

TEST(MatrixInversionTest, randomPlacementsAgreeWithDoublePrecision) {
    std::mt19937 generator(7);
    for (int i = 0; i < 10000; ++i) {
        const glm::mat4 matrix = randomPlacement(generator);
        bool invertible = false;
        const glm::mat4 inverse = invertMatrix(matrix, &invertible);
        ASSERT_TRUE(invertible);
        const reference::Matrix expected = reference::inverted(reference::widened(matrix)).inverse;
        // Rounding errors of the axes reach the translation, magnified by scales of 1 to 50.
        ASSERT_LT(reference::relativeDifference(reference::widened(inverse), expected), 4e-6) << i;
        ASSERT_EQ(inverse[0][3], 0.0F);
        ASSERT_EQ(inverse[1][3], 0.0F);
        ASSERT_EQ(inverse[2][3], 0.0F);
        ASSERT_EQ(inverse[3][3], 1.0F);
    }
}

TEST(MatrixInversionTest, randomGeneralMatricesAgreeWithDoublePrecision) {
    std::mt19937 generator(11);
    int compared = 0;
    while (compared < 10000) {
        const glm::mat4 matrix = reference::randomMatrix(generator);
        const reference::Inversion expected = reference::inverted(reference::widened(matrix));
        if (std::abs(expected.determinant) < 0.05) {
            continue;  // close to singular: the error grows without limit
        }
        ++compared;
        bool invertible = false;
        const glm::mat4 inverse = invertMatrix(matrix, &invertible);
        ASSERT_TRUE(invertible);
        ASSERT_LT(reference::relativeDifference(reference::widened(inverse), expected.inverse),
                  1e-5);
    }
}

TEST(MatrixInversionTest, aProjectionIsUndone) {
    const glm::mat4 projection = glm::perspective(1.0F, 1.5F, 10.0F, 1000.0F);
    bool invertible = false;
    const glm::mat4 inverse = invertMatrix(projection, &invertible);
    EXPECT_TRUE(invertible);
    const reference::Matrix expected = reference::inverted(reference::widened(projection)).inverse;
    EXPECT_LT(reference::relativeDifference(reference::widened(inverse), expected), 1e-6);
}

TEST(MatrixInversionTest, aMatrixThatIsAffineButForItsCornerIsInvertedAsAWhole) {
    glm::mat4 matrix = glm::translate(kIdentity, {1.0F, 2.0F, 3.0F});
    matrix[3][3] = 2.0F;
    bool invertible = false;
    const glm::mat4 inverse = invertMatrix(matrix, &invertible);
    EXPECT_TRUE(invertible);
    EXPECT_EQ(inverse[3], glm::vec4(-0.5F, -1.0F, -1.5F, 0.5F));
}

TEST(MatrixInversionTest, eachEntryOfTheBottomRowRulesOutTheShortWay) {
    for (int column = 0; column < 3; ++column) {
        glm::mat4 matrix = glm::translate(kIdentity, {1.0F, 2.0F, 4.0F});
        matrix[column][3] = 0.125F;
        const glm::mat4 inverse = invertMatrix(matrix, nullptr);
        const reference::Matrix expected = reference::inverted(reference::widened(matrix)).inverse;
        EXPECT_LT(reference::relativeDifference(reference::widened(inverse), expected), 1e-6)
            << column;
    }
}

TEST(MatrixInversionTest, aSingularMatrixYieldsTheIdentityAndFalse) {
    expectNoInverse(glm::mat4(0.0F));
    expectNoInverse(glm::scale(kIdentity, {1.0F, 0.0F, 1.0F}));
    expectNoInverse(glm::scale(glm::translate(kIdentity, {5.0F, 6.0F, 7.0F}), glm::vec3(0.0F)));
    glm::mat4 equalColumns(1.0F);
    equalColumns[1] = equalColumns[0];
    expectNoInverse(equalColumns);
    glm::mat4 general(1.0F);
    general[3][3] = 0.0F;
    expectNoInverse(general);
}

TEST(MatrixInversionTest, nanAndInfinityYieldTheIdentityAndFalse) {
    for (const float odd : {kNaN, kInfinity, -kInfinity}) {
        for (int column = 0; column < 4; ++column) {
            for (int row = 0; row < 4; ++row) {
                if (column == 3 && row < 3) {
                    continue;  // a translation
                }
                glm::mat4 matrix(1.0F);
                matrix[column][row] = odd;
                expectNoInverse(matrix);
            }
        }
    }
}

TEST(MatrixInversionTest, nanInATranslationGoesIntoTheTranslationOnly) {
    glm::mat4 matrix = glm::scale(kIdentity, glm::vec3(2.0F));
    matrix[3][1] = kNaN;
    bool invertible = false;
    const glm::mat4 inverse = invertMatrix(matrix, &invertible);
    EXPECT_TRUE(invertible);
    EXPECT_EQ(inverse[0], glm::vec4(0.5F, 0.0F, 0.0F, 0.0F));
    EXPECT_EQ(inverse[1], glm::vec4(0.0F, 0.5F, 0.0F, 0.0F));
    EXPECT_EQ(inverse[2], glm::vec4(0.0F, 0.0F, 0.5F, 0.0F));
    EXPECT_TRUE(std::isnan(inverse[3][1]));
    EXPECT_EQ(inverse[3][3], 1.0F);
}

TEST(MatrixInversionTest, aDeterminantBeyondTheRangeOfFloatsYieldsTheIdentityAndFalse) {
    expectNoInverse(glm::scale(kIdentity, glm::vec3(1e13F)));
    expectNoInverse(glm::scale(kIdentity, glm::vec3(1e-13F)));
    expectNoInverse(glm::mat4(1e10F));
    expectNoInverse(glm::mat4(1e-10F));
}

TEST(MatrixInversionTest, smallAndLargeScalesWithinTheRangeAreInverted) {
    for (const float scale : {1e-12F, 1e12F}) {
        bool invertible = false;
        const glm::mat4 inverse =
            invertMatrix(glm::scale(kIdentity, glm::vec3(scale)), &invertible);
        EXPECT_TRUE(invertible);
        EXPECT_NEAR(inverse[0][0] * scale, 1.0F, 1e-6F);
        EXPECT_NEAR(inverse[1][1] * scale, 1.0F, 1e-6F);
        EXPECT_NEAR(inverse[2][2] * scale, 1.0F, 1e-6F);
    }
}

TEST(MatrixInversionTest, theFlagMayBeNull) {
    EXPECT_EQ(invertMatrix(kIdentity, nullptr), kIdentity);
    EXPECT_EQ(invertMatrix(glm::mat4(0.0F), nullptr), kIdentity);
}
