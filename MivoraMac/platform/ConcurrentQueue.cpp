#include "MivoraMac/platform/ConcurrentQueue.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

namespace Mivora::platform {

namespace {

/// The threads behind every concurrent queue, started as work comes and kept for the process.
class ThreadPool {
 public:
    /// Never destroyed: its threads may still run closures while the process exits.
    static ThreadPool& shared() {
        static ThreadPool* pool = new ThreadPool;
        return *pool;
    }

    void submit(std::function<void()> closure) {
        bool start = false;
        {
            const std::lock_guard lock(mutex_);
            closures_.push_back(std::move(closure));
            if (idle_ < closures_.size() && threads_ < maximumThreads_) {
                ++threads_;
                start = true;
            }
        }
        if (start) {
            std::thread([this] { run(); }).detach();
        } else {
            wake_.notify_one();
        }
    }

 private:
    void run() {
        pthread_setname_np(pthread_self(), "MVWorker");
        std::unique_lock lock(mutex_);
        for (;;) {
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
    }

    const std::size_t maximumThreads_ = std::clamp(std::thread::hardware_concurrency(), 2U, 8U);
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> closures_;
    std::size_t threads_ = 0;
    std::size_t idle_ = 0;
};

}  // namespace

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
