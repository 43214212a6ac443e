#include "MivoraMac/app/MVDisplayLink.h"

#include <condition_variable>
#include <mutex>
#include <utility>

#include "MivoraMac/platform/Host.h"
#include "MivoraMac/platform/threads/RunLoop.h"
#include "MivoraMac/platform/windows/DisplayLink.h"
#include "MivoraMac/render/MVRenderContext.h"

using Mivora::platform::Host;

struct MVDisplayLink::Gate {
    std::mutex mutex;
    std::condition_variable opened;
    bool isOpen = false;  // for good: the link ends
};

std::shared_ptr<MVDisplayLink> MVDisplayLink::init() {
    return nullptr;
}

std::shared_ptr<MVDisplayLink> MVDisplayLink::mv_displayLink(std::shared_ptr<void> target,
                                                             const MVAction& selector,
                                                             const Thread& thread) {
    return mv_init(std::move(target), selector, thread, MVRenderContext::activeContext());
}

std::shared_ptr<MVDisplayLink> MVDisplayLink::mv_init(std::shared_ptr<void> target,
                                                      const MVAction& selector,
                                                      const Thread& thread,
                                                      std::shared_ptr<MVRenderContext> context) {
    auto link = MVMake<MVDisplayLink>(std::move(target), selector, thread, std::move(context));
    link->displayLink_->start();
    return link;
}

// The display link's thread knows this object by its address, not by a reference: the last one then
// goes where the program drops it, and the destructor, which ends that thread, never runs on it.
MVDisplayLink::MVDisplayLink(std::shared_ptr<void> target, const MVAction& selector, Thread thread,
                             std::shared_ptr<MVRenderContext> context)
    : target_(std::move(target)),
      selector_(selector),
      thread_(std::move(thread)),
      context_(std::move(context)),
      gate_(std::make_shared<Gate>()),
      displayLink_(Host::current().createDisplayLink([this] { mv_displayLinkFire(); })) {}

MVDisplayLink::~MVDisplayLink() {
    {
        const std::lock_guard lock(gate_->mutex);
        gate_->isOpen = true;
    }
    gate_->opened.notify_all();
    displayLink_.reset();  // its thread may be calling this object until here
}

double MVDisplayLink::duration() const {
    return displayLink_->actualOutputVideoRefreshPeriod();
}

void MVDisplayLink::setPaused(bool paused) {
    if (paused) {
        displayLink_->stop();
    } else {
        displayLink_->start();
    }
}

bool MVDisplayLink::isPaused() const {
    return displayLink_->isRunning();
}

void MVDisplayLink::mv_displayLinkFire() {
    if (!target_ || !selector_ || !thread_) {
        return;
    }
    const auto fire = [link = weak_from_this()] {
        if (const std::shared_ptr<MVDisplayLink> self = link.lock()) {
            self->selector_.perform(self->target_, self);
        }
    };
    if (thread_->isCurrent()) {
        fire();
        return;
    }
    // The one place where the display link's thread waits for another. That one must be able to
    // destroy the link meanwhile, so the destructor ends the wait, too. Its loop may end without
    // having run the closure, so what counts is that the closure has gone.
    const auto isOver = std::make_shared<bool>(false);
    std::shared_ptr<void> token(nullptr, [gate = gate_, isOver](void*) {
        const std::lock_guard lock(gate->mutex);
        *isOver = true;
        gate->opened.notify_all();
    });
    thread_->perform([fire, token = std::move(token)] { fire(); });
    std::unique_lock lock(gate_->mutex);
    gate_->opened.wait(lock, [&] { return gate_->isOpen || *isOver; });
}
