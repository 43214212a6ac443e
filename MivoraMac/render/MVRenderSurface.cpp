#include "MivoraMac/render/MVRenderSurface.h"

#include <epoxy/gl.h>

#include <array>
#include <utility>

#include "MivoraMac/platform/gl/GLStatePrivate.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"
#include "MivoraMac/render/MVRenderSurfaceBuffer.h"
#include "MivoraMac/render/MVSurfaceFramebufferPrivate.h"

using Mivora::platform::GLState;

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

}  // namespace

struct MVRenderSurface::Framebuffers {
    MVSurfaceFramebuffer main;
    MVSurfaceFramebuffer multisample;

    /// The one to draw into.
    MVSurfaceFramebuffer& target(const Settings& settings) {
        const std::lock_guard lock(settings.mutex);
        return settings.multisampleFormat != 0 ? multisample : main;
    }
};

std::shared_ptr<MVRenderSurface> MVRenderSurface::init() {
    return MVMake<MVRenderSurface>();
}

MVRenderSurface::MVRenderSurface()
    : context_(MVRenderContext::mv_drawingContext()),
      framebuffers_(std::make_shared<Framebuffers>()),
      settings_(std::make_shared<Settings>()),
      depthFormat_(GL_DEPTH_COMPONENT24),
      stencilFormat_(GL_STENCIL_INDEX8) {
    if (context_) {
        context_->dispatchBlock([framebuffers = framebuffers_] { framebuffers->main.generate(); });
        supportsFramebufferDiscard_ = context_->supportsGLExtension("GL_EXT_discard_framebuffer");
    }
}

MVRenderSurface::~MVRenderSurface() {
    if (colorBuffer_) {
        colorBuffer_->removeObserver(this, kStorageSize);
    }
    if (!context_) {
        return;
    }
    // Behind all that waits, also where GL work itself lets go of the surface: what was drawn
    // before still needs the framebuffers, and what is attached to them.
    context_->mv_group()->dispatchLater(
        [framebuffers = std::move(framebuffers_), settings = std::move(settings_),
         attachments =
             std::array{std::move(multisampleColorBuffer_), std::move(multisampleDepthBuffer_),
                        std::move(multisampleStencilBuffer_)}] {
            framebuffers->main.remove();
            framebuffers->multisample.remove();
        });
}

// Attachments

/// Queues the attachment of a buffer, or of nothing, to one of the two framebuffers.
void MVRenderSurface::attach(MVSurfaceFramebuffer Framebuffers::*framebuffer,
                             std::uint32_t attachment, const Buffer& buffer) {
    if (context_) {
        context_->dispatchBlock([framebuffers = framebuffers_, framebuffer, attachment, buffer] {
            ((*framebuffers).*framebuffer).attach(attachment, buffer);
        });
    }
}

void MVRenderSurface::setAttachment(Buffer& field, const Buffer& buffer,
                                    MVSurfaceFramebuffer Framebuffers::*framebuffer,
                                    std::uint32_t attachment) {
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
    attach(&Framebuffers::main, GL_COLOR_ATTACHMENT0, buffer);
    if (buffer) {
        buffer->addObserver(shared_from_this(), kStorageSize);
    }
    if (colorBuffer_) {
        colorBuffer_->removeObserver(this, kStorageSize);
    }
    surfaceStateDirty_ = true;
    colorBuffer_ = buffer;
    const std::lock_guard lock(settings_->mutex);
    settings_->colorBuffer = buffer;
}

void MVRenderSurface::setDepthBuffer(const Buffer& buffer) {
    setAttachment(depthBuffer_, buffer, &Framebuffers::main, GL_DEPTH_ATTACHMENT);
}

void MVRenderSurface::setStencilBuffer(const Buffer& buffer) {
    setAttachment(stencilBuffer_, buffer, &Framebuffers::main, GL_STENCIL_ATTACHMENT);
}

void MVRenderSurface::setMultisampleColorBuffer(const Buffer& buffer) {
    setAttachment(multisampleColorBuffer_, buffer, &Framebuffers::multisample,
                  GL_COLOR_ATTACHMENT0);
}

void MVRenderSurface::setMultisampleDepthBuffer(const Buffer& buffer) {
    setAttachment(multisampleDepthBuffer_, buffer, &Framebuffers::multisample, GL_DEPTH_ATTACHMENT);
}

void MVRenderSurface::setMultisampleStencilBuffer(const Buffer& buffer) {
    setAttachment(multisampleStencilBuffer_, buffer, &Framebuffers::multisample,
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
    const std::lock_guard lock(settings_->mutex);
    settings_->multisampleFormat = format;
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
        context_->dispatchBlock(
            [framebuffers = framebuffers_] { framebuffers->multisample.generate(); });
    } else {
        // The name stays, stale: nothing switches multisampling back on.
        context_->dispatchBlock(
            [framebuffers = framebuffers_] { framebuffers->multisample.remove(); });
        setMultisampleColorBuffer(nullptr);
        setMultisampleDepthBuffer(nullptr);
        setMultisampleStencilBuffer(nullptr);
        buildAttachment(depthBuffer_, depthFormat_, &MVRenderSurface::setDepthBuffer);
        buildAttachment(stencilBuffer_, stencilFormat_, &MVRenderSurface::setStencilBuffer);
    }
    context_->dispatchBlock([framebuffers = framebuffers_, settings = settings_] {
        framebuffers->target(*settings).check();
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

void MVRenderSurface::mv_bindFramebuffer() {
    if (!context_) {
        return;
    }
    context_->mv_dispatchBlock(
        MVRenderContext::StencilPlanes::Cleared,
        [framebuffers = framebuffers_, settings = settings_] {
            framebuffers->target(*settings).bind();
            glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
            glDepthMask(GL_TRUE);
            glStencilMask(~0U);
            Mivora::ColorRGBA color;
            {
                const std::lock_guard lock(settings->mutex);
                color = settings->clearColor;
            }
            glClearColor(color.red, color.green, color.blue, color.alpha);
            glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        });
}

void MVRenderSurface::mv_setViewport() {
    if (!context_) {
        return;
    }
    context_->mv_dispatchBlock(
        MVRenderContext::StencilPlanes::Kept, [settings = settings_, former = colorBuffer_] {
            Mivora::Viewport area;
            Buffer whole;
            {
                const std::lock_guard lock(settings->mutex);
                area = settings->viewport;
                whole = settings->colorBuffer;
            }
            if (!whole) {
                whole = former;  // which has been taken away since, and is drawn into all the same
            }
            if (area.width <= 0 || area.height <= 0) {
                const Mivora::Size2I size = whole ? whole->storageSize() : Mivora::Size2I::kZero;
                area.width = size.width;
                area.height = size.height;
            }
            glViewport(area.x, area.y, area.width, area.height);
        });
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
    const std::lock_guard lock(settings_->mutex);
    return settings_->clearColor;
}

void MVRenderSurface::setClearColor(Mivora::ColorRGBA color) {
    const std::lock_guard lock(settings_->mutex);
    settings_->clearColor = color;
}

Mivora::Viewport MVRenderSurface::viewport() const {
    const std::lock_guard lock(settings_->mutex);
    return settings_->viewport;
}

void MVRenderSurface::setViewport(Mivora::Viewport viewport) {
    const std::lock_guard lock(settings_->mutex);
    settings_->viewport = viewport;
}

MVStencilState MVRenderSurface::mv_currentStencilState() {
    MVStencilState state;
    state.enabled = glIsEnabled(GL_STENCIL_TEST) == GL_TRUE;
    state.writeMask = GLState::mask(GL_STENCIL_WRITEMASK);
    state.function = enumerant(GL_STENCIL_FUNC);
    state.reference = integer(GL_STENCIL_REF);
    state.readMask = GLState::mask(GL_STENCIL_VALUE_MASK);
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
