#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gl/NativeGLContext.h"
#include "MivoraMac/platform/gl/PixelFormat.h"

namespace Mivora::platform {

/// What a context draws for, as far as the context knows it: a native view.
class MIVORA_EXPORT GLContextView {
 public:
    /// The size of the drawing in pixels.
    virtual PixelSize backingSize() const = 0;

    /// A context has been attached to the view.
    virtual void openGLContextDidAttach() = 0;

 protected:
    ~GLContextView() = default;
};

/// What is drawn through: a drawable of its own over a native context, which all contexts that
/// share objects have in common.
///
/// It can be current on one thread at a time, any one. Its drawing becomes visible through its
/// drawable, which has an area once the context is attached to a view.
///
/// All objects, vertex arrays and framebuffers included, are shared. GL state is that of the
/// context for which `takeOverState` was called last: each has its own, so that what one leaves
/// bound or switched on does not reach the others.
class MIVORA_EXPORT GLContext : public std::enable_shared_from_this<GLContext> {
 public:
    /// A context of the running host.
    /// @param format  null yields null
    /// @param share   a context with which the new one is to share objects, or null
    /// @return null when the host cannot provide one; the debug log (category `gl`) says why
    static std::shared_ptr<GLContext> initWithFormatShareContext(
        const std::shared_ptr<PixelFormat>& format, const std::shared_ptr<GLContext>& share);

    /// The GL objects of its drawable are deleted when the native context is next current.
    /// Afterwards no context is current on the calling thread if this one was. Thread: any.
    virtual ~GLContext();
    GLContext(const GLContext&) = delete;
    GLContext& operator=(const GLContext&) = delete;

    /// What it draws with; never null.
    const std::shared_ptr<NativeGLContext>& native() const { return native_; }

    /// Makes this context current on the calling thread, in the place of any other. A failure, as
    /// when it is current on another thread, is logged and leaves no context current.
    void makeCurrentContext();

    /// Leaves the calling thread without a current context.
    static void clearCurrentContext();

    /// Makes this context current in the place of another one over the same native context, which
    /// stays as it is.
    void replaceCurrentContext();

    /// Puts the GL state of this context in force, and keeps that of the context whose state was,
    /// for when its turn comes again. The state of a new context is that of a new native one.
    /// Does nothing where the native context is not current.
    void takeOverState();

    /// The context last made current on the calling thread and not cleared since, or null.
    static GLContext* currentContext();

    /// Keeps other threads from using the native context between two operations; one thread may
    /// lock several times. Thread: any.
    void lock() { native_->lock(); }
    /// Ends one `lock` of the same thread.
    void unlock() { native_->unlock(); }

    /// Presents what was drawn into the default framebuffer. Thread: one where this is current.
    virtual void flushBuffer();

    /// What a host does with every frame that a flush presents.
    using FrameHandler = std::function<void()>;

    /// Has `handler` called at the end of every flush that presents a frame, on the thread of the
    /// flush, with this context current; an empty one is not called. It is forgotten when the
    /// context is attached to another view. A call under way may outlast its replacement.
    /// Thread: any.
    void setFrameHandler(FrameHandler handler);

    /// Keeps the newest frame for as long as the result or a copy of it lives: nothing is drawn
    /// into its texture, and this context stays. Null before the first frame. Thread: any.
    std::shared_ptr<const Drawable::Frame> holdLatestFrame();

    /// The number of display refreshes a flush waits for; 0 for none. Hosts without a display
    /// record it only.
    virtual void setSwapInterval(int interval) { swapInterval_ = interval; }
    int swapInterval() const { return swapInterval_; }

    /// The view this context draws for; the drawable takes its size from there. The view outlives
    /// its attachment or detaches itself when destroyed. Thread: main.
    void setView(GLContextView* view);
    /// That view, or null.
    GLContextView* view() const { return view_; }

    /// What `flushBuffer` publishes.
    Drawable& drawable() { return *drawable_; }

    /// The GL name that stands for the default framebuffer: that of the drawable. Thread: one where
    /// this is current.
    std::uint32_t defaultFramebuffer() { return drawable_->framebuffer(); }

    /// The format that the context was made with.
    const std::shared_ptr<PixelFormat>& pixelFormat() const { return pixelFormat_; }

 protected:
    friend struct ::MVMaker;
    /// @param format  not null
    /// @param native  not null
    GLContext(std::shared_ptr<PixelFormat> format, std::shared_ptr<NativeGLContext> native);

 private:
    std::mutex handlerMutex_;
    FrameHandler frameHandler_;
    std::shared_ptr<PixelFormat> pixelFormat_;
    std::shared_ptr<NativeGLContext> native_;
    std::shared_ptr<GLState> state_;
    std::shared_ptr<Drawable> drawable_;
    GLContextView* view_ = nullptr;
    int swapInterval_ = 0;
};

}  // namespace Mivora::platform
