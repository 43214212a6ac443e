#include "MivoraMac/geometry/MVMath.h"

#include <algorithm>
#include <cmath>
#include <random>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "MivoraMac/geometry/MVGeometry.h"
#include "tests/geometry/ReferenceMatrix.h"
#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Plane;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::Viewport;

namespace {

const glm::mat4 kIdentity(1.0F);
const glm::mat4 kZeroMatrix(0.0F);
constexpr Viewport kViewport = {10, 20, 800, 600};

bool isNaN(Point3 point) {
    return std::isnan(point.x) && std::isnan(point.y) && std::isnan(point.z);
}

void expectNear(Point3 point, Point3 expected, float tolerance) {
    EXPECT_NEAR(point.x, expected.x, tolerance);
    EXPECT_NEAR(point.y, expected.y, tolerance);
    EXPECT_NEAR(point.z, expected.z, tolerance);
}

/// The window's kind of camera: looks along -z, y downward, `height` fills the field of view at
/// `distance`.
struct Camera {
    float fieldOfView;
    float aspect;
    float nearDistance;
    float farDistance;

    glm::mat4 projection() const {
        const float c = 1.0F / std::tan(fieldOfView * 0.5F);
        glm::mat4 matrix(0.0F);
        matrix[0][0] = c / aspect;
        matrix[1][1] = -c;
        matrix[2][2] = (farDistance + nearDistance) / (nearDistance - farDistance);
        matrix[2][3] = -1.0F;
        matrix[3][2] = 2.0F * farDistance * nearDistance / (nearDistance - farDistance);
        return matrix;
    }
};

/// The matrix that exchanges z and w. It is its own inverse.
glm::mat4 depthAndWExchanged() {
    glm::mat4 matrix(1.0F);
    matrix[2] = {0.0F, 0.0F, 0.0F, 1.0F};
    matrix[3] = {0.0F, 0.0F, 1.0F, 0.0F};
    return matrix;
}

}  // namespace

// MVMatrix4Invert

TEST(MVMatrix4InvertTest, theIdentityIsItsOwnInverse) {
    bool invertible = false;
    EXPECT_EQ(MVMatrix4Invert(kIdentity, &invertible), kIdentity);
    EXPECT_TRUE(invertible);
}

TEST(MVMatrix4InvertTest, randomMatricesAgreeWithDoublePrecision) {
    std::mt19937 generator(42);
    int compared = 0;
    while (compared < 10000) {
        const glm::mat4 matrix = reference::randomMatrix(generator);
        const reference::Inversion expected = reference::inverted(reference::widened(matrix));
        if (std::abs(expected.determinant) < 0.05) {
            continue;  // close to singular: the error grows without limit
        }
        ++compared;
        bool invertible = false;
        const glm::mat4 inverse = MVMatrix4Invert(matrix, &invertible);
        ASSERT_TRUE(invertible);
        ASSERT_LT(reference::relativeDifference(reference::widened(inverse), expected.inverse),
                  1e-5);
    }
}

TEST(MVMatrix4InvertTest, everyEntryHasItsPlace) {
    // Columns of small whole numbers, determinant 1: the inverse is exact.
    const glm::mat4 matrix(glm::vec4(1, 0, 0, 0), glm::vec4(2, 1, 0, 0), glm::vec4(3, 5, 1, 0),
                           glm::vec4(4, 6, 7, 1));
    const glm::mat4 expected(glm::vec4(1, 0, 0, 0), glm::vec4(-2, 1, 0, 0), glm::vec4(7, -5, 1, 0),
                             glm::vec4(-41, 29, -7, 1));
    EXPECT_EQ(MVMatrix4Invert(matrix), expected);
    EXPECT_EQ(MVMatrix4Invert(glm::transpose(matrix)), glm::transpose(expected));
}

TEST(MVMatrix4InvertTest, aZeroMatrixYieldsAZeroAdjugateAndFalse) {
    bool invertible = true;
    EXPECT_EQ(MVMatrix4Invert(kZeroMatrix, &invertible), kZeroMatrix);
    EXPECT_FALSE(invertible);
}

TEST(MVMatrix4InvertTest, aZeroColumnYieldsTheUnscaledAdjugateAndFalse) {
    // With one diagonal entry 0, the adjugate keeps one entry: the product of the three others.
    const float diagonal[4] = {2.0F, 3.0F, 5.0F, 7.0F};
    for (int zero = 0; zero < 4; ++zero) {
        glm::mat4 matrix(0.0F);
        float productOfOthers = 1.0F;
        for (int i = 0; i < 4; ++i) {
            if (i != zero) {
                matrix[i][i] = diagonal[i];
                productOfOthers *= diagonal[i];
            }
        }
        glm::mat4 adjugate(0.0F);
        adjugate[zero][zero] = productOfOthers;
        bool invertible = true;
        EXPECT_EQ(MVMatrix4Invert(matrix, &invertible), adjugate) << zero;
        EXPECT_FALSE(invertible);
    }
}

TEST(MVMatrix4InvertTest, aSingularMatrixWithoutZerosYieldsItsAdjugate) {
    // Column 3 repeats column 0, so only the rows 0 and 3 of the adjugate are not 0.
    const glm::mat4 matrix(glm::vec4(1, 2, 3, 1), glm::vec4(2, 1, 1, 3), glm::vec4(1, 1, 2, 2),
                           glm::vec4(1, 2, 3, 1));
    bool invertible = true;
    const glm::mat4 adjugate = MVMatrix4Invert(matrix, &invertible);
    EXPECT_FALSE(invertible);
    EXPECT_EQ(matrix * adjugate, kZeroMatrix);
    const glm::mat4 expected(glm::vec4(-4, 0, 0, 4), glm::vec4(4, 0, 0, -4), glm::vec4(-2, 0, 0, 2),
                             glm::vec4(2, 0, 0, -2));
    EXPECT_EQ(adjugate, expected);
}

TEST(MVMatrix4InvertTest, aNaNDeterminantIsNotZero) {
    glm::mat4 matrix(1.0F);
    matrix[1][1] = kNaN;
    bool invertible = false;
    const glm::mat4 inverse = MVMatrix4Invert(matrix, &invertible);
    EXPECT_TRUE(invertible);
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            EXPECT_TRUE(std::isnan(inverse[column][row])) << column << ' ' << row;
        }
    }
}

TEST(MVMatrix4InvertTest, anInfiniteDeterminantIsReportedAsInvertibleAndScalesToZero) {
    bool invertible = false;
    const glm::mat4 inverse = MVMatrix4Invert(glm::mat4(1e12F), &invertible);
    EXPECT_TRUE(invertible);
    EXPECT_EQ(inverse[1][0], 0.0F);
    EXPECT_EQ(inverse[0][0], 0.0F);
}

TEST(MVMatrix4InvertTest, aDeterminantWhoseReciprocalOnlyFitsADoubleStillInverts) {
    const float scale = 1.0F / 1024.0F / 1024.0F / 1024.0F / 4.0F;  // 2^-32, determinant 2^-128
    bool invertible = false;
    const glm::mat4 inverse = MVMatrix4Invert(glm::mat4(scale), &invertible);
    EXPECT_TRUE(invertible);
    EXPECT_EQ(inverse, glm::mat4(1.0F / scale));
}

TEST(MVMatrix4InvertTest, theFlagMayBeNull) {
    EXPECT_EQ(MVMatrix4Invert(kIdentity, nullptr), kIdentity);
    EXPECT_EQ(MVMatrix4Invert(kZeroMatrix, nullptr), kZeroMatrix);
}

// MVMathProject

TEST(MVMathProjectTest, theUnitCubeFillsTheViewportAndTheDepths) {
    const auto project = [](Point3 point) {
        return MVMathProject(point, kIdentity, kIdentity, kViewport);
    };
    EXPECT_EQ(project({-1.0F, -1.0F, -1.0F}), (Point3{10.0F, 20.0F, 0.0F}));
    EXPECT_EQ(project({1.0F, 1.0F, 1.0F}), (Point3{810.0F, 620.0F, 1.0F}));
    EXPECT_EQ(project({0.0F, 0.5F, 0.0F}), (Point3{410.0F, 470.0F, 0.5F}));
}

TEST(MVMathProjectTest, pointsOutsideTheVolumeAreNotClipped) {
    EXPECT_EQ(MVMathProject({3.0F, -2.0F, 2.0F}, kIdentity, kIdentity, kViewport),
              (Point3{1610.0F, -280.0F, 1.5F}));
}

TEST(MVMathProjectTest, clipCoordinatesAreDividedByW) {
    glm::mat4 projection(1.0F);
    projection[3][3] = 4.0F;
    EXPECT_EQ(MVMathProject({2.0F, 4.0F, -4.0F}, kIdentity, projection, kViewport),
              (Point3{610.0F, 620.0F, 0.0F}));
}

TEST(MVMathProjectTest, theModelIsAppliedBeforeTheProjection) {
    const glm::mat4 model = glm::translate(kIdentity, {0.5F, 0.0F, 0.0F});
    const glm::mat4 projection = glm::scale(kIdentity, {0.5F, 1.0F, 1.0F});
    // (0.5 + 0.5) * 0.5 is 0.5; the other order gives 0.75.
    EXPECT_EQ(MVMathProject({0.5F, 0.0F, 0.0F}, model, projection, kViewport),
              (Point3{610.0F, 320.0F, 0.5F}));
}

TEST(MVMathProjectTest, aPointWithAClipWOfZeroYieldsZero) {
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    EXPECT_EQ(MVMathProject({1.0F, 2.0F, 0.0F}, kIdentity, projection, kViewport), Point3::kZero);
    EXPECT_EQ(MVMathProject({1.0F, 2.0F, -0.0F}, kIdentity, projection, kViewport), Point3::kZero);
    EXPECT_EQ(MVMathProject({1.0F, 2.0F, 3.0F}, kZeroMatrix, kZeroMatrix, kViewport),
              Point3::kZero);
}

TEST(MVMathProjectTest, aPointBehindTheEyeIsMirrored) {
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    const Point3 front = MVMathProject({0.5F, 0.25F, -4.0F}, kIdentity, projection, kViewport);
    const Point3 behind = MVMathProject({0.5F, 0.25F, 4.0F}, kIdentity, projection, kViewport);
    EXPECT_NEAR(front.x - 410.0F, 410.0F - behind.x, 1e-3F);
    EXPECT_NEAR(front.y - 320.0F, 320.0F - behind.y, 1e-3F);
    EXPECT_GT(behind.z, 1.0F);
}

TEST(MVMathProjectTest, aNegativeViewportIsTakenAsItIs) {
    EXPECT_EQ(MVMathProject({1.0F, 0.5F, 0.0F}, kIdentity, kIdentity, {-10, 100, 20, -100}),
              (Point3{10.0F, 25.0F, 0.5F}));
}

TEST(MVMathProjectTest, nanAndInfinityFlowThrough) {
    EXPECT_TRUE(isNaN(MVMathProject({kNaN, 0.0F, 0.0F}, kIdentity, kIdentity, kViewport)));
    EXPECT_TRUE(isNaN(MVMathProject(Point3::kNull, kIdentity, kIdentity, kViewport)));
    glm::mat4 projection(1.0F);
    projection[0][0] = kInfinity;
    EXPECT_EQ(MVMathProject({1.0F, 0.0F, 0.0F}, kIdentity, projection, kViewport),
              (Point3{kInfinity, 320.0F, 0.5F}));
}

// MVMathUnproject

TEST(MVMathUnprojectTest, theViewportAndTheDepthsFillTheUnitCube) {
    const auto unproject = [](Point3 point) {
        bool success = false;
        const Point3 result = MVMathUnproject(point, kIdentity, kIdentity, kViewport, &success);
        EXPECT_TRUE(success);
        return result;
    };
    EXPECT_EQ(unproject({10.0F, 20.0F, 0.0F}), (Point3{-1.0F, -1.0F, -1.0F}));
    EXPECT_EQ(unproject({810.0F, 620.0F, 1.0F}), (Point3{1.0F, 1.0F, 1.0F}));
    EXPECT_EQ(unproject({410.0F, 470.0F, 0.5F}), (Point3{0.0F, 0.5F, 0.0F}));
}

TEST(MVMathUnprojectTest, projectingAndUnprojectingWithAnIdentityModelReturnsThePoint) {
    std::mt19937 generator(314159);
    std::uniform_real_distribution<float> angle(0.5F, 1.6F);
    std::uniform_real_distribution<float> aspect(0.5F, 2.0F);
    std::uniform_real_distribution<float> distance(50.0F, 2000.0F);
    std::uniform_real_distribution<float> share(0.0F, 1.0F);
    std::uniform_int_distribution<int> edge(-200, 200);
    std::uniform_int_distribution<int> extent(100, 3000);
    double worst = 0.0;
    for (int i = 0; i < 10000; ++i) {
        // The window plane at `distance`, the near plane at least a tenth of the way to it.
        const float plane = distance(generator);
        const Camera camera = {angle(generator), aspect(generator),
                               plane * (0.1F + 0.8F * share(generator)),
                               plane * (1.1F + share(generator))};
        const glm::mat4 projection = camera.projection();
        const Viewport viewport = {edge(generator), edge(generator), extent(generator),
                                   extent(generator)};
        const float depth =
            camera.nearDistance + (camera.farDistance - camera.nearDistance) * share(generator);
        const float halfHeight = depth * std::tan(camera.fieldOfView * 0.5F);
        const Point3 point = {(2.0F * share(generator) - 1.0F) * halfHeight * camera.aspect,
                              (2.0F * share(generator) - 1.0F) * halfHeight, -depth};

        const Point3 window = MVMathProject(point, kIdentity, projection, viewport);
        bool success = false;
        const Point3 back = MVMathUnproject(window, kIdentity, projection, viewport, &success);

        ASSERT_TRUE(success);
        const Point3 error = back - point;
        const double largest = std::max({std::abs(error.x), std::abs(error.y), std::abs(error.z)});
        worst = std::max(worst, largest / static_cast<double>(camera.farDistance));
    }
    RecordProperty("worstShareOfFarDistance", std::to_string(worst));
    // A depth close to 1 has an error of 2^-25; where the near plane is a twentieth of the far
    // plane's distance, that alone is 20 times as much in eye space.
    EXPECT_LT(worst, 1e-5);
}

TEST(MVMathUnprojectTest, theProductInvertedIsModelTimesProjection) {
    glm::mat4 model = glm::translate(kIdentity, {3.0F, -2.0F, 1.0F});
    model = glm::rotate(model, 0.5F, {0.0F, 0.0F, 1.0F});
    model = glm::scale(model, {2.0F, 1.0F, 0.5F});
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    const Point3 window = {250.0F, 400.0F, 0.75F};
    const reference::Vector normalised = {2.0 * (250.0 - 10.0) / 800.0 - 1.0,
                                          2.0 * (400.0 - 20.0) / 600.0 - 1.0, 2.0 * 0.75 - 1.0,
                                          1.0};
    const auto expectedFor = [&](const glm::mat4& first, const glm::mat4& second) {
        const reference::Matrix product =
            reference::product(reference::widened(first), reference::widened(second));
        const reference::Vector v =
            reference::product(reference::inverted(product).inverse, normalised);
        return Point3{static_cast<float>(v[0] / v[3]), static_cast<float>(v[1] / v[3]),
                      static_cast<float>(v[2] / v[3])};
    };
    bool success = false;
    const Point3 point = MVMathUnproject(window, model, projection, kViewport, &success);
    EXPECT_TRUE(success);
    expectNear(point, expectedFor(model, projection), 1e-4F);

    const Point3 otherOrder = expectedFor(projection, model);
    EXPECT_GT(std::abs(point.x - otherOrder.x), 0.1F) << "the case tells the orders apart";
}

TEST(MVMathUnprojectTest, aModelThatDoesNotCommuteWithTheProjectionIsNotUndone) {
    const glm::mat4 model = glm::translate(kIdentity, {0.0F, 0.0F, -2.0F});
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    const Point3 point = {0.5F, 0.25F, -3.0F};
    const Point3 window = MVMathProject(point, model, projection, kViewport);
    const Point3 back = MVMathUnproject(window, model, projection, kViewport);
    EXPECT_GT(std::abs(back.z - point.z), 0.1F);
}

TEST(MVMathUnprojectTest, aModelThatCommutesWithTheProjectionIsUndone) {
    const glm::mat4 model = glm::scale(kIdentity, {2.0F, 4.0F, 1.0F});
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    const Point3 point = {0.5F, 0.25F, -3.0F};
    const Point3 window = MVMathProject(point, model, projection, kViewport);
    expectNear(MVMathUnproject(window, model, projection, kViewport), point, 1e-5F);
}

TEST(MVMathUnprojectTest, aSingularProductYieldsZeroAndFalse) {
    const glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
    const glm::mat4 flat = glm::scale(kIdentity, {1.0F, 0.0F, 1.0F});
    const glm::mat4 pairs[][2] = {
        {kZeroMatrix, projection}, {kIdentity, kZeroMatrix}, {flat, projection}, {kIdentity, flat}};
    for (const auto& [model, second] : pairs) {
        bool success = true;
        EXPECT_EQ(MVMathUnproject({100.0F, 100.0F, 0.5F}, model, second, kViewport, &success),
                  Point3::kZero);
        EXPECT_FALSE(success);
    }
}

TEST(MVMathUnprojectTest, aResultWithAWOfZeroYieldsZeroAndFalse) {
    bool success = true;
    // Depth 0.5 is the normalised depth 0, which becomes w.
    EXPECT_EQ(MVMathUnproject({100.0F, 100.0F, 0.5F}, kIdentity, depthAndWExchanged(), kViewport,
                              &success),
              Point3::kZero);
    EXPECT_FALSE(success);
    MVMathUnproject({100.0F, 100.0F, 0.75F}, kIdentity, depthAndWExchanged(), kViewport, &success);
    EXPECT_TRUE(success);
}

TEST(MVMathUnprojectTest, theResultIsDividedByW) {
    // Normalised (0.5, -0.5, 0.5, 1) becomes (0.5, -0.5, 1, 0.5).
    EXPECT_EQ(MVMathUnproject({610.0F, 170.0F, 0.75F}, kIdentity, depthAndWExchanged(), kViewport),
              (Point3{1.0F, -1.0F, 2.0F}));
}

TEST(MVMathUnprojectTest, theFlagMayBeNull) {
    EXPECT_EQ(MVMathUnproject({410.0F, 320.0F, 0.5F}, kIdentity, kIdentity, kViewport, nullptr),
              Point3::kZero);
    EXPECT_EQ(MVMathUnproject({1.0F, 2.0F, 3.0F}, kZeroMatrix, kIdentity, kViewport, nullptr),
              Point3::kZero);
    EXPECT_EQ(MVMathUnproject({100.0F, 100.0F, 0.5F}, kIdentity, depthAndWExchanged(), kViewport,
                              nullptr),
              Point3::kZero);
}

TEST(MVMathUnprojectTest, aNaNOrInfiniteMatrixYieldsZeroAndFalse) {
    for (const float odd : {kNaN, kInfinity}) {
        glm::mat4 projection = Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection();
        projection[1][1] = odd;
        bool success = true;
        EXPECT_EQ(
            MVMathUnproject({100.0F, 100.0F, 0.5F}, kIdentity, projection, kViewport, &success),
            Point3::kZero);
        EXPECT_FALSE(success);
    }
}

TEST(MVMathUnprojectTest, aNaNWindowPointFlowsThroughAndReportsSuccess) {
    bool success = false;
    EXPECT_TRUE(
        isNaN(MVMathUnproject({kNaN, 100.0F, 0.5F}, kIdentity,
                              Camera{1.0F, 1.5F, 1.0F, 10.0F}.projection(), kViewport, &success)));
    EXPECT_TRUE(success);
}

TEST(MVMathUnprojectTest, aViewportWithoutExtentYieldsNaNAndReportsSuccess) {
    for (const Viewport viewport : {Viewport{0, 0, 0, 600}, Viewport{0, 0, 800, 0}}) {
        bool success = false;
        const Point3 point =
            MVMathUnproject({100.0F, 100.0F, 0.5F}, kIdentity, kIdentity, viewport, &success);
        EXPECT_TRUE(isNaN(point));
        EXPECT_TRUE(success);
    }
}

// MVRayPlaneIntersection3F and MVPlaneApplyTransform: the plane's own tests cover the arithmetic.

TEST(MVRayPlaneIntersection3FTest, aRayMeetsAPlane) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 2.0F};
    EXPECT_EQ(MVRayPlaneIntersection3F(plane, {{1.0F, 2.0F, 10.0F}, {0.0F, 0.0F, -2.0F}}),
              (Point3{1.0F, 2.0F, 2.0F}));
}

TEST(MVRayPlaneIntersection3FTest, aParallelRayYieldsTheFlatNullPoint) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 2.0F};
    const Point3 point = MVRayPlaneIntersection3F(plane, {Point3::kZero, {1.0F, 1.0F, 0.0F}});
    EXPECT_TRUE(haveTheSameBytes(point, MVPointNull3F));
}

TEST(MVRayPlaneIntersection3FTest, aRayPointingAwayMeetsThePlaneBehindItsStart) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 0.0F};
    EXPECT_EQ(MVRayPlaneIntersection3F(plane, {{0.0F, 0.0F, 5.0F}, {1.0F, 0.0F, 1.0F}}),
              (Point3{-5.0F, 0.0F, 0.0F}));
}

TEST(MVPlaneApplyTransformTest, aTranslationMovesThePlane) {
    const Plane ground = {{0.0F, 0.0F, 1.0F}, 0.0F};
    EXPECT_EQ(MVPlaneApplyTransform(ground, glm::translate(kIdentity, {0.0F, 0.0F, 5.0F})),
              (Plane{{0.0F, 0.0F, 1.0F}, 5.0F}));
}

TEST(MVPlaneApplyTransformTest, aQuarterTurnAboutXTurnsTheNormalFromZToMinusY) {
    const Plane ground = {{0.0F, 0.0F, 1.0F}, 0.0F};
    const glm::mat4 matrix = glm::rotate(kIdentity, std::acos(0.0F), {1.0F, 0.0F, 0.0F});
    const Plane plane = MVPlaneApplyTransform(ground, matrix);
    expectNear(plane.normal, {0.0F, -1.0F, 0.0F}, 1e-6F);
    EXPECT_EQ(plane.distance, 0.0F);
}
