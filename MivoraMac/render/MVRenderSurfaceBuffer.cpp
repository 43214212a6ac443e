#include "MivoraMac/render/MVRenderSurfaceBuffer.h"

#include <epoxy/gl.h>

#include <algorithm>

#include "MivoraMac/platform/pictures/ExtentCheckPrivate.h"
#include "MivoraMac/render/MVRenderContext.h"

using Mivora::platform::areExtentsBorne;

MVRenderSurfaceBuffer::MVRenderSurfaceBuffer() {
    mv_renderSurfaceBufferInit();
}

MVRenderSurfaceBuffer::~MVRenderSurfaceBuffer() {
    if (context_ && renderbuffer_ != 0) {
        context_->dispatchBlock([name = renderbuffer_] { glDeleteRenderbuffers(1, &name); });
    }
    renderbuffer_ = 0;
}

std::shared_ptr<MVRenderSurfaceBuffer> MVRenderSurfaceBuffer::init() {
    return MVMake<MVRenderSurfaceBuffer>();
}

std::shared_ptr<MVRenderSurfaceBuffer>
MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
    Mivora::Size2I storageSize, std::uint32_t storageFormat, std::int32_t /*multisampleFormat*/) {
    auto buffer = MVMake<MVRenderSurfaceBuffer>();
    const Mivora::Size2I size = {std::max(storageSize.width, 0), std::max(storageSize.height, 0)};
    if (buffer->context_) {
        if (!areExtentsBorne("surface buffer", static_cast<std::uint64_t>(size.width),
                             static_cast<std::uint64_t>(size.height),
                             buffer->context_->mv_largestExtent())) {
            return nullptr;
        }
        buffer->context_->dispatchBlock([buffer, storageFormat, size] {
            glGenRenderbuffers(1, &buffer->renderbuffer_);
            glBindRenderbuffer(GL_RENDERBUFFER, buffer->renderbuffer_);
            glRenderbufferStorage(GL_RENDERBUFFER, storageFormat, size.width, size.height);
        });
    }
    buffer->storageSize_ = size;
    buffer->scale_ = 1.0F;
    return buffer;
}

void MVRenderSurfaceBuffer::mv_renderSurfaceBufferInit() {
    context_ = MVRenderContext::mv_drawingContext();
}

Mivora::Size2 MVRenderSurfaceBuffer::size() const {
    return {static_cast<float>(storageSize_.width) / scale_,
            static_cast<float>(storageSize_.height) / scale_};
}

void MVRenderSurfaceBuffer::mv_attach(std::uint32_t attachment) {
    if (context_) {
        context_->dispatchBlock([self = shared_from_this(), attachment] {
            glBindRenderbuffer(GL_RENDERBUFFER, self->renderbuffer_);
            glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER,
                                      self->renderbuffer_);
        });
    }
}

void MVRenderSurfaceBuffer::mv_respecifyAndAttach(std::uint32_t storageFormat,
                                                  std::uint32_t attachment) {
    if (context_) {
        context_->dispatchBlock(
            [self = shared_from_this(), storageFormat, attachment, size = storageSize_] {
                glBindRenderbuffer(GL_RENDERBUFFER, self->renderbuffer_);
                glRenderbufferStorage(GL_RENDERBUFFER, storageFormat, size.width, size.height);
                glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER,
                                          self->renderbuffer_);
            });
    }
}

void MVRenderSurfaceBuffer::renderSurfaceDidRenderToBuffer(MVRenderSurface& /*surface*/) {}

void MVRenderSurfaceBuffer::mv_setStorageSize(Mivora::Size2I storageSize) {
    if (storageSize_ == storageSize) {
        return;
    }
    const auto kept = weak_from_this().lock();
    willChangeValueForKey("storageSize");
    storageSize_ = storageSize;
    didChangeValueForKey("storageSize");
}
