#include "MivoraMac/render/MVRenderSurface.h"

#include <epoxy/gl.h>

#include <limits>
#include <utility>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"

using Mivora::platform::DebugLog;

namespace {

constexpr const char* kStorageSize = "storageSize";

GLint integer(GLenum name) {
    GLint value = 0;
    glGetIntegerv(name, &value);
    return value;
}

GLuint enumerant(GLenum name) {
    return static_cast<GLuint>(integer(name));
}

/// Mesa 22.3 reports no more than the largest signed number: all ones read as that there.
GLuint mask(GLenum name) {
    const GLint value = integer(name);
    return value == std::numeric_limits<GLint>::max() ? ~0U : static_cast<GLuint>(value);
}

}  // namespace

std::shared_ptr<MVRenderSurface> MVRenderSurface::init() {
    return MVMake<MVRenderSurface>();
}

MVRenderSurface::MVRenderSurface()
    : context_(MVRenderContext::mv_drawingContext()),
      gl_(std::make_shared<GLState>()),
      depthFormat_(GL_DEPTH_COMPONENT24),
      stencilFormat_(GL_STENCIL_INDEX8) {
    if (context_) {
        context_->dispatchBlock([gl = gl_] { glGenFramebuffers(1, &gl->framebuffer); });
        supportsFramebufferDiscard_ = context_->supportsGLExtension("GL_EXT_discard_framebuffer");
    }
}

MVRenderSurface::~MVRenderSurface() {
    if (colorBuffer_) {
        colorBuffer_->removeObserver(this, kStorageSize);
    }
    if (context_) {
        context_->dispatchBlock([gl = std::move(gl_)] {
            if (gl->framebuffer != 0) {
                glDeleteFramebuffers(1, &gl->framebuffer);
            }
            if (gl->multisampleFramebuffer != 0) {
                glDeleteFramebuffers(1, &gl->multisampleFramebuffer);
            }
        });
    }
}

// Attachments

/// Queues the attachment of a buffer, or of nothing, to one of the two framebuffers.
void MVRenderSurface::attach(std::uint32_t GLState::*framebuffer, std::uint32_t attachment,
                             const Buffer& buffer) {
    if (!context_) {
        return;
    }
    context_->dispatchBlock([gl = gl_, framebuffer, attachment, buffer] {
        glBindFramebuffer(GL_FRAMEBUFFER, (*gl).*framebuffer);
        if (buffer) {
            buffer->mv_attach(attachment);
        } else {
            glFramebufferRenderbuffer(GL_FRAMEBUFFER, attachment, GL_RENDERBUFFER, 0);
        }
        if (framebuffer != &GLState::framebuffer || attachment == GL_COLOR_ATTACHMENT0) {
            return;
        }
        Buffer& attached = attachment == GL_DEPTH_ATTACHMENT ? gl->depth : gl->stencil;
        const Buffer before = std::exchange(attached, buffer);  // goes after the stencil has moved
        if (gl->packed) {
            placeStencil(*gl);
        }
    });
}

void MVRenderSurface::setAttachment(Buffer& field, const Buffer& buffer,
                                    std::uint32_t GLState::*framebuffer, std::uint32_t attachment) {
    if (field == buffer) {
        return;
    }
    attach(framebuffer, attachment, buffer);
    field = buffer;
}

void MVRenderSurface::setColorBuffer(const Buffer& buffer) {
    if (colorBuffer_ == buffer) {
        return;
    }
    attach(&GLState::framebuffer, GL_COLOR_ATTACHMENT0, buffer);
    if (buffer) {
        buffer->addObserver(shared_from_this(), kStorageSize);
    }
    if (colorBuffer_) {
        colorBuffer_->removeObserver(this, kStorageSize);
    }
    surfaceStateDirty_ = true;
    colorBuffer_ = buffer;
}

void MVRenderSurface::setDepthBuffer(const Buffer& buffer) {
    setAttachment(depthBuffer_, buffer, &GLState::framebuffer, GL_DEPTH_ATTACHMENT);
}

void MVRenderSurface::setStencilBuffer(const Buffer& buffer) {
    setAttachment(stencilBuffer_, buffer, &GLState::framebuffer, GL_STENCIL_ATTACHMENT);
}

void MVRenderSurface::setMultisampleColorBuffer(const Buffer& buffer) {
    setAttachment(multisampleColorBuffer_, buffer, &GLState::multisampleFramebuffer,
                  GL_COLOR_ATTACHMENT0);
}

void MVRenderSurface::setMultisampleDepthBuffer(const Buffer& buffer) {
    setAttachment(multisampleDepthBuffer_, buffer, &GLState::multisampleFramebuffer,
                  GL_DEPTH_ATTACHMENT);
}

void MVRenderSurface::setMultisampleStencilBuffer(const Buffer& buffer) {
    setAttachment(multisampleStencilBuffer_, buffer, &GLState::multisampleFramebuffer,
                  GL_STENCIL_ATTACHMENT);
}

void MVRenderSurface::setDepthFormat(std::int32_t format) {
    if (depthFormat_ == format) {
        return;
    }
    setDepthBuffer(nullptr);
    surfaceStateDirty_ = true;
    depthFormat_ = format;
}

void MVRenderSurface::setStencilFormat(std::int32_t format) {
    if (stencilFormat_ == format) {
        return;
    }
    setStencilBuffer(nullptr);
    surfaceStateDirty_ = true;
    stencilFormat_ = format;
}

void MVRenderSurface::setMultisampleFormat(std::int32_t format) {
    if (multisampleFormat_ == format) {
        return;
    }
    surfaceStateDirty_ = true;
    multisampleFormat_ = format;
}

void MVRenderSurface::observeValueForKeyPathOfObjectChangeContext(
    std::string_view keyPath, Mivora::platform::ObservableObject& object,
    Mivora::platform::PropertyChange /*change*/, void* /*context*/) {
    if (&object == colorBuffer_.get() && keyPath == kStorageSize) {
        surfaceStateDirty_ = true;
    }
}

// Rendering

void MVRenderSurface::mv_beginRender() {
    mv_buildSurface();
    mv_bindFramebuffer();
    mv_setViewport();
}

void MVRenderSurface::mv_buildSurface() {
    if (!surfaceStateDirty_ || !colorBuffer_ || !context_) {
        return;
    }
    if (multisampleFormat_ != 0) {
        setDepthBuffer(nullptr);
        setStencilBuffer(nullptr);
        context_->dispatchBlock([gl = gl_] {
            if (gl->multisampleFramebuffer == 0) {
                glGenFramebuffers(1, &gl->multisampleFramebuffer);
            }
        });
    } else {
        context_->dispatchBlock([gl = gl_] {
            if (gl->multisampleFramebuffer != 0) {
                // The name stays, stale: nothing switches multisampling back on.
                glDeleteFramebuffers(1, &gl->multisampleFramebuffer);
            }
        });
        setMultisampleColorBuffer(nullptr);
        setMultisampleDepthBuffer(nullptr);
        setMultisampleStencilBuffer(nullptr);
        buildAttachment(depthBuffer_, depthFormat_, &MVRenderSurface::setDepthBuffer);
        buildAttachment(stencilBuffer_, stencilFormat_, &MVRenderSurface::setStencilBuffer);
    }
    context_->dispatchBlock([gl = gl_] {
        packDepthAndStencilIfRefused(*gl, glCheckFramebufferStatus(GL_FRAMEBUFFER));
    });
    surfaceStateDirty_ = false;
}

/// Makes a renderbuffer of the colour buffer's size unless there is one, or drops it.
void MVRenderSurface::buildAttachment(const Buffer& current, std::int32_t format,
                                      void (MVRenderSurface::*set)(const Buffer&)) {
    if (format == 0) {
        (this->*set)(nullptr);
    } else if (!current || current->storageSize() != colorBuffer_->storageSize()) {
        (this->*set)(MVRenderSurfaceBuffer::initWithStorageSizeStorageFormatMultisampleFormat(
            colorBuffer_->storageSize(), static_cast<std::uint32_t>(format), 0));
    }
}

/// Mesa 22.3 refuses framebuffers with separate depth and stencil storage, though it takes either
/// alone. There the depth buffer gets packed storage that serves both attachment points, and the
/// stencil buffer stays unused.
void MVRenderSurface::packDepthAndStencilIfRefused(GLState& gl, std::uint32_t status) {
    if (status == GL_FRAMEBUFFER_COMPLETE) {
        return;
    }
    if (status != GL_FRAMEBUFFER_UNSUPPORTED || !gl.depth || !gl.stencil) {
        DebugLog::log(DebugLog::Category::GL, "a render surface is incomplete (status 0x%x)",
                      status);
        return;
    }
    glBindFramebuffer(GL_FRAMEBUFFER, gl.framebuffer);
    gl.packed = true;
    placeStencil(gl);
}

/// Puts the stencil into the depth buffer, or back into its own where there is no depth buffer.
/// For the framebuffer that is bound.
void MVRenderSurface::placeStencil(const GLState& gl) {
    if (gl.depth && gl.stencil) {
        gl.depth->mv_respecifyAndAttach(GL_DEPTH24_STENCIL8, GL_STENCIL_ATTACHMENT);
    } else if (gl.stencil) {
        gl.stencil->mv_attach(GL_STENCIL_ATTACHMENT);
    }
}

void MVRenderSurface::mv_bindFramebuffer() {
    if (!context_) {
        return;
    }
    const auto framebuffer =
        multisampleFormat_ != 0 ? &GLState::multisampleFramebuffer : &GLState::framebuffer;
    context_->mv_dispatchBlock(
        MVRenderContext::StencilPlanes::Cleared, [self = shared_from_this(), framebuffer] {
            glBindFramebuffer(GL_FRAMEBUFFER, (*self->gl_).*framebuffer);
            glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
            glDepthMask(GL_TRUE);
            glStencilMask(~0U);
            const Mivora::ColorRGBA color = self->clearColor();
            glClearColor(color.red, color.green, color.blue, color.alpha);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        });
}

void MVRenderSurface::mv_setViewport() {
    if (!context_) {
        return;
    }
    Mivora::Viewport area = viewport_;
    if (area.width <= 0 || area.height <= 0) {
        const Mivora::Size2I whole =
            colorBuffer_ ? colorBuffer_->storageSize() : Mivora::Size2I::kZero;
        area.width = whole.width;
        area.height = whole.height;
    }
    context_->mv_dispatchBlock(MVRenderContext::StencilPlanes::Kept,
                               [area] { glViewport(area.x, area.y, area.width, area.height); });
}

void MVRenderSurface::mv_finalizeFramebuffer() {
    for (const Buffer& buffer : {colorBuffer_, depthBuffer_, stencilBuffer_}) {
        if (buffer) {
            buffer->renderSurfaceDidRenderToBuffer(*this);
        }
    }
}

// State

Mivora::ColorRGBA MVRenderSurface::clearColor() const {
    const std::lock_guard lock(clearColorMutex_);
    return clearColor_;
}

void MVRenderSurface::setClearColor(Mivora::ColorRGBA color) {
    const std::lock_guard lock(clearColorMutex_);
    clearColor_ = color;
}

MVStencilState MVRenderSurface::mv_currentStencilState() {
    MVStencilState state;
    state.enabled = glIsEnabled(GL_STENCIL_TEST) == GL_TRUE;
    state.writeMask = mask(GL_STENCIL_WRITEMASK);
    state.function = enumerant(GL_STENCIL_FUNC);
    state.reference = integer(GL_STENCIL_REF);
    state.readMask = mask(GL_STENCIL_VALUE_MASK);
    state.stencilFail = enumerant(GL_STENCIL_FAIL);
    state.depthFail = enumerant(GL_STENCIL_PASS_DEPTH_FAIL);
    state.depthPass = enumerant(GL_STENCIL_PASS_DEPTH_PASS);
    return state;
}

void MVRenderSurface::mv_setCurrentStencilState(const MVStencilState& state) {
    if (state.enabled) {
        glEnable(GL_STENCIL_TEST);
    } else {
        glDisable(GL_STENCIL_TEST);
    }
    glStencilMask(state.writeMask);
    glStencilFunc(state.function, state.reference, state.readMask);
    glStencilOp(state.stencilFail, state.depthFail, state.depthPass);
}
