#include "MivoraMac/platform/GLContext.h"

#include <utility>

#include "MivoraMac/platform/DebugLog.h"
#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/OpenGLView.h"

namespace Mivora::platform {

namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local GLContext* current = nullptr;

}  // namespace

std::shared_ptr<GLContext> GLContext::initWithFormatShareContext(
    const std::shared_ptr<PixelFormat>& format, const std::shared_ptr<GLContext>& share) {
    return format ? Host::current().createGLContext(format, share) : nullptr;
}

GLContext::GLContext(std::shared_ptr<PixelFormat> format)
    : pixelFormat_(std::move(format)), drawable_(pixelFormat_->samples()) {}

GLContext::~GLContext() {
    if (view_ != nullptr) {
        setView(nullptr);
    }
    if (current == this) {
        current = nullptr;
    }
}

void GLContext::makeCurrentContext() {
    if (makeCurrent()) {
        current = this;
    } else {
        clearCurrentContext();
        DebugLog::warn(DebugLog::Category::GL, "could not make a GL context current");
    }
}

void GLContext::clearCurrentContext() {
    if (current != nullptr) {
        current->clearCurrent();
        current = nullptr;
    }
}

GLContext* GLContext::currentContext() {
    return current;
}

void GLContext::flushBuffer() {
    drawable_.flush();
}

void GLContext::setView(OpenGLView* view) {
    view_ = view;
    drawable_.setSize(view != nullptr ? view->backingSize() : PixelSize());
}

void GLContext::releaseDrawable() {
    if (!drawable_.hasGLObjects()) {
        if (current == this) {
            clearCurrentContext();
        }
        return;
    }
    GLContext* const outer = current;
    makeCurrentContext();
    if (current == this) {
        drawable_.release();
    }
    clearCurrentContext();
    if (outer != nullptr && outer != this) {
        outer->makeCurrentContext();
    }
}

}  // namespace Mivora::platform
