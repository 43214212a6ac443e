#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/base/PropertyObservation.h"
#include "MivoraMac/platform/threads/Clock.h"
#include "MivoraMac/views/MVWindow.h"

class MVAnimationClock;
class MVApplicationRenderView;
class MVApplicationRunLoop;
class MVImageCache;
class MVRenderContext;
class MVRenderSurface;
class MVShaderCache;

namespace Mivora::platform {
class OpenGLView;
}

/// One animated window of views, and everything it takes: what a program creates first.
///
///     auto application = MVApplication::init();
///     application->window()->addSubview(card);
///     auto frame = Mivora::platform::Window::initWithTitle("Cards", 800, 600);
///     frame->setContentView(application->renderView());
///     frame->show();
///     application->setActive(true);
///     Mivora::platform::MainThread::run();
///
/// While it is active, a thread of its own runs a frame sixty times a second, and waits for each:
/// 1. On the main thread the animation clock is ticked and the tree laid out, and, if anything
///    asked for a redraw, drawn: its GL work is queued.
/// 2. If the tree was drawn, the thread presents it.
///
/// While nothing ticks, wants a layout or a redraw, the thread rests; whatever asks for one of
/// these wakes it up, and the frame comes when it would have come anyway.
///
/// Animation time is counted, not measured: every frame is a sixtieth of a second, however long it
/// really took.
///
/// Several applications in one process share textures, programs and caches. Each survives the end
/// of the others.
///
/// An application lives as long as it is held; it may be dropped at any time, also from within a
/// frame, which then ends as usual. Dropped on another thread, it is taken apart on the main
/// thread, which has to turn its loop for that.
///
/// Thread: main, unless stated otherwise.
class MIVORA_EXPORT MVApplication : public std::enable_shared_from_this<MVApplication>,
                                    public MVWindowOwner,
                                    private Mivora::platform::PropertyObserver {
 public:
    /// An application that is neither active nor paused. Its render context becomes the active one;
    /// it shares GL objects with the one that was. The first application loads the standard
    /// shaders.
    /// @throws MVException (internal inconsistency) where that fails, as without OpenGL 3.2; the
    ///         debug log (category `gl`) says what is missing
    static std::shared_ptr<MVApplication> init();

    ~MVApplication() override;
    MVApplication(const MVApplication&) = delete;
    MVApplication& operator=(const MVApplication&) = delete;

    /// Whether frames are run. False at first.
    bool isActive() const { return active_; }
    /// Starts or stops the frames; stopping does not wait for the thread. An equal value does
    /// nothing.
    void setActive(bool active);

    /// Whether time stands still: there are then four frames a second, which lay out and draw but
    /// tick nothing. False at first.
    bool isPaused() const { return paused_.load(); }
    /// Pauses, or goes on. An equal value does nothing.
    void setPaused(bool paused);

    /// Whether the mouse counts like a finger, so that a click that trembles is a click and no pan;
    /// see `MVMouseToTouchDispatcher::makesFingerTouches`. False at first.
    bool mouseMakesFingerTouches() const;
    /// Takes effect with the next press.
    void setMouseMakesFingerTouches(bool mouseMakesFingerTouches);

    /// The native view that shows the window, for the program to place in a window of the desktop.
    std::shared_ptr<Mivora::platform::OpenGLView> renderView() const;

    /// The root of the tree. It has the size of the native view.
    const std::shared_ptr<MVWindow>& window() const { return parts_->window; }

    /// The ground that a frame is drawn on, straight alpha; (0.1, 0.1, 0.1, 1) by default.
    Mivora::ColorRGBA clearColor() const { return clearColor_; }
    /// Changes the ground and asks for a redraw; an equal colour does nothing. Cheaper than a view
    /// of that colour behind everything. Components nominally 0 to 1; GL clamps them. Below an
    /// alpha of 1, what the window shows through is up to the desktop.
    void setClearColor(Mivora::ColorRGBA color);

    /// Always null. What draws is `MVRenderContext::activeContext`.
    const std::shared_ptr<MVRenderContext>& renderContext() const { return renderContext_; }

    /// What is ticked with every frame.
    const std::shared_ptr<MVAnimationClock>& animationClock() const {
        return parts_->animationClock;
    }

    /// The image cache that all applications share.
    const std::shared_ptr<MVImageCache>& imageCache() const { return parts_->imageCache; }

    /// The shader cache that all applications share.
    const std::shared_ptr<MVShaderCache>& shaderCache() const { return parts_->shaderCache; }

    /// @name Internal to the library
    /// @{

    /// The native view with its own class.
    const std::shared_ptr<MVApplicationRenderView>& mv_renderView() const {
        return parts_->renderView;
    }

    /// The run loop while the application is active, else null.
    const std::shared_ptr<MVApplicationRunLoop>& mv_activeRunLoop() const { return runLoop_; }

    /// One frame: its main-thread half, waiting for it, and then, if that drew, the rest. What a
    /// client's code throws in a frame is logged and ends the frame; the next one starts anew.
    ///
    /// A test may call it on the main thread, without a run loop, to run frames one by one.
    ///
    /// @param sender  the run loop that fired, or null. After it was replaced or invalidated, its
    ///                frame is left out.
    /// Thread: any that the main thread does not wait for.
    void mv_runLoopFired(const std::shared_ptr<MVApplicationRunLoop>& sender);

    /// The main-thread half of a frame.
    /// @return whether the tree was drawn
    bool mv_runLoop(const std::shared_ptr<MVApplicationRunLoop>& sender);

    /// Gives the window the size of the native view.
    void mv_resizeWindow();

    /// Draws and presents a frame at once.
    void mv_inlineDraw();

    /// Makes this application's context and clock the active ones.
    void mv_setActiveResources();

    /// Whether a frame would find nothing to do. Thread: any.
    bool mv_isIdle() const;

    /// The run loop is about to rest, unless the application has something to do after all.
    /// Thread: the run loop's.
    void mv_willRest() { mayRest_.store(true); }

    /// Ends the rest of the run loop. Thread: any.
    void mv_wake();

    /// @}

 protected:
    MVApplication();

 private:
    friend struct ::MVMaker;

    /// What an application owns, in the order of its release from the last to the first. May
    /// outlive the application: it is released on the main thread.
    struct Parts {
        std::shared_ptr<MVRenderContext> context;
        std::shared_ptr<MVRenderSurface> surface;
        std::shared_ptr<MVApplicationRenderView> renderView;
        std::shared_ptr<MVWindow> window;
        std::shared_ptr<MVShaderCache> shaderCache;
        std::shared_ptr<MVAnimationClock> animationClock;
        std::shared_ptr<MVImageCache> imageCache;

        Parts() = default;
        ~Parts();
        Parts(const Parts&) = delete;
        Parts& operator=(const Parts&) = delete;
    };

    void mv_applicationInit();
    void mv_windowDidBecomeDrawDirty() override { mv_wake(); }
    void mv_windowDidBecomeLayoutDirty() override { mv_wake(); }
    void mv_windowFocusDidChange() override;
    void mv_windowElementsDidChange() override { mv_wake(); }
    void mv_windowPerspectiveDidBuild(const glm::dmat4& sublayerTransform) override;
    std::shared_ptr<MVBridgeViewHost> mv_bridgeViewHost() override;
    void observeValueForKeyPathOfObjectChangeContext(std::string_view keyPath,
                                                     Mivora::platform::ObservableObject& object,
                                                     Mivora::platform::PropertyChange change,
                                                     void* context) override;

    void replaceRunLoop(std::shared_ptr<MVApplicationRunLoop> runLoop);

    std::mutex runLoopMutex_;  // where `runLoop_` is replaced, and read on other threads
    std::shared_ptr<MVApplicationRunLoop> runLoop_;
    std::atomic<bool> mayRest_{false};  // a run loop has rested since the last `mv_wake`
    double animationInterval_ = 0.0;
    std::int64_t frameInterval_ = 1;
    std::shared_ptr<Parts> parts_;
    std::uint64_t lastMachTime_ = 0;
    Mivora::platform::Timebase machTimebaseInfo_{1, 1};
    std::uint64_t drawings_ = 0;  // begun so far
    std::atomic<bool> paused_{false};
    bool active_ = false;
    Mivora::ColorRGBA clearColor_{0.1F, 0.1F, 0.1F, 1.0F};
    std::shared_ptr<MVRenderContext> renderContext_;
};
