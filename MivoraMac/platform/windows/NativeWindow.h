#pragma once

#include "MivoraMac/Export.h"

namespace Mivora::platform {

/// The window of the desktop that a native view is in, whoever made it.
///
/// Thread: main.
class MIVORA_EXPORT NativeWindow {
 public:
    virtual ~NativeWindow();

    /// Pixels per point; finite and above zero.
    virtual double backingScaleFactor() const = 0;

    /// Whether this is the window that the user works with.
    virtual bool isMainWindow() const = 0;

    /// Keeps what is on the screen as it is until the next frame is there. For hosts that
    /// call `OpenGLView::renewGState`; those that show whole frames only have nothing to do.
    virtual void disableScreenUpdatesUntilFlush() {}

 protected:
    NativeWindow();
    NativeWindow(const NativeWindow&) = delete;
    NativeWindow& operator=(const NativeWindow&) = delete;
};

}  // namespace Mivora::platform
