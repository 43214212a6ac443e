// Placement, matrices and conversion between views.

#include <cmath>
#include <glm/vec4.hpp>
#include <limits>

#include "MivoraMac/geometry/Float4Private.h"
#include "MivoraMac/geometry/MatrixPrivate.h"
#include "MivoraMac/views/MVView.h"
#include "MivoraMac/views/MVViewTreePrivate.h"

using Mivora::Float4;
using Mivora::Float4x4;

namespace {

struct SineCosine {
    float sine = 0.0F;
    float cosine = 1.0F;

    explicit SineCosine(float angle) {
        if (angle != 0.0F) {
            sine = std::sin(angle);
            cosine = std::cos(angle);
        }
    }
};

/// Rx · Ry · Rz · S(scale), multiplied out.
Float4x4 turnedAndScaled(Mivora::Point3 rotation, float scale) {
    const SineCosine z(rotation.z);
    Float4x4 result;
    if (rotation.x == 0.0F && rotation.y == 0.0F) {
        result.column[0] = Float4{z.cosine, z.sine, 0.0F, 0.0F} * scale;
        result.column[1] = Float4{-z.sine, z.cosine, 0.0F, 0.0F} * scale;
        result.column[2] = Float4{0.0F, 0.0F, 1.0F, 0.0F} * scale;
    } else {
        const SineCosine x(rotation.x);
        const SineCosine y(rotation.y);
        const float sineXSineY = x.sine * y.sine;
        const float cosineXSineY = x.cosine * y.sine;
        result.column[0] = Float4{y.cosine * z.cosine, sineXSineY * z.cosine + x.cosine * z.sine,
                                  x.sine * z.sine - cosineXSineY * z.cosine, 0.0F} *
                           scale;
        result.column[1] = Float4{-(y.cosine * z.sine), x.cosine * z.cosine - sineXSineY * z.sine,
                                  cosineXSineY * z.sine + x.sine * z.cosine, 0.0F} *
                           scale;
        result.column[2] = Float4{y.sine, -(x.sine * y.cosine), x.cosine * y.cosine, 0.0F} * scale;
    }
    result.column[3] = Float4{0.0F, 0.0F, 0.0F, 1.0F};
    return result;
}

/// What `from` · (point, 1) becomes under `to`, the w in between taken as 1.
Mivora::Point3 convert(Mivora::Point3 point, const glm::mat4& from, const glm::mat4& to) {
    const glm::vec4 world = from * glm::vec4(point.x, point.y, point.z, 1.0F);
    const glm::vec4 result = to * glm::vec4(world.x, world.y, world.z, 1.0F);
    return {result.x, result.y, result.z};
}

}  // namespace

// Placement

void MVView::setPosition3(Mivora::Point3 position) {
    if (position_ == position) {
        return;
    }
    position_ = position;
    mv_setLocalTransformMatrixDirty();
}

void MVView::setPosition(Mivora::Point2 position) {
    setPosition3({position.x, position.y, position_.z});
}

void MVView::setSize3(Mivora::Size3 size) {
    if (size_ == size) {
        return;
    }
    size_ = size;
    mv_setLocalTransformMatrixDirty();
    mv_setLayoutDirty();
}

void MVView::setSize(Mivora::Size2 size) {
    setSize3({size.width, size.height, size_.depth});
}

void MVView::setRotation3(Mivora::Point3 rotation) {
    if (rotation_ == rotation) {
        return;
    }
    rotation_ = rotation;
    turnOrScaleDirty_ = true;
    mv_setLocalTransformMatrixDirty();
}

void MVView::setRotation(float rotation) {
    setRotation3({rotation_.x, rotation_.y, rotation});
}

void MVView::setUniformScale(float scale) {
    if (scale_ == scale) {
        return;
    }
    scale_ = scale;
    turnOrScaleDirty_ = true;
    mv_setLocalTransformMatrixDirty();
}

void MVView::setAnchorPoint3(Mivora::Point3 anchorPoint) {
    if (anchorPoint_ == anchorPoint) {
        return;
    }
    anchorPoint_ = anchorPoint;
    mv_setLocalTransformMatrixDirty();
}

void MVView::setAnchorPoint(Mivora::Point2 anchorPoint) {
    setAnchorPoint3({anchorPoint.x, anchorPoint.y, anchorPoint_.z});
}

void MVView::setLocalOrigin3(Mivora::Point3 localOrigin) {
    if (localOrigin_ == localOrigin) {
        return;
    }
    localOrigin_ = localOrigin;
    mv_setLocalTransformMatrixDirty();
}

void MVView::setLocalOrigin(Mivora::Point2 localOrigin) {
    setLocalOrigin3({localOrigin.x, localOrigin.y, localOrigin_.z});
}

void MVView::setCoordinateSystem(std::int32_t coordinateSystem) {
    if (coordinateSystem_ == coordinateSystem) {
        return;
    }
    coordinateSystem_ = coordinateSystem;
    mv_setLocalTransformMatrixDirty();
}

// Matrices

glm::mat4 MVView::transformMatrix() {
    mv_buildTransformMatrix();
    return transformMatrix_;
}

glm::mat4 MVView::inverseTransformMatrix() {
    return inverseMatrix();
}

const glm::mat4& MVView::inverseMatrix() {
    mv_buildTransformMatrix();
    if (inverseTransformMatrixDirty_) {
        inverseTransformMatrix_ = Mivora::invertMatrix(transformMatrix_, nullptr);
        inverseTransformMatrixDirty_ = false;
    }
    return inverseTransformMatrix_;
}

glm::mat4 MVView::mv_localTransformMatrix() {
    return placement();
}

void MVView::mv_setLocalTransformMatrixDirty() {
    localTransformMatrixDirty_ = true;
    mv_setTransformMatrixDirty();
}

void MVView::mv_setTransformMatrixDirty() {
    MVViewTree::visitSubtree(*this, [](MVView& view, std::size_t) {
        view.transformMatrixDirty_ = true;
        view.worldInteractionPlaneDirty_ = true;
        view.mv_setDrawDirty();
    });
}

void MVView::mv_buildLocalTransformMatrix() {
    if (localTransformMatrixDirty_) {
        placement();
    }
}

/// The local transform, which is computed and stored if it is marked. What was just computed is not
/// read again from where it is stored: that would wait for it.
inline glm::mat4 MVView::placement() {
    if (!localTransformMatrixDirty_) {
        return Mivora::matrixOf(Mivora::unpackedUpperRows(
            localTransformRows_,
            localTransformIsFinite_ ? 1.0F : std::numeric_limits<float>::quiet_NaN()));
    }
    Float4x4 local = turnOrScaleDirty_ ? turnedAndScaled(rotation_, scale_)
                                       : Mivora::unpackedUpperRows(localTransformRows_, 1.0F);
    local.column[3] = Float4{position_.x, position_.y, position_.z, 1.0F} -
                      local.column[0] * (anchorPoint_.x * size_.width) -
                      local.column[1] * (anchorPoint_.y * size_.height) -
                      local.column[2] * (anchorPoint_.z * size_.depth);
    turnOrScaleDirty_ = false;
    Mivora::packUpperRows(local, localTransformRows_);
    localTransformIsFinite_ = local.column[3][3] == 1.0F;
    localTransformMatrixDirty_ = false;
    return Mivora::matrixOf(local);
}

void MVView::mv_buildTransformMatrix() {
    if (!transformMatrixDirty_) {
        return;
    }
    MVViewTree::buildFromTop(
        *this,
        [](MVView& view) {
            view.mv_transformMatrixWillBuild();
            const MVView* const superview = view.superviewPointer();
            return superview != nullptr && superview->transformMatrixDirty_;
        },
        [](MVView& view) {
            MVView* const superview = view.superviewPointer();
            view.computeTransformMatrix(
                superview, superview != nullptr ? superview->transformMatrix() : glm::mat4(1.0F));
            view.mv_transformMatrixDidBuild();
        });
}

/// @param superview   null for none
/// @param worldAbove  its world transform
void MVView::computeTransformMatrix(const MVView* superview, const glm::mat4& worldAbove) {
    Float4x4 world = Mivora::columnsOf(placement());
    std::int32_t coordinateSystemAbove = 0;
    if (superview != nullptr) {
        coordinateSystemAbove = superview->coordinateSystem_;
        const Float4x4 above = Mivora::columnsOf(worldAbove);
        for (Float4& column : world.column) {
            column = above * column;
        }
    }
    if (coordinateSystemAbove != coordinateSystem_) {
        // · T(0, height, 0) · S(1, -1, 1)
        world.column[3] += world.column[1] * size_.height;
        world.column[1] = -world.column[1];
    }
    if (localOrigin_ != Mivora::Point3::kZero) {
        // · T(-localOrigin)
        world.column[3] -= world.column[0] * localOrigin_.x + world.column[1] * localOrigin_.y +
                           world.column[2] * localOrigin_.z;
    }
    transformMatrix_ = Mivora::matrixOf(world);
    inverseTransformMatrixDirty_ = true;
    transformMatrixDirty_ = false;
}

void MVView::mv_transformMatrixWillBuild() {}

void MVView::mv_transformMatrixDidBuild() {}

// Conversion

Mivora::Point3 MVView::convertPoint3FToView(Mivora::Point3 point,
                                            const std::shared_ptr<MVView>& view) {
    return convert(point, transformMatrix(),
                   view != nullptr ? view->inverseTransformMatrix() : glm::mat4(0.0F));
}

Mivora::Point3 MVView::convertPoint3FFromView(Mivora::Point3 point,
                                              const std::shared_ptr<MVView>& view) {
    return convert(point, view != nullptr ? view->transformMatrix() : glm::mat4(0.0F),
                   inverseTransformMatrix());
}

Mivora::Point2 MVView::convertPoint2FToView(Mivora::Point2 point,
                                            const std::shared_ptr<MVView>& view) {
    const Mivora::Point3 result = convertPoint3FToView({point.x, point.y, 0.0F}, view);
    return {result.x, result.y};
}

Mivora::Point2 MVView::convertPoint2FFromView(Mivora::Point2 point,
                                              const std::shared_ptr<MVView>& view) {
    const Mivora::Point3 result = convertPoint3FFromView({point.x, point.y, 0.0F}, view);
    return {result.x, result.y};
}

Mivora::Point3 MVView::convertVector3FToView(Mivora::Point3 vector,
                                             const std::shared_ptr<MVView>& view) {
    return convertPoint3FToView(vector, view) - convertPoint3FToView(Mivora::Point3::kZero, view);
}

Mivora::Point3 MVView::convertVector3FFromView(Mivora::Point3 vector,
                                               const std::shared_ptr<MVView>& view) {
    return convertPoint3FFromView(vector, view) -
           convertPoint3FFromView(Mivora::Point3::kZero, view);
}

Mivora::Point2 MVView::convertVector2FToView(Mivora::Point2 vector,
                                             const std::shared_ptr<MVView>& view) {
    const Mivora::Point3 result = convertVector3FToView({vector.x, vector.y, 0.0F}, view);
    return {result.x, result.y};
}

Mivora::Point2 MVView::convertVector2FFromView(Mivora::Point2 vector,
                                               const std::shared_ptr<MVView>& view) {
    const Mivora::Point3 result = convertVector3FFromView({vector.x, vector.y, 0.0F}, view);
    return {result.x, result.y};
}
