#include "MivoraMac/platform/threads/WorkGroup.h"

#include "MivoraMac/platform/threads/PoolWaitPrivate.h"

namespace Mivora::platform {

std::shared_ptr<WorkGroup> WorkGroup::create() {
    return MVMake<WorkGroup>();
}

/// @return goes with the closure, whether that has run or was dropped
std::shared_ptr<void> WorkGroup::enter() {
    {
        const std::lock_guard lock(mutex_);
        ++count_;
    }
    return {nullptr, [self = shared_from_this()](void*) {
                const std::lock_guard lock(self->mutex_);
                if (--self->count_ == 0) {
                    self->done_.notify_all();
                }
            }};
}

void WorkGroup::wait() {
    const PoolWait waiting;
    std::unique_lock lock(mutex_);
    done_.wait(lock, [this] { return count_ == 0; });
}

std::size_t WorkGroup::count() const {
    const std::lock_guard lock(mutex_);
    return count_;
}

}  // namespace Mivora::platform
