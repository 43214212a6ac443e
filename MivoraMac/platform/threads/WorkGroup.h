#pragma once

#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <type_traits>
#include <utility>

#include "MivoraMac/Export.h"
#include "MivoraMac/platform/base/MVMake.h"
#include "MivoraMac/platform/threads/WorkQueue.h"

namespace Mivora::platform {

/// Closures on any queues that somebody waits for as a whole.
///
/// Thread: any.
class MIVORA_EXPORT WorkGroup : public std::enable_shared_from_this<WorkGroup> {
 public:
    /// A group without work.
    static std::shared_ptr<WorkGroup> create();

    WorkGroup(const WorkGroup&) = delete;
    WorkGroup& operator=(const WorkGroup&) = delete;

    /// Runs `closure` later on `queue`, as work of this group, which lives until then. A closure
    /// that throws is logged and counts as done, and so does one that the queue drops.
    template <class Queue, class Closure>
    void async(Queue& queue, Closure&& closure) {
        queue.async([member = enter(), work = std::decay_t<Closure>(
                                           std::forward<Closure>(closure))]() mutable { work(); });
    }

    /// Returns when none of the group's work is left, also of what is added meanwhile. Not from
    /// that work itself, nor from what it waits for: it would wait for its own end.
    void wait();

    /// How many closures are still to run or running.
    std::size_t count() const;

 private:
    friend struct ::MVMaker;

    WorkGroup() = default;

    std::shared_ptr<void> enter();

    mutable std::mutex mutex_;
    std::condition_variable done_;
    std::size_t count_ = 0;
};

}  // namespace Mivora::platform
