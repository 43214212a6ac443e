#include "MivoraMac/geometry/MVMath.h"

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/geometry/MatrixPrivate.h"

using Mivora::columnsOf;
using Mivora::Float4;
using Mivora::Plane;
using Mivora::Point3;
using Mivora::Ray3;
using Mivora::Viewport;

namespace {

void report(bool* flag, bool value) {
    if (flag != nullptr) {
        *flag = value;
    }
}

}  // namespace

glm::mat4 MVMatrix4Invert(glm::mat4 matrix, bool* invertible) {
    Mivora::Adjugate adjugate = Mivora::adjugateOf(matrix);
    if (adjugate.determinant == 0.0F) {
        report(invertible, false);
        return adjugate.matrix;
    }
    const double reciprocal = 1.0 / static_cast<double>(adjugate.determinant);
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) {
            float& entry = adjugate.matrix[column][row];
            entry = static_cast<float>(static_cast<double>(entry) * reciprocal);
        }
    }
    report(invertible, true);
    return adjugate.matrix;
}

Point3 MVMathProject(Point3 objectPoint, glm::mat4 model, glm::mat4 projection, Viewport viewport) {
    const Float4 object = {objectPoint.x, objectPoint.y, objectPoint.z, 1.0F};
    const Float4 clip = columnsOf(projection) * (columnsOf(model) * object);
    const float w = clip[3];
    if (w == 0.0F) {
        return Point3::kZero;
    }
    const Float4 unit = clip / w * 0.5F + 0.5F;
    return {static_cast<float>(viewport.x) + static_cast<float>(viewport.width) * unit[0],
            static_cast<float>(viewport.y) + static_cast<float>(viewport.height) * unit[1],
            unit[2]};
}

Point3 MVMathUnproject(Point3 windowPoint, glm::mat4 model, glm::mat4 projection, Viewport viewport,
                       bool* success) {
    bool invertible = false;
    const glm::mat4 inverse = Mivora::invertMatrix(model * projection, &invertible);
    if (!invertible) {
        report(success, false);
        return Point3::kZero;
    }
    const float left = static_cast<float>(viewport.x);
    const float bottom = static_cast<float>(viewport.y);
    const float width = static_cast<float>(viewport.width);
    const float height = static_cast<float>(viewport.height);
    const Float4 normalised = {2.0F * (windowPoint.x - left) / width - 1.0F,
                               2.0F * (windowPoint.y - bottom) / height - 1.0F,
                               2.0F * windowPoint.z - 1.0F, 1.0F};
    const Float4 object = columnsOf(inverse) * normalised;
    const float w = object[3];
    if (w == 0.0F) {
        report(success, false);
        return Point3::kZero;
    }
    report(success, true);
    return {object[0] / w, object[1] / w, object[2] / w};
}

Point3 MVRayPlaneIntersection3F(Plane plane, Ray3 ray) {
    return plane.RayIntersection(ray);
}

Plane MVPlaneApplyTransform(Plane plane, glm::mat4 matrix) {
    return plane.ApplyTransform(matrix);
}
