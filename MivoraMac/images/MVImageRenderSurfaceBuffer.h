#pragma once

#include <cstdint>
#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Size.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"

class MVMutableImage;

/// Lets a render surface draw into the texture of an image, which shows what was drawn.
///
/// The image is premultiplied or not as the drawing is; it says that it is not. Its coordinate
/// system is 1: the bottom row of what is drawn is the first one of the texture.
///
/// Thread: main. GL work is queued on the render context that was active when the buffer was made.
class MIVORA_EXPORT MVImageRenderSurfaceBuffer : public MVRenderSurfaceBuffer {
 public:
    /// A buffer with an image of that size, whose contents are undefined until something is drawn.
    /// Waits for the GL queue.
    /// @param storageSize  in pixels, kept as it is; in the image, negative extents count as 0
    /// @param scale        pixels per point
    /// @return null for an extent above what the driver bears, with a warning line
    static std::shared_ptr<MVImageRenderSurfaceBuffer> initWithStorageSizeScale(
        Mivora::Size2I storageSize, float scale);

    /// The same with a scale of 1. The formats are ignored.
    static std::shared_ptr<MVImageRenderSurfaceBuffer>
    initWithStorageSizeStorageFormatMultisampleFormat(Mivora::Size2I storageSize,
                                                      std::uint32_t storageFormat,
                                                      std::int32_t multisampleFormat);

    ~MVImageRenderSurfaceBuffer() override;

    /// What is drawn into.
    const std::shared_ptr<MVMutableImage>& image() const { return image_; }

    void mv_attach(std::uint32_t attachment) override;

    /// Raises the image's `updateIndex` by one.
    void renderSurfaceDidRenderToBuffer(MVRenderSurface& surface) override;

 protected:
    friend struct MVMaker;
    /// See `initWithStorageSizeScale`.
    MVImageRenderSurfaceBuffer(Mivora::Size2I storageSize, float scale);

 private:
    std::shared_ptr<MVMutableImage> image_;
};
