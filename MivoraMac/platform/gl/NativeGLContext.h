#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "MivoraMac/Export.h"

namespace Mivora::platform {

class GLState;

/// An OpenGL 3.2 core context of the system, as the running host provides it: what all `GLContext`s
/// that share objects draw with. It can be current on one thread at a time, any one.
///
/// Sharing one native context, rather than objects between several, is what makes vertex arrays and
/// framebuffers usable throughout, and what keeps drivers right that remember the values of a
/// program's uniforms for the program rather than for each context (Mesa 22.3).
class MIVORA_EXPORT NativeGLContext {
 public:
    NativeGLContext(const NativeGLContext&) = delete;
    NativeGLContext& operator=(const NativeGLContext&) = delete;
    /// Work that still waits is dropped.
    virtual ~NativeGLContext();

    /// Keeps other threads from using the context between two operations; one thread may lock
    /// several times. Thread: any.
    void lock() { mutex_.lock(); }
    /// Ends one `lock` of the same thread.
    void unlock() { mutex_.unlock(); }

    /// Has `work` done when the context is next made current, on whichever thread that is: so that
    /// who lets go of GL objects need not be where they can be deleted. Thread: any.
    void whenNextCurrent(std::function<void()> work);

    /// Whether work waits to be done. Thread: any.
    bool hasWaitingWork() const { return hasWaitingWork_.load(std::memory_order_acquire); }

    /// Does the work that waits. Thread: one where this is current.
    void doWaitingWork();

 protected:
    NativeGLContext();

    /// The work that waits, for a host to do in its own way before the context goes.
    std::vector<std::function<void()>> takeWaitingWork();

    /// Makes the context current on the calling thread.
    /// @return whether it is current afterwards
    virtual bool makeCurrent() = 0;
    /// Leaves the calling thread, where this is current, without a current context.
    virtual void clearCurrent() = 0;

 private:
    friend class GLContext;

    std::recursive_mutex mutex_;
    std::mutex workMutex_;
    std::vector<std::function<void()>> waitingWork_;
    std::atomic<bool> hasWaitingWork_{false};
    std::shared_ptr<GLState> stateInForce_;  // looked at where this is current
};

}  // namespace Mivora::platform
