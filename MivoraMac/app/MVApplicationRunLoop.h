#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

class MVApplication;

namespace Mivora::platform {
class RunLoop;
class Timer;
}  // namespace Mivora::platform

/// The thread that makes an application's frames: it fires a timer every `frameInterval` / 60
/// seconds, and each firing runs one frame of the application.
///
/// While a frame would have nothing to do, the timer rests and nothing wakes the thread. Woken up,
/// it goes on with the next firing of the same schedule, so that no frame comes later than it would
/// have without the rest.
///
/// The thread keeps the run loop alive until it has been invalidated, and the application for the
/// duration of a frame only.
///
/// Thread: main, unless stated otherwise.
class MIVORA_EXPORT MVApplicationRunLoop
    : public std::enable_shared_from_this<MVApplicationRunLoop> {
 public:
    /// A run loop whose thread has not been started.
    static std::shared_ptr<MVApplicationRunLoop> init();

    ~MVApplicationRunLoop();
    MVApplicationRunLoop(const MVApplicationRunLoop&) = delete;
    MVApplicationRunLoop& operator=(const MVApplicationRunLoop&) = delete;

    /// Whose frames to run; held weakly. Without one a firing does nothing. Thread: any.
    std::shared_ptr<MVApplication> application() const;
    void setApplication(const std::shared_ptr<MVApplication>& application);

    /// The frames of a nominal 60 Hz that one period lasts; 1 by default. Read when the thread
    /// starts. Not above zero: as fast as timers go.
    std::int64_t frameInterval() const { return frameInterval_; }
    void setFrameInterval(std::int64_t frameInterval) { frameInterval_ = frameInterval; }

    /// Starts the thread, once; no effect after that and after `invalidate`. The thread ends by
    /// itself, which is logged, when the system has no timer to give.
    /// @throws std::system_error when the system has no thread to give
    void start();

    /// Ends the thread when it is done with the frame it is in, without waiting for it.
    /// Thread: any.
    void invalidate();

    /// Runs one more frame as soon as the thread is free; before `start`, when it has started.
    /// After `invalidate` nothing happens. Thread: any.
    void forceFireOnNextLoop();

    /// Ends a rest: the frame that is due next is run. No effect while the thread does not rest.
    /// Thread: any.
    void mv_wake();

    /// Whether the timer rests. Thread: any.
    bool mv_isResting() const { return resting_.load(); }

    /// @name Internal to the library
    /// On the run loop's own thread.
    /// @{

    /// The thread's work from start to end.
    void mv_runLoopMain();
    /// Ends the timer, and with it the thread.
    void mv_runLoopExit();
    /// A firing: one frame. Afterwards the timer rests if the application has nothing to do.
    void mv_runLoop();

    /// @}

 private:
    friend struct ::MVMaker;

    MVApplicationRunLoop();

    void restIfIdle(MVApplication& application);

    std::shared_ptr<Mivora::platform::RunLoop> runLoop_;     // of the thread
    std::shared_ptr<Mivora::platform::Timer> refreshTimer_;  // belongs to the thread
    std::atomic<std::int64_t> frameInterval_{1};
    std::atomic<bool> resting_{false};
    bool started_ = false;

    mutable std::mutex mutex_;
    std::weak_ptr<MVApplication> application_;
};
