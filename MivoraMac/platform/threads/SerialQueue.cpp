#include "MivoraMac/platform/threads/SerialQueue.h"

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <string>
#include <thread>

#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "MivoraMac/platform/threads/QueueThreadsPrivate.h"

namespace Mivora::platform {

namespace {

/// How long an idle thread looks for new work before it sleeps, in processor pauses: some tens of
/// microseconds, against a few microseconds that waking it would cost each producer.
constexpr int kSpinsBeforeSleep = 1000;

void processorPause() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#else
    std::atomic_signal_fence(std::memory_order_seq_cst);
#endif
}

/// A batch below this many closures means that the queue keeps up with its producers. Asking again
/// at once would move the lock between processors for every closure, which costs a producer more
/// than the closure itself; after a few microseconds there are some hundreds of them.
constexpr std::size_t kSmallBatch = 256;

void letProducersAhead() {
    constexpr int kPauses = 150;
    for (int i = 0; i < kPauses; ++i) {
        processorPause();
    }
}

/// Locks a mutex that nobody holds for more than some ten nanoseconds: trying again costs less than
/// going to sleep does, and being woken.
void lockBriefly(std::mutex& mutex) {
    constexpr int kTries = 200;
    for (int i = 0; i < kTries; ++i) {
        if (mutex.try_lock()) {
            return;
        }
        processorPause();
    }
    mutex.lock();
}

void lockBriefly(std::unique_lock<std::mutex>& lock) {
    lockBriefly(*lock.mutex());
    lock = std::unique_lock(*lock.mutex(), std::adopt_lock);
}

}  // namespace

QueueScope::~QueueScope() = default;

GrowingWork::~GrowingWork() = default;

/// A thread that waits, on its stack. Its members are guarded by the lock of the queue named.
struct WorkQueue::Wait {
    SerialQueue* queue;  ///< Whose lock and condition variable the wait uses.
    bool done = false;
    HandedCall* handed = nullptr;  ///< At most one: whoever hands it over waits for it.
};

/// A closure for a thread that waits, since it is in the middle of another one of that queue.
struct WorkQueue::HandedCall {
    WorkQueue* queue;
    void (*call)(void*);
    void* closure;
    const CurrentScope* caller;
    Wait* wait;
};

/// A synchronous caller that waits; lives on the caller's stack.
struct SerialQueue::SyncCall : Wait {
    void (*call)(void*);
    void* closure;
    const CurrentScope* caller;
    SyncCall* nextCompleted = nullptr;
};

/// What a queue needs once closures have to wait. A queue that only ever meets uncontended
/// synchronous calls never has one.
struct SerialQueue::Backlog {
    ClosureStream stream;
    /// The scope of the closure queued last; null: none, or the queue is dry.
    QueueScope* queuedScope = nullptr;
    /// Work that is queued before anything else is, and its scope; null for none.
    std::shared_ptr<GrowingWork> growing;
    std::shared_ptr<QueueScope> growingScope;
    std::condition_variable wake;
    std::condition_variable syncDone;
    std::atomic<std::uint64_t> submissions{0};
    std::uint64_t drains = 0;
    bool sleeping = false;
    bool working = false;  // from the first closure on until dry, where the queue has a thread
    bool stopping = false;
    bool abandoned = false;  // by its own thread, which alone looks at this
    std::thread thread;

    // Belongs to whoever drains.
    std::shared_ptr<QueueScope> scope;
    SyncCall* completed = nullptr;

    void queueScopeChange(QueueScope* next);
    void queueGrowing();
    void enter(std::shared_ptr<QueueScope> next);
    void signalCompleted(std::unique_lock<std::mutex>& lock);
};

namespace {

struct ScopeChange {
    void* backlog;
    std::shared_ptr<QueueScope> scope;
};

}  // namespace

void SerialQueue::Backlog::queueScopeChange(QueueScope* next) {
    std::shared_ptr<QueueScope> retained = next != nullptr ? next->retainScope() : nullptr;
    queuedScope = retained.get();
    ::new (stream.reserve(sizeof(ScopeChange))) ScopeChange{this, std::move(retained)};
    stream.commit([](void* payload) {
        auto* change = static_cast<ScopeChange*>(payload);
        static_cast<Backlog*>(change->backlog)->enter(std::move(change->scope));
        change->~ScopeChange();
    });
}

void SerialQueue::Backlog::queueGrowing() {
    using Work = std::shared_ptr<GrowingWork>;
    if (growing == nullptr) {
        return;
    }
    const std::shared_ptr<QueueScope> itsScope = std::move(growingScope);
    growing->close();
    if (queuedScope != itsScope.get()) {
        queueScopeChange(itsScope.get());
    }
    ::new (stream.reserve(sizeof(Work))) Work(std::move(growing));
    stream.commit([](void* payload) {
        Work& work = *static_cast<Work*>(payload);
        const auto run = [&work] { work->run(); };
        runLogged(run);
        work.~Work();
    });
}

void SerialQueue::Backlog::enter(std::shared_ptr<QueueScope> next) {
    if (scope && next && next->commonScope() != nullptr &&
        next->commonScope() == scope->commonScope()) {
        next->takeOverScope();
        scope = std::move(next);
        return;
    }
    if (scope) {
        scope->leaveScope();
        scope.reset();
    }
    scope = std::move(next);
    if (scope) {
        scope->enterScope();
    }
}

/// Tells synchronous callers that their closures have run. Called before the next closure starts
/// or, when there is none, after the scope has been left.
void SerialQueue::Backlog::signalCompleted(std::unique_lock<std::mutex>& lock) {
    if (completed == nullptr) {
        return;
    }
    if (!lock.owns_lock()) {
        lock.lock();
    }
    for (SyncCall* call = std::exchange(completed, nullptr); call != nullptr;) {
        SyncCall* next = call->nextCompleted;
        call->done = true;
        call = next;
    }
    syncDone.notify_all();
}

std::shared_ptr<SerialQueue> SerialQueue::create(const char* label, Execution execution) {
    if (execution == Execution::SharedPool) {
        return MVMake<SerialQueue>(label, execution);
    }
    const std::shared_ptr<SerialQueue> queue(new SerialQueue(label, execution), release);
    queue->backlog_->thread = std::thread([unowned = queue.get()] { unowned->threadMain(); });
    return queue;
}

/// Destroys a queue with a thread of its own. Where that thread itself drops the last reference, in
/// the middle of its work, it does so once the queue is dry.
void SerialQueue::release(SerialQueue* queue) {
    Backlog& waiting = *queue->backlog_;
    if (waiting.thread.get_id() == std::this_thread::get_id()) {
        waiting.abandoned = true;
    } else {
        delete queue;
    }
}

SerialQueue::SerialQueue(const char* label, Execution execution)
    : WorkQueue(label), execution_(execution) {
    if (execution == Execution::OwnThread) {
        backlog();
    }
}

SerialQueue::~SerialQueue() {
    if (execution_ != Execution::OwnThread) {
        return;  // a pending drain would hold a reference: nothing waits
    }
    if (!backlog_->thread.joinable()) {
        return;  // the thread destroys the queue itself, or could not be started
    }
    {
        const std::lock_guard lock(mutex_);
        backlog_->stopping = true;
        backlog_->submissions.fetch_add(1, std::memory_order_relaxed);
    }
    backlog_->wake.notify_one();
    backlog_->thread.join();
}

std::uint64_t SerialQueue::drainCount() const {
    const std::lock_guard lock(mutex_);
    return backlog_ ? backlog_->drains : 0;
}

/// Call with the lock held, or before the queue is shared.
SerialQueue::Backlog& SerialQueue::backlog() {
    if (!backlog_) {
        backlog_ = std::make_unique<Backlog>();
    }
    return *backlog_;
}

/// Notes that there will be something to run. Call with the lock held.
/// @return false where closures are dropped
bool SerialQueue::beginWork() {
    Backlog& waiting = backlog();
    if (execution_ == Execution::OwnThread && !waiting.working) {
        waiting.working = QueueThreads::shared().beginWork();
        return waiting.working;
    }
    return true;
}

/// @return null, with the lock released, where the closure is to be dropped
void* SerialQueue::lockAndReserve(QueueScope* scope, std::size_t size) {
    lockBriefly(mutex_);
    try {
        if (!beginWork()) {
            mutex_.unlock();
            return nullptr;
        }
        Backlog& waiting = *backlog_;
        waiting.queueGrowing();
        if (waiting.queuedScope != scope) {
            waiting.queueScopeChange(scope);
        }
        return waiting.stream.reserve(size);
    } catch (...) {
        mutex_.unlock();
        throw;
    }
}

void SerialQueue::commitAndUnlock(ClosureStream::Run run) {
    backlog_->stream.commit(run);
    wakeAndUnlock();
}

/// Sees to it that what has been committed is run, and unlocks.
void SerialQueue::wakeAndUnlock() {
    Backlog& waiting = *backlog_;
    waiting.submissions.store(waiting.submissions.load(std::memory_order_relaxed) + 1,
                              std::memory_order_relaxed);
    if (execution_ == Execution::OwnThread) {
        if (std::exchange(waiting.sleeping, false)) {
            waiting.wake.notify_one();
        }
        // Last: once unlocked, the closure may run and drop the last reference to this queue.
        mutex_.unlock();
        return;
    }
    const bool schedule = !running_ && !std::exchange(scheduled_, true);
    mutex_.unlock();
    if (schedule) {
        scheduleDrain();
    }
}

void SerialQueue::grow(QueueScope& scope, std::shared_ptr<GrowingWork> work) {
    std::shared_ptr<QueueScope> retained = scope.retainScope();
    lockBriefly(mutex_);
    Backlog& waiting = backlog();
    const bool queues = waiting.growing != nullptr && beginWork();
    if (queues) {
        waiting.queueGrowing();
    }
    waiting.growing.swap(work);
    waiting.growingScope.swap(retained);
    if (queues) {
        wakeAndUnlock();
    } else {
        mutex_.unlock();
    }
}

void SerialQueue::queueGrowing() {
    lockBriefly(mutex_);
    if (backlog().growing != nullptr && beginWork()) {
        backlog_->queueGrowing();
        wakeAndUnlock();
    } else {
        mutex_.unlock();
    }
}

void SerialQueue::scheduleDrain() {
    ConcurrentQueue::global()->async([self = shared_from_this()] {
        std::unique_lock lock(self->mutex_);
        self->scheduled_ = false;
        if (!self->running_) {  // or a synchronous caller was faster
            self->running_ = true;
            self->drain(lock);
            self->running_ = false;
        }
    });
}

/// Claims an idle queue for a synchronous caller. A scope is only ever used with queues that have
/// a thread of their own.
bool SerialQueue::takeOverIfIdle(QueueScope* scope) {
    if (execution_ == Execution::OwnThread || scope != nullptr) {
        return false;
    }
    const std::lock_guard lock(mutex_);
    if (running_ || (backlog_ && backlog_->stream.hasReady())) {
        return false;
    }
    running_ = true;
    return true;
}

void SerialQueue::finishOnCaller() {
    bool schedule = false;
    {
        const std::lock_guard lock(mutex_);
        running_ = false;
        schedule = backlog_ && backlog_->stream.hasReady() && !std::exchange(scheduled_, true);
    }
    if (schedule) {
        scheduleDrain();
    }
}

void SerialQueue::syncCall(QueueScope* scope, void (*call)(void*), void* closure) {
    const CurrentScope* const caller = CurrentScope::innermost();
    const CurrentScope::Place place = CurrentScope::find(this, caller);
    if (place.found) {
        // Waiting for the closure that waits for this one would be for ever.
        if (place.wait != nullptr) {
            place.wait->queue->handOver(*place.wait, {this, call, closure, caller, nullptr});
        } else {
            const CurrentScope running(this);
            call(closure);
        }
        return;
    }
    if (takeOverIfIdle(scope)) {
        {
            const CurrentScope running(this);
            call(closure);
        }
        finishOnCaller();
        return;
    }
    SyncCall waiter{{this}, call, closure, caller};
    void* const payload = lockAndReserve(scope, sizeof(SyncCall*));
    if (payload == nullptr) {
        return;
    }
    ::new (payload) SyncCall*(&waiter);
    const ClosureStream::Run run = [](void* waiting) {
        SyncCall* const sync = *static_cast<SyncCall**>(waiting);
        Backlog& backlog = *sync->queue->backlog_;
        {
            const CurrentScope running(sync->queue, sync->caller, sync);
            sync->call(sync->closure);
        }
        sync->nextCompleted = backlog.completed;
        backlog.completed = sync;
    };
    if (execution_ == Execution::SharedPool && scope == nullptr && !running_) {
        // The pool has not come to this queue yet, and may not before this caller returns, as when
        // all its threads wait here: what waits runs on this stack, up to the closure at hand.
        running_ = true;
        backlog_->stream.commit(run);
        std::unique_lock lock(mutex_, std::adopt_lock);
        drain(lock, DrainUntil::BatchRun);
        lock.unlock();
        finishOnCaller();
        return;
    }
    commitAndUnlock(run);
    std::unique_lock lock(mutex_);
    waitUntilDone(waiter, lock);
}

/// Waits, and meanwhile runs what is handed over. Call with the lock held.
void SerialQueue::waitUntilDone(Wait& wait, std::unique_lock<std::mutex>& lock) {
    for (;;) {
        backlog_->syncDone.wait(lock, [&] { return wait.done || wait.handed != nullptr; });
        if (wait.handed == nullptr) {
            return;
        }
        const HandedCall& handed = *std::exchange(wait.handed, nullptr);
        lock.unlock();
        {
            const CurrentScope running(handed.queue, handed.caller, handed.wait);
            handed.call(handed.closure);
        }
        lock.lock();
        handed.wait->done = true;
        backlog_->syncDone.notify_all();
    }
}

/// Has a thread that waits with this queue's lock run a closure, and waits for that.
void SerialQueue::handOver(Wait& to, HandedCall call) {
    Wait wait{this};
    call.wait = &wait;
    std::unique_lock lock(mutex_);
    to.handed = &call;
    backlog_->syncDone.notify_all();
    waitUntilDone(wait, lock);
}

/// Runs what waits, until nothing does or, with `BatchRun`, until everything has run that waited at
/// first, the last of which is outside any scope. Call with the lock held; returns with it held.
void SerialQueue::drain(std::unique_lock<std::mutex>& lock, DrainUntil until) {
    const CurrentScope running(this);
    Backlog& waiting = backlog();
    bool ran = false;
    for (;;) {
        std::size_t count = waiting.stream.takeReady();
        if (count == 0) {
            waiting.drains += ran ? 1 : 0;
            ran = false;
            if (!waiting.scope && waiting.completed == nullptr) {
                return;
            }
            waiting.queuedScope = nullptr;
            lock.unlock();
            waiting.enter(nullptr);
            waiting.signalCompleted(lock);
            if (!lock.owns_lock()) {
                lockBriefly(lock);
            }
            continue;
        }
        ran = true;
        const bool small = count < kSmallBatch;
        lock.unlock();
        for (; count != 0; --count) {
            waiting.signalCompleted(lock);
            if (lock.owns_lock()) {
                lock.unlock();
            }
            waiting.stream.runNext();
        }
        if (small && waiting.completed == nullptr) {
            letProducersAhead();
        }
        lockBriefly(lock);
        if (until == DrainUntil::BatchRun && waiting.stream.hasReady()) {
            waiting.signalCompleted(lock);
            return;
        }
    }
}

void SerialQueue::threadMain() {
    pthread_setname_np(pthread_self(), "MVRenderQueue");
    QueueThreads::shared().enter();
    std::unique_lock lock(mutex_);
    Backlog& waiting = *backlog_;
    for (;;) {
        const std::uint64_t seen = waiting.submissions.load(std::memory_order_relaxed);
        if (!waiting.stream.hasReady() && !waiting.stopping) {
            lock.unlock();
            for (int i = 0; i < kSpinsBeforeSleep &&
                            waiting.submissions.load(std::memory_order_relaxed) == seen;
                 ++i) {
                processorPause();
            }
            lockBriefly(lock);
        }
        while (!waiting.stream.hasReady() && !waiting.stopping) {
            waiting.sleeping = true;
            waiting.wake.wait(lock);
        }
        waiting.sleeping = false;
        if (!waiting.stream.hasReady()) {
            return;
        }
        drain(lock);
        if (waiting.abandoned) {
            lock.unlock();
            QueueThreads::shared().adopt(std::move(waiting.thread));
            delete this;
            QueueThreads::shared().endWork();
            return;
        }
        waiting.working = false;
        QueueThreads::shared().endWork();
    }
}

}  // namespace Mivora::platform
