#include "MivoraMac/geometry/Plane.h"

#include "MivoraMac/geometry/Float4Private.h"

namespace Mivora {

namespace {

float dot(Point3 a, Point3 b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

Point3 transformed(const Float4x4& matrix, Point3 point, float w) {
    const Float4 result = matrix * Float4{point.x, point.y, point.z, w};
    return {result[0], result[1], result[2]};
}

}  // namespace

Point3 Plane::RayIntersection(Ray3 ray) const {
    const float denominator = dot(normal, ray.direction);
    if (denominator == 0.0F) {
        return Point3::kNull;
    }
    const float t = (distance - dot(normal, ray.startPoint)) / denominator;
    return ray.startPoint + ray.direction * t;
}

Plane Plane::ApplyTransform(glm::mat4 matrix) const {
    const Float4x4 columns = columnsOf(matrix);
    const Point3 carriedPoint = transformed(columns, normal * distance, 1.0F);
    const Point3 carriedNormal = transformed(columns, normal, 0.0F);
    return {carriedNormal, dot(carriedNormal, carriedPoint)};
}

}  // namespace Mivora
