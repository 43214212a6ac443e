#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/Drawable.h"
#include "MivoraMac/platform/PixelFormat.h"

namespace Mivora::platform {

class OpenGLView;

/// An OpenGL 3.2 core context, as the running host provides it.
///
/// It can be current on one thread at a time, any one. Its drawing becomes visible through its
/// drawable, which has an area once the context is attached to a view.
class MIVORA_EXPORT GLContext : public std::enable_shared_from_this<GLContext> {
 public:
    /// A context of the running host.
    /// @param format  null yields null
    /// @param share   a context whose textures, buffers and programs the new one sees too, or null
    /// @return null when the host cannot provide one; the debug log (category `gl`) says why
    static std::shared_ptr<GLContext> initWithFormatShareContext(
        const std::shared_ptr<PixelFormat>& format, const std::shared_ptr<GLContext>& share);

    virtual ~GLContext();
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    /// Makes this context current on the calling thread, in the place of any other. A failure, as
    /// when it is current on another thread, is logged and leaves no context current.
    void makeCurrentContext();

    /// Leaves the calling thread without a current context.
    static void clearCurrentContext();

    /// The context last made current on the calling thread and not cleared since, or null.
    static GLContext* currentContext();

    /// Keeps other threads from using the context between two operations; one thread may lock
    /// several times. Thread: any.
    void lock() { mutex_.lock(); }
    void unlock() { mutex_.unlock(); }

    /// Presents what was drawn into the default framebuffer. Thread: one where this is current.
    virtual void flushBuffer();

    /// The number of display refreshes a flush waits for; 0 for none. Hosts without a display
    /// record it only.
    virtual void setSwapInterval(int interval) { swapInterval_ = interval; }
    int swapInterval() const { return swapInterval_; }

    /// The view this context draws for; the drawable takes its size from there. The view outlives
    /// its attachment or detaches itself when destroyed. Thread: main.
    void setView(OpenGLView* view);
    OpenGLView* view() const { return view_; }

    /// What `flushBuffer` publishes.
    Drawable& drawable() { return drawable_; }

    /// The GL name that stands for the default framebuffer: that of the drawable, 0 while it has
    /// no area. Thread: one where this is current.
    std::uint32_t defaultFramebuffer() { return drawable_.framebuffer(); }

    const std::shared_ptr<PixelFormat>& pixelFormat() const { return pixelFormat_; }

 protected:
    explicit GLContext(std::shared_ptr<PixelFormat> format);

    /// Releases the drawable's GL objects; a host's context calls it before it goes. Afterwards
    /// this context is not current on the calling thread.
    void releaseDrawable();

    /// @return whether the context is current afterwards
    virtual bool makeCurrent() = 0;
    virtual void clearCurrent() = 0;

 private:
    std::recursive_mutex mutex_;
    std::shared_ptr<PixelFormat> pixelFormat_;
    Drawable drawable_;
    OpenGLView* view_ = nullptr;
    int swapInterval_ = 0;
};

}  // namespace Mivora::platform
