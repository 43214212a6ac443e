#include "MivoraMac/render/MVRenderContext.h"

#include <epoxy/gl.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <string_view>

#include "MivoraMac/platform/base/DebugLog.h"
#include "MivoraMac/platform/gl/Drawable.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/gl/PixelFormat.h"
#include "MivoraMac/platform/windows/DisplayLink.h"
#include "MivoraMac/platform/windows/OpenGLView.h"
#include "MivoraMac/render/MVPartialRedrawPrivate.h"
#include "MivoraMac/render/MVQuadBatchPrivate.h"
#include "MivoraMac/render/MVQuadRecorderPrivate.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"
#include "MivoraMac/render/MVShader.h"

using Mivora::platform::DebugLog;
using Mivora::platform::Drawable;
using Mivora::platform::GLContext;
using Mivora::platform::PixelFormat;
using Mivora::platform::SerialQueue;

namespace {

constexpr const char* kQueueLabel = "org.mivoramac.RenderContextDispatchQueue";

/// Marks every render context's queue. The address is the key; the value stored under it is the
/// context that last claimed the queue, of which only the presence is ever looked at.
const char kQueueContextKey[] = "org.mivoramac.RenderContextDispatchQueue.context";

constexpr std::array<std::uint32_t, 13> kPixelFormatAttributes = {
    PixelFormat::DoubleBuffer,
    PixelFormat::OpenGLProfile,
    PixelFormat::ProfileVersion3_2Core,
    PixelFormat::DepthSize,
    24,
    PixelFormat::StencilSize,
    8,
    PixelFormat::Multisample,
    PixelFormat::SampleBuffers,
    1,
    PixelFormat::Samples,
    4,
    PixelFormat::End,
};

/// The active context. Asked for several times for every drawn view, so each thread keeps what it
/// read last, until the count of changes says that there is something newer.
struct ActiveContext {
    std::mutex mutex;
    std::weak_ptr<MVRenderContext> context;
    std::atomic<std::uint64_t> changes{1};
    /// To compare with only: cleared by its destructor.
    std::atomic<const MVRenderContext*> address{nullptr};
};

struct KnownContext {
    std::weak_ptr<MVRenderContext> context;
    std::uint64_t change = 0;
};

ActiveContext& active() {
    static ActiveContext* holder = new ActiveContext;  // read from threads that outlive statics
    return *holder;
}

}  // namespace

MVRenderContext::MVRenderContext() = default;

MVRenderContext::~MVRenderContext() {
    const MVRenderContext* self = this;
    active().address.compare_exchange_strong(self, nullptr, std::memory_order_relaxed);
    if (recorder_ && recorder_->hasRecorded() && group_.use_count() > 1) {
        group_->removeRecorder();
    }
    shader_.reset();
    redraw_.reset();
    if (!context_) {
        return;
    }
    const std::shared_ptr<Mivora::platform::NativeGLContext> native = context_->native();
    context_.reset();
    // What the drawable leaves behind need not wait until something else is drawn. Where this was
    // the last context, the group sees to it as it goes.
    if (native->hasWaitingWork() && group_.use_count() > 1) {
        group_->dispatch([native] { native->doWaitingWork(); });
    }
}

std::shared_ptr<MVRenderContext> MVRenderContext::init() {
    auto context = MVMake<MVRenderContext>();
    context->mv_renderContextInitWithSharedContext(nullptr);
    return context;
}

std::shared_ptr<MVRenderContext> MVRenderContext::initWithSharedContext(
    const std::shared_ptr<MVRenderContext>& other) {
    return mv_initWithGroup(other ? other->group_ : nullptr);
}

std::shared_ptr<MVRenderContext> MVRenderContext::mv_initWithGroup(
    const std::shared_ptr<MVRenderGroup>& group) {
    if (!group) {
        return init();
    }
    auto context = MVMake<MVRenderContext>();
    context->dispatchQueue_ = group->queue();
    context->group_ = group;
    context->dispatchQueue_->setSpecific(kQueueContextKey, context.get());
    context->mv_renderContextInitWithSharedContext(group->context());
    return context;
}

void MVRenderContext::mv_renderContextInitWithSharedContext(
    const std::shared_ptr<GLContext>& shared) {
    if (!dispatchQueue_) {
        dispatchQueue_ = SerialQueue::create(kQueueLabel, SerialQueue::Execution::OwnThread);
        dispatchQueue_->setSpecific(kQueueContextKey, this);
    }
    pixelFormat_ = PixelFormat::initWithAttributes(kPixelFormatAttributes);
    if (shared || !group_) {
        context_ = GLContext::initWithFormatShareContext(pixelFormat_, shared);
    }
    if (!group_) {
        group_ = MVRenderGroup::create(dispatchQueue_, context_);
    }
    if (context_) {
        context_->setSwapInterval(1);
    } else {
        DebugLog::warn(DebugLog::Category::GL, "no GL context: nothing will be drawn");
    }
    const char* const wanted = std::getenv("MIVORA_BATCH");
    batching_ = context_ && (wanted == nullptr || std::string_view(wanted) != "0");
    if (context_) {
        recorder_ = std::make_unique<MVQuadRecorder>(*this, group_->batch());
        redraw_ = std::make_shared<MVPartialRedraw>(group_->batch(), context_);
    }
    mv_dispatchBlockSync([this] { readExtensions(); });
    // Shaders are GLSL ES 1.00, which this extension brings to a 3.2 core context. Asked for the
    // record only: a driver that compiles them without announcing it is as good.
    static_cast<void>(supportsGLExtension("GL_ARB_ES2_compatibility"));
}

void MVRenderContext::readExtensions() {
    if (GLContext::currentContext() == nullptr) {
        return;
    }
    largestExtent_ = Drawable::largestExtent();
    GLint count = 0;
    glGetIntegerv(GL_NUM_EXTENSIONS, &count);
    glExtensions_.reserve(static_cast<std::size_t>(count > 0 ? count : 0));
    for (GLint i = 0; i < count; ++i) {
        if (const GLubyte* name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i))) {
            glExtensions_.emplace(reinterpret_cast<const char*>(name));
        }
    }
}

std::shared_ptr<MVRenderContext> MVRenderContext::activeContext() {
    thread_local KnownContext known;
    ActiveContext& holder = active();
    if (holder.changes.load(std::memory_order_acquire) != known.change) {
        const std::lock_guard lock(holder.mutex);
        known = {holder.context, holder.changes.load(std::memory_order_relaxed)};
    }
    return known.context.lock();
}

std::shared_ptr<MVRenderContext> MVRenderContext::mv_drawingContext() {
    std::shared_ptr<MVRenderContext> context = activeContext();
    return context && context->context_ ? context : nullptr;
}

void MVRenderContext::mv_setActiveContext(const std::shared_ptr<MVRenderContext>& context) {
    ActiveContext& holder = active();
    // May come to be the last reference, which must not go while the lock is held: it takes GL work
    // to the end with it, and that may ask for the active context.
    std::shared_ptr<MVRenderContext> former;
    {
        const std::lock_guard lock(holder.mutex);
        former = holder.context.lock();
        if (former == context) {
            return;
        }
        holder.context = context;
        holder.address.store(context.get(), std::memory_order_relaxed);
        holder.changes.fetch_add(1, std::memory_order_release);
    }
    isStateUnsettled_.store(true, std::memory_order_relaxed);
}

std::atomic<bool> MVRenderContext::isStateUnsettled_{false};

/// In its place among the GL work: what was dispatched before still finds the state of the context
/// that was active then. Put off until there is something to find it: a frame in which nothing is
/// drawn makes its context active all the same.
void MVRenderContext::takeOverState() {
    isStateUnsettled_.store(false, std::memory_order_relaxed);
    const auto context = activeContext();
    if (context && context->context_) {
        context->dispatchQueue_->asyncInScope(*context, [context = context.get()] {
            context->group_->batch().settle();
            context->group_->batch().forgetStencil();
            context->context_->takeOverState();
        });
    }
}

bool MVRenderContext::mv_isActiveContext(const MVRenderContext* context) {
    return active().address.load(std::memory_order_relaxed) == context;
}

bool MVRenderContext::mv_isOnRenderQueue() {
    return SerialQueue::currentSpecific(kQueueContextKey) != nullptr;
}

bool MVRenderContext::supportsGLExtension(std::string_view name) const {
    return glExtensions_.contains(std::string(name));
}

void MVRenderContext::mv_logGLError() {
    dispatchBlock([] {
        if (GLContext::currentContext() != nullptr) {
            static_cast<void>(glGetError());
        }
    });
}

void MVRenderContext::mv_setRenderView(Mivora::platform::OpenGLView* view) {
    if (view == nullptr) {
        return;
    }
    view->setPixelFormat(pixelFormat_);
    view->setOpenGLContext(context_);
    if (context_) {
        context_->setView(view);
    }
}

void MVRenderContext::mv_optimizeDisplayLink(Mivora::platform::DisplayLink& displayLink) {
    if (context_) {
        displayLink.setCurrentDisplayFromOpenGLContext(*context_, *pixelFormat_);
    }
}

void MVRenderContext::setShader(const std::shared_ptr<MVShader>& shader) {
    if (shader) {
        shader->renderContextBindShader(*this);
    }
    shader_ = shader;
}

void MVRenderContext::mv_beginFrame(Mivora::ColorRGBA clearColor) {
    if (context_) {
        mv_dispatchBlock(StencilPlanes::OfFrame, [redraw = redraw_, clearColor] {
            MVPartialRedraw::begin(redraw, clearColor);
        });
    }
}

void MVRenderContext::mv_endFrame(bool isWhole) {
    if (context_) {
        mv_dispatchBlock(StencilPlanes::OfFrame, [redraw = redraw_, isWhole] {
            isWhole ? redraw->end() : redraw->abandon();
        });
    }
}

void MVRenderContext::present() {
    mv_dispatchBlockSync(StencilPlanes::OfFrame, [this] {
        if (context_) {
            redraw_->willShow();
            context_->flushBuffer();
        }
    });
}

void MVRenderContext::mv_queueGrowing(std::shared_ptr<MVQuadRecording> recording) {
    settleState();
    dispatchQueue_->grow(*this, std::move(recording));
}

void MVRenderContext::mv_drawEntry(const MVQuadEntry& entry) {
    if (context_) {
        mv_dispatchBlock(StencilPlanes::Kept, [this, entry] { group_->batch().draw({&entry, 1}); });
    }
}

MVQuadRecorder* MVRenderContext::mv_recorder() const {
    return batching_ && recorder_ && !group_->batch().isRefused() ? recorder_.get() : nullptr;
}

/// Before a closure: whatever it looks at is as if every drawing before it had been a call.
void MVRenderContext::mv_prepare(StencilPlanes planes) {
    MVQuadBatch& batch = group_->batch();
    batch.settle();
    if (planes != StencilPlanes::OfFrame) {
        batch.otherWorkComes();
    }
    if (planes == StencilPlanes::Unknown) {
        batch.forgetStencil();
    }
}

void MVRenderContext::mv_finish(StencilPlanes planes) {
    if (planes == StencilPlanes::Cleared) {
        group_->batch().stencilCleared();
    }
}

std::shared_ptr<Mivora::platform::QueueScope> MVRenderContext::retainScope() {
    if (std::shared_ptr<MVRenderContext> self = weak_from_this().lock()) {
        return {self, static_cast<QueueScope*>(this)};
    }
    return nullptr;
}

void MVRenderContext::enterScope() {
    if (context_) {
        context_->makeCurrentContext();
        context_->lock();
        group_->batch().contextComes(redraw_.get());
    }
}

void MVRenderContext::leaveScope() {
    if (context_) {
        group_->batch().settle();
        context_->unlock();
        GLContext::clearCurrentContext();
    }
}

const void* MVRenderContext::commonScope() const {
    return context_ ? context_->native().get() : nullptr;
}

void MVRenderContext::takeOverScope() {
    group_->batch().settle();
    context_->replaceCurrentContext();
    group_->batch().contextComes(redraw_.get());
}
