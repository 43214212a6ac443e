#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

/// Runs closures on a small pool of threads that all concurrent queues share; closures start in
/// the order they were submitted and may run at the same time.
///
/// Thread: any.
class MIVORA_EXPORT ConcurrentQueue : public WorkQueue,
                                      public std::enable_shared_from_this<ConcurrentQueue> {
 public:
    /// @param label  a string that outlives the queue, usually a literal
    static std::shared_ptr<ConcurrentQueue> create(const char* label);

    /// The process-wide queue for background work.
    static std::shared_ptr<ConcurrentQueue> global();

    ~ConcurrentQueue();

    /// Runs `closure` later on a thread of the pool. The queue lives until it has run.
    template <class Closure>
    void async(Closure&& closure) {
        // std::function wants copies; the box lets closures be move-only.
        auto boxed = std::make_shared<std::decay_t<Closure>>(std::forward<Closure>(closure));
        submit([boxed = std::move(boxed)] { runLogged(*boxed); });
    }

    /// Runs `closure` at once on the calling thread, as work of this queue.
    template <class Closure>
    void sync(Closure&& closure) {
        const CurrentScope running(this);
        runLogged(closure);
    }

 private:
    friend struct ::MVMaker;

    explicit ConcurrentQueue(const char* label);
    void submit(std::function<void()> closure);
};

}  // namespace Mivora::platform
