#include "MivoraMac/geometry/Plane.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <random>

#include <gtest/gtest.h>
#include <glm/gtc/matrix_transform.hpp>

#include "MivoraMac/geometry/MVMath.h"
#include "tests/geometry/ReferenceMatrix.h"
#include "tests/geometry/ValueTypeChecks.h"

using Mivora::Plane;
using Mivora::Point3;
using Mivora::Ray3;

static_assert(isPlainAggregate<Plane>());
static_assert(sizeof(Plane) == 16 && offsetof(Plane, normal) == 0 &&
              offsetof(Plane, distance) == 12);
static_assert(std::is_same_v<decltype(Plane::normal), Point3>);
static_assert(std::is_same_v<decltype(Plane::distance), float>);
static_assert(!HasZero<Plane> && !HasNull<Plane>, "a plane has no constants");

namespace {

constexpr Plane kGround = {{0.0F, 0.0F, 1.0F}, 0.0F};
const glm::mat4 kIdentity(1.0F);

bool isNaN(Point3 point) {
    return std::isnan(point.x) && std::isnan(point.y) && std::isnan(point.z);
}

void expectNear(Point3 point, Point3 expected, float tolerance) {
    EXPECT_NEAR(point.x, expected.x, tolerance);
    EXPECT_NEAR(point.y, expected.y, tolerance);
    EXPECT_NEAR(point.z, expected.z, tolerance);
}

}  // namespace

TEST(PlaneTest, equalityLooksAtNormalAndDistance) {
    const Plane plane = {{1.0F, 2.0F, 3.0F}, 4.0F};
    EXPECT_EQ(plane, (Plane{{1.0F, 2.0F, 3.0F}, 4.0F}));
    EXPECT_NE(plane, (Plane{{9.0F, 2.0F, 3.0F}, 4.0F}));
    EXPECT_NE(plane, (Plane{{1.0F, 2.0F, 3.0F}, 9.0F}));
}

TEST(PlaneTest, aRayTowardsThePlaneMeetsIt) {
    const Ray3 ray = {{1.0F, 2.0F, 10.0F}, {0.0F, 0.0F, -1.0F}};
    EXPECT_EQ(kGround.RayIntersection(ray), (Point3{1.0F, 2.0F, 0.0F}));
}

TEST(PlaneTest, thePlaneLiesAtItsDistanceAlongTheNormal) {
    const Plane plane = {{0.0F, 1.0F, 0.0F}, -3.0F};
    const Ray3 ray = {{1.0F, 5.0F, 2.0F}, {2.0F, -4.0F, 1.0F}};
    EXPECT_EQ(plane.RayIntersection(ray), (Point3{5.0F, -3.0F, 4.0F}));
}

TEST(PlaneTest, theLengthOfTheDirectionDoesNotMoveTheIntersection) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 2.0F};
    const Point3 start = {1.0F, 2.0F, 10.0F};
    const Point3 direction = {0.25F, 0.5F, -1.0F};
    const Point3 expected = {3.0F, 6.0F, 2.0F};
    for (const float length : {0.25F, 1.0F, 8.0F}) {
        EXPECT_EQ(plane.RayIntersection({start, direction * length}), expected) << length;
    }
}

TEST(PlaneTest, aRayPointingAwayMeetsThePlaneBehindItsStart) {
    const Ray3 ray = {{1.0F, 2.0F, 10.0F}, {0.5F, 0.0F, 1.0F}};
    EXPECT_EQ(kGround.RayIntersection(ray), (Point3{-4.0F, 2.0F, 0.0F}));
}

TEST(PlaneTest, aRayParallelToThePlaneYieldsTheNullPoint) {
    const Ray3 ray = {{1.0F, 2.0F, 10.0F}, {3.0F, -4.0F, 0.0F}};
    const Point3 point = kGround.RayIntersection(ray);
    EXPECT_TRUE(haveTheSameBytes(point, Point3::kNull));
    EXPECT_EQ(point.x, kInfinity);
    EXPECT_EQ(point.y, kInfinity);
    EXPECT_EQ(point.z, kInfinity);
}

TEST(PlaneTest, aRayWithinThePlaneIsParallelToo) {
    EXPECT_EQ(kGround.RayIntersection({Point3::kZero, {1.0F, 0.0F, 0.0F}}), Point3::kNull);
}

TEST(PlaneTest, aZeroDirectionOrAZeroNormalIsParallel) {
    EXPECT_EQ(kGround.RayIntersection(Ray3::kZero), Point3::kNull);
    const Plane noPlane = {Point3::kZero, 1.0F};
    EXPECT_EQ(noPlane.RayIntersection({Point3::kZero, {1.0F, 2.0F, 3.0F}}), Point3::kNull);
}

TEST(PlaneTest, aDenominatorOfNegativeZeroIsParallel) {
    const Plane plane = {{0.0F, 0.0F, -1.0F}, 0.0F};
    EXPECT_EQ(plane.RayIntersection({{0.0F, 0.0F, 1.0F}, {-1.0F, -1.0F, 0.0F}}), Point3::kNull);
}

TEST(PlaneTest, aTinyDenominatorIsNotParallel) {
    constexpr float tiny = std::numeric_limits<float>::denorm_min();
    const Ray3 ray = {{0.0F, 0.0F, tiny}, {0.0F, 0.0F, -tiny}};
    EXPECT_EQ(kGround.RayIntersection(ray), Point3::kZero);
}

TEST(PlaneTest, aNaNDenominatorIsNotParallelAndFlowsThrough) {
    const Ray3 ray = {{1.0F, 2.0F, 10.0F}, {0.0F, 0.0F, kNaN}};
    EXPECT_TRUE(isNaN(kGround.RayIntersection(ray)));
    const Plane plane = {{kNaN, 0.0F, 1.0F}, 0.0F};
    EXPECT_TRUE(isNaN(plane.RayIntersection({{1.0F, 2.0F, 3.0F}, {0.0F, 0.0F, -1.0F}})));
}

TEST(PlaneTest, nanInDistanceOrStartPointReachesEveryComponentUnlessTheRayIsParallel) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, kNaN};
    EXPECT_TRUE(isNaN(plane.RayIntersection({{1.0F, 2.0F, 3.0F}, {1.0F, 0.0F, -1.0F}})));
    EXPECT_EQ(plane.RayIntersection({{1.0F, 2.0F, 3.0F}, {1.0F, 0.0F, 0.0F}}), Point3::kNull);
    EXPECT_TRUE(isNaN(kGround.RayIntersection({{kNaN, 2.0F, 3.0F}, {1.0F, 0.0F, -1.0F}})));
    EXPECT_EQ(kGround.RayIntersection({{kNaN, 2.0F, 3.0F}, {1.0F, 0.0F, 0.0F}}), Point3::kNull);
}

TEST(PlaneTest, theNullRayYieldsNaNAndNotTheNullPoint) {
    EXPECT_TRUE(isNaN(kGround.RayIntersection(Ray3::kNull)));
    const Plane slanted = {{0.5F, 0.5F, 0.5F}, 1.0F};
    EXPECT_TRUE(isNaN(slanted.RayIntersection(Ray3::kNull)));
}

TEST(PlaneTest, theIdentityKeepsAPlane) {
    const Plane plane = {{0.0F, 1.0F, 0.0F}, 7.0F};
    EXPECT_EQ(plane.ApplyTransform(kIdentity), plane);
}

TEST(PlaneTest, aTranslationAlongTheNormalAddsToTheDistance) {
    const glm::mat4 matrix = glm::translate(kIdentity, {0.0F, 0.0F, 5.0F});
    EXPECT_EQ(kGround.ApplyTransform(matrix), (Plane{{0.0F, 0.0F, 1.0F}, 5.0F}));
}

TEST(PlaneTest, aTranslationWithinThePlaneKeepsIt) {
    const glm::mat4 matrix = glm::translate(kIdentity, {3.0F, -4.0F, 0.0F});
    EXPECT_EQ(kGround.ApplyTransform(matrix), kGround);
}

TEST(PlaneTest, aQuarterTurnAboutXTurnsTheNormalFromZToMinusY) {
    const float quarterTurn = std::acos(0.0F);
    const glm::mat4 matrix = glm::rotate(kIdentity, quarterTurn, {1.0F, 0.0F, 0.0F});
    const Plane plane = kGround.ApplyTransform(matrix);
    expectNear(plane.normal, {0.0F, -1.0F, 0.0F}, 1e-6F);
    EXPECT_EQ(plane.distance, 0.0F);
}

TEST(PlaneTest, pointsOfThePlaneStayOnItUnderARigidTransform) {
    const Plane plane = {{0.6F, 0.0F, 0.8F}, 3.0F};
    const Point3 onPlane = {5.0F, 7.0F, 0.0F};  // 0.6 * 5 = 3
    glm::mat4 matrix = glm::translate(kIdentity, {1.0F, 2.0F, 3.0F});
    matrix = glm::rotate(matrix, 0.7F, {0.0F, 1.0F, 0.0F});
    const Plane carried = plane.ApplyTransform(matrix);
    const glm::vec4 point = matrix * glm::vec4(onPlane.x, onPlane.y, onPlane.z, 1.0F);
    EXPECT_NEAR(
        carried.normal.x * point.x + carried.normal.y * point.y + carried.normal.z * point.z,
        carried.distance, 1e-5F);
    const Point3 n = carried.normal;
    EXPECT_NEAR(n.x * n.x + n.y * n.y + n.z * n.z, 1.0F, 1e-6F);
}

TEST(PlaneTest, aUniformScaleMakesTheNormalLongerAndTheDistanceItsSquare) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 3.0F};
    const Plane scaled = plane.ApplyTransform(glm::scale(kIdentity, glm::vec3(2.0F)));
    EXPECT_EQ(scaled, (Plane{{0.0F, 0.0F, 2.0F}, 12.0F}));
}

TEST(PlaneTest, aNonUniformScaleCarriesTheNormalByTheMatrixItselfAndDoesNotNormaliseIt) {
    const Plane plane = {{0.6F, 0.8F, 0.0F}, 10.0F};
    const Plane scaled = plane.ApplyTransform(glm::scale(kIdentity, {2.0F, 1.0F, 1.0F}));
    // The point (6, 8, 0) goes to (12, 8, 0), the normal to (1.2, 0.8, 0).
    expectNear(scaled.normal, {1.2F, 0.8F, 0.0F}, 1e-6F);
    EXPECT_NEAR(scaled.distance, 1.2F * 12.0F + 0.8F * 8.0F, 1e-5F);
}

TEST(PlaneTest, theWOfTheCarriedPointIsNotDividedOut) {
    glm::mat4 matrix(1.0F);
    matrix[3][3] = 2.0F;
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 4.0F};
    EXPECT_EQ(plane.ApplyTransform(matrix), plane);
}

TEST(PlaneTest, aZeroMatrixYieldsAZeroPlane) {
    const Plane plane = {{0.0F, 0.0F, 1.0F}, 4.0F};
    EXPECT_EQ(plane.ApplyTransform(glm::mat4(0.0F)), (Plane{Point3::kZero, 0.0F}));
}

TEST(PlaneTest, nanAndInfinityFlowThroughATransform) {
    glm::mat4 matrix(1.0F);
    matrix[3][2] = kNaN;
    const Plane moved = kGround.ApplyTransform(matrix);
    EXPECT_EQ(moved.normal.x, 0.0F);
    EXPECT_EQ(moved.normal.y, 0.0F);
    EXPECT_TRUE(std::isnan(moved.normal.z)) << "even a vector, whose w is 0, meets the NaN";
    EXPECT_TRUE(std::isnan(moved.distance));
    matrix[3][2] = kInfinity;
    EXPECT_TRUE(std::isnan(kGround.ApplyTransform(matrix).distance));
    const Plane nanPlane = {{0.0F, 0.0F, 1.0F}, kNaN};
    EXPECT_EQ(nanPlane.ApplyTransform(kIdentity).normal, nanPlane.normal);
    EXPECT_TRUE(std::isnan(nanPlane.ApplyTransform(kIdentity).distance));
}

TEST(PlaneTest, membersAndFunctionsComputeTheSameBytes) {
    std::mt19937 generator(20240511);
    std::uniform_real_distribution<float> component(-10.0F, 10.0F);
    const auto point = [&] {
        const float x = component(generator);
        const float y = component(generator);
        return Point3{x, y, component(generator)};
    };
    for (int i = 0; i < 1000; ++i) {
        const Plane plane = {point(), component(generator)};
        const Ray3 ray = {point(), i % 10 == 0 ? Point3::kZero : point()};
        const glm::mat4 matrix = reference::randomMatrix(generator);
        EXPECT_TRUE(
            haveTheSameBytes(MVRayPlaneIntersection3F(plane, ray), plane.RayIntersection(ray)));
        EXPECT_TRUE(
            haveTheSameBytes(MVPlaneApplyTransform(plane, matrix), plane.ApplyTransform(matrix)));
    }
}
