#include <cairo.h>
#include <epoxy/gl.h>

#include <cmath>
#include <optional>

#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/text/PixelCanvasPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/render/MVShaderPositionTextureUniformColor.h"
#include "MivoraMac/views/MVQuadPrivate.h"
#include "MivoraMac/views/MVRenderedImagePrivate.h"
#include "MivoraMac/views/MVView.h"

using Mivora::Size2;
using Mivora::platform::DebugLog;
using Mivora::platform::PixelCanvas;

namespace {

/// What every driver has textures of.
constexpr float kSurelyPossible = 1024;

/// What Cairo draws into at the most.
constexpr float kLargestCanvas = 32767;

}  // namespace

MVRenderedImage::MVRenderedImage()
    : quad_(std::make_unique<MVTextureQuad>()) {
    if (const auto cache = MVShaderCache::sharedCache()) {
        shader_ = cache->shaderForKeyAs<MVShaderPositionTextureUniformColor>(
            "MVShaderPositionTextureUniformColor");
    }
}

MVRenderedImage::~MVRenderedImage() = default;

bool MVRenderedImage::setSize(Size2 size) {
    const bool marks = !image_ || image_->size() != size;
    if (marks) {
        isDirty_ = true;
    }
    quad_->setSize(size);
    return marks;
}

void MVRenderedImage::render(MVView& view, float textureScale, const Drawing& drawing) {
    const Size2 size = view.size();
    if (!isDirty_ || !(size.width > 0) || !(size.height > 0)) {
        return;
    }
    const float scale = view.contentScaleFactor();
    const Size2 pixels = {std::ceil(size.width * scale * textureScale),
                          std::ceil(size.height * scale * textureScale)};
    if (!(pixels.width > 0) || !(pixels.height > 0)) {
        return;
    }
    std::optional<PixelCanvas> canvas;
    if (hasRoomFor(pixels)) {
        canvas =
            PixelCanvas::create({static_cast<int>(pixels.width), static_cast<int>(pixels.height)});
    }
    if (!canvas) {
        refuse(pixels);
        return;
    }
    refused_ = Size2::kZero;
    cairo_set_operator(canvas->context(), CAIRO_OPERATOR_SOURCE);
    cairo_scale(canvas->context(), static_cast<double>(pixels.width) / size.width,
                static_cast<double>(pixels.height) / size.height);
    drawing(canvas->context());

    const auto width = static_cast<std::uint64_t>(pixels.width);
    const auto height = static_cast<std::uint64_t>(pixels.height);
    constexpr std::int32_t kTopRowFirst = 0;
    constexpr bool kPremultiplied = true;
    if (image_) {
        image_->mv_replaceWithPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            canvas->finish(), width, height, scale, kTopRowFirst, kPremultiplied, GL_RGBA);
    } else {
        image_ = MVMutableImage::init();
        image_->mv_loadPixelsWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            canvas->finish(), width, height, scale, kTopRowFirst, kPremultiplied, GL_RGBA);
    }
    isDirty_ = false;
}

bool MVRenderedImage::hasRoomFor(Size2 pixels) const {
    const float larger = std::fmax(pixels.width, pixels.height);
    if (larger > kLargestCanvas) {
        return false;
    }
    if (larger <= kSurelyPossible || !quad_->context()) {
        return true;
    }
    GLint largest = 0;
    quad_->context()->mv_dispatchBlockSync(
        [&largest] { glGetIntegerv(GL_MAX_TEXTURE_SIZE, &largest); });
    return larger <= static_cast<float>(largest);
}

void MVRenderedImage::refuse(Size2 pixels) {
    image_.reset();
    if (refused_ != pixels) {
        refused_ = pixels;
        DebugLog::warn(DebugLog::Category::Images,
                       "a view is not drawn: no texture can have its %.0f x %.0f pixels",
                       static_cast<double>(pixels.width), static_cast<double>(pixels.height));
    }
}

bool MVRenderedImage::buildQuad(MVView& view) {
    if (!image_ || !quad_->isDirty()) {
        return false;
    }
    quad_->build(view.size(), image_->coordinateSpace());
    return true;
}

void MVRenderedImage::draw(MVView& view) const {
    quad_->drawImage(shader_, image_, view.effectiveOpacity());
}
