#include "MivoraMac/app/MVApplication.h"

#include <epoxy/gl.h>

#include <utility>
#include <vector>

#include "MivoraMac/app/MVAnimationClock.h"
#include "MivoraMac/app/MVApplicationRenderView.h"
#include "MivoraMac/app/MVApplicationRunLoop.h"
#include "MivoraMac/images/MVImageCache.h"
#include "MivoraMac/input/MVMouseToTouchDispatcher.h"
#include "MivoraMac/platform/base/AtEndPrivate.h"
#include "MivoraMac/platform/gl/GLContext.h"
#include "MivoraMac/platform/threads/MainThread.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "MivoraMac/render/MVRenderGroupPrivate.h"
#include "MivoraMac/render/MVRenderSurface.h"
#include "MivoraMac/render/MVShaderCache.h"
#include "MivoraMac/views/MVFramePrivate.h"

using Mivora::platform::AtEnd;
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

/// What the applications that have ended shared, as long as something of it is kept: the next one
/// shares it, too, so that what is kept can be drawn there.
std::weak_ptr<MVRenderGroup>& groupOfEndedApplications() {
    static auto* group = new std::weak_ptr<MVRenderGroup>;  // outlives statics
    return *group;
}

std::shared_ptr<MVRenderContext> makeContext() {
    const auto active = MVRenderContext::activeContext();
    return active ? MVRenderContext::initWithSharedContext(active)
                  : MVRenderContext::mv_initWithGroup(groupOfEndedApplications().lock());
}

/// Has another application's context take over from that of one that goes. Without an active
/// context the next application would share the caches of the others but not their GL objects.
void retireContext(const std::shared_ptr<MVRenderContext>& context) {
    std::erase_if(livingContexts(), [&](const std::weak_ptr<MVRenderContext>& living) {
        return living.expired() || living.lock() == context;
    });
    groupOfEndedApplications() = context ? context->mv_group() : nullptr;
    if (MVRenderContext::activeContext() == context && !livingContexts().empty()) {
        MVRenderContext::mv_setActiveContext(livingContexts().back().lock());
    }
}

}  // namespace

MVApplication::Parts::~Parts() {
    // GL objects are deleted through the active context, which may have gone, and the shader that
    // this one has bound would be deleted only after it.
    if (!MVRenderContext::activeContext()) {
        MVRenderContext::mv_setActiveContext(context);
    }
    if (context) {
        context->setShader(nullptr);
    }
    imageCache.reset();
    animationClock.reset();
    shaderCache.reset();
    if (renderView) {
        renderView->mv_removeAllBridgeViews();
    }
    window.reset();
    renderView.reset();
    surface.reset();
    retireContext(context);
}

std::shared_ptr<MVApplication> MVApplication::init() {
    auto application = MVMake<MVApplication>();
    application->mv_applicationInit();
    return application;
}

MVApplication::MVApplication() : parts_(std::make_shared<Parts>()) {}

void MVApplication::mv_applicationInit() {
    parts_->context = makeContext();
    MVRenderContext::mv_setActiveContext(parts_->context);
    livingContexts().push_back(parts_->context);
    parts_->surface = MVRenderSurface::init();
    parts_->window = MVWindow::initWithApplication(shared_from_this());
    parts_->renderView =
        MVApplicationRenderView::initWithApplicationAndWindow(shared_from_this(), parts_->window);
    mv_resizeWindow();
    parts_->window->setMv_surface(parts_->surface);
    parts_->renderView->addObserver(std::shared_ptr<PropertyObserver>(shared_from_this(), this),
                                    "bounds");
    parts_->shaderCache = MVShaderCache::sharedCache();
    if (!parts_->shaderCache) {
        parts_->shaderCache = MVShaderCache::init();
        parts_->shaderCache->loadDefaultShaders();
        MVShaderCache::mv_setSharedCache(parts_->shaderCache);
    }
    animationInterval_ = static_cast<double>(static_cast<float>(frameInterval_) / 60.0F);
    parts_->animationClock = MVAnimationClock::init();
    parts_->animationClock->mv_setStartHandler([weak = weak_from_this()] {
        if (const auto application = weak.lock()) {
            application->mv_wake();
        }
    });
    parts_->imageCache = MVImageCache::sharedCache();
    if (!parts_->imageCache) {
        parts_->imageCache = MVImageCache::init();
        MVImageCache::mv_setSharedCache(parts_->imageCache);
    }
}

MVApplication::~MVApplication() {
    if (parts_->renderView) {
        parts_->renderView->removeObserver(this, "bounds");
    }
    setActive(false);
    if (!MainThread::isMainThread()) {
        // The last reference was that of a frame: the tree and the native view are the main
        // thread's to destroy.
        MainThread::perform([parts = std::move(parts_)]() mutable { parts.reset(); });
    }
}

bool MVApplication::mouseMakesFingerTouches() const {
    return parts_->renderView->mouseToTouchDispatcher()->makesFingerTouches();
}

void MVApplication::setMouseMakesFingerTouches(bool mouseMakesFingerTouches) {
    parts_->renderView->mouseToTouchDispatcher()->setMakesFingerTouches(mouseMakesFingerTouches);
}

std::shared_ptr<Mivora::platform::OpenGLView> MVApplication::renderView() const {
    return parts_->renderView;
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
        replaceRunLoop(std::move(runLoop));
        machTimebaseInfo_ = Clock::timebase();
        lastMachTime_ = Clock::ticks();
    } else {
        runLoop_->invalidate();
        runLoop_->setApplication(nullptr);
        replaceRunLoop(nullptr);
    }
    active_ = active;
}

void MVApplication::replaceRunLoop(std::shared_ptr<MVApplicationRunLoop> runLoop) {
    const std::lock_guard lock(runLoopMutex_);
    runLoop_.swap(runLoop);
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

void MVApplication::setClearColor(Mivora::ColorRGBA color) {
    if (clearColor_ != color) {
        clearColor_ = color;
        parts_->window->setNeedsDraw();
    }
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
        requests = parts_->window->mv_drawRequests();
    });
    // While this thread goes on, the main thread may already handle events: what they ask for is
    // for the next frame.
    if (drawn) {
        parts_->window->mv_setDrawCleanAsOf(requests);
        parts_->context->present();
    }
}

bool MVApplication::mv_runLoop(const std::shared_ptr<MVApplicationRunLoop>& /*sender*/) {
    mv_setActiveResources();
    if (!paused_) {
        lastMachTime_ = Clock::ticks();
        parts_->animationClock->tickVideoSync(kStep, 0.0);
    }
    MVFrame::layOut(*parts_->window);
    parts_->window->mv_settleFocus();
    parts_->renderView->mv_updateBridgeViews();
    const bool needsDraw = parts_->window->mv_windowNeedsDraw();
    parts_->renderView->mv_tellOfElements(needsDraw);
    if (!needsDraw) {
        return false;
    }
    const std::uint64_t drawing = ++drawings_;
    bool isWhole = false;
    {
        // Until the end, a `present` of the frame before leaves this one to its own. What is thrown
        // on the way ends it, too.
        const AtEnd end([&] { parts_->context->mv_endFrame(isWhole); });
        MVFrame::draw(*parts_->window, [this] {
            parts_->context->mv_beginFrame(clearColor_);
            parts_->renderView->mv_setViewport();
        });
        isWhole = drawings_ == drawing;
    }
    if (!isWhole) {
        // Something in the tree had a frame drawn at once, as a resize does. That one was whole;
        // this one drew some of itself before it and the rest over it.
        parts_->window->mv_setDrawDirty();
    }
    return isWhole;
}

void MVApplication::mv_resizeWindow() {
    const Mivora::platform::Rect bounds =
        parts_->renderView ? parts_->renderView->bounds() : Mivora::platform::Rect();
    parts_->window->setSize({static_cast<float>(bounds.width), static_cast<float>(bounds.height)});
}

void MVApplication::mv_inlineDraw() {
    parts_->window->setNeedsDraw();
    mv_runLoopFired(nullptr);
}

void MVApplication::mv_setActiveResources() {
    MVRenderContext::mv_setActiveContext(parts_->context);
    MVAnimationClock::mv_setActiveClock(parts_->animationClock);
}

bool MVApplication::mv_isIdle() const {
    return !parts_->window->mv_windowNeedsDraw() && !parts_->window->mv_needsLayoutVisit() &&
           !parts_->window->mv_elementsChanged() &&
           (paused_.load() || !parts_->animationClock->mv_hasTickers());
}

void MVApplication::mv_wake() {
    // Asked for with every redraw request.
    if (!mayRest_.load() || !mayRest_.exchange(false)) {
        return;
    }
    std::shared_ptr<MVApplicationRunLoop> runLoop;
    {
        const std::lock_guard lock(runLoopMutex_);
        runLoop = runLoop_;
    }
    if (runLoop) {
        runLoop->mv_wake();
    }
}

void MVApplication::mv_windowFocusDidChange() {
    if (parts_->renderView) {
        parts_->renderView->mv_focusDidChange();
    }
}

void MVApplication::mv_windowPerspectiveDidBuild(const glm::dmat4& sublayerTransform) {
    if (parts_->renderView) {
        parts_->renderView->setBridgeViewContainerSublayerTransform(sublayerTransform);
    }
}

std::shared_ptr<MVBridgeViewHost> MVApplication::mv_bridgeViewHost() {
    return parts_->renderView;
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
