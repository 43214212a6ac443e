#include "MivoraMac/views/MVColorView.h"

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "MivoraMac/views/MVQuadPrivate.h"

std::shared_ptr<MVColorView> MVColorView::init() {
    return MVMake<MVColorView>();
}

std::shared_ptr<MVColorView> MVColorView::initWithColor(Mivora::ColorRGBA color) {
    return MVMake<MVColorView>(color);
}

MVColorView::MVColorView(Mivora::ColorRGBA color)
    : color_(color), quad_(std::make_unique<MVQuad>(MVQuad::Vertices::Position)) {
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ =
            cache->shaderForKeyAs<MVShaderPositionUniformColor>("MVShaderPositionUniformColor");
    }
}

MVColorView::~MVColorView() = default;

void MVColorView::setColor(Mivora::ColorRGBA color) {
    if (color_ == color) {
        return;
    }
    color_ = color;
    setNeedsDraw();
}

void MVColorView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    quad_->setSize({size.width, size.height});
}

void MVColorView::mv_buildQuadVertices() {
    quad_->build(size());
}

void MVColorView::draw() {
    mv_buildQuadVertices();
    Mivora::ColorRGBA color = color_;
    color.alpha *= effectiveOpacity();
    quad_->drawColor(shader_, color,
                     color.alpha < 1.0F ? MVQuad::Blend::Straight : MVQuad::Blend::Off);
}
