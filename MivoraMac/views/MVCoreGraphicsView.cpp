#include "MivoraMac/views/MVCoreGraphicsView.h"

#include <cairo.h>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/text/TextLayoutPrivate.h"
#include "MivoraMac/views/MVRenderedImagePrivate.h"

namespace {

/// Puts the origin `height` units down and turns y to run up, or back.
void turnOver(cairo_t* context, double height) {
    cairo_translate(context, 0, height);
    cairo_scale(context, 1, -1);
}

}  // namespace

std::shared_ptr<MVCoreGraphicsView> MVCoreGraphicsView::init() {
    return MVMake<MVCoreGraphicsView>();
}

MVCoreGraphicsView::MVCoreGraphicsView() : rendered_(std::make_unique<MVRenderedImage>()) {}

MVCoreGraphicsView::~MVCoreGraphicsView() = default;

void MVCoreGraphicsView::setNeedsCoreGraphicsDraw() {
    rendered_->setDirty();
    setNeedsDraw();
}

void MVCoreGraphicsView::setSize3(Mivora::Size3 size) {
    MVView::setSize3(size);
    if (rendered_->setSize({size.width, size.height})) {
        setNeedsDraw();
    }
}

const std::shared_ptr<MVMutableImage>& MVCoreGraphicsView::mv_renderImage() const {
    return rendered_->image();
}

void MVCoreGraphicsView::mv_renderCoreGraphicsTexture() {
    rendered_->render(*this, 1.0F, [this](cairo_t* context) {
        turnOver(context, size().height);
        coreGraphicsDrawWithContext(context);
    });
}

void MVCoreGraphicsView::mv_buildQuadVertices() {
    if (rendered_->buildQuad(*this)) {
        setNeedsDraw();
    }
}

void MVCoreGraphicsView::coreGraphicsDrawWithContext(cairo_t* /*context*/) {}

void MVCoreGraphicsView::draw() {
    mv_renderCoreGraphicsTexture();
    if (!rendered_->image()) {
        return;
    }
    mv_buildQuadVertices();
    rendered_->draw(*this);
}

void MVCoreGraphicsDrawAttributedString(
    cairo_t* context, const std::shared_ptr<const Mivora::platform::AttributedString>& string,
    Mivora::Rect2 rect) {
    if (context == nullptr || !string) {
        return;
    }
    const Mivora::platform::TextLayout layout(string, rect.size.width, rect.size.height);
    cairo_save(context);
    cairo_translate(context, rect.origin.x, rect.origin.y);
    turnOver(context, rect.size.height);
    layout.draw(context);
    cairo_restore(context);
}
