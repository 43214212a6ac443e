#include "MivoraMac/app/MVApplication.h"

#include <epoxy/gl.h>

#include <utility>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVApplicationRunLoop.h"
#include "MivoraMac/images/MVImageCache.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVFramePrivate.h"

using Mivora::platform::Clock;
using Mivora::platform::MainThread;
using Mivora::platform::ObservableObject;
using Mivora::platform::PropertyChange;

namespace {

/// The time that passes with every frame, in seconds.
constexpr double kStep = static_cast<double>(1.0F / 60.0F);

/// Frames of 60 Hz for each frame of a paused application.
constexpr std::int64_t kPausedFrameInterval = 15;

/// The render contexts of the living applications.
std::vector<std::weak_ptr<MVRenderContext>>& livingContexts() {
    static auto* contexts = new std::vector<std::weak_ptr<MVRenderContext>>;  // outlives statics
    return *contexts;
}

/// Has another application's context take over from that of one that goes. Without an active
/// context the next application would share the caches of the others but not their GL objects.
void retireContext(const std::shared_ptr<MVRenderContext>& context) {
    std::erase_if(livingContexts(), [&](const std::weak_ptr<MVRenderContext>& living) {
        return living.expired() || living.lock() == context;
    });
    if (MVRenderContext::activeContext() == context && !livingContexts().empty()) {
        MVRenderContext::mv_setActiveContext(livingContexts().back().lock());
    }
}

}  // namespace

/// In the order of the application's fields, so that they are released in the reverse of it.
struct MVApplication::Parts {
    std::shared_ptr<MVRenderContext> context;
    std::shared_ptr<MVRenderSurface> surface;
    std::shared_ptr<MVApplicationRenderView> renderView;
    std::shared_ptr<MVWindow> window;
    std::shared_ptr<MVShaderCache> shaderCache;
    std::shared_ptr<MVAnimationClock> animationClock;
    std::shared_ptr<MVImageCache> imageCache;

    ~Parts() {
        // GL objects are deleted through the active context, which may have gone, and the shader
        // that this one has bound would be deleted only after it.
        if (!MVRenderContext::activeContext()) {
            MVRenderContext::mv_setActiveContext(context);
        }
        if (context) {
            context->setShader(nullptr);
        }
        imageCache.reset();
        animationClock.reset();
        shaderCache.reset();
        window.reset();
        renderView.reset();
        surface.reset();
        retireContext(context);
        context.reset();
    }
};

std::shared_ptr<MVApplication> MVApplication::init() {
    auto application = MVMake<MVApplication>();
    application->mv_applicationInit();
    return application;
}

MVApplication::MVApplication() = default;

void MVApplication::mv_applicationInit() {
    context_ = MVRenderContext::initWithSharedContext(MVRenderContext::activeContext());
    MVRenderContext::mv_setActiveContext(context_);
    livingContexts().push_back(context_);
    surface_ = MVRenderSurface::init();
    window_ = MVWindow::initWithApplication(shared_from_this());
    renderView_ =
        MVApplicationRenderView::initWithApplicationAndWindow(shared_from_this(), window_);
    mv_resizeWindow();
    window_->setMv_surface(surface_);
    renderView_->addObserver(std::shared_ptr<PropertyObserver>(shared_from_this(), this), "bounds");
    shaderCache_ = MVShaderCache::sharedCache();
    if (!shaderCache_) {
        shaderCache_ = MVShaderCache::init();
        shaderCache_->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(shaderCache_);
    }
    animationInterval_ = static_cast<double>(static_cast<float>(frameInterval_) / 60.0F);
    animationClock_ = MVAnimationClock::init();
    imageCache_ = MVImageCache::sharedCache();
    if (!imageCache_) {
        imageCache_ = MVImageCache::init();
        MVImageCache::mv_setSharedCache(imageCache_);
    }
}

MVApplication::~MVApplication() {
    if (renderView_) {
        renderView_->removeObserver(this, "bounds");
    }
    setActive(false);
    auto parts = std::make_shared<Parts>();
    parts->context = std::move(context_);
    parts->surface = std::move(surface_);
    parts->renderView = std::move(renderView_);
    parts->window = std::move(window_);
    parts->shaderCache = std::move(shaderCache_);
    parts->animationClock = std::move(animationClock_);
    parts->imageCache = std::move(imageCache_);
    if (!MainThread::isMainThread()) {
        // The last reference was that of a frame: the tree and the native view are the main
        // thread's to destroy.
        MainThread::perform([parts = std::move(parts)]() mutable { parts.reset(); });
    }
}

std::shared_ptr<Mivora::platform::OpenGLView> MVApplication::renderView() const {
    return renderView_;
}

void MVApplication::setActive(bool active) {
    if (active_ == active) {
        return;
    }
    if (active) {
        auto runLoop = MVApplicationRunLoop::init();
        runLoop->setApplication(shared_from_this());
        runLoop->setFrameInterval(frameInterval_);
        runLoop->start();
        runLoop_ = std::move(runLoop);
        machTimebaseInfo_ = Clock::timebase();
        lastMachTime_ = Clock::ticks();
    } else {
        runLoop_->invalidate();
        runLoop_->setApplication(nullptr);
        runLoop_.reset();
    }
    active_ = active;
}

void MVApplication::setPaused(bool paused) {
    if (paused_ == paused) {
        return;
    }
    frameInterval_ =
        paused ? kPausedFrameInterval : static_cast<std::int64_t>(animationInterval_ * 60.0);
    if (active_) {
        setActive(false);
        setActive(true);
    }
    paused_ = paused;
}

void MVApplication::mv_runLoopFired(const std::shared_ptr<MVApplicationRunLoop>& sender) {
    const std::shared_ptr<MVApplication> self = shared_from_this();
    bool drawn = false;
    std::uint64_t requests = 0;
    MainThread::performAndWait([&] {
        if (sender && sender->application() != self) {
            return;
        }
        drawn = mv_runLoop(sender);
        requests = window_->mv_drawRequests();
    });
    // While this thread goes on, the main thread may already handle events: what they ask for is
    // for the next frame.
    if (drawn) {
        window_->mv_setDrawCleanAsOf(requests);
        context_->present();
    }
}

bool MVApplication::mv_runLoop(const std::shared_ptr<MVApplicationRunLoop>& /*sender*/) {
    mv_setActiveResources();
    if (!paused_) {
        lastMachTime_ = Clock::ticks();
        animationClock_->tickVideoSync(kStep, 0.0);
    }
    MVFrame::layOut(*window_);
    if (!window_->mv_windowNeedsDraw()) {
        return false;
    }
    MVFrame::draw(*window_, [this] {
        if (const auto context = context_->mv_context()) {
            context_->dispatchBlock([context] {
                glBindFramebuffer(GL_FRAMEBUFFER, context->defaultFramebuffer());
                glClearColor(0.1F, 0.1F, 0.1F, 1.0F);
                glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
            });
        }
        renderView_->mv_setViewport();
    });
    return true;
}

void MVApplication::mv_resizeWindow() {
    const Mivora::platform::Rect bounds =
        renderView_ ? renderView_->bounds() : Mivora::platform::Rect();
    window_->setSize({static_cast<float>(bounds.width), static_cast<float>(bounds.height)});
}

void MVApplication::mv_inlineDraw() {
    window_->setNeedsDraw();
    mv_runLoopFired(nullptr);
}

void MVApplication::mv_setActiveResources() {
    MVRenderContext::mv_setActiveContext(context_);
    MVAnimationClock::mv_setActiveClock(animationClock_);
}

void MVApplication::mv_windowPerspectiveDidBuild(const glm::dmat4& sublayerTransform) {
    if (renderView_) {
        renderView_->setBridgeViewContainerSublayerTransform(sublayerTransform);
    }
}

void MVApplication::observeValueForKeyPathOfObjectChangeContext(std::string_view /*keyPath*/,
                                                                ObservableObject& /*object*/,
                                                                PropertyChange /*change*/,
                                                                void* /*context*/) {
    // The native view itself says when it has another size, after it has been given the viewport.
}

std::shared_ptr<MVWindow> MVWindow::initWithApplication(
    const std::shared_ptr<MVApplication>& application) {
    return mv_initWithOwner(application);
}

std::shared_ptr<MVApplication> MVWindow::mv_application() const {
    return std::dynamic_pointer_cast<MVApplication>(mv_owner());
}
