#include "MivoraMac/views/MVViewLayoutQueue.h"

#include "MivoraMac/platform/threads/ConcurrentQueue.h"
#include "MivoraMac/platform/threads/SerialQueue.h"

using Mivora::platform::ConcurrentQueue;
using Mivora::platform::SerialQueue;
using Mivora::platform::WorkQueue;

namespace {

constexpr const char* kQueueLabel = "org.mivoramac.ViewLayoutDispatchQueue";

/// Marks layout queues; the address is the key, the view the value.
const char kQueueContextKey[] = "org.mivoramac.ViewLayoutDispatchQueue.context";

}  // namespace

std::shared_ptr<SerialQueue> MVViewCreateLayoutDispatchQueue(MVView* view) {
    auto queue = SerialQueue::create(kQueueLabel);
    queue->setSpecific(kQueueContextKey, view);
    return queue;
}

bool MVViewIsExecutingOnLayoutDispatchQueue(const MVView* view) {
    const void* const current = WorkQueue::currentSpecific(kQueueContextKey);
    return current != nullptr && (view == nullptr || current == view);
}

std::shared_ptr<ConcurrentQueue> MVViewSubviewLayoutDispatchQueue() {
    return ConcurrentQueue::global();
}
