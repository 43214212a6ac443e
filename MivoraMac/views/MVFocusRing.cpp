#include <algorithm>
#include <glm/ext/matrix_transform.hpp>
#include <glm/matrix.hpp>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "MivoraMac/views/MVFocusRingPrivate.h"
#include "MivoraMac/views/MVQuadPrivate.h"
#include "MivoraMac/views/MVView.h"

using Mivora::platform::AtEnd;

MVFocusRing::MVFocusRing() {
    for (Band* const band : {&outer_, &inner_}) {
        for (std::unique_ptr<MVQuad>& quad : *band) {
            quad = std::make_unique<MVQuad>();
        }
    }
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ =
            cache->shaderForKeyAs<MVShaderPositionUniformColor>("MVShaderPositionUniformColor");
    }
}

MVFocusRing::~MVFocusRing() = default;

void MVFocusRing::draw(MVView& view) {
    const AtEnd done([] { MVView::mv_setCurrentDrawingView(nullptr); });
    // The matrices are those with which the view itself is drawn.
    MVView::mv_setCurrentDrawingView(&view);
    MVShader::mv_readQuadMatrices(projection_, transform_);
    MVShader::mv_setMatrixSource(this);

    const float opacity = view.effectiveOpacity();
    const auto faded = [opacity](Mivora::ColorRGBA color) {
        color.alpha *= opacity;
        return color;
    };
    const Mivora::Point3 origin = view.localOrigin3();
    const Mivora::Rect2 outside = {{origin.x, origin.y}, view.size()};
    drawBand(outer_, outside, kOuterWidth, faded(kOuterColor));
    drawBand(inner_,
             {{origin.x + kOuterWidth, origin.y + kOuterWidth},
              {outside.size.width - 2 * kOuterWidth, outside.size.height - 2 * kOuterWidth}},
             kInnerWidth, faded(kInnerColor));
}

/// Two strips from side to side, and between them one at each side.
void MVFocusRing::drawBand(Band& band, const Mivora::Rect2& rect, float width,
                           Mivora::ColorRGBA color) {
    const auto [x, y] = rect.origin;
    const auto [w, h] = rect.size;
    if (!(w > 0 && h > 0)) {
        return;
    }
    if (w <= 2 * width || h <= 2 * width) {
        drawStrip(*band[0], rect, color);
        return;
    }
    drawStrip(*band[0], {{x, y}, {w, width}}, color);
    drawStrip(*band[1], {{x, y + h - width}, {w, width}}, color);
    drawStrip(*band[2], {{x, y + width}, {width, h - 2 * width}}, color);
    drawStrip(*band[3], {{x + w - width, y + width}, {width, h - 2 * width}}, color);
}

void MVFocusRing::drawStrip(MVQuad& quad, const Mivora::Rect2& rect, Mivora::ColorRGBA color) {
    origin_ = rect.origin;
    quad.setSize(rect.size);
    quad.build(rect.size);
    quad.drawColor(shader_, color, color.alpha < 1 ? MVQuad::Blend::Straight : MVQuad::Blend::Off);
}

MVShaderMatrices MVFocusRing::mv_shaderMatrices() {
    MVShaderMatrices matrices;
    MVFocusRing::mv_readQuadMatrices(matrices.projection, matrices.transform);
    matrices.inverseTransform = glm::inverse(matrices.transform);
    return matrices;
}

void MVFocusRing::mv_readQuadMatrices(glm::mat4& projection, glm::mat4& transform) {
    projection = projection_;
    transform = glm::translate(transform_, {origin_.x, origin_.y, 0.0F});
}
