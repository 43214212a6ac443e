#include "MivoraMac/platform/gtk/PlaneTransformPrivate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <glm/gtc/matrix_transform.hpp>
#include <limits>

namespace {

using Mivora::platform::PlaneTransform;

constexpr double kTolerance = 0.05;

/// Where a point is put, step by step.
glm::dvec2 put(const PlaneTransform& transform, glm::dvec2 point) {
    point *= glm::dvec2(transform.scaleX, transform.scaleY);
    point.x += std::tan(glm::radians(transform.shearDegrees)) * point.y;
    const double angle = glm::radians(transform.degrees);
    return {transform.x + std::cos(angle) * point.x - std::sin(angle) * point.y,
            transform.y + std::sin(angle) * point.x + std::cos(angle) * point.y};
}

/// What no view has: it makes what is far away small.
glm::dmat4 eye(double distance) {
    glm::dmat4 matrix(1.0);
    matrix[2][3] = -1 / distance;
    return matrix;
}

TEST(PlaneTransformTest, whatIsOnlyMovedIsOnlyMoved) {
    glm::dmat4 matrix = glm::translate(glm::dmat4(1.0), glm::dvec3(20, 30, 0));
    matrix[2] = {-1.2, 0.6, 1, -0.01};  // of what is not in the plane
    matrix[0][0] = 1.00001;
    const auto transform = PlaneTransform::of(matrix, 60, 40, kTolerance);
    ASSERT_TRUE(transform);
    EXPECT_EQ(transform->x, 20);
    EXPECT_EQ(transform->y, 30);
    EXPECT_EQ(transform->degrees, 0);
    EXPECT_EQ(transform->shearDegrees, 0);
    EXPECT_EQ(transform->scaleX, 1);
    EXPECT_EQ(transform->scaleY, 1);
}

TEST(PlaneTransformTest, everyCornerLiesWhereTheMatrixPutsIt) {
    glm::dmat4 matrix(1.0);
    matrix = glm::translate(matrix, glm::dvec3(100, 50, 0));
    matrix = glm::rotate(matrix, 2.5, glm::dvec3(0, 0, 1));
    matrix = glm::rotate(matrix, 0.7, glm::dvec3(0.6, 0.8, 0));
    matrix = glm::scale(matrix, glm::dvec3(1.5, -0.5, 1));
    const auto transform = PlaneTransform::of(matrix, 60, 40, kTolerance);
    ASSERT_TRUE(transform);
    EXPECT_NE(transform->shearDegrees, 0);
    for (const glm::dvec2 corner : {glm::dvec2(0, 0), {60, 0}, {0, 40}, {60, 40}, {13, 7}}) {
        const glm::dvec4 there = matrix * glm::dvec4(corner, 0, 1);
        const glm::dvec2 here = put(*transform, corner);
        EXPECT_NEAR(here.x, there.x, 1e-9);
        EXPECT_NEAR(here.y, there.y, 1e-9);
    }
}

TEST(PlaneTransformTest, perspectiveMakesNoParallelogram) {
    const glm::dmat4 matrix = eye(200) * glm::rotate(glm::dmat4(1.0), 1.0, glm::dvec3(0, 1, 0));
    EXPECT_FALSE(PlaneTransform::of(matrix, 60, 40, kTolerance));
    const auto nearest =
        PlaneTransform::of(matrix, 60, 40, std::numeric_limits<double>::infinity());
    ASSERT_TRUE(nearest);
    const glm::dvec4 corner = matrix * glm::dvec4(60, 0, 0, 1);
    EXPECT_NEAR(put(*nearest, {60, 0}).x, corner.x / corner.w, 1e-9);
    EXPECT_NEAR(put(*nearest, {60, 0}).y, corner.y / corner.w, 1e-9);
    EXPECT_NEAR(put(*nearest, {0, 40}).y, 40, 1e-9);
}

TEST(PlaneTransformTest, whatIsSeenFromItsEdgeIsNotSeen) {
    constexpr double kQuarter = 1.5707963267948966;
    glm::dmat4 edge(1.0);
    edge[0][0] = 0;
    EXPECT_FALSE(PlaneTransform::of(edge, 60, 40, kTolerance)->isSeen());
    edge = glm::dmat4(1.0);
    edge[1][1] = 0;
    EXPECT_FALSE(PlaneTransform::of(edge, 60, 40, kTolerance)->isSeen());
    edge = glm::rotate(glm::dmat4(1.0), kQuarter, glm::dvec3(0, 0, 1));
    EXPECT_TRUE(PlaneTransform::of(edge, 60, 40, kTolerance)->isSeen());
}

TEST(PlaneTransformTest, numbersThatAreNoneMakeNone) {
    glm::dmat4 matrix(1.0);
    matrix[3][0] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(PlaneTransform::of(matrix, 60, 40, kTolerance));
    EXPECT_FALSE(
        PlaneTransform::of(glm::dmat4(0.0), 60, 40, std::numeric_limits<double>::infinity()));
}

}  // namespace
