#include "MivoraMac/app/MVCapture.h"

#include <epoxy/gl.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>

#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVException.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/views/MVFramePrivate.h"
#include "MivoraMac/views/MVViewTreePrivate.h"
#include "MivoraMac/views/MVWindow.h"

using Mivora::platform::AtEnd;
using Mivora::platform::DebugLog;
using Mivora::platform::Drawable;
using Mivora::platform::Picture;
using Mivora::platform::PixelSize;

namespace {

Picture refuse(const char* reason) {
    DebugLog::log(DebugLog::Category::Frame, "no picture: %s", reason);
    return {};
}

void checkNothingIsDrawn(const char* operation) {
    if (MVFrame::isDrawing()) {
        throw MVException(MVException::kInternalInconsistency,
                          std::string(operation) + ": a tree is being drawn");
    }
}

/// Points to whole pixels, truncated; 0 for what is no size.
int pixels(float points, float scale) {
    const float extent = std::abs(points * scale);
    return extent < static_cast<float>(std::numeric_limits<std::int16_t>::max())
               ? static_cast<int>(extent)
               : 0;
}

}  // namespace

Picture MVCaptureWindow(const std::shared_ptr<MVWindow>& givenWindow,
                        const MVCaptureOptions& options) {
    checkNothingIsDrawn("MVCaptureWindow");
    // A hook may drop the window that was given.
    const std::shared_ptr<MVWindow> window = givenWindow;
    const std::shared_ptr<MVRenderContext> context = MVRenderContext::mv_drawingContext();
    if (!window) {
        return refuse("no window was given");
    }
    if (!context) {
        return refuse("there is no active render context");
    }
    const float scale = options.scale > 0.0F ? options.scale : window->contentScaleFactor();
    MVFrame::layOut(*window);
    const PixelSize size = {pixels(window->size().width, scale),
                            pixels(window->size().height, scale)};
    if (size.width == 0 || size.height == 0) {
        return refuse("the window has no area, or is too large");
    }

    std::shared_ptr<MVRenderSurface> surface;
    if (!window->mv_surface()) {
        surface = MVRenderSurface::init();
        window->setMv_surface(surface);
    }
    const AtEnd restoreSurface([&] {
        if (surface) {
            window->setMv_surface(nullptr);
        }
    });
    const auto drawable = std::make_shared<Drawable>(options.samples);
    drawable->setSize(size);
    Picture picture;
    const auto finish = [&] {
        context->mv_dispatchBlockSync([&] {
            drawable->flush();
            picture = drawable->readLatestFrame();
            drawable->release();
        });
    };
    {
        const AtEnd readPicture(finish);
        MVFrame::draw(*window, [&] {
            context->mv_dispatchBlock(
                MVRenderContext::StencilPlanes::Cleared,
                [drawable, size, color = options.clearColor] {
                    glBindFramebuffer(GL_FRAMEBUFFER, drawable->framebuffer());
                    glClearColor(color.red, color.green, color.blue, color.alpha);
                    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
                    glViewport(0, 0, size.width, size.height);
                });
        });
    }
    // What an application has on the screen is its own frames' affair.
    if (!window->mv_owner()) {
        window->mv_setDrawClean();
    }
    if (picture.isEmpty()) {
        DebugLog::warnOnce(DebugLog::Category::Frame,
                           "no picture: the driver offers no framebuffer of %d x %d pixels",
                           size.width, size.height);
        return {};
    }
    if (options.alpha == MVCaptureAlpha::Opaque) {
        for (std::size_t i = 3; i < picture.rgba.size(); i += 4) {
            picture.rgba[i] = 255;
        }
    }
    return picture;
}

Picture MVCaptureView(const std::shared_ptr<MVView>& givenView, const MVCaptureOptions& options) {
    checkNothingIsDrawn("MVCaptureView");
    const std::shared_ptr<MVView> view = givenView;
    if (!view) {
        return refuse("no view was given");
    }
    // The top of the tree is not always the window that the view names: a filter view has one of
    // its own for the views below it.
    std::shared_ptr<MVView> top = view;
    while (std::shared_ptr<MVView> above = top->superview()) {
        top = std::move(above);
    }
    if (const auto window = std::dynamic_pointer_cast<MVWindow>(top)) {
        return MVCaptureWindow(window, options);
    }
    if (top != view) {
        return refuse("the view is a subview of one without a window");
    }
    const auto window = MVWindow::init();
    window->setSize(view->size());
    const float scaleFactor = view->contentScaleFactor();
    if (scaleFactor > 0.0F) {
        window->setContentScaleFactor(scaleFactor);
    }
    const MVViewTree::ContentScaleFactors scaleFactors(*view);
    window->addSubview(view);
    const AtEnd remove([&] {
        view->removeFromSuperview();
        scaleFactors.restore();
    });
    return MVCaptureWindow(window, options);
}
