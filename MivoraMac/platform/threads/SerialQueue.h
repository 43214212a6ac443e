#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/ClosureStream.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

/// Something that surrounds closures on a serial queue, such as a GL context being current.
///
/// Consecutive closures of one scope that are already waiting share one `enterScope` and
/// `leaveScope`. The scope is left as soon as the queue runs dry or a closure of another owner
/// comes up, so between closures nobody sees more than a pair around each closure would show.
class MIVORA_EXPORT QueueScope {
 public:
    virtual ~QueueScope();

 protected:
    friend class SerialQueue;

    /// Shared ownership of this scope; the queue takes it once for a run of closures, not for
    /// each. Thread: the submitting one.
    virtual std::shared_ptr<QueueScope> retainScope() = 0;
    /// Called before the first closure of a run. Thread: the queue's.
    virtual void enterScope() = 0;
    /// Called after the last closure of a run. Thread: the queue's.
    virtual void leaveScope() = 0;

    /// What this scope has in common with others, or null. Where a closure of a scope follows one
    /// of another that answers the same, `takeOverScope` is called in the place of leaving that
    /// one and entering this one. Thread: the queue's.
    virtual const void* commonScope() const { return nullptr; }
    /// See `commonScope`. Thread: the queue's.
    virtual void takeOverScope() {}
};

/// Work that goes on growing while nothing is queued behind it: one closure that stands for many,
/// at no cost to the queue for each.
class MIVORA_EXPORT GrowingWork {
 public:
    virtual ~GrowingWork();

 protected:
    friend class SerialQueue;

    /// Ends the growth, once; whoever adds to the work has to see that. Called with the queue's
    /// lock held. Thread: any.
    virtual void close() = 0;
    /// Does what the work has grown to. Thread: the queue's.
    virtual void run() = 0;
};

/// Runs closures one at a time, in the order they were submitted.
///
/// A queue without a thread of its own is a light object: its closures run on the shared pool, and
/// a synchronous call that meets no other work runs on the caller's stack.
///
/// Dropping the last reference runs what still waits. When the process exits, queues with a thread
/// of their own come to an end with what they have: closures that statics submit as they are
/// destroyed are dropped, and synchronous calls return at once. Thread: any.
class MIVORA_EXPORT SerialQueue : public WorkQueue,
                                  public std::enable_shared_from_this<SerialQueue> {
 public:
    /// Where closures run.
    enum class Execution {
        SharedPool,  ///< on any thread of the pool, or on that of a synchronous caller
        OwnThread,   ///< always on one thread that belongs to the queue
    };

    /// @param label  a string that outlives the queue, usually a literal
    static std::shared_ptr<SerialQueue> create(const char* label,
                                               Execution execution = Execution::SharedPool);
    ~SerialQueue();

    /// Runs `closure` later, after everything submitted before. Captures are moved where the
    /// closure is given as a temporary and copied otherwise, and destroyed on the queue.
    template <class Closure>
    void async(Closure&& closure) {
        submit(nullptr, std::decay_t<Closure>(std::forward<Closure>(closure)));
    }

    /// As `async`, with `scope` entered around the closure.
    template <class Closure>
    void asyncInScope(QueueScope& scope, Closure&& closure) {
        submit(&scope, std::decay_t<Closure>(std::forward<Closure>(closure)));
    }

    /// Takes work that still grows. It is closed and queued as soon as anything else is submitted,
    /// by whatever thread, and so runs before that; or with `queueGrowing`. Until then it keeps the
    /// scope alive. For queues with a thread of their own.
    void grow(QueueScope& scope, std::shared_ptr<GrowingWork> work);

    /// Closes and queues the work that grows, if there is any.
    void queueGrowing();

    /// Runs `closure` after everything submitted before, and returns when it has run.
    ///
    /// Synchronous calls may lead back to a queue that they come from, over however many other
    /// queues: the closure then runs at once, in the middle of the one that is in progress and on
    /// that one's thread. Two threads that each run a closure of one queue and wait for the other's
    /// queue wait for ever.
    template <class Closure>
    void sync(Closure&& closure) {
        auto call = [&closure] { closure(); };
        syncCall(nullptr, &runInPlace<decltype(call)>, &call);
    }

    /// As `sync`, with `scope` entered around the closure and, unless further work already waits,
    /// left before this returns.
    template <class Closure>
    void syncInScope(QueueScope& scope, Closure&& closure) {
        auto call = [&closure] { closure(); };
        syncCall(&scope, &runInPlace<decltype(call)>, &call);
    }

    /// How often the queue has run dry so far: a measure for benchmarks.
    std::uint64_t drainCount() const;

 private:
    friend struct ::MVMaker;
    struct Backlog;
    struct SyncCall;

    template <class Closure>
    static void runInPlace(void* closure) {
        runLogged(*static_cast<Closure*>(closure));
    }

    template <class Closure>
    static void runAndDestroy(void* payload) {
        Closure& closure = *static_cast<Closure*>(payload);
        runLogged(closure);
        closure.~Closure();
    }

    template <class Closure>
    void submit(QueueScope* scope, Closure&& closure) {
        static_assert(!std::is_reference_v<Closure>);
        if constexpr (alignof(Closure) <= ClosureStream::kAlignment &&
                      std::is_nothrow_move_constructible_v<Closure>) {
            if (void* place = lockAndReserve(scope, sizeof(Closure))) {
                ::new (place) Closure(std::move(closure));
                commitAndUnlock(&runAndDestroy<Closure>);
            }
        } else {
            submit(scope, [boxed = std::make_unique<Closure>(std::move(closure))] { (*boxed)(); });
        }
    }

    SerialQueue(const char* label, Execution execution);

    void* lockAndReserve(QueueScope* scope, std::size_t size);
    void commitAndUnlock(ClosureStream::Run run);
    bool beginWork();
    void wakeAndUnlock();
    void syncCall(QueueScope* scope, void (*call)(void*), void* closure);
    void waitUntilDone(Wait& wait, std::unique_lock<std::mutex>& lock);
    void handOver(Wait& to, HandedCall call);

    static void release(SerialQueue* queue);
    Backlog& backlog();
    enum class DrainUntil { Dry, BatchRun };

    bool takeOverIfIdle(QueueScope* scope);
    void finishOnCaller();
    void scheduleDrain();
    void drain(std::unique_lock<std::mutex>& lock, DrainUntil until = DrainUntil::Dry);
    void threadMain();

    mutable std::mutex mutex_;
    const Execution execution_;
    // A queue on the shared pool: a thread runs its closures; one of the pool is asked to.
    bool running_ = false;
    bool scheduled_ = false;
    std::unique_ptr<Backlog> backlog_;
};

}  // namespace Mivora::platform
