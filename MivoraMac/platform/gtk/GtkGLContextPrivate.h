#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/gl/GLContext.h"

namespace Mivora::platform {

/// A GL context of the display that the toolkit uses. All of them share objects with one another
/// and with the toolkit's renderer.
class GtkGLContext : public GLContext {
 public:
    /// Thread: main.
    /// @return null where the display has no such context, which a line in the log says, and where
    ///         none should be used beside the toolkit's
    static std::shared_ptr<GtkGLContext> create(const std::shared_ptr<PixelFormat>& format);

    /// Destroys the toolkit's context on the main thread, whichever this is.
    ~GtkGLContext() override;

    /// A context for what the main thread itself does with the frames of others, or null where
    /// there can be none. It stays for the rest of the process. Thread: main.
    static GdkGLContext* forMainThread();

 protected:
    bool makeCurrent() override;
    void clearCurrent() override;

 private:
    friend struct ::MVMaker;
    GtkGLContext(std::shared_ptr<PixelFormat> format, GdkGLContext* context);

    GdkGLContext* context_;
};

}  // namespace Mivora::platform
