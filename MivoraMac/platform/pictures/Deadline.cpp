#include <pthread.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>

#include "MivoraMac/platform/pictures/DeadlinePrivate.h"

namespace Mivora::platform {

namespace {

/// Work that nobody waits for any more.
struct LateWork {
    std::mutex mutex;
    int count = 0;
};

LateWork& lateWork() {
    static LateWork* work = new LateWork;  // outlives every thread that may still work
    return *work;
}

struct Job {
    std::function<void()> work;
    std::mutex mutex;
    std::condition_variable changed;
    ::id_t thread = 0;
    bool isDone = false;
    bool isLate = false;

    void run() {
        {
            const std::lock_guard lock(mutex);
            thread = static_cast<::id_t>(::syscall(SYS_gettid));
        }
        work();
        work = nullptr;
        const std::lock_guard lock(mutex);
        isDone = true;
        changed.notify_all();
        if (isLate) {
            const std::lock_guard lateLock(lateWork().mutex);
            --lateWork().count;
        }
    }
};

bool start(const std::shared_ptr<Job>& job) {
    constexpr std::size_t kStack = std::size_t{32} << 20;  // taken as it is used
    ::pthread_attr_t attributes;
    if (::pthread_attr_init(&attributes) != 0) {
        return false;
    }
    ::pthread_attr_setstacksize(&attributes, kStack);
    ::pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    auto argument = std::make_unique<std::shared_ptr<Job>>(job);
    ::pthread_t thread{};
    const int failed = ::pthread_create(
        &thread, &attributes,
        [](void* given) -> void* {
            const std::unique_ptr<std::shared_ptr<Job>> own(
                static_cast<std::shared_ptr<Job>*>(given));
            (*own)->run();
            return nullptr;
        },
        argument.get());
    ::pthread_attr_destroy(&attributes);
    if (failed == 0) {
        static_cast<void>(argument.release());  // the thread's
    }
    return failed == 0;
}

}  // namespace

DeadlineOutcome runWithin(double seconds, std::function<void()> work) {
    constexpr int kMostLate = 2;
    constexpr double kMostSeconds = 1e6;
    constexpr int kLowestPriority = 19;
    {
        const std::lock_guard lock(lateWork().mutex);
        if (!(seconds > 0) || lateWork().count >= kMostLate) {
            return DeadlineOutcome::Refused;
        }
    }
    const auto job = std::make_shared<Job>();
    job->work = std::move(work);
    if (!start(job)) {
        return DeadlineOutcome::Refused;
    }
    std::unique_lock lock(job->mutex);
    const std::chrono::duration<double> time(std::min(seconds, kMostSeconds));
    if (job->changed.wait_for(lock, time, [&] { return job->isDone; })) {
        return DeadlineOutcome::Done;
    }
    job->isLate = true;
    if (job->thread != 0) {
        ::setpriority(PRIO_PROCESS, job->thread, kLowestPriority);
    }
    const std::lock_guard lateLock(lateWork().mutex);
    ++lateWork().count;
    return DeadlineOutcome::Late;
}

}  // namespace Mivora::platform
