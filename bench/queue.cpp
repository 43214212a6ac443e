// The GL queue: what a closure costs the thread that hands it over, and what it costs in turn.
//
// Held constant: 50,000 closures with 64 bytes of captures from one thread, drained as they come
// on a context that draws nothing; the reference is a mutex, a deque of std::function and a
// condition variable, drained by a thread of its own, in the same run. Each figure is the median
// of several runs after warming up, the two kinds in turn.

#include <epoxy/egl.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "MivoraMac/platform/threads/SerialQueue.h"
#include "MivoraMac/render/MVRenderContext.h"
#include "bench/support/Bench.h"

using namespace Mivora::bench;

namespace {

constexpr int kClosures = 50'000;
constexpr int kRuns = 15;

std::atomic<std::uint64_t> makeCurrents{0};

PFNEGLMAKECURRENTPROC realMakeCurrent = nullptr;

EGLBoolean countingMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                               EGLContext context) {
    makeCurrents += context != EGL_NO_CONTEXT ? 1 : 0;
    return realMakeCurrent(display, draw, read, context);
}

/// The plain way to do it: what the figures are compared with.
class ReferenceQueue {
 public:
    ReferenceQueue() : thread_([this] { run(); }) {}

    ~ReferenceQueue() {
        push(nullptr);
        thread_.join();
    }

    void push(std::function<void()> closure) {
        {
            const std::lock_guard lock(mutex_);
            closures_.push_back(std::move(closure));
        }
        wake_.notify_one();
    }

 private:
    void run() {
        for (;;) {
            std::unique_lock lock(mutex_);
            wake_.wait(lock, [this] { return !closures_.empty(); });
            const std::function<void()> closure = std::move(closures_.front());
            closures_.pop_front();
            lock.unlock();
            if (!closure) {
                return;
            }
            closure();
        }
    }

    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> closures_;
    std::thread thread_;
};

struct Captures {
    std::array<std::uint64_t, 7> words{};
    std::atomic<std::uint64_t>* sum;
    void operator()() const { sum->fetch_add(words[0], std::memory_order_relaxed); }
};
static_assert(sizeof(Captures) == 64);

/// Nanoseconds that handing over one closure takes; waits until all have run.
template <class Push>
double producerNanoseconds(Push push) {
    std::atomic<std::uint64_t> sum{0};
    const Captures closure{{1, 2, 3, 4, 5, 6, 7}, &sum};
    const Stopwatch watch;
    for (int i = 0; i < kClosures; ++i) {
        push(closure);
    }
    const double nanoseconds = watch.nanoseconds() / kClosures;
    while (sum != kClosures) {
        std::this_thread::yield();
    }
    return nanoseconds;
}

double inlineNanoseconds(MVRenderContext& context) {
    constexpr int kNested = 1'000'000;
    double nanoseconds = 0;
    context.mv_dispatchBlockSync([&] {
        std::uint64_t sum = 0;
        const Stopwatch watch;
        for (int i = 0; i < kNested; ++i) {
            context.dispatchBlock([&sum] {
                ++sum;
                doNotOptimize(sum);
            });
        }
        nanoseconds = watch.nanoseconds() / kNested;
    });
    return nanoseconds;
}

double syncMicroseconds(MVRenderContext& context) {
    constexpr int kCalls = 2000;
    const Stopwatch watch;
    for (int i = 0; i < kCalls; ++i) {
        context.mv_dispatchBlockSync([] {});
    }
    return watch.seconds() * 1e6 / kCalls;
}

}  // namespace

int main() {
    const auto context = MVRenderContext::init();
    MVRenderContext::mv_setActiveContext(context);
    context->mv_dispatchBlockSync([] {});
    realMakeCurrent = epoxy_eglMakeCurrent;
    epoxy_eglMakeCurrent = countingMakeCurrent;

    ReferenceQueue reference;
    const auto pushLibrary = [&](const Captures& it) { context->dispatchBlock(it); };
    const auto pushReference = [&](const Captures& it) { reference.push(it); };

    for (int i = 0; i < 3; ++i) {
        producerNanoseconds(pushLibrary);
        producerNanoseconds(pushReference);
    }
    std::vector<double> library;
    std::vector<double> plain;
    std::vector<double> ratio;
    std::vector<double> allocations;
    std::vector<double> currents;
    std::vector<double> drains;
    std::vector<double> nested;
    std::vector<double> synchronous;
    for (int i = 0; i < kRuns; ++i) {
        context->mv_dispatchBlockSync([] {});
        const std::uint64_t drainsBefore = context->dispatchQueue()->drainCount();
        makeCurrents = 0;
        {
            const AllocationCounter counter;
            library.push_back(producerNanoseconds(pushLibrary));
            allocations.push_back(static_cast<double>(counter.allocations()) / kClosures);
        }
        // The queue counts a drain before it leaves the context; a call that waits sees both.
        const double made = static_cast<double>(makeCurrents);
        context->dispatchQueue()->sync([] {});
        currents.push_back(made);
        drains.push_back(
            static_cast<double>(context->dispatchQueue()->drainCount() - drainsBefore));
        plain.push_back(producerNanoseconds(pushReference));
        ratio.push_back(library.back() / plain.back());
        nested.push_back(inlineNanoseconds(*context));
        synchronous.push_back(syncMicroseconds(*context));
    }

    Report report("queue");
    report.condition("closures", "50,000 of 64 bytes, one producer, drained as they come");
    report.condition("runs", std::to_string(kRuns) + ", medians");
    report.add("producer_ns", median(library), "a closure; target: 60 on an idle machine");
    report.add("reference_producer_ns", median(plain), "mutex, deque of std::function");
    report.add("producer_ratio", median(ratio), "run by run; target: at most 0.5");
    report.add("allocs_per_closure", median(allocations), "steady state; target: 0");
    report.add("make_currents", median(currents), "for the 50,000; target: at most one a drain");
    report.add("drains", median(drains), "times the queue ran dry, the check itself included");
    report.add("inline_ns", median(nested), "a dispatch from GL work; target: 10");
    report.add("sync_round_trip_us", median(synchronous), "an empty closure, waited for");
    return report.finish();
}
