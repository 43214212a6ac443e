#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"

extern "C" {
struct _GMainContext;
struct _GSource;
}

namespace Mivora::platform {

/// A thread that can be asked to run closures: the handle by which other threads reach the loop
/// that it runs, a GLib main context.
///
/// The main thread has the loop `main`. Another thread becomes reachable by running a loop made
/// for it: `auto loop = RunLoop::create(); std::thread([loop] { loop->run(); });`. Closures may be
/// submitted before the thread has come that far. Such a loop runs once and then has ended: what is
/// still in line is dropped.
///
/// A closure that throws is logged and ends.
class MIVORA_EXPORT RunLoop : public std::enable_shared_from_this<RunLoop> {
 public:
    /// A loop that no thread runs yet.
    static std::shared_ptr<RunLoop> create();

    /// The loop of the main thread, see `MainThread`.
    static const std::shared_ptr<RunLoop>& main();

    /// The loop that the calling thread runs, the innermost one where they nest. On the main thread
    /// that is `main` also while it turns no loop; elsewhere null outside `run`.
    static std::shared_ptr<RunLoop> current();

    ~RunLoop();
    RunLoop(const RunLoop&) = delete;
    RunLoop& operator=(const RunLoop&) = delete;

    /// Whether the calling thread is the one that runs this loop.
    bool isCurrent() const;

    /// Runs `closure` on the loop's thread in one of its next turns, in order of submission, also
    /// when called on that thread itself. Captures are destroyed right after the call.
    /// Thread: any.
    /// @return whether the closure is in line; false when the loop has ended, which drops it
    bool perform(std::function<void()> closure);

    /// Runs `closure` on the loop's thread and returns when it has run: at once when called there,
    /// and otherwise after whatever was submitted before. Waits for a loop that does not run yet.
    /// The loop's thread must not itself be waiting for the caller. Thread: any.
    /// @return whether the closure has run; false when the loop ended before its turn came
    bool performAndWait(const std::function<void()>& closure);

    /// Runs the loop on the calling thread until `stop`; returns at once when it has ended. Calls
    /// may nest.
    /// @throws MVException (internal inconsistency) when another thread runs the loop
    void run();

    /// Ends the loop, and all nested runs of it, once everything has run that was submitted before;
    /// also one that does not run yet. For the main loop see `MainThread::quit`. Thread: any.
    void stop();

 private:
    friend struct ::MVMaker;
    friend class MainThread;
    friend class Timer;

    enum class Kind { Main, Own };

    /// GLib's side of the loop: the source that announces closures.
    struct Source;

    explicit RunLoop(Kind kind);

    /// Whether the calling thread is the main thread; makes no loop.
    static bool isOnMainThread();

    /// Declares the calling thread the main one, as turning the main loop does.
    static void becomeMainThread();

    bool hasWork();
    void runWaiting();
    void runMain();
    void quitMain();
    void end();

    const Kind kind_;
    _GMainContext* context_ = nullptr;  // null is the default one, of the main loop
    _GSource* source_ = nullptr;
    std::atomic<const void*> thread_{nullptr};  // that runs an own loop
    bool stopping_ = false;                     // belongs to the thread that runs the loop

    // GLib's locks are invisible to thread checkers, so what crosses threads is guarded by a mutex
    // of our own and GLib is only told to wake up.
    std::mutex mutex_;
    std::condition_variable performed_;
    std::deque<std::function<void()>> closures_;
    std::uint64_t taken_ = 0;  // closures that have left the deque so far
    int runDepth_ = 0;
    int quitsWanted_ = 0;  // of the main loop
    bool ended_ = false;
};

}  // namespace Mivora::platform
