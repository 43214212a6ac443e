#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/geometry/Color.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/SerialQueue.h"

class MVPartialRedraw;
class MVQuadRecorder;
class MVQuadRecording;
class MVRenderGroup;
class MVShader;
struct MVQuadEntry;

namespace Mivora::platform {
class DisplayLink;
class GLContext;
class OpenGLView;
class PixelFormat;
}  // namespace Mivora::platform

/// The OpenGL context that everything is drawn through, and the serial queue on which every GL
/// call of the library runs. GL may be called only in closures given to this class.
///
/// A closure runs with the context current and locked. Closures from outside the queue run in the
/// order of submission; a closure dispatched from GL work runs at once, inline, before the rest of
/// the outer one, so nesting never waits. Consecutive closures of one context that already wait
/// share one make-current; it ends before a closure of another owner starts and as soon as the
/// queue runs dry.
///
/// What views draw is queued as closures only while batching is off. Otherwise it is recorded, and
/// what follows each other without another closure in between is drawn in one go: with the same
/// pixels, and the same GL state for the closures after it, as the single calls would leave.
///
/// One context at a time is the active one, through which shaders, surfaces, images and views
/// reach the queue.
///
/// Contexts that share objects share all of them, vertex arrays and framebuffers included: what is
/// made while one is active can be drawn while any other is. GL state (bindings, tests, masks,
/// blending, clearing values, viewport, pixel storage) is not shared: GL work finds the state of
/// the context that was the active one when it was dispatched, as that context's work left it.
/// Objects live until they are let go, also when the contexts have gone.
///
/// Thread: any, unless stated otherwise.
class MIVORA_EXPORT MVRenderContext : public std::enable_shared_from_this<MVRenderContext>,
                                      private Mivora::platform::QueueScope {
 public:
    /// A context with a queue of its own. It exists even where the platform has no GL context to
    /// give (the debug log, category `gl`, says why): `mv_context` is then null and closures run
    /// with no current context.
    static std::shared_ptr<MVRenderContext> init();

    /// A context that shares `other`'s queue and objects. Null makes it `init`.
    static std::shared_ptr<MVRenderContext> initWithSharedContext(
        const std::shared_ptr<MVRenderContext>& other);

    /// A context of a group of which all contexts may have gone. Null makes it `init`.
    static std::shared_ptr<MVRenderContext> mv_initWithGroup(
        const std::shared_ptr<MVRenderGroup>& group);

    ~MVRenderContext() override;

    /// The process-wide active context, held weakly; null when there is none.
    static std::shared_ptr<MVRenderContext> activeContext();
    /// The active context, if it has a GL context to draw with; else null.
    static std::shared_ptr<MVRenderContext> mv_drawingContext();
    /// Makes a context the active one, whose GL state then takes the place of that of the one
    /// before; null for none.
    static void mv_setActiveContext(const std::shared_ptr<MVRenderContext>& context);

    /// Whether runs of what views draw are drawn together. On, unless the environment variable
    /// MIVORA_BATCH was 0 when the context was made or the driver cannot do it. Thread: main.
    bool isBatching() const { return batching_; }
    /// Switches between that and the single calls of each view, from the next drawing on.
    /// Thread: main.
    void setBatching(bool batching) { batching_ = batching; }

    /// The queue on which all GL work runs. Closures put on it directly run with no current
    /// context.
    const std::shared_ptr<Mivora::platform::SerialQueue>& dispatchQueue() const {
        return dispatchQueue_;
    }

    /// Runs `closure` as GL work without waiting; inline when called from GL work of any context.
    /// A null function pointer or an empty `std::function` does nothing.
    template <class Closure>
    void dispatchBlock(Closure&& closure) {
        if (isEmpty(closure)) {
            return;
        }
        if (mv_isOnRenderQueue()) {
            Mivora::platform::runLogged(closure);
        } else {
            settleState();
            dispatchQueue_->asyncInScope(
                *this, Prepared<std::decay_t<Closure>>{*this, StencilPlanes::Unknown,
                                                       std::forward<Closure>(closure)});
        }
    }

    /// What GL work does to the stencil planes of the framebuffer that is bound after it.
    enum class StencilPlanes {
        Unknown,  ///< anything
        Kept,     ///< nothing: the same framebuffer stays bound
        Cleared,  ///< clears all of them, unless masks or the scissor test are in the way
        OfFrame,  ///< as `Kept`, and changes nothing that frames are drawn from: part of one itself
    };

    /// As `dispatchBlock`, for work of which more is known: stencil levels that are begun after it
    /// need no clearing of their own where the planes are clean.
    template <class Closure>
    void mv_dispatchBlock(StencilPlanes planes, Closure&& closure) {
        if (mv_isOnRenderQueue()) {
            Mivora::platform::runLogged(closure);
        } else {
            settleState();
            dispatchQueue_->asyncInScope(*this, Prepared<std::decay_t<Closure>>{
                                                    *this, planes, std::forward<Closure>(closure)});
        }
    }

    /// As `dispatchBlock`, but returns only when the closure has run.
    template <class Closure>
    void mv_dispatchBlockSync(Closure&& closure) {
        if (isEmpty(closure)) {
            return;
        }
        if (mv_isOnRenderQueue()) {
            Mivora::platform::runLogged(closure);
        } else {
            settleState();
            dispatchQueue_->syncInScope(*this, [this, &closure] {
                mv_prepare(StencilPlanes::Unknown);
                closure();
            });
        }
    }

    /// As both of these.
    template <class Closure>
    void mv_dispatchBlockSync(StencilPlanes planes, Closure&& closure) {
        if (mv_isOnRenderQueue()) {
            Mivora::platform::runLogged(closure);
        } else {
            settleState();
            dispatchQueue_->syncInScope(*this, [this, planes, &closure] {
                mv_prepare(planes);
                closure();
                mv_finish(planes);
            });
        }
    }

    /// What records drawings on this context, or null where they are played call by call.
    MVQuadRecorder* mv_recorder() const;
    /// Gives the queue a run of drawings that grows.
    void mv_queueGrowing(std::shared_ptr<MVQuadRecording> recording);
    /// Queues a single entry of a recording.
    void mv_drawEntry(const MVQuadEntry& entry);
    /// Takes note of a shader that a recorded drawing binds.
    void mv_noteShader(const std::shared_ptr<MVShader>& shader) {
        if (shader_ != shader) {
            shader_ = shader;
        }
    }
    /// Whether `context` is the active one; it must be alive, or null.
    static bool mv_isActiveContext(const MVRenderContext* context);

    /// Whether the calling code runs on a render context's queue, whichever context's it is.
    static bool mv_isOnRenderQueue();

    /// Begins a frame of what the context shows: binds its framebuffer and clears it, or has that
    /// wait until it is known how much of the frame differs from the one before.
    void mv_beginFrame(Mivora::ColorRGBA clearColor);
    /// The frame is complete, unless others were drawn into it on the way.
    void mv_endFrame(bool isWhole);

    /// The contexts that share objects with this one, and these objects.
    const std::shared_ptr<MVRenderGroup>& mv_group() const { return group_; }

    /// The platform's GL context, or null.
    const std::shared_ptr<Mivora::platform::GLContext>& mv_context() const { return context_; }

    /// What the GL context was made from, or null.
    const std::shared_ptr<Mivora::platform::PixelFormat>& pixelFormat() const {
        return pixelFormat_;
    }

    /// Whether the driver reported an extension of exactly this name.
    bool supportsGLExtension(std::string_view name) const;

    /// The most pixels a side of what is drawn into or from. It has no end where there is no GL
    /// context, as nothing is made there.
    std::uint64_t mv_largestExtent() const { return largestExtent_; }

    /// Clears one pending GL error flag; reports nothing.
    void mv_logGLError();

    /// Attaches the GL context to a native view. Null is ignored. Thread: main.
    void mv_setRenderView(Mivora::platform::OpenGLView* view);

    /// Ties a display link to the display that shows this context's drawing.
    void mv_optimizeDisplayLink(Mivora::platform::DisplayLink& displayLink);

    /// The program most recently bound with `setShader`.
    const std::shared_ptr<MVShader>& shader() const { return shader_; }

    /// Binds a shader, also one that is bound already, and remembers it. Null binds nothing and
    /// forgets the last one.
    void setShader(const std::shared_ptr<MVShader>& shader);

    /// Shows what was drawn: returns when all GL work dispatched before has been submitted and the
    /// buffers have been flipped.
    void present();

 private:
    friend struct ::MVMaker;

    MVRenderContext();

    /// Only what cannot be called counts as empty: a functor may convert to false for reasons of
    /// its own.
    template <class Closure>
    static bool isEmpty(const Closure& closure) {
        if constexpr (std::is_pointer_v<Closure>) {
            return closure == nullptr;
        } else {
            return false;
        }
    }
    template <class Result>
    static bool isEmpty(const std::function<Result()>& closure) {
        return closure == nullptr;
    }

    void mv_renderContextInitWithSharedContext(
        const std::shared_ptr<Mivora::platform::GLContext>& shared);
    void readExtensions();
    /// Has the state of the active context take over, if another one was active when GL work was
    /// last dispatched.
    static void settleState() {
        if (isStateUnsettled_.load(std::memory_order_relaxed)) {
            takeOverState();
        }
    }
    static void takeOverState();

    /// A closure on its way to the queue. The context is alive while its closures run.
    template <class Closure>
    struct Prepared {
        MVRenderContext& context;
        StencilPlanes planes;
        Closure closure;

        void operator()() {
            context.mv_prepare(planes);
            closure();
            context.mv_finish(planes);
        }
    };
    void mv_prepare(StencilPlanes planes);
    void mv_finish(StencilPlanes planes);

    std::shared_ptr<QueueScope> retainScope() override;
    void enterScope() override;
    void leaveScope() override;
    const void* commonScope() const override;
    void takeOverScope() override;

    static std::atomic<bool> isStateUnsettled_;

    std::shared_ptr<Mivora::platform::SerialQueue> dispatchQueue_;
    std::shared_ptr<MVRenderGroup> group_;
    std::shared_ptr<Mivora::platform::PixelFormat> pixelFormat_;
    std::shared_ptr<Mivora::platform::GLContext> context_;
    std::unordered_set<std::string> glExtensions_;
    std::uint64_t largestExtent_ = std::numeric_limits<std::uint64_t>::max();
    std::shared_ptr<MVShader> shader_;
    bool batching_ = true;
    std::unique_ptr<MVQuadRecorder> recorder_;
    std::shared_ptr<MVPartialRedraw> redraw_;
};
