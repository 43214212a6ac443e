#include "MivoraMac/platform/OpenGLView.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

#include "MivoraMac/platform/GLContext.h"
#include "MivoraMac/platform/Screen.h"

namespace Mivora::platform {

namespace {

double extent(double value) {
    return value > 0 ? value : 0;
}

int pixels(double points, double scale) {
    constexpr double kMaximum = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(points * scale, kMaximum));
}

}  // namespace

OpenGLView::OpenGLView() : backingScaleFactor_(Screen::mainScreen()->backingScaleFactor()) {}

OpenGLView::~OpenGLView() {
    if (context_ && context_->view() == this) {
        context_->setView(nullptr);
    }
}

void OpenGLView::setBounds(const Rect& bounds) {
    bounds_ = {bounds.x, bounds.y, extent(bounds.width), extent(bounds.height)};
    resizeDrawable();
}

void OpenGLView::setBackingScaleFactor(double factor) {
    if (std::isfinite(factor) && factor > 0) {
        backingScaleFactor_ = factor;
        resizeDrawable();
    }
}

PixelSize OpenGLView::backingSize() const {
    return {pixels(bounds_.width, backingScaleFactor_),
            pixels(bounds_.height, backingScaleFactor_)};
}

void OpenGLView::setPixelFormat(std::shared_ptr<PixelFormat> format) {
    pixelFormat_ = std::move(format);
}

void OpenGLView::setOpenGLContext(std::shared_ptr<GLContext> context) {
    if (context_ && context_ != context && context_->view() == this) {
        context_->setView(nullptr);
    }
    context_ = std::move(context);
}

void OpenGLView::resizeDrawable() {
    if (context_ && context_->view() == this) {
        context_->drawable().setSize(backingSize());
    }
}

}  // namespace Mivora::platform
