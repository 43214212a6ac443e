#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/Picture.h"

namespace Mivora::platform {

class GLContext;
class PixelFormat;

/// A rectangle in points.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const Rect&) const = default;
};

/// A native view that shows what a GL context draws.
///
/// Thread: main.
class MIVORA_EXPORT OpenGLView {
 public:
    OpenGLView();
    virtual ~OpenGLView();
    OpenGLView(const OpenGLView&) = delete;
    OpenGLView& operator=(const OpenGLView&) = delete;

    /// The view's own rectangle, in points.
    const Rect& bounds() const { return bounds_; }

    /// Negative and NaN extents count as 0. The attached context's drawable follows.
    void setBounds(const Rect& bounds);

    /// Pixels per point; at first that of the main screen.
    double backingScaleFactor() const { return backingScaleFactor_; }

    /// Values that are not finite or not above zero are ignored. The attached context's drawable
    /// follows.
    void setBackingScaleFactor(double factor);

    /// The bounds in pixels, truncated toward zero.
    PixelSize backingSize() const;

    const std::shared_ptr<PixelFormat>& pixelFormat() const { return pixelFormat_; }
    void setPixelFormat(std::shared_ptr<PixelFormat> format);

    /// The context whose drawing is shown; `GLContext::setView` completes the attachment.
    const std::shared_ptr<GLContext>& openGLContext() const { return context_; }
    void setOpenGLContext(std::shared_ptr<GLContext> context);

 private:
    void resizeDrawable();

    Rect bounds_;
    double backingScaleFactor_;
    std::shared_ptr<PixelFormat> pixelFormat_;
    std::shared_ptr<GLContext> context_;
};

}  // namespace Mivora::platform
