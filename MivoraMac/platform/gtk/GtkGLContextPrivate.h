#pragma once

#include <gtk/gtk.h>

#include <memory>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gl/NativeGLContext.h"

namespace Mivora::platform {

/// A native context of the display that the toolkit uses. It shares objects with the toolkit's
/// renderer.
class GtkGLContext : public NativeGLContext {
 public:
    /// Thread: main.
    /// @return null where the display has no such context, which a line in the log says, and where
    ///         none should be used beside the toolkit's
    static std::shared_ptr<GtkGLContext> create();

    /// Destroys the toolkit's context, with what is left to be done in it, on the main thread,
    /// whichever this is: the textures in it would else stay with the toolkit's renderer.
    ~GtkGLContext() override;

    /// Whether contexts are of the toolkit's display, and frames reach it as textures. Thread:
    /// main.
    static bool isShared();

    /// A context for what the main thread itself does with the frames of others, or null where
    /// there can be none. It stays for the rest of the process. Thread: main.
    static GdkGLContext* forMainThread();

 protected:
    bool makeCurrent() override;
    void clearCurrent() override;

 private:
    friend struct ::MVMaker;
    /// @param context  owned from here on
    explicit GtkGLContext(GdkGLContext* context);

    GdkGLContext* context_;
};

}  // namespace Mivora::platform
