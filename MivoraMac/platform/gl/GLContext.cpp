#include "MivoraMac/platform/gl/GLContext.h"

#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/base/DebugLog.h"

namespace Mivora::platform {

namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local GLContext* current = nullptr;

struct HeldFrame {
    HeldFrame(std::shared_ptr<GLContext> owner, const Drawable::Frame& held)
        : context(std::move(owner)), frame(held) {}
    ~HeldFrame() { context->drawable().giveBack(frame); }
    HeldFrame(const HeldFrame&) = delete;
    HeldFrame& operator=(const HeldFrame&) = delete;

    const std::shared_ptr<GLContext> context;
    const Drawable::Frame frame;
};

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
    const std::uint64_t before = drawable_.latestFrame().serial;
    drawable_.flush();
    if (drawable_.latestFrame().serial == before) {
        return;
    }
    FrameHandler handler;
    {
        const std::lock_guard lock(handlerMutex_);
        handler = frameHandler_;
    }
    if (handler) {
        handler();
    }
}

void GLContext::setFrameHandler(FrameHandler handler) {
    const std::lock_guard lock(handlerMutex_);
    frameHandler_.swap(handler);
}

std::shared_ptr<const Drawable::Frame> GLContext::holdLatestFrame() {
    const Drawable::Frame frame = drawable_.holdLatestFrame();
    if (frame.texture == 0) {
        return nullptr;
    }
    const auto held = std::make_shared<HeldFrame>(shared_from_this(), frame);
    return {held, &held->frame};
}

void GLContext::setView(GLContextView* view) {
    if (view != view_) {
        setFrameHandler(nullptr);
    }
    view_ = view;
    drawable_.setSize(view != nullptr ? view->backingSize() : PixelSize());
    if (view != nullptr) {
        view->openGLContextDidAttach();
    }
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
