#include "MivoraMac/views/MVColorView.h"

#include <typeinfo>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionUniformColor.h"
#include "MivoraMac/views/MVQuadPrivate.h"
#include "MivoraMac/views/MVQuadVisitPrivate.h"

namespace {

MVQuad::Blend blendOf(Mivora::ColorRGBA color) {
    return color.alpha < 1.0F ? MVQuad::Blend::Straight : MVQuad::Blend::Off;
}

}  // namespace

std::shared_ptr<MVColorView> MVColorView::init() {
    return MVMake<MVColorView>();
}

std::shared_ptr<MVColorView> MVColorView::initWithColor(Mivora::ColorRGBA color) {
    return MVMake<MVColorView>(color);
}

MVColorView::MVColorView(Mivora::ColorRGBA color)
    : color_(color), quad_(std::make_unique<MVQuad>()) {
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

/// With the view's opacity in it.
Mivora::ColorRGBA MVColorView::fadedColor() {
    return {color_.red, color_.green, color_.blue, color_.alpha * effectiveOpacity()};
}

void MVColorView::draw() {
    mv_buildQuadVertices();
    const Mivora::ColorRGBA color = fadedColor();
    quad_->drawColor(shader_, color, blendOf(color));
}

bool MVColorView::mv_recordQuad(MVQuadVisit& visit) {
    if (typeid(*this) != typeid(MVColorView)) {
        return false;  // `draw` may be another one
    }
    mv_buildQuadVertices();
    const Mivora::ColorRGBA color = fadedColor();
    return visit.add(*this, *quad_, shader_, color, 0, blendOf(color));
}
