#pragma once

#include <memory>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVAction.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVRenderContext;

namespace Mivora::platform {
class DisplayLink;
class RunLoop;
}  // namespace Mivora::platform

/// Calls an action of a target at every refresh of the display, on a thread of the caller's choice.
/// The frames of an application do not come from here: this is a utility for programs.
///
///     auto link = MVDisplayLink::displayLinkWithTargetSelectorThread(
///         player, &Player::displayLinkFired, RunLoop::main());
///
/// A link runs from its creation until it is paused or its last reference goes; it holds its
/// target and its context strongly. The display link's own thread waits while the target works:
/// refreshes that pass meanwhile are left out.
///
/// The last reference may be dropped on any thread, also by the action: the link ends there and
/// then, without waiting for a target that has not come to its turn; that turn is left out.
///
/// Thread: any.
class MIVORA_EXPORT MVDisplayLink : public std::enable_shared_from_this<MVDisplayLink> {
 public:
    /// The action of a target: it receives the link.
    template <class Target>
    using Selector = void (Target::*)(const std::shared_ptr<MVDisplayLink>&);

    /// The loop of the thread on which the action is called.
    using Thread = std::shared_ptr<Mivora::platform::RunLoop>;

    /// Refused: null.
    static std::shared_ptr<MVDisplayLink> init();

    /// A link bound to the active render context.
    template <class Object, class Target>
    static std::shared_ptr<MVDisplayLink> displayLinkWithTargetSelectorThread(
        const std::shared_ptr<Object>& target, Selector<Target> selector, const Thread& thread) {
        return mv_displayLink(MVAction::receiver(target, selector), selector, thread);
    }

    /// A link that fires from now on. With a null target, selector or thread it runs and does
    /// nothing at a refresh.
    /// @param target         an object of a class that has the member function
    /// @param selector       a member function, `void (const std::shared_ptr<MVDisplayLink>&)`.
    ///                       What it throws is logged
    /// @param thread         the loop of the thread on which to call it; a loop that does not run
    ///                       holds the link up, one that has ended makes it do nothing
    /// @param renderContext  whose drawing the link goes with; may be null
    /// @throws std::system_error when the system has no thread to give
    template <class Object, class Target>
    static std::shared_ptr<MVDisplayLink> initWithTargetSelectorThreadRenderContext(
        const std::shared_ptr<Object>& target, Selector<Target> selector, const Thread& thread,
        const std::shared_ptr<MVRenderContext>& renderContext) {
        return mv_init(MVAction::receiver(target, selector), selector, thread, renderContext);
    }

    ~MVDisplayLink();
    MVDisplayLink(const MVDisplayLink&) = delete;
    MVDisplayLink& operator=(const MVDisplayLink&) = delete;

    /// Always 0.
    double timestamp() const { return 0.0; }

    /// The time between two refreshes of the display, in seconds.
    double duration() const;

    /// Stops the link, or lets it run again. A refresh that is under way still reaches the target.
    void setPaused(bool paused);

    /// Whether the link runs: true for one that is not paused. The value is the inverse of what the
    /// name says, and callers rely on it.
    bool isPaused() const;

    /// Calls the action on the target's thread and returns when it has run: the work of one
    /// refresh. It also returns when the target's loop or this link ends first.
    void mv_displayLinkFire();

 private:
    friend struct ::MVMaker;

    struct Gate;

    MVDisplayLink(std::shared_ptr<void> target, const MVAction& selector, Thread thread,
                  std::shared_ptr<MVRenderContext> context);

    static std::shared_ptr<MVDisplayLink> mv_displayLink(std::shared_ptr<void> target,
                                                         const MVAction& selector,
                                                         const Thread& thread);
    static std::shared_ptr<MVDisplayLink> mv_init(std::shared_ptr<void> target,
                                                  const MVAction& selector, const Thread& thread,
                                                  std::shared_ptr<MVRenderContext> context);

    std::shared_ptr<void> target_;  // as the class that `selector_` belongs to
    MVAction selector_;
    Thread thread_;
    std::shared_ptr<MVRenderContext> context_;
    std::shared_ptr<Gate> gate_;  // where the display link's thread waits for the target's
    std::unique_ptr<Mivora::platform::DisplayLink> displayLink_;
};
