#include "MivoraMac/render/MVRenderSurfaceBuffer.h"

#include <epoxy/gl.h>

#include <algorithm>

#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"
#include "MivoraMac/render/MVGLNamePrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"

using Mivora::platform::areExtentsBorne;

MVRenderSurfaceBuffer::MVRenderSurfaceBuffer()
    : renderbuffer_(std::make_unique<MVGLName>(MVGLName::Kind::Renderbuffer)) {
    mv_renderSurfaceBufferInit();
}

MVRenderSurfaceBuffer::~MVRenderSurfaceBuffer() = default;

std::uint32_t MVRenderSurfaceBuffer::mv_renderbuffer() const {
    return renderbuffer_->get();
}

std::shared_ptr<MVRenderSurfaceBuffer> MVRenderSurfaceBuffer::init() {
    return MVMake<MVRenderSurfaceBuffer>();
}

std::shared_ptr<MVRenderSurfaceBuffer>
MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
    Mivora::Size2I storageSize, std::uint32_t storageFormat, std::int32_t /*multisampleFormat*/) {
    auto buffer = MVMake<MVRenderSurfaceBuffer>();
    if (buffer->context_) {
        if (!areExtentsBorne("surface buffer",
                             static_cast<std::uint64_t>(std::max(storageSize.width, 0)),
                             static_cast<std::uint64_t>(std::max(storageSize.height, 0)),
                             buffer->context_->mv_largestExtent())) {
            return nullptr;
        }
        buffer->context_->dispatchBlock([buffer, storageFormat, storageSize] {
            glBindRenderbuffer(GL_RENDERBUFFER,
                               buffer->renderbuffer_->make(buffer->context_->mv_group()));
            if (storageSize.width >= 0 && storageSize.height >= 0) {
                glRenderbufferStorage(GL_RENDERBUFFER, storageFormat, storageSize.width,
                                      storageSize.height);
            }
        });
    }
    buffer->storageSize_ = std::bit_cast<std::uint64_t>(storageSize);
    buffer->scale_ = 1.0F;
    return buffer;
}

void MVRenderSurfaceBuffer::mv_renderSurfaceBufferInit() {
    context_ = MVRenderContext::mv_drawingContext();
}

Mivora::Size2 MVRenderSurfaceBuffer::size() const {
    const Mivora::Size2I pixels = storageSize();
    return {static_cast<float>(pixels.width) / scale_, static_cast<float>(pixels.height) / scale_};
}

void MVRenderSurfaceBuffer::mv_attach(std::uint32_t attachment) {
    if (context_) {
        context_->dispatchBlock([self = shared_from_this(), attachment] {
            glBindRenderbuffer(GL_RENDERBUFFER, self->mv_renderbuffer());
            glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER,
                                      self->mv_renderbuffer());
        });
    }
}

void MVRenderSurfaceBuffer::renderSurfaceDidRenderToBuffer(MVRenderSurface& /*surface*/) {}

void MVRenderSurfaceBuffer::mv_setStorageSize(Mivora::Size2I storageSize) {
    if (this->storageSize() == storageSize) {
        return;
    }
    const auto kept = weak_from_this().lock();
    willChangeValueForKey("storageSize");
    storageSize_.store(std::bit_cast<std::uint64_t>(storageSize), std::memory_order_release);
    didChangeValueForKey("storageSize");
}
