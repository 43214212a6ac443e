#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/geometry/Viewport.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/render/MVStencilState.h"

class MVRenderContext;
class MVRenderSurfaceBuffer;
class MVSurfaceFramebuffer;

/// A framebuffer to draw into: a colour attachment given by its owner, with depth and stencil
/// attachments that the surface makes to fit, a clear colour and a viewport.
///
/// Every render starts from a target cleared in all three. What was drawn into an image is there
/// also when the surface is dropped before its GL work has run.
///
/// GL work is queued on the render context that was active when the surface was made. Thread: that
/// of the owner, unless stated otherwise.
class MIVORA_EXPORT MVRenderSurface : public std::enable_shared_from_this<MVRenderSurface>,
                                      public Mivora::platform::PropertyObserver {
 public:
    /// A surface without a colour buffer, with depth format GL_DEPTH_COMPONENT24 and stencil
    /// format GL_STENCIL_INDEX8, that clears to transparent black.
    static std::shared_ptr<MVRenderSurface> init();

    ~MVRenderSurface() override;
    MVRenderSurface(const MVRenderSurface&) = delete;
    MVRenderSurface& operator=(const MVRenderSurface&) = delete;

    /// Draws into the surface: makes missing attachments, binds and clears the framebuffer, sets
    /// the viewport, calls `closure` on the calling thread and tells the buffers. The closure's GL
    /// work goes through the render context; from outside the GL queue all of this is only queued.
    ///
    /// A surface without a colour buffer makes no attachments; the rest happens all the same.
    template <class Closure>
    void renderBlock(Closure&& closure) {
        mv_beginRender();
        std::forward<Closure>(closure)();
        mv_finalizeFramebuffer();
    }

    /// What is drawn into; null for nothing. The same buffer again does nothing.
    const std::shared_ptr<MVRenderSurfaceBuffer>& colorBuffer() const { return colorBuffer_; }
    void setColorBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);

    /// The depth and stencil attachments, made to the colour buffer's size before the next render
    /// where their formats ask for them.
    const std::shared_ptr<MVRenderSurfaceBuffer>& depthBuffer() const { return depthBuffer_; }
    void setDepthBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);
    const std::shared_ptr<MVRenderSurfaceBuffer>& stencilBuffer() const { return stencilBuffer_; }
    void setStencilBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);

    /// The attachments of the second framebuffer, which is drawn into while `multisampleFormat` is
    /// not 0. They are never made here, nor is anything resolved from them.
    const std::shared_ptr<MVRenderSurfaceBuffer>& multisampleColorBuffer() const {
        return multisampleColorBuffer_;
    }
    void setMultisampleColorBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);
    const std::shared_ptr<MVRenderSurfaceBuffer>& multisampleDepthBuffer() const {
        return multisampleDepthBuffer_;
    }
    void setMultisampleDepthBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);
    const std::shared_ptr<MVRenderSurfaceBuffer>& multisampleStencilBuffer() const {
        return multisampleStencilBuffer_;
    }
    void setMultisampleStencilBuffer(const std::shared_ptr<MVRenderSurfaceBuffer>& buffer);

    /// GL internal formats of the attachments made here; 0 for none. A different format drops the
    /// attachment it concerns.
    std::int32_t depthFormat() const { return depthFormat_; }
    void setDepthFormat(std::int32_t format);
    std::int32_t stencilFormat() const { return stencilFormat_; }
    void setStencilFormat(std::int32_t format);

    /// Not 0: draw into the second framebuffer.
    std::int32_t multisampleFormat() const { return multisampleFormat_; }
    void setMultisampleFormat(std::int32_t format);

    /// How many stencil bits views may use for nested clipping: 8.
    std::int32_t stencilBits() const { return stencilBits_; }

    /// In pixels; a width or height not above 0 means the size of the whole colour buffer. Both
    /// are read when the GL work of a render runs.
    Mivora::Viewport viewport() const;
    void setViewport(Mivora::Viewport viewport);

    /// What renders clear to, straight alpha. Read when the GL work of a render runs.
    Mivora::ColorRGBA clearColor() const;
    void setClearColor(Mivora::ColorRGBA color);

    /// GL's stencil test, read from and written to the driver directly. In GL work only.
    MVStencilState stencilState() const { return mv_currentStencilState(); }
    void setStencilState(const MVStencilState& state) { mv_setCurrentStencilState(state); }

    /// @name Internal to the library
    /// @{

    /// What `stencilState` and its setter do: GL has one such state, whatever the surface.
    static MVStencilState mv_currentStencilState();
    static void mv_setCurrentStencilState(const MVStencilState& state);

    /// Makes the attachments that are missing or have the wrong size, if anything changed since
    /// the last time and there is a colour buffer.
    void mv_buildSurface();
    /// Queues the binding of the framebuffer to draw into, with all of its masks open, and its
    /// clearing.
    void mv_bindFramebuffer();
    /// Queues the GL viewport: `viewport`, or the whole colour buffer.
    void mv_setViewport();
    /// Tells the colour, depth and stencil buffers that they have been drawn into.
    void mv_finalizeFramebuffer();

    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     Mivora::platform::ObservableObject& object,
                                                     Mivora::platform::PropertyChange change,
                                                     void* context) override;

    /// @}

 protected:
    friend struct MVMaker;
    MVRenderSurface();

 private:
    using Buffer = std::shared_ptr<MVRenderSurfaceBuffer>;

    /// What GL work reads when it runs.
    struct Settings {
        mutable std::mutex mutex;
        Mivora::ColorRGBA clearColor = Mivora::ColorRGBA::kClear;
        Mivora::Viewport viewport{};
        std::int32_t multisampleFormat = 0;
        Buffer colorBuffer;
    };

    /// What belongs to the GL queue, whose closures share it.
    struct Framebuffers;

    void mv_beginRender();
    void attach(MVSurfaceFramebuffer Framebuffers::*framebuffer, std::uint32_t attachment,
                const Buffer& buffer);
    void setAttachment(Buffer& field, const Buffer& buffer,
                       MVSurfaceFramebuffer Framebuffers::*framebuffer, std::uint32_t attachment);
    void buildAttachment(const Buffer& current, std::int32_t format,
                         void (MVRenderSurface::*set)(const Buffer&));

    std::shared_ptr<MVRenderContext> context_;
    std::shared_ptr<Framebuffers> framebuffers_;
    std::shared_ptr<Settings> settings_;
    std::int32_t depthFormat_;
    std::int32_t stencilFormat_;
    std::int32_t multisampleFormat_ = 0;
    Buffer colorBuffer_;
    Buffer depthBuffer_;
    Buffer stencilBuffer_;
    Buffer multisampleColorBuffer_;
    Buffer multisampleDepthBuffer_;
    Buffer multisampleStencilBuffer_;
    std::atomic<bool> surfaceStateDirty_{true};
    bool supportsFramebufferDiscard_ = false;  // recorded only
    std::int32_t stencilBits_ = 8;
};
