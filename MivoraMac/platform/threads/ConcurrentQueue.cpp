#include "MivoraMac/platform/threads/ConcurrentQueue.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <system_error>
#include <thread>

#include "MivoraMac/platform/threads/PoolWaitPrivate.h"

namespace Mivora::platform {

namespace {

[[gnu::tls_model("initial-exec")]] constinit thread_local bool isPoolThread = false;

/// The threads behind every concurrent queue, started as work comes and kept for the process. For
/// each that waits for another thread, which may need the pool itself, there may be one more.
class ThreadPool {
 public:
    /// Never destroyed: its threads may still run closures while the process exits.
    static ThreadPool& shared() {
        static ThreadPool* pool = new ThreadPool;
        return *pool;
    }

    void submit(std::function<void()> closure) {
        const std::lock_guard lock(mutex_);
        startThreadFor(closures_.size() + 1);
        closures_.push_back(std::move(closure));
        wake_.notify_one();
    }

    void beginWait() {
        const std::lock_guard lock(mutex_);
        ++waiting_;
        startThreadFor(closures_.size());
    }

    void endWait() {
        const std::lock_guard lock(mutex_);
        --waiting_;
    }

 private:
    /// Enough for closures that wait, too few to exhaust the machine.
    static constexpr std::size_t kMaximumWaiting = 64;

    /// Starts a thread, if there are more closures than idle threads and there may be more.
    void startThreadFor(std::size_t closures) {
        const std::size_t waiting = std::min(waiting_, kMaximumWaiting);
        if (idle_ >= closures || threads_ >= maximumThreads_ + waiting) {
            return;
        }
        try {
            std::thread([this] { run(); }).detach();
            ++threads_;
        } catch (const std::system_error&) {
            if (threads_ == 0) {
                throw;
            }
        }
    }

    void run() {
        pthread_setname_np(pthread_self(), "MVWorker");
        isPoolThread = true;
        std::unique_lock lock(mutex_);
        while (threads_ <= maximumThreads_ + waiting_) {
            ++idle_;
            wake_.wait(lock, [this] { return !closures_.empty(); });
            --idle_;
            std::function<void()> closure = std::move(closures_.front());
            closures_.pop_front();
            lock.unlock();
            closure();
            closure = nullptr;
            lock.lock();
        }
        --threads_;
    }

    const std::size_t maximumThreads_ = std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> closures_;
    std::size_t threads_ = 0;
    std::size_t idle_ = 0;
    std::size_t waiting_ = 0;
};

}  // namespace

PoolWait::PoolWait() {
    if (isPoolThread) {
        ThreadPool::shared().beginWait();
    }
}

PoolWait::~PoolWait() {
    if (isPoolThread) {
        ThreadPool::shared().endWait();
    }
}

ConcurrentQueue::ConcurrentQueue(const char* label) : WorkQueue(label) {}

ConcurrentQueue::~ConcurrentQueue() = default;

std::shared_ptr<ConcurrentQueue> ConcurrentQueue::create(const char* label) {
    return MVMake<ConcurrentQueue>(label);
}

std::shared_ptr<ConcurrentQueue> ConcurrentQueue::global() {
    // Leaked on purpose, like the pool: usable from any exit handler.
    static auto* queue = new std::shared_ptr<ConcurrentQueue>(create("org.mivoramac.GlobalQueue"));
    return *queue;
}

void ConcurrentQueue::submit(std::function<void()> closure) {
    ThreadPool::shared().submit([self = shared_from_this(), closure = std::move(closure)] {
        const CurrentScope running(self.get());
        closure();
    });
}

}  // namespace Mivora::platform
