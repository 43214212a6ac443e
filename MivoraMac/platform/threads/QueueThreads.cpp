#include <chrono>
#include <cstdlib>
#include <utility>

#include "MivoraMac/platform/threads/QueueThreadsPrivate.h"

namespace Mivora::platform {

namespace {

/// Whether the calling thread belongs to a queue.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool isQueueThread = false;

/// A closure that never ends must not keep the process from exiting.
constexpr std::chrono::seconds kLongestWait(5);

}  // namespace

QueueThreads& QueueThreads::shared() {
    static auto* threads = new QueueThreads;
    return *threads;
}

void QueueThreads::enter() {
    isQueueThread = true;
}

bool QueueThreads::beginWork() {
    const std::lock_guard lock(mutex_);
    working_ += over_ ? 0 : 1;
    return !over_;
}

void QueueThreads::endWork() {
    const std::lock_guard lock(mutex_);
    --working_;
    idle_.notify_all();
    if (++runs_ == nextRegistered_) {
        nextRegistered_ *= 2;
        lookAfterExit();
    }
}

void QueueThreads::driverHasDrawn() {
    const std::lock_guard lock(mutex_);
    if (!std::exchange(hasDrawn_, true)) {
        lookAfterExit();
    }
}

/// Handlers run in the opposite order: this one before those that the driver, and the compiler it
/// uses, have registered so far. Some of their statics they make late.
void QueueThreads::lookAfterExit() {
    static_cast<void>(std::atexit(waitAtExit));
}

void QueueThreads::adopt(std::thread thread) {
    std::thread earlier;
    {
        const std::lock_guard lock(mutex_);
        earlier = std::exchange(adopted_, std::move(thread));
    }
    if (earlier.joinable()) {
        earlier.join();  // has ended, or is about to
    }
}

void QueueThreads::joinAdopted() {
    std::thread last;
    {
        const std::lock_guard lock(mutex_);
        last = std::move(adopted_);
    }
    if (last.joinable()) {
        last.join();
    }
}

void QueueThreads::waitAtExit() {
    if (isQueueThread) {
        return;  // a closure exits the process
    }
    QueueThreads& threads = shared();
    bool idle = false;
    {
        std::unique_lock lock(threads.mutex_);
        if (std::exchange(threads.isExiting_, true)) {
            return;  // waited for before, or in vain
        }
        idle = threads.idle_.wait_for(lock, kLongestWait, [&] { return threads.working_ == 0; });
        threads.over_ = idle;
    }
    if (idle) {
        threads.joinAdopted();
    }
}

}  // namespace Mivora::platform
