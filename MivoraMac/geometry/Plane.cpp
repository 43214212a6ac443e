#include "MivoraMac/geometry/Plane.h"

#include "MivoraMac/geometry/Float4Private.h"

namespace Mivora {

namespace {

Point3 transformed(const Float4x4& matrix, Point3 point, float w) {
    const Float4 result = matrix * Float4{point.x, point.y, point.z, w};
    return {result[0], result[1], result[2]};
}

}  // namespace

Plane Plane::ApplyTransform(glm::mat4 matrix) const {
    const Float4x4 columns = columnsOf(matrix);
    const Point3 carriedPoint = transformed(columns, normal * distance, 1.0F);
    const Point3 carriedNormal = transformed(columns, normal, 0.0F);
    return {carriedNormal, dot(carriedNormal, carriedPoint)};
}

}  // namespace Mivora
