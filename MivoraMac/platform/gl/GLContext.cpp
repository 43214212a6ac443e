#include "MivoraMac/platform/gl/GLContext.h"

#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/gl/GLStatePrivate.h"
#include "MivoraMac/platform/threads/QueueThreadsPrivate.h"

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
    if (!format) {
        return nullptr;
    }
    auto native = share ? share->native() : Host::current().createNativeGLContext();
    return native ? MVMake<GLContext>(format, std::move(native)) : nullptr;
}

GLContext::GLContext(std::shared_ptr<PixelFormat> format, std::shared_ptr<NativeGLContext> native)
    : pixelFormat_(std::move(format)),
      native_(std::move(native)),
      state_(std::make_shared<GLState>()),
      drawable_(std::make_shared<Drawable>(pixelFormat_->samples())) {}

GLContext::~GLContext() {
    if (view_ != nullptr) {
        setView(nullptr);
    }
    if (current == this) {
        clearCurrentContext();
    }
    if (drawable_->hasGLObjects()) {
        native_->whenNextCurrent([drawable = std::move(drawable_)] { drawable->release(); });
    }
}

void GLContext::makeCurrentContext() {
    if (native_->makeCurrent()) {
        current = this;
        native_->doWaitingWork();
    } else {
        clearCurrentContext();
        DebugLog::warn(DebugLog::Category::GL, "could not make a GL context current");
    }
}

void GLContext::clearCurrentContext() {
    if (current != nullptr) {
        current->native_->clearCurrent();
        current = nullptr;
    }
}

void GLContext::replaceCurrentContext() {
    if (current != nullptr && current->native_ == native_) {
        current = this;
    }
}

void GLContext::takeOverState() {
    if (current == nullptr || current->native_ != native_) {
        return;
    }
    std::shared_ptr<GLState>& inForce = native_->stateInForce_;
    if (inForce == state_) {
        return;
    }
    if (inForce) {
        if (inForce.use_count() > 1) {  // or its context has gone
            inForce->capture();
        }
        state_->apply();
    }
    inForce = state_;
}

GLContext* GLContext::currentContext() {
    return current;
}

void GLContext::flushBuffer() {
    const std::uint64_t before = drawable_->latestFrame().serial;
    drawable_->flush();
    if (drawable_->latestFrame().serial == before) {
        return;
    }
    QueueThreads::shared().driverHasDrawn();
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
    const Drawable::Frame frame = drawable_->holdLatestFrame();
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
    drawable_->setSize(view != nullptr ? view->backingSize() : PixelSize());
    if (view != nullptr) {
        view->openGLContextDidAttach();
    }
}

}  // namespace Mivora::platform
