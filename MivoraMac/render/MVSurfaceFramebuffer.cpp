#include <epoxy/gl.h>

#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "MivoraMac/render/MVSurfaceFramebufferPrivate.h"

using Mivora::platform::DebugLog;

void MVSurfaceFramebuffer::generate() {
    if (name_ == 0) {
        glGenFramebuffers(1, &name_);
    }
}

void MVSurfaceFramebuffer::remove() {
    if (name_ != 0) {
        glDeleteFramebuffers(1, &name_);
    }
}

void MVSurfaceFramebuffer::attach(std::uint32_t attachment, const Buffer& buffer) {
    glBindFramebuffer(GL_FRAMEBUFFER, name_);
    if (buffer) {
        buffer->mv_attach(attachment);
    } else {
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, 0);
    }
    if (attachment == GL_COLOR_ATTACHMENT0) {
        return;
    }
    Buffer& attached = attachment == GL_DEPTH_ATTACHMENT ? depth_ : stencil_;
    const Buffer before = std::exchange(attached, buffer);  // goes after the stencil has moved
    if (isPacked_) {
        placeStencil();
    }
}

void MVSurfaceFramebuffer::bind() {
    glBindFramebuffer(GL_FRAMEBUFFER, name_);
    // Buffers set by hand leave the surface as clean as it was.
    if (hasPair() && !isPairKnown_) {
        check();
    }
}

void MVSurfaceFramebuffer::check() {
    glBindFramebuffer(GL_FRAMEBUFFER, name_);
    const GLenum status = glCheckFramebufferStatus(GL_FRAMEBUFFER);
    const bool isRefused = status == GL_FRAMEBUFFER_UNSUPPORTED && hasPair();
    isPairKnown_ = isPairKnown_ || hasPair();
    if (isRefused) {
        isPacked_ = true;
        placeStencil();
    } else if (status != GL_FRAMEBUFFER_COMPLETE) {
        DebugLog::log(DebugLog::Category::GL, "a render surface is incomplete (status 0x%x)",
                      status);
    }
}

/// Puts the stencil into the depth buffer, or back into its own where there is no depth buffer.
/// The framebuffer is bound.
void MVSurfaceFramebuffer::placeStencil() {
    if (hasPair()) {
        const Mivora::Size2I size = depth_->storageSize();
        glBindRenderbuffer(GL_RENDERBUFFER, depth_->mv_renderbuffer());
        glRenderbufferStorage(GL_RENDERBUFFER, GL_DEPTH24_STENCIL8, size.width, size.height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                                  depth_->mv_renderbuffer());
    } else if (stencil_) {
        stencil_->mv_attach(GL_STENCIL_ATTACHMENT);
    }
}
