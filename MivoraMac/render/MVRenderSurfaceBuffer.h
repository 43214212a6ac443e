#pragma once

#include <atomic>
#include <bit>
#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/base/PropertyObservation.h"

class MVGLName;
class MVRenderContext;
class MVRenderSurface;

/// Something a render surface draws into: a renderbuffer in this class, other storage in
/// subclasses.
///
/// Observable property: "storageSize".
///
/// GL work is queued on the render context that was active when the buffer was made. Thread: any,
/// one at a time.
class MIVORA_EXPORT MVRenderSurfaceBuffer
    : public std::enable_shared_from_this<MVRenderSurfaceBuffer>,
      public Mivora::platform::ObservableObject {
 public:
    /// A buffer without storage.
    static std::shared_ptr<MVRenderSurfaceBuffer> init();

    /// A buffer with renderbuffer storage, one sample a pixel.
    /// @param storageSize        in pixels, kept as it is; there is no storage where an extent is
    ///                           negative
    /// @param storageFormat      a GL internal format
    /// @param multisampleFormat  ignored: the storage is always single-sampled
    /// @return null for an extent above what the driver bears (GL_MAX_TEXTURE_SIZE or
    ///         GL_MAX_RENDERBUFFER_SIZE, whichever is less), with a warning line
    static std::shared_ptr<MVRenderSurfaceBuffer> initWithStorageSizeStorageFormatMultisampleFormat(
        Mivora::Size2I storageSize, std::uint32_t storageFormat, std::int32_t multisampleFormat);

    ~MVRenderSurfaceBuffer() override;

    /// In pixels. Thread: any.
    Mivora::Size2I storageSize() const {
        return std::bit_cast<Mivora::Size2I>(storageSize_.load(std::memory_order_acquire));
    }
    /// Pixels per point.
    float scale() const { return scale_; }
    /// In points: `storageSize` divided by `scale`.
    Mivora::Size2 size() const;

    /// Attaches the storage to the framebuffer that is bound when the GL work runs.
    /// @param attachment  a GL attachment point
    virtual void mv_attach(std::uint32_t attachment);

    /// The GL renderbuffer; 0 where there is none. In GL work only.
    std::uint32_t mv_renderbuffer() const;

    /// Called after everything that was drawn into a surface has been queued.
    virtual void renderSurfaceDidRenderToBuffer(MVRenderSurface& surface);

 protected:
    friend struct MVMaker;
    MVRenderSurfaceBuffer();

    /// Takes the active render context, if it can draw, as `context_`; called by the constructor.
    void mv_renderSurfaceBufferInit();
    /// Stores the size and tells observers of "storageSize". An equal size does nothing.
    void mv_setStorageSize(Mivora::Size2I storageSize);
    /// Pixels per point; told to nobody.
    void mv_setScale(float scale) { scale_ = scale; }

    /// Where GL work is queued; null for none, which leaves the buffer without storage.
    std::shared_ptr<MVRenderContext> context_;

 private:
    std::unique_ptr<MVGLName> renderbuffer_;
    std::atomic<std::uint64_t> storageSize_{0};  ///< The bits of the size.
    float scale_ = 1.0F;
};
