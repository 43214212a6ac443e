#include "MivoraMac/images/MVImageRenderSurfaceBuffer.h"

#include <epoxy/gl.h>

#include <algorithm>

#include "MivoraMac/images/ImageRasterPrivate.h"
#include "MivoraMac/images/MVMutableImage.h"
#include "MivoraMac/render/MVRenderContext.h"

MVImageRenderSurfaceBuffer::MVImageRenderSurfaceBuffer(Mivora::Size2I storageSize, float scale) {
    const Mivora::Size2I size = {std::max(storageSize.width, 0), std::max(storageSize.height, 0)};
    mv_setStorageSize(storageSize);
    mv_setScale(scale);
    image_ =
        MVMutableImage::initWithDataWidthHeightScaleCoordinateSystemPremultipliedAlphaPixelFormat(
            nullptr, static_cast<std::uint64_t>(size.width),
            static_cast<std::uint64_t>(size.height), scale, Mivora::kImageBottomRowFirst, false,
            GL_RGBA);
}

MVImageRenderSurfaceBuffer::~MVImageRenderSurfaceBuffer() = default;

std::shared_ptr<MVImageRenderSurfaceBuffer> MVImageRenderSurfaceBuffer::initWithStorageSizeScale(
    Mivora::Size2I storageSize, float scale) {
    auto buffer = MVMake<MVImageRenderSurfaceBuffer>(storageSize, scale);
    return buffer->image() ? buffer : nullptr;
}

std::shared_ptr<MVImageRenderSurfaceBuffer>
MVImageRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
    Mivora::Size2I storageSize, std::uint32_t /*storageFormat*/,
    std::int32_t /*multisampleFormat*/) {
    return initWithStorageSizeScale(storageSize, 1.0F);
}

void MVImageRenderSurfaceBuffer::mv_attach(std::uint32_t attachment) {
    if (context_ && image_) {
        // The closure keeps the image, and with it the texture, as long as it waits.
        context_->dispatchBlock([image = image_, group = context_->mv_group().get(), attachment] {
            glFramebufferTexture2D(GL_FRAMEBUFFER, attachment, GL_TEXTURE_2D,
                                   image->mv_textureIn(group), 0);
        });
    }
}

void MVImageRenderSurfaceBuffer::renderSurfaceDidRenderToBuffer(MVRenderSurface& /*surface*/) {
    if (image_) {
        image_->setUpdateIndex(image_->updateIndex() + 1);
    }
}
